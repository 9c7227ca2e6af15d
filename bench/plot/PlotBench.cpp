// Redraw of the dual plot (six curves) from the database at growing lengths of record, and the drag of a
// cursor over it. The peer is what a redraw would cost that looks at every sample. VORELA_BENCH_LARGE=1 adds
// 1e8 samples (2 GB of disk).
#include <benchmark/benchmark.h>

#include <QApplication>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "BuildPaths.h"
#include "db/Curves.h"
#include "db/modSelectData.h"
#include "platform/DravikLibraries.h"
#include "plot/CurveSamples.h"
#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"
#include "plotview/PainterSurface.h"
#include "plotview/PlotWidget.h"

namespace vorela {
namespace {

constexpr std::int16_t step = 10;
constexpr std::int32_t block = 1 << 20;
constexpr int pictureWidth = 1200;
constexpr int pictureHeight = 700;

void Check(std::int32_t status) {
    if (status != DK_OK)
        throw std::runtime_error(LoadedLibraries().database.DBlastdetail());
}

/// A database with one dataset of `samples` samples in each curve, selected; removed with the object.
class Record {
  public:
    explicit Record(std::int64_t samples)
        : path_(
              (std::filesystem::temp_directory_path() / ("vorela-bench-" + std::to_string(samples) + ".vdb"))
                  .string()) {
        std::filesystem::remove(path_);
        Write(static_cast<std::int32_t>(samples));
        InitialiseDatasetVariables();
        std::vector<DatasetRecord> records;
        if (!ReadDatasets(path_, {"LEVEL"}, records) || !AppendDatasets(records))
            throw std::runtime_error("the bench's own database cannot be selected");
        ChooseCurves(PreselectedCurve(0, "ZG"), PreselectedCurve(0, "RTC"));
        PrsOpt() = PresentationOptions{};
        PrsOpt().timeAuto = true;
        PlotFormat() = PlotFormatOptions{};
    }
    ~Record() { std::filesystem::remove(path_); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    const std::string& Path() const { return path_; }

  private:
    void Write(std::int32_t samples) {
        const DkBaseApi& api = LoadedLibraries().database;
        std::int32_t database = 0;
        Check(api.DBopenA(path_.c_str(), DK_OPEN_CREATE, &database));
        int seed = 1;
        for (const char* name : {"ZG", "RTC", "PVLPOS", "ZG_p", "RTC_qs"})
            WriteCurve(database, name, samples, seed++);
        Check(api.DBclose(database));
    }
    static void WriteCurve(std::int32_t database, const std::string& name, std::int32_t samples, int seed) {
        const DkBaseApi& api = LoadedLibraries().database;
        const std::string path = ItemPath("LEVEL", name);
        DBNewItem attributes{};
        attributes.kind = DK_ITEM_CURVE;
        attributes.indexKind = DK_INDEX_TIME;
        attributes.step = step;
        attributes.unitText = "psi";
        Check(api.DBnewA(database, path.c_str(), &attributes));
        std::int32_t item = 0;
        Check(api.DBattachA(database, path.c_str(), &item, 0, nullptr));
        std::vector<float> values(block);
        std::uint32_t noise = static_cast<std::uint32_t>(seed);
        for (std::int32_t first = 0; first < samples; first += block) {
            const std::int32_t count = std::min(block, samples - first);
            for (std::int32_t i = 0; i < count; ++i) {
                noise = noise * 1664525U + 1013904223U;
                const double phase = 2 * M_PI * (first + i) / 2400.0;
                values[static_cast<std::size_t>(i)] = static_cast<float>(
                    100 * seed + 20 * std::sin(phase) + static_cast<double>(noise >> 8U) / (1 << 24));
            }
            Check(api.DBwrite(item, first * step, count, values.data()));
        }
        Check(api.DBdetach(item));
    }

    std::string path_;
};

void DrawOnce(TimeMode mode, const TimeSpan& span, bool mayBeCoarse = false) {
    QImage picture(pictureWidth, pictureHeight, QImage::Format_RGB32);
    PainterSurface surface({&picture, {pictureWidth, pictureHeight}, 1, 1, false, &picture});
    PlotRequest request;
    request.datasets = {0};
    request.mode = mode;
    request.zoom = span;
    request.mayBeCoarse = mayBeCoarse;
    PlotDrawing drawing;
    if (!RunPlotDriver(surface, request, {}, drawing))
        throw std::runtime_error("the plot was not drawn");
}

void FirstDraw(benchmark::State& state) {
    const Record record(state.range(0));
    while (state.KeepRunning()) {
        ForgetKeptCurves();
        DrawOnce(TimeMode::chosen, {});
    }
}

/// What the window shows first of a long record.
void FirstPicture(benchmark::State& state) {
    const Record record(state.range(0));
    while (state.KeepRunning()) {
        ForgetKeptCurves();
        DrawOnce(TimeMode::chosen, {}, true);
    }
}

/// One step of reading on between two events, asked to take 8 ms at most.
void ReadOnStep(benchmark::State& state) {
    const Record record(state.range(0));
    ForgetKeptCurves();
    DrawOnce(TimeMode::chosen, {}, true);
    while (state.KeepRunning())
        if (ReadOnForPlot(0, 8) >= 1)
            ForgetKeptCurves();
}

void Redraw(benchmark::State& state) {
    const Record record(state.range(0));
    DrawOnce(TimeMode::chosen, {});
    while (state.KeepRunning())
        DrawOnce(TimeMode::chosen, {});
    state.counters["kept_MB"] = static_cast<double>(KeptCurveBytes()) / 1e6;
}

/// A tenth of the record, moved on by a hundredth each time.
void RedrawWhilePanning(benchmark::State& state) {
    const Record record(state.range(0));
    DrawOnce(TimeMode::chosen, {});
    const auto end = static_cast<std::int32_t>(state.range(0) * step);
    std::int32_t at = 0;
    while (state.KeepRunning()) {
        DrawOnce(TimeMode::zoomed, {at, at + end / 10});
        at = at > end / 10 * 8 ? 0 : at + end / 1000;
    }
}

/// The peer: the same view by looking at every sample of every curve.
void EverySample(benchmark::State& state) {
    const Record record(state.range(0));
    while (state.KeepRunning()) {
        const DravikDatabase database(record.Path());
        for (const char* name : {"ZG", "RTC", "PVLPOS", "ZG_p", "RTC_qs"}) {
            CurveReader reader(database, "LEVEL", name, Between::linear);
            std::vector<float> values(PlotCurveReader::blockSamples);
            std::vector<std::uint8_t> present(values.size());
            MinMax all;
            for (std::int64_t first = 0; first < state.range(0); first += PlotCurveReader::blockSamples) {
                reader.ReadGrid(static_cast<std::int32_t>(first * step), values, present);
                all.Add(MinMaxOf(values));
            }
            benchmark::DoNotOptimize(all);
        }
    }
}

/// One mouse move of a drag: both lines moved and the window painted.
void CursorDrag(benchmark::State& state) {
    const Record record(state.range(0));
    PlotWidget plot;
    plot.resize(pictureWidth, pictureHeight);
    plot.show();
    if (!plot.ShowDataset(0))
        throw std::runtime_error("the plot was not drawn");
    QImage window(pictureWidth, pictureHeight, QImage::Format_RGB32);
    float percent = 10;
    while (state.KeepRunning()) {
        plot.SetCursors(percent, 90);
        plot.render(&window);
        percent = percent < 80 ? percent + 0.1F : 10;
    }
}

/// The strip's values after a move, read at most every 15 ms.
void CursorReadout(benchmark::State& state) {
    const Record record(state.range(0));
    PlotDrawing drawing;
    QImage picture(pictureWidth, pictureHeight, QImage::Format_RGB32);
    PainterSurface surface({&picture, {pictureWidth, pictureHeight}, 1, 1, false, &picture});
    PlotRequest request;
    request.datasets = {0};
    RunPlotDriver(surface, request, {}, drawing);
    double time = 0;
    const auto end = static_cast<double>(state.range(0)) * step;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(ReadCursors(drawing, time, end / 2));
        time = time < end * 0.9 ? time + end / 1000 : 0;
    }
}

void Lengths(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Arg(100'000)->Arg(10'000'000);
    if (std::getenv("VORELA_BENCH_LARGE") != nullptr)
        bench->Arg(100'000'000);
}

BENCHMARK(FirstDraw)->Apply(Lengths)->Iterations(1);
BENCHMARK(FirstPicture)->Apply(Lengths)->Iterations(1);
BENCHMARK(ReadOnStep)->Apply(Lengths);
BENCHMARK(Redraw)->Apply(Lengths);
BENCHMARK(RedrawWhilePanning)->Apply(Lengths);
BENCHMARK(EverySample)->Apply(Lengths);
BENCHMARK(CursorDrag)->Apply(Lengths);
BENCHMARK(CursorReadout)->Apply(Lengths);

}  // namespace
}  // namespace vorela

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    setenv("VORELA_REGISTRY", VORELA_BIN_DIR "/vorela.reg", 0);
    const QApplication application(argc, argv);
    if (!vorela::LoadDatabaseLibrary())
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
