// Planning and gridding a file beside reading the same file and converting every number by std::from_chars.
// The file lies in the folder VORELA_BENCH_DIR, else in the current one; its size in MB is the first argument
// (default 100). Resident memory is the process's peak. Processor time (the file lies in the cache); the best
// of seven runs of each.
#include <sys/resource.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dravik/exchange/GriddedSource.h"
#include "dravik/exchange/Plan.h"
#include "dravik/exchange/PlanReport.h"

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::string InBenchFolder(const std::string& name) {
    const char* folder = std::getenv("VORELA_BENCH_DIR");
    return (folder != nullptr ? std::string(folder) + "/" : "./") + name;
}

void WriteLog(const std::string& path, const char* head, char separator, std::size_t bytes) {
    const File file(std::fopen(path.c_str(), "wb"), std::fclose);
    std::size_t done = static_cast<std::size_t>(std::fprintf(file.get(), "%s", head));
    for (unsigned i = 0; done < bytes; ++i) {
        const unsigned noise = i * 2654435761U;
        done += static_cast<std::size_t>(std::fprintf(
            file.get(), "%u.%u%c%u.%04u%c%u.%03u%c%u.%02u\n", i / 10, i % 10, separator, 3000 + noise % 50,
            noise % 10000, separator, noise % 10, noise % 1000, separator, 80 + noise % 7, noise % 100));
    }
}

/// Every number of a file, by from_chars from blocks of whole lines.
double SumByFromChars(const std::string& path) {
    const File file(std::fopen(path.c_str(), "rb"), std::fclose);
    std::vector<char> block(1 << 20);
    std::size_t held = 0;
    double sum = 0.0;
    while (const std::size_t got = std::fread(block.data() + held, 1, block.size() - held, file.get())) {
        const char* end = block.data() + held + got;
        const char* last = end;
        while (last > block.data() && last[-1] != '\n')
            --last;
        for (const char* at = block.data(); at < last;) {
            double value = 0.0;
            const auto result = std::from_chars(at, last, value);
            at = result.ec == std::errc() ? result.ptr : at + 1;
            sum += value;
        }
        held = static_cast<std::size_t>(end - last);
        std::memmove(block.data(), last, held);
    }
    return sum;
}

double SumByImport(const std::string& path) {
    dravik::ImportPlan plan = dravik::PlanImport(path, {});
    if (!plan.CanImport()) {
        std::fprintf(stderr, "%s\n", dravik::RefusalText(plan).c_str());
        std::exit(1);
    }
    dravik::GriddedSource source(std::move(plan));
    std::vector<float> values(static_cast<std::size_t>(source.BlockRows()));
    std::vector<std::uint8_t> present(values.size());
    double sum = 0.0;
    for (std::int64_t row = 0; row < source.Grid().rowCount; row += source.BlockRows()) {
        const std::int64_t count = std::min(source.BlockRows(), source.Grid().rowCount - row);
        for (std::size_t curve = 0; curve < source.Curves().size(); ++curve) {
            source.Read(curve, row, count, values.data(), present.data());
            sum += static_cast<double>(values[0]);
        }
    }
    return sum;
}

double Seconds(const std::function<double()>& work) {
    const std::clock_t begin = std::clock();
    volatile double sum = work();
    static_cast<void>(sum);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// Runs of the three in turn, so that what else the machine does meets all of them.
void Compare(const char* what, const std::string& path) {
    constexpr int runs = 7;
    double peer = 1e9;
    double plan = 1e9;
    double all = 1e9;
    SumByFromChars(path);  // into the cache
    for (int i = 0; i < runs; ++i) {
        peer = std::min(peer, Seconds([&] { return SumByFromChars(path); }));
        plan =
            std::min(plan, Seconds([&] { return static_cast<double>(dravik::PlanImport(path, {}).rows); }));
        all = std::min(all, Seconds([&] { return SumByImport(path); }));
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%-10s from_chars %.3f s, plan %.3f s, plan and import %.3f s, ratio %.2f, peak %ld MB\n",
                what, peer, plan, all, peer / all, usage.ru_maxrss / 1024);
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t bytes = (argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 100) * 1000000;
    const std::string csv = InBenchFolder("bench_exchange.csv");
    const std::string las = InBenchFolder("bench_exchange.las");
    WriteLog(csv, "Time (s),P (psi),Q (rps),T (degF)\n", ',', bytes);
    Compare("delimited", csv);
    std::remove(csv.c_str());
    WriteLog(las, "~V\n VERS. 2.0 :\n WRAP. NO :\n~C\n TIME.S :\n P.PSI :\n Q.RPS :\n T.DEGF :\n~A\n", ' ',
             bytes);
    Compare("LAS", las);
    std::remove(las.c_str());
    return 0;
}
