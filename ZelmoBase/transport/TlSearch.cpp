// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/TlSearch.h"

#include <zelmo/Utilities.h>

#include <boost/tokenizer.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glob.h>
#include <memory>

namespace Zelmo {
namespace {

int ReportUnreadableFolder(const char* path, int error) {
    std::fprintf(stderr, "globerr: %s: %s\n", path, std::strerror(error));
    return 0; // go on with the scan
}

/// Collects the matches of one pattern after the other.
class Glob {
public:
    Glob() = default;
    Glob(const Glob&) = delete;
    Glob& operator=(const Glob&) = delete;
    ~Glob() { globfree(&m_glob); }

    void Add(const std::string& pattern) {
        if (glob(pattern.c_str(), m_flags, ReportUnreadableFolder, &m_glob) != 0) {
            std::fputs("globbing failed\n", stderr);
        }
        m_flags = GLOB_APPEND;
    }

    const char* const* begin() const { return m_glob.gl_pathv; }
    const char* const* end() const { return m_glob.gl_pathv + m_glob.gl_pathc; }

private:
    glob_t m_glob = {};
    int m_flags = 0;
};

std::string CanonicalPath(const char* path) {
    const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path, nullptr), &std::free);
    return canonical ? canonical.get() : path;
}

} // namespace

std::vector<std::string> FindTlLibraries(const std::string& folderList) {
    const boost::escaped_list_separator<char> separator("\\", getZelmoPathListDelimiter(), "");
    Glob matches;
    for (const std::string& folder : boost::tokenizer<boost::escaped_list_separator<char>>(folderList, separator)) {
        matches.Add(folder + getZelmoPathSeperator() + "libzelmo_TL_*.so");
    }

    std::vector<std::string> paths;
    std::transform(matches.begin(), matches.end(), std::back_inserter(paths), CanonicalPath);
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

} // namespace Zelmo
