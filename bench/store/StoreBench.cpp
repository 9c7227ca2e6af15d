// The store beside raw file I/O of the same bytes: pread and pwrite in the same blocks, fsync where the store
// commits. Ratios of the medians follow the table. Files lie in the folder VORELA_BENCH_DIR, else in the
// current one.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "dravik/store/Crc32c.h"
#include "interfaces/DKBase.h"

namespace {

constexpr std::int64_t curveSamples = 10'000'000;
constexpr std::int64_t blockSamples = 65536;
constexpr std::int64_t curveBytes = curveSamples * 4;

std::string InBenchFolder(const std::string& name) {
    const char* folder = std::getenv("VORELA_BENCH_DIR");
    return (folder != nullptr ? std::string(folder) + "/" : "./") + name;
}

void Require(bool done, const char* what) {
    if (done)
        return;
    std::fprintf(stderr, "%s: %s\n", what, DBlastdetail());
    std::exit(1);
}

std::vector<float> Wave(std::int64_t count) {
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = 3000.0F + static_cast<float>(i % 2400) * 0.01F;
    return samples;
}

DBNewItem TimeCurve() {
    DBNewItem curve{};
    curve.indexKind = DK_INDEX_TIME;
    curve.step = 10;
    curve.unitText = "psi";
    return curve;
}

template <typename Visit>
void ForEachBlock(std::int64_t samples, std::int64_t block, Visit&& visit) {
    for (std::int64_t at = 0; at < samples; at += block)
        visit(at, std::min(block, samples - at));
}

void WriteDatabase(const std::string& path, const std::vector<float>& wave, std::int64_t samples) {
    const DBNewItem curve = TimeCurve();
    std::int32_t database = 0;
    std::int32_t item = 0;
    Require(DBopenA(path.c_str(), DK_OPEN_CREATE, &database) == DK_OK && DBbegin(database) == DK_OK, "open");
    Require(DBnewA(database, "L/ZG/1", &curve) == DK_OK &&
                DBattachA(database, "L/ZG/1", &item, 0, nullptr) == DK_OK,
            "create");
    ForEachBlock(samples, blockSamples, [&](std::int64_t at, std::int64_t count) {
        Require(DBwrite(item, static_cast<std::int32_t>(at * 10), static_cast<std::int32_t>(count),
                        wave.data()) == DK_OK,
                "write");
    });
    Require(DBcommit(database) == DK_OK && DBclose(database) == DK_OK, "commit");
}

void WriteRaw(const std::string& path, const std::vector<float>& wave, std::int64_t samples) {
    const int file = open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644);
    Require(file >= 0, "raw open");
    ForEachBlock(samples, blockSamples, [&](std::int64_t at, std::int64_t count) {
        Require(pwrite(file, wave.data(), static_cast<std::size_t>(count * 4), at * 4) == count * 4,
                "raw write");
    });
    Require(fsync(file) == 0, "fsync");
    close(file);
}

void WriteInto(benchmark::State& state, const char* name,
               void (*write)(const std::string&, const std::vector<float>&, std::int64_t)) {
    const std::string path = InBenchFolder(name);
    const auto wave = Wave(blockSamples);
    while (state.KeepRunning()) {
        state.PauseTiming();
        unlink(path.c_str());
        sync();
        state.ResumeTiming();
        write(path, wave, curveSamples);
    }
    state.SetBytesProcessed(state.iterations() * curveBytes);
    unlink(path.c_str());
}

void BM_WriteStore(benchmark::State& state) {
    WriteInto(state, "bench-write.dkb", WriteDatabase);
}
void BM_WriteRaw(benchmark::State& state) {
    WriteInto(state, "bench-write.raw", WriteRaw);
}

void BM_ReadStore(benchmark::State& state) {
    const std::string path = InBenchFolder("bench-read.dkb");
    unlink(path.c_str());
    WriteDatabase(path, Wave(blockSamples), curveSamples);
    std::vector<float> buffer(static_cast<std::size_t>(state.range(0)));
    while (state.KeepRunning()) {
        std::int32_t database = 0;
        std::int32_t item = 0;
        Require(DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) == DK_OK &&
                    DBattachA(database, "L/ZG/1", &item, 0, nullptr) == DK_OK,
                "open");
        ForEachBlock(curveSamples, state.range(0), [&](std::int64_t at, std::int64_t count) {
            Require(DBread(item, static_cast<std::int32_t>(at * 10), static_cast<std::int32_t>(count),
                           buffer.data()) == DK_OK,
                    "read");
        });
        DBclose(database);
    }
    state.SetBytesProcessed(state.iterations() * curveBytes);
    unlink(path.c_str());
}

void ReadRaw(benchmark::State& state, bool checked) {
    const std::string path = InBenchFolder("bench-read.raw");
    unlink(path.c_str());
    WriteRaw(path, Wave(blockSamples), curveSamples);
    std::vector<float> buffer(static_cast<std::size_t>(state.range(0)));
    while (state.KeepRunning()) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        ForEachBlock(curveSamples, state.range(0), [&](std::int64_t at, std::int64_t count) {
            const auto bytes = static_cast<std::size_t>(count * 4);
            Require(pread(file, buffer.data(), bytes, at * 4) == count * 4, "raw read");
            if (checked)
                benchmark::DoNotOptimize(dravik::store::Crc32c(buffer.data(), bytes));
        });
        close(file);
    }
    state.SetBytesProcessed(state.iterations() * curveBytes);
    unlink(path.c_str());
}

