// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_BENCHMARK_RATIO_REPORTER_H
#define TARNBY_BENCHMARK_RATIO_REPORTER_H

// Console output plus the ratios between benchmarks that a program judges against each other, printed after the
// table. With --benchmark_repetitions the medians are compared (add --benchmark_enable_random_interleaving=true so
// that a burst of load on the machine spreads over all of them instead of landing on one).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace OHOS::TarnbyBenchmark {
struct Ratio {
    std::string what;
    std::string numerator; // benchmark function names
    std::string denominator;
    bool bytesPerSecond; // compare throughput (numerator's bytes/s over the denominator's) instead of time
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    explicit RatioReporter(std::vector<Ratio> ratios) : ratios_(std::move(ratios)) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const auto &run : runs) {
            bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (!run.error_occurred && (median || run.run_type == Run::RT_Iteration)) {
                auto bytes = run.counters.find("bytes_per_second");
                Measure measure{run.GetAdjustedRealTime(), bytes == run.counters.end() ? 0.0 : bytes->second.value};
                (median ? medians_ : lastRuns_)[run.run_name.function_name] = measure;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios() const
    {
        const auto &measures = medians_.empty() ? lastRuns_ : medians_;
        for (const Ratio &ratio : ratios_) {
            auto top = measures.find(ratio.numerator);
            auto bottom = measures.find(ratio.denominator);
            if (top == measures.end() || bottom == measures.end()) {
                continue;
            }
            double value = ratio.bytesPerSecond ? top->second.bytesPerSecond / bottom->second.bytesPerSecond
                                                : top->second.time / bottom->second.time;
            std::printf("%s %s: %.2fx\n", medians_.empty() ? "last run:" : "medians:", ratio.what.c_str(), value);
        }
    }

private:
    struct Measure {
        double time = 0;
        double bytesPerSecond = 0;
    };
    std::vector<Ratio> ratios_;
    std::map<std::string, Measure> lastRuns_;
    std::map<std::string, Measure> medians_;
};

// Runs the benchmarks named on the command line and prints the ratios.
inline void RunWithRatios(int &argc, char **argv, std::vector<Ratio> ratios)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter(std::move(ratios));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
}
} // namespace OHOS::TarnbyBenchmark

#endif // TARNBY_BENCHMARK_RATIO_REPORTER_H
