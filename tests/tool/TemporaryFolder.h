#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

/// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "zelmo-tool-XXXXXX").string();
        m_path = mkdtemp(path.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& GetPath() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

    /// Names of what is in it, hidden ones included, sorted.
    std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string m_path;
};
