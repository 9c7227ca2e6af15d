// One pass of the follower over one second of new data (10 Hz), beside a short and a long recording in the
// same run: the cost of a pass may not depend on what was recorded before.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "db/modSelectData.h"
#include "follow/ActionQueue.h"
#include "follow/StartUp.h"
#include "general/SettingsFile.h"
#include "signal/modDFilt.h"
#include "tests/live/LiveSupport.h"

namespace vorela {
namespace {

constexpr double periodSeconds = 240.0;
constexpr std::int32_t samplesPerSecond = 10;
constexpr std::int32_t samplesPerHour = 36000;

/// A folder with a database of its own, as the tests have it.
struct Well : test::DravikFixture {
    void TestBody() override {}
};

double CpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A recording of some hours, selected and extended to its end.
class Followed {
  public:
    explicit Followed(std::int32_t hours) : recording_(well_, "LEVEL", Curves(hours)) {
        for (std::int32_t hour = 0; hour < hours; ++hour)
            recording_.Append(samplesPerHour);
        std::vector<DatasetRecord> records;
        if (!ReadDatasets(well_.DatabasePath(), {"LEVEL"}, records) || !AppendDatasets(std::move(records)))
            throw std::runtime_error("the recording cannot be selected");
        index_ = CurrentSelection().datasets.size() - 1;
    }
    /// Seconds that one pass takes.
    double Pass() {
        recording_.Append(samplesPerSecond);
        return TimedPass();
    }
    double TimedPass() {
        const auto begin = std::chrono::steady_clock::now();
        const double cpuBegin = CpuSeconds();
        if (!ExtendDataset(index_))
            throw std::runtime_error("the pass failed");
        cpu_ += CpuSeconds() - cpuBegin;
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }
    /// Processor time of the passes since the last call: what is left of the time when the machine does other
    /// work.
    double TakeCpu() { return std::exchange(cpu_, 0.0); }

  private:
    static std::vector<test::RecordedCurve> Curves(std::int32_t hours) {
        test::TestPlan plan;
        plan.periodSeconds = periodSeconds;
        plan.samples = (hours + 2) * samplesPerHour;
        return CurvesOf(plan);
    }
    Well well_;
    test::Recording recording_;
    std::size_t index_ = 0;
    double cpu_ = 0;
};

void TickBesideShortRecording(benchmark::State& state, test::Way way) {
    const test::TempFolder folder;
    SetSettingsFilePath(folder.File("Vorela.ini"));
    InitialiseDatasetVariables();
    Use(way, periodSeconds);
    Followed brief(1);
    Followed lengthy(100);
    const double first = brief.TimedPass();
    const double firstLong = lengthy.TimedPass();
    brief.TakeCpu();
    lengthy.TakeCpu();
    double sum = 0;
    double sumLong = 0;
    std::vector<double> all;
    while (state.KeepRunning()) {
        sum += brief.Pass();
        const double once = lengthy.Pass();
        sumLong += once;
        all.push_back(once);
        state.SetIterationTime(once);
    }
    std::sort(all.begin(), all.end());
    const auto count = static_cast<double>(state.iterations());
    state.counters["ms_1h"] = sum / count * 1e3;
    state.counters["ms_100h"] = sumLong / count * 1e3;
    state.counters["cpu_ms_1h"] = brief.TakeCpu() / count * 1e3;
    state.counters["cpu_ms_100h"] = lengthy.TakeCpu() / count * 1e3;
    state.counters["ratio"] = sumLong / sum;
    state.counters["median_ms"] = all[all.size() / 2] * 1e3;
    state.counters["p99_ms"] = all[all.size() * 99 / 100] * 1e3;
    state.counters["max_ms"] = all.back() * 1e3;
    state.counters["first_s_1h"] = first;
    state.counters["first_s_100h"] = firstLong;
    ReleaseAllFilters();
    InitialiseDatasetVariables();
}

// A quarter of an hour: valve changes, boundaries, moves of the plotted range and ends of transforms are
// among the passes.
constexpr int passes = 900;
BENCHMARK_CAPTURE(TickBesideShortRecording, difference, test::Way{1, false, 1, 2.5})
    ->Iterations(passes)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TickBesideShortRecording, difference_three_passes, test::Way{3, false, 3, 2.5})
    ->Iterations(passes)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TickBesideShortRecording, band_pass, test::Way{1, true, 2, 2.5})
    ->Iterations(passes)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(TickBesideShortRecording, band_pass_long_kernel, test::Way{3, true, 2, 2.5})
    ->Iterations(passes)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorela

int main(int count, char** arguments) {
    if (!vorela::test::LoadBuiltLibraries())
        return 1;
    vorela::ComposeRooms();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
