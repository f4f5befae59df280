// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCException.h>

#include <algorithm>
#include <dirent.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace Fakes {

/// How many descriptors the process has open.
inline int OpenDescriptors() {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count - 3; // ".", ".." and the folder's own
}

/// Raises the soft limit of descriptors. @return false where the hard limit is lower: skip the test then.
inline bool AllowDescriptors(rlim_t count) {
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, count);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

/// While it lives the process can open so many descriptors more and then meets EMFILE.
/// The sanitizer for undefined behaviour needs a descriptor when it meets a class the first time: what is done under
/// the limit is done once before.
class DescriptorLimit {
public:
    explicit DescriptorLimit(int free) {
        RehearseFailure();
        getrlimit(RLIMIT_NOFILE, &m_old);
        std::vector<int> taken;
        int highest = -1;
        for (int i = 0; i < free; ++i) {
            taken.push_back(dup(0));
            highest = std::max(highest, taken.back());
        }
        const int next = dup(0);
        close(next);
        for (const int fd : taken) {
            close(fd);
        }
        rlimit limit = m_old;
        limit.rlim_cur = static_cast<rlim_t>(std::max(highest + 1, free == 0 ? next : 0));
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            throw std::runtime_error("cannot lower RLIMIT_NOFILE");
        }
    }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_old); }

private:
    static void RehearseFailure() {
        try {
            throw RUNTIME_EXCEPTION("rehearsal");
        } catch (const GenICam::GenericException&) {
        }
    }

    rlimit m_old;
};

} // namespace Fakes
