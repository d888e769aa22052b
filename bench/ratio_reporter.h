// Console reporter that also keeps each benchmark's time per iteration and,
// after the run, prints "ours vs peer" ratios for the pairs a program names.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace krobench {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (r.run_type == Run::RT_Iteration && r.iterations > 0)
                millis_[baseName(r.benchmark_name())] = r.GetAdjustedRealTime() * toMillis(r.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }

    // Prints one line per (ours, peer) pair whose both runs exist.
    void printRatios(const std::vector<std::pair<std::string, std::string>>& pairs) const {
        std::printf("\n%-58s %10s %10s %8s\n", "ours / peer", "ours ms", "peer ms", "speedup");
        for (const auto& p : pairs) {
            const auto a = millis_.find(p.first), b = millis_.find(p.second);
            if (a == millis_.end() || b == millis_.end()) continue;
            std::printf("%-58s %10.4g %10.4g %7.2fx\n", (p.first + " / " + p.second).c_str(), a->second,
                        b->second, b->second / a->second);
        }
    }

private:
    // "BM_x/real_time" and similar suffixes name the same benchmark.
    static std::string baseName(const std::string& name) { return name.substr(0, name.find('/')); }
    static double toMillis(benchmark::TimeUnit unit) {
        switch (unit) {
        case benchmark::kNanosecond: return 1e-6;
        case benchmark::kMicrosecond: return 1e-3;
        case benchmark::kMillisecond: return 1.0;
        default: return 1e3;
        }
    }
    std::map<std::string, double> millis_;
};

}  // namespace krobench
