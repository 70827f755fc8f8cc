// Runs every scenario under Google Benchmark and prints, after the usual
// table, each scenario's ratio to its baseline and whether it meets its
// target. With --instructions it runs each scenario a fixed number of times
// between callgrind client requests instead (see instructions.sh).
#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "bench/BenchHost.h"
#include "bench/Scenario.h"
#include "host/HostObject.h"

namespace bench {

std::vector<Scenario>& scenarios() {
    static std::vector<Scenario> all;
    return all;
}

namespace {

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

struct Measured {
    double nsPerItem = 0;
    double medianUs = 0;
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const std::string name = run.run_name.function_name;
            Measured& measured = m_Measured[name];
            const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            measured.nsPerItem = seconds * 1e9 / static_cast<double>(itemsOf(name));
            const auto found = run.counters.find("median_us");
            if (found != run.counters.end()) measured.medianUs = found->second.value;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-44s %12s %12s %8s %8s  %s\n", "scenario (per item)", "ns", "baseline ns", "ratio", "target",
                    "verdict");
        for (const Scenario& scenario : scenarios()) {
            const auto own = m_Measured.find(scenario.name);
            if (own == m_Measured.end()) continue;
            if (scenario.targetMedianUs > 0) {
                const bool met = own->second.medianUs < scenario.targetMedianUs;
                std::printf("%-44s %12.1f %12s %8s %8s  median %.1f us, target < %.0f us: %s\n", scenario.name.c_str(),
                            own->second.nsPerItem, "", "", "", own->second.medianUs, scenario.targetMedianUs,
                            met ? "met" : "MISSED");
                m_Missed += !met;
                continue;
            }
            const auto base = m_Measured.find(scenario.baseline);
            if (scenario.baseline.empty() || base == m_Measured.end() || base->second.nsPerItem <= 0) {
                std::printf("%-44s %12.1f\n", scenario.name.c_str(), own->second.nsPerItem);
                continue;
            }
            double ownNs = own->second.nsPerItem;
            std::string against = scenario.baseline;
            if (!scenario.overhead.empty()) {
                const auto overhead = m_Measured.find(scenario.overhead);
                if (overhead != m_Measured.end()) ownNs = std::max(0.0, ownNs - overhead->second.nsPerItem);
                against += ", less " + scenario.overhead;
            }
            const double ratio = ownNs / base->second.nsPerItem;
            char target[16] = "";
            const char* verdict = "";
            if (scenario.targetRatio > 0) {
                std::snprintf(target, sizeof target, "%.1fx", scenario.targetRatio);
                verdict = ratio <= scenario.targetRatio ? "met" : "MISSED";
                m_Missed += ratio > scenario.targetRatio;
            }
            std::printf("%-44s %12.1f %12.1f %7.2fx %8s  %s (against %s)\n", scenario.name.c_str(), ownNs,
                        base->second.nsPerItem, ratio, target, verdict, against.c_str());
        }
        std::printf("\ntargets missed: %d\n", m_Missed);
    }

    int missed() const { return m_Missed; }

private:
    static int64_t itemsOf(const std::string& name) {
        for (const Scenario& scenario : scenarios()) {
            if (scenario.name == name) return std::max<int64_t>(1, scenario.itemsPerRun);
        }
        return 1;
    }

    std::map<std::string, Measured> m_Measured;
    int m_Missed = 0;
};

void registerAll() {
    for (const Scenario& scenario : scenarios()) {
        const Scenario* entry = &scenario;
        benchmark::RegisterBenchmark(scenario.name.c_str(), [entry](benchmark::State& state) {
            std::unique_ptr<Work> work = entry->make();
            while (state.KeepRunningBatch(entry->batch)) work->run(entry->batch);
            const std::vector<double> samples = work->samples();
            if (!samples.empty()) state.counters["median_us"] = median(samples);
            state.SetItemsProcessed(state.iterations() * entry->itemsPerRun);
        })->UseRealTime();
    }
}

// Each scenario between CALLGRIND_ZERO_STATS and a dump named after it;
// instructions.sh reads the dumps.
int countInstructions(const char* filter) {
    for (const Scenario& scenario : scenarios()) {
        if (scenario.instructionRuns <= 0) continue;
        if (filter && scenario.name.find(filter) == std::string::npos) continue;
        std::unique_ptr<Work> work = scenario.make();
        work->run(scenario.instructionRuns);  // a full pass first: caches, factories, first releases
        CALLGRIND_ZERO_STATS;
        work->run(scenario.instructionRuns);
        CALLGRIND_DUMP_STATS_AT(scenario.name.c_str());
        std::printf("scenario\t%s\t%lld\t%lld\t%s\t%.2f\t%s\n", scenario.name.c_str(),
                    static_cast<long long>(scenario.instructionRuns), static_cast<long long>(scenario.itemsPerRun),
                    scenario.baseline.empty() ? "-" : scenario.baseline.c_str(), scenario.targetRatio,
                    scenario.overhead.empty() ? "-" : scenario.overhead.c_str());
    }
    return 0;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    int result = 0;
    {
        bench::BenchHost host;
        if (argc >= 2 && std::strcmp(argv[1], "--instructions") == 0) {
            result = bench::countInstructions(argc >= 3 ? argv[2] : nullptr);
        } else {
            benchmark::Initialize(&argc, argv);
            bench::registerAll();
            bench::RatioReporter reporter;
            benchmark::RunSpecifiedBenchmarks(&reporter);
            benchmark::Shutdown();
        }
    }
    if (host::Ledger::live() != 0) {
        std::fprintf(stderr, "live host objects after the benchmarks: %s\n", host::Ledger::report().c_str());
        return 1;
    }
    return result;
}