void BM_ReadRaw(benchmark::State& state) {
    ReadRaw(state, false);
}
void BM_ReadRawChecked(benchmark::State& state) {
    ReadRaw(state, true);
}

void BM_OpenAttachClose(benchmark::State& state) {
    const std::string path = InBenchFolder("bench-open.dkb");
    unlink(path.c_str());
    WriteDatabase(path, Wave(blockSamples), blockSamples);
    while (state.KeepRunning()) {
        std::int32_t database = 0;
        std::int32_t item = 0;
        char block[DK_INFO_BYTES];
        Require(DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) == DK_OK &&
                    DBattachA(database, "L/ZG/1", &item, 0, block) == DK_OK && DBclose(database) == DK_OK,
                "open");
    }
    unlink(path.c_str());
}

/// A recorder's second (10 samples on each of 4 curves, one transaction) and a follower's look at one of
/// them, each in a cycle of its own. The argument is the length already recorded, in hours of 10 Hz data.
void BM_Tick(benchmark::State& state) {
    const std::string path = InBenchFolder("bench-tick.dkb");
    unlink(path.c_str());
    const char* const curves[] = {"L/ZG/1", "L/RTC/1", "L/PVLPOS/1", "L/PVLT/1"};
    const DBNewItem curve = TimeCurve();
    const auto wave = Wave(blockSamples);
    std::int64_t at = state.range(0) * 36000;
    std::int32_t database = 0;
    Require(DBopenA(path.c_str(), DK_OPEN_CREATE, &database) == DK_OK, "open");
    for (const char* name : curves) {
        std::int32_t item = 0;
        Require(
            DBnewA(database, name, &curve) == DK_OK && DBattachA(database, name, &item, 0, nullptr) == DK_OK,
            "new");
        ForEachBlock(at, blockSamples, [&](std::int64_t from, std::int64_t count) {
            DBwrite(item, static_cast<std::int32_t>(from * 10), static_cast<std::int32_t>(count),
                    wave.data());
        });
    }
    DBclose(database);
    while (state.KeepRunning()) {
        Require(DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) == DK_OK && DBbegin(database) == DK_OK,
                "open");
        for (const char* name : curves) {
            std::int32_t item = 0;
            Require(DBattachA(database, name, &item, 0, nullptr) == DK_OK &&
                        DBwrite(item, static_cast<std::int32_t>(at * 10), 10, wave.data()) == DK_OK,
                    "append");
        }
        Require(DBcommit(database) == DK_OK && DBclose(database) == DK_OK, "commit");
        std::int32_t item = 0;
        float back[10];
        Require(DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) == DK_OK &&
                    DBattachA(database, curves[0], &item, 0, nullptr) == DK_OK &&
                    DBread(item, static_cast<std::int32_t>(at * 10), 10, back) == DK_OK &&
                    DBclose(database) == DK_OK,
                "follow");
        at += 10;
    }
    unlink(path.c_str());
}

constexpr int repetitions = 5;
BENCHMARK(BM_ReadRaw)->Arg(blockSamples)->Arg(curveSamples)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_ReadRawChecked)->Arg(blockSamples)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_ReadStore)->Arg(blockSamples)->Arg(curveSamples)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_WriteRaw)->Iterations(3)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_WriteStore)->Iterations(3)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_OpenAttachClose)->Repetitions(repetitions)->UseRealTime();
BENCHMARK(BM_Tick)->Arg(1)->Arg(100)->Repetitions(repetitions)->UseRealTime();

/// Keeps the medians beside printing them.
class MedianKeeper final : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.aggregate_name == "median")
                medians_[run.run_name.function_name + "/" + run.run_name.args] = {run.GetAdjustedRealTime(),
                                                                                  run.GetAdjustedCPUTime()};
    }
    /// Processor time beside elapsed time: on a busy machine only the first is a property of the program.
    void PrintRatio(const char* what, const std::string& of, const std::string& to) const {
        const auto numerator = medians_.find(of);
        const auto denominator = medians_.find(to);
        if (numerator != medians_.end() && denominator != medians_.end())
            std::printf("%-58s %6.3f (processor time %.3f)\n", what,
                        numerator->second.elapsed / denominator->second.elapsed,
                        numerator->second.processor / denominator->second.processor);
    }

  private:
    struct Times {
        double elapsed;
        double processor;
    };
    std::map<std::string, Times> medians_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    MedianKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.PrintRatio("read rate, store / raw, a curve in one call", "BM_ReadRaw/10000000",
                      "BM_ReadStore/10000000");
    // Programs read in blocks. A block goes through SQLite's page cache and a buffer of the store, so that a
    // call that fails leaves its outputs alone; a whole curve in one call pays for a buffer of its size.
    // Every call takes and drops the read lock, so that no recorder waits for a reader.
    keeper.PrintRatio("read rate, store / raw, in calls of 65536", "BM_ReadRaw/65536", "BM_ReadStore/65536");
    keeper.PrintRatio("read rate, store / raw with the same checksum", "BM_ReadRawChecked/65536",
                      "BM_ReadStore/65536");
    keeper.PrintRatio("write rate, store / raw with fsync (at least 0.5)", "BM_WriteRaw/", "BM_WriteStore/");
    keeper.PrintRatio("tick at 100 h / tick at 1 h (at most 1.2)", "BM_Tick/100", "BM_Tick/1");
    return 0;
}
