// A console reporter that keeps the best processor time of each benchmark, for the ratios: other work on the machine only
// adds to it.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            auto [best, isFirst] = m_times.try_emplace(run.run_name.function_name, run.GetAdjustedCPUTime());
            if (!isFirst) best->second = std::min(best->second, run.GetAdjustedCPUTime());
        }
        ConsoleReporter::ReportRuns(runs);
    }
    // Nothing when one of them did not run.
    void PrintRatio(const char* text, const char* above, const char* below) {
        if (m_times.contains(above) && m_times.contains(below))
            std::printf("%-58s %6.2f\n", text, m_times[above] / m_times[below]);
    }

private:
    std::map<std::string, double> m_times;
};
