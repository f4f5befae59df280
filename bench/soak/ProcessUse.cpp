// SPDX-License-Identifier: Apache-2.0
#include "ProcessUse.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace soak {
namespace {

double CountEntries(const char* folder) {
    return static_cast<double>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

double CountLines(const char* name) {
    std::ifstream file(name);
    return static_cast<double>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

double ResidentKilobytes() {
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    if (!(file >> total >> resident)) {
        throw std::runtime_error("Cannot read /proc/self/statm");
    }
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

constexpr std::size_t kMaxFitted = 500; // samples; the fit looks at all pairs

} // namespace

ProcessUse ProcessUse::Now(std::uint64_t frames) {
    return {static_cast<double>(frames),
            {ResidentKilobytes(), CountEntries("/proc/self/fd"), CountEntries("/proc/self/task"),
             CountLines("/proc/self/maps")}};
}

double GrowthPerMillion(const std::vector<ProcessUse>& samples, std::size_t index) {
    const std::size_t step = samples.size() / kMaxFitted + 1;
    std::vector<double> slopes;
    for (std::size_t i = 0; i < samples.size(); i += step) {
        for (std::size_t j = i + step; j < samples.size(); j += step) {
            const double frames = samples[j].frames - samples[i].frames;
            if (frames > 0) {
                slopes.push_back((samples[j].values[index] - samples[i].values[index]) / frames * 1e6);
            }
        }
    }
    if (slopes.empty()) {
        return 0;
    }
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}

} // namespace soak
