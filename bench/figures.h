// Figures with their limits, and what they are measured on, for benchmarks that print a list of them and end with 1 when one
// is over its limit.
#pragma once

#include "Platform/testing.h"

#include <malloc.h>

#include <algorithm>
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

// Processor time, the least of several runs: other work on the machine only adds to it.
template<class Work>
double LeastMs(int runs, Work work) {
    double least = DBL_MAX;
    for (int i = 0; i < runs; ++i) {
        const std::clock_t start = std::clock();
        work();
        least = std::min(least, 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

inline bool g_bAllWithin = true;
inline void PrintFigure(const std::string& what, double value, double limit) {
    const bool within = value <= limit;
    std::printf("%-48s %8.2f  (%g or less)%s\n", what.c_str(), value, limit, within ? "" : "  OVER");
    g_bAllWithin = g_bAllWithin && within;
}

// A figure of /proc/self/status ("VmRSS:", "VmHWM:"), in MiB.
inline double StatusMiB(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name)) return std::atof(line.c_str() + name.size()) / 1024;
    return DBL_MAX;
}

// What the work takes more than there was before, at its highest, in MiB.
template<class Work>
double PeakMiB(Work work) {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew
    const double before = StatusMiB("VmRSS:");
    work();
    return StatusMiB("VmHWM:") - before;
}

// A device folder that goes with the object.
class TemporaryDevice {
public:
    TemporaryDevice() : m_folder((std::filesystem::temp_directory_path() / "qnbench-XXXXXX").string()) {
        if (!mkdtemp(m_folder.data())) std::abort();
        PlatSetDeviceFolder(m_folder);
    }
    ~TemporaryDevice() {
        PlatSetDeviceFolder(""); // closes what the host keeps open there
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    TemporaryDevice(const TemporaryDevice&) = delete;
    TemporaryDevice& operator=(const TemporaryDevice&) = delete;
    const std::string& Folder() const { return m_folder; }

private:
    std::string m_folder;
};
