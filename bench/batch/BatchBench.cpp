// The batch tool over ten levels of 24 h at 10 Hz, a process from start to end, beside a process that copies
// the same curves (those that the tool reads and those that it makes) through the store. The two take turns;
// the ratio of the medians follows. Files lie in the folder VORELA_BENCH_DIR, else in the current one.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "BuildPaths.h"
#include "interfaces/DKBase.h"

namespace {

constexpr int rounds = 7;
constexpr std::int32_t blockSamples = 65536;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench_batch: %s\n", what.c_str());
    std::exit(1);
}

void Require(std::int32_t status, const std::string& what) {
    if (status != DK_OK)
        Fail(what + ": " + DBlastdetail());
}

template <typename Value>
Value FieldOf(const void* information, std::size_t offset) {
    Value value;
    std::memcpy(&value, static_cast<const char*>(information) + offset, sizeof value);
    return value;
}

std::vector<std::string> NamesOf(std::int32_t database, const char* dataset) {
    std::vector<std::string> names;
    const auto add = [](void* list, const char* name, const void* information) {
        if (FieldOf<std::int16_t>(information, DK_INFO_KIND) != DK_ITEM_RECORD)
            static_cast<std::vector<std::string>*>(list)->emplace_back(name);
        return 0;
    };
    Require(DBenumA(database, dataset, add, &names), "enumerate");
    return names;
}

/// One curve of an open database into another one, a transaction of its own.
void CopyCurve(std::int32_t from, std::int32_t to, const std::string& path) {
    char information[DK_INFO_BYTES];
    std::int32_t source = 0;
    std::int32_t target = 0;
    Require(DBattachA(from, path.c_str(), &source, 0, information), path);
    DBNewItem curve{};
    curve.indexKind = FieldOf<std::int16_t>(information, DK_INFO_INDEX_KIND);
    curve.step = FieldOf<std::int16_t>(information, DK_INFO_STEP);
    curve.firstIndex = FieldOf<std::int32_t>(information, DK_INFO_FIRST_INDEX);
    curve.unitText = GetUnitTextA(FieldOf<std::int32_t>(information, DK_INFO_UNIT));
    Require(DBbegin(to), path);
    Require(DBnewA(to, path.c_str(), &curve), path);
    Require(DBattachA(to, path.c_str(), &target, 0, nullptr), path);
    const auto last = FieldOf<std::int32_t>(information, DK_INFO_EXTENT_LAST);
    std::vector<float> samples(blockSamples);
    for (auto at = FieldOf<std::int32_t>(information, DK_INFO_EXTENT_FIRST); at <= last;) {
        const std::int32_t count = std::min(blockSamples, (last - at) / curve.step + 1);
        Require(DBread(source, at, count, samples.data()), path);
        Require(DBwrite(target, at, count, samples.data()), path);
        at += count * curve.step;
    }
    Require(DBcommit(to), path);
    DBdetach(source);
    DBdetach(target);
}

void CopyCurves(const std::string& from, const std::string& to) {
    std::int32_t source = 0;
    std::int32_t target = 0;
    Require(DBopenA(from.c_str(), DK_OPEN_EXISTING, &source), from);
    Require(DBopenA(to.c_str(), DK_OPEN_CREATE, &target), to);
    for (const std::string& dataset : NamesOf(source, nullptr))
        for (const std::string& curve : NamesOf(source, dataset.c_str()))
            CopyCurve(source, target, dataset + curve);
    Require(DBclose(target), to);
    Require(DBclose(source), from);
}

struct Cost {
    double elapsed = 0.0;    ///< s
    double processor = 0.0;  ///< s
    double memory = 0.0;     ///< MB at most
};

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// What `body` costs in a process of its own, which it ends with its result.
Cost CostOf(const std::function<int()>& body) {
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = fork();
    if (process == 0)
        _exit(body());
    int status = 0;
    rusage used{};
    if (wait4(process, &status, 0, &used) != process || status != 0)
        Fail("a process failed");
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(),
            Seconds(used.ru_utime) + Seconds(used.ru_stime), static_cast<double>(used.ru_maxrss) / 1024};
}

/// Makes the record; the options that give the analysis the parameters of the well.
std::string Simulate(const std::string& database) {
    const std::string command =
        VORELA_BIN_DIR "/dravik simulate " + database + " --levels 10 --period 240 --cycles 360";
    FILE* const output = popen(command.c_str(), "r");
    std::string options;
    char* line = nullptr;
    std::size_t size = 0;
    while (output != nullptr && getline(&line, &size, output) > 0)
        if (std::strstr(line, "--set ") != nullptr)
            options.assign(line, std::strcspn(line, "\n"));
    std::free(line);
    if (output == nullptr || pclose(output) != 0 || options.empty())
        Fail(command);
    return options;
}

/// Becomes the batch tool.
int RunBatch(const std::string& database, const std::string& options) {
    const std::string command = "exec " VORELA_BIN_DIR "/vorela-batch " + database + " --settings " +
                                database + ".ini --json " + database + ".json" + options + " > /dev/null";
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    return 127;
}

double MedianOf(std::vector<Cost> costs, double Cost::*part) {
    std::sort(costs.begin(), costs.end(), [&](const Cost& a, const Cost& b) { return a.*part < b.*part; });
    return costs[costs.size() / 2].*part;
}

void Print(const char* what, const std::vector<Cost>& costs) {
    std::printf("%-12s elapsed %6.3f s  processor time %6.3f s  memory %4.0f MB\n", what,
                MedianOf(costs, &Cost::elapsed), MedianOf(costs, &Cost::processor),
                MedianOf(costs, &Cost::memory));
}

}  // namespace

int main() {
    const char* const given = std::getenv("VORELA_BENCH_DIR");
    const std::filesystem::path folder =
        std::filesystem::path(given != nullptr ? given : ".") / ("bench-batch-" + std::to_string(getpid()));
    const std::string recorded = folder / "recorded.vdb";
    const std::string analysed = folder / "analysed.vdb";
    const std::string copied = folder / "copied.vdb";
    std::filesystem::create_directories(folder);
    const std::string options = Simulate(recorded);
    std::ofstream(analysed + ".ini") << "[Version]\n";
    std::vector<Cost> batch;
    std::vector<Cost> copy;
    for (int round = 0; round < rounds; ++round) {
        std::filesystem::copy_file(recorded, analysed, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::remove(copied);
        sync();
        batch.push_back(CostOf([&] { return RunBatch(analysed, options); }));
        sync();
        copy.push_back(CostOf([&] {
            CopyCurves(analysed, copied);
            return 0;
        }));
    }
    Print("batch", batch);
    Print("copy", copy);
    std::printf("batch / copy (at most 1.5)  %.2f  (processor time %.2f)\n",
                MedianOf(batch, &Cost::elapsed) / MedianOf(copy, &Cost::elapsed),
                MedianOf(batch, &Cost::processor) / MedianOf(copy, &Cost::processor));
    std::filesystem::remove_all(folder);
    return 0;
}
