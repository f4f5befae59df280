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

} // namespace

ProcessUse ProcessUse::Now(std::uint64_t frames) {
    return {static_cast<double>(frames),
            {ResidentKilobytes(), CountEntries("/proc/self/fd"), CountEntries("/proc/self/task"),
             CountLines("/proc/self/maps")}};
}

double GrowthPerMillion(const std::vector<ProcessUse>& samples, std::size_t index) {
    double meanX = 0;
    double meanY = 0;
    for (const ProcessUse& sample : samples) {
        meanX += sample.frames / static_cast<double>(samples.size());
        meanY += sample.values[index] / static_cast<double>(samples.size());
    }
    double covariance = 0;
    double variance = 0;
    for (const ProcessUse& sample : samples) {
        covariance += (sample.frames - meanX) * (sample.values[index] - meanY);
        variance += (sample.frames - meanX) * (sample.frames - meanX);
    }
    return variance > 0 ? covariance / variance * 1e6 : 0;
}

} // namespace soak
