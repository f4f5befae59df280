// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/OsDescription.h"

#include "ZelmoBase/core/ScopeGuard.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zelmo {
namespace {

std::string DescribeDistribution() {
    std::string name;
    if (ReadPrettyName("/etc/os-release", name) || ReadCommandOutput("lsb_release -ds", name) ||
        ReadCommandOutput("(cat /etc/issue.net | head -n1)", name)) {
        return name;
    }
    return "Some Linux";
}

std::string DescribeKernel() {
    utsname system;
    if (uname(&system) != 0) {
        return "Some kernel";
    }
    return std::string(system.sysname) + " " + system.release + ", " + system.machine;
}

bool RunShell(const std::string& command) {
    const int status = std::system(command.c_str());
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

std::string DescribeOperatingSystem() {
    return DescribeDistribution() + ", " + DescribeKernel();
}

bool ReadPrettyName(const char* fileName, std::string& name) {
    std::ifstream file(fileName);
    for (std::string line; std::getline(file, line);) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos || line.compare(0, equals, "PRETTY_NAME") != 0) {
            continue;
        }
        const size_t begin = line[equals + 1] == '"' ? equals + 2 : equals + 1;
        name = line.substr(begin, line.find('"', begin) - begin);
        return !name.empty();
    }
    return false;
}

bool ReadCommandOutput(const std::string& command, std::string& output) {
    char fileName[] = "/tmp/cmd-outputXXXXXX";
    const int fd = mkstemp(fileName);
    if (fd < 0) {
        return false;
    }
    ScopeGuard remove([&fileName] { unlink(fileName); });
    close(fd);
    if (!RunShell(command + " 2>/dev/null >" + fileName)) {
        return false;
    }
    std::ifstream file(fileName);
    output.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!output.empty() && output.back() == '\n') {
        output.pop_back();
    }
    return !output.empty();
}

} // namespace Zelmo
