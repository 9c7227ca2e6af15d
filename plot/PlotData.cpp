#include "plot/PlotData.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plot/modPlot.h"

namespace vorela {
namespace {

constexpr const char* source = "modPlot";
constexpr float breakMark = std::numeric_limits<float>::quiet_NaN();
/// A column of at least this many samples is answered by the overview: its edges are then off by a quarter of
/// it at most.
constexpr std::int64_t overviewColumn = 4 * CurveOverview::bucketSamples;

class PointCollector {
  public:
    explicit PointCollector(CurvePoints& result) : result_(result) {}

    void Sample(double time, double value) {
        Column(time, {static_cast<float>(value), static_cast<float>(value)});
    }
    void Column(double time, const MinMax& values) {
        if (values.IsEmpty()) {
            Break(time);
            return;
        }
        result_.points.push_back({time, values.minimum, values.maximum});
        DataExtent& extent = result_.extent;
        extent.minimum = std::min<double>(extent.minimum.value_or(values.minimum), values.minimum);
        extent.maximum = std::max<double>(extent.maximum.value_or(values.maximum), values.maximum);
    }
    void Break(double time) {
        if (!result_.points.empty() && !result_.points.back().IsBreak())
            result_.points.push_back({time, breakMark, breakMark});
    }

  private:
    CurvePoints& result_;
};

void CollectSamples(PlotCurveReader& curve, TimeSpan span, PointCollector& collector) {
    const std::int64_t first = std::max<std::int64_t>(curve.PositionAtOrAfter(span.start), 0);
    const auto value = [&](double time) {
        if (const std::optional<double> at = curve.At(time))
            collector.Sample(time, *at);
    };
    if (curve.IndexOf(first) > span.start)
        value(span.start);
    std::int64_t position = first;
    for (; position < curve.Count() && curve.IndexOf(position) <= span.end; ++position) {
        const float sample = curve.Sample(position);
        if (std::isnan(sample))
            collector.Break(curve.IndexOf(position));
        else
            collector.Sample(curve.IndexOf(position), sample);
    }
    if (position > first && curve.IndexOf(position - 1) < span.end)
        value(span.end);
}

/// Columns wide enough for the overview to answer.
bool IsWide(const PlotCurveReader& curve, std::int32_t step) {
    return step / std::max<std::int64_t>(curve.Info().step, 1) >= overviewColumn;
}

void CollectGlimpses(PlotCurveReader& curve, TimeSpan span, std::int32_t step, PointCollector& collector) {
    std::int64_t from = curve.PositionAtOrAfter(span.start);
    for (std::int64_t time = span.start; time <= span.end; time += step) {
        const double next = static_cast<double>(std::min<std::int64_t>(time + step, span.end + 1LL));
        const std::int64_t to = curve.PositionAtOrAfter(next);
        if (to > 0 && from < curve.Count())
            collector.Column(static_cast<double>(time) + step / 2.0, curve.Glimpse(from, to));
        from = to;
    }
}

void CollectColumns(PlotCurveReader& curve, TimeSpan span, std::int32_t step, PointCollector& collector) {
    const bool wide = IsWide(curve, step);
    const CurveOverview* overview = wide ? &curve.Overview() : nullptr;
    constexpr std::int64_t bucket = CurveOverview::bucketSamples;
    const std::int64_t firstPosition = curve.PositionAtOrAfter(span.start);
    const std::int64_t endPosition = curve.PositionAtOrAfter(span.end + 1.0);
    std::int64_t from = firstPosition;
    for (std::int64_t time = span.start; time <= span.end && from < endPosition; time += step) {
        const bool last = time + step > span.end;
        std::int64_t to = last ? endPosition : curve.PositionAtOrAfter(static_cast<double>(time + step));
        if (wide && !last)
            to = to / bucket * bucket;
        MinMax values;
        if (overview == nullptr || to - from < 2 * bucket) {
            values = curve.Of(from, to);
        } else {
            const std::int64_t even = (std::max<std::int64_t>(from, 0) + bucket - 1) / bucket;
            const std::int64_t evenEnd = to / bucket;
            values = overview->OfBuckets(even, evenEnd);
            // The range's own ends are exact.
            values.Add(curve.Of(from, even * bucket));
            values.Add(curve.Of(evenEnd * bucket, to));
        }
        collector.Column(static_cast<double>(time) + step / 2.0, values);
        from = to;
    }
}

const char* ReadingStep(Quantity quantity) {
    switch (quantity) {
        case Quantity::pressure:
        case Quantity::flow:
            return "Get curve values";
        case Quantity::filteredPressure:
        case Quantity::filteredFlow:
            return "Get filter curve values";
        case Quantity::valve:
            break;
    }
    return "Get valve curve values";
}

/// The curves of one dataset while its database is open.
class DatasetCurves {
  public:
    explicit DatasetCurves(const DatasetRecord& record) : database_(record.database) {}
    DatasetCurves(const DatasetCurves&) = delete;
    DatasetCurves& operator=(const DatasetCurves&) = delete;

    /// False when the database cannot be opened or holds none of the curves.
    bool Attach(const DatasetRecord& record, const std::array<std::string, quantityCount>& names,
                bool verify) {
        if (!database_.IsOpen())
            return false;
        bool any = false;
        for (std::size_t i = 0; i < quantityCount; ++i) {
            if (std::optional<PlotCurveReader> reader =
                    PlotCurveReader::Attach(database_, record.dataset, names[i], verify)) {
                readers_[i].emplace(std::move(*reader));
                any = true;
            }
        }
        return any;
    }
    std::optional<PlotCurveReader>& Reader(std::size_t quantity) { return readers_[quantity]; }
    /// Items go before their database.
    void Detach() {
        for (auto& reader : readers_)
            reader.reset();
        database_.Close();
    }

  private:
    DravikDatabase database_;
    std::array<std::optional<PlotCurveReader>, quantityCount> readers_;
};

std::optional<TimeSpan> RecordedSpan(const ItemInfo& info) {
    if (info.IsEmpty())
        return std::nullopt;
    return TimeSpan{info.extentFirst, info.extentLast};
}

void ReadDatasetCurves(DatasetCurves& curves, const std::array<std::string, quantityCount>& names,
                       const PlotRequest& request, TimeSpan span, DatasetPlot& plot) {
    for (std::size_t i = 0; i < quantityCount; ++i) {
        std::optional<PlotCurveReader>& reader = curves.Reader(i);
        if (!reader)
            continue;
        const auto quantity = static_cast<Quantity>(i);
        Attempt(ReadingStep(quantity), [&] {
            plot.curves.push_back({quantity, names[i], GetUnitText(reader->Info().unitCode),
                                   ReadCurvePoints(*reader, span, request.pointsWanted, request.mayBeCoarse),
                                   RecordedSpan(reader->Info())});
            if (const std::optional<RunTimeError> fault = reader->TakeFault())
                throw *fault;
        });
    }
}

TimeSpan InHundredths(const PlottedRange& seconds) {
    return {CheckedNarrow<std::int32_t>(IndexUnitsIn(seconds.start), source),
            CheckedNarrow<std::int32_t>(IndexUnitsIn(seconds.end), source)};
}

/// The plotted span of a dataset in the requested mode. Nothing after a report.
std::optional<TimeSpan> DecideSpan(const PlotRequest& request, std::size_t dataset,
                                   const DatasetRecord& record) {
    return Attempt("Getting x-axis range", std::optional<TimeSpan>{}, [&]() -> std::optional<TimeSpan> {
        if (request.mode == TimeMode::zoomed)
            return request.zoom;
        const auto plotted = [] { return InHundredths({PrsOpt().rangeStart, PrsOpt().rangeEnd}); };
        const bool pages = request.mode == TimeMode::follow && TurnsPages(PrsOpt());
        const TimeSpan span = pages ? InHundredths(PageThatShows(PrsOpt(), record.extentB))
                                    : ChosenSpan(PrsOpt(), record.extentA, record.extentB);
        if (!pages || span != plotted())
            UpdateTimeRange(span.start, span.end);
        NotePlottedRange(dataset);
        return plotted();
    });
}

void JoinExtents(const std::vector<DatasetPlot>& datasets, DataExtents& extents) {
    for (const DatasetPlot& dataset : datasets) {
        for (const PlottedCurve& curve : dataset.curves) {
            DataExtent& extent = extents[IndexOf(curve.quantity)];
            const DataExtent& own = curve.values.extent;
            if (!own.minimum || !own.maximum)
                continue;
            extent.minimum = std::min(extent.minimum.value_or(*own.minimum), *own.minimum);
            extent.maximum = std::max(extent.maximum.value_or(*own.maximum), *own.maximum);
        }
    }
}

void DecideAxes(const PlotRequest& request, PlotInformation& information) {
    DataExtents extents;
    JoinExtents(information.datasets, extents);
    // A zoomed view has ranges of its own; the chosen ones stay for the way back.
    PresentationOptions zoomed = PrsOpt();
    PresentationOptions& options = request.mode == TimeMode::zoomed ? zoomed : PrsOpt();
    UpdateYAxes(options, extents);
    for (std::size_t i = 0; i < quantityCount; ++i)
        information.axes[i] = request.view.axes[i].value_or(
            AxisRange{options.axes[i].plottedMinimum, options.axes[i].plottedMaximum});
    information.hidden = request.view.hidden;
}

void TakeCycles(const CycleRecord& cycles, PlotInformation& information) {
    for (std::int32_t i = 0; i < cycles.RealCycles(); ++i) {
        const auto at = static_cast<std::size_t>(i);
        information.cycles.push_back({i + 1, {cycles.start[at], cycles.start[at + 1]}});
    }
    if (!cycles.ShowsWindow() && cycles.selectedCycle <= cycles.RealCycles())
        information.selectedCycle = cycles.selectedCycle;
}

bool ReadDataset(const PlotRequest& request, std::size_t dataset,
                 const std::array<std::string, quantityCount>& names, PlotInformation& information,
                 std::string& message) {
    const DatasetRecord& record =
        CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(dataset), source);
    DatasetCurves curves(record);
    const bool attached =
        Attempt("Attaching to curves", false, [&] { return curves.Attach(record, names, request.verify); });
    if (!attached) {
        message = "Error attaching to dataset: " + record.dataset;
        return false;
    }
    if (information.datasets.empty()) {
        const std::optional<TimeSpan> span = DecideSpan(request, dataset, record);
        if (!span)
            return false;
        information.span = *span;
        information.elapsedOrigin = PrsOpt().elapsed ? ElapsedOrigin(record.extentA) : 0;
        TakeCycles(record.cycles, information);
        information.title = Trimmed("Vorela plot - " + Trimmed(record.dataset) + " " +
                                    Trimmed(record.presentation.toolString));
    }
    DatasetPlot plot{dataset, {}};
    ReadDatasetCurves(curves, names, request, information.span, plot);
    Attempt("Detaching from curves", [&] { curves.Detach(); });
    information.datasets.push_back(std::move(plot));
    return true;
}

}  // namespace

CurvePoints ReadCurvePoints(PlotCurveReader& curve, TimeSpan span, std::int32_t pointsWanted,
                            bool mayBeCoarse) {
    CurvePoints result;
    const std::int32_t own = curve.Info().step;
    result.step = SamplingStep(span, pointsWanted, own);
    // Up to two samples a column the samples themselves are drawn, with smooth edges.
    result.dense = result.step > 2 * own;
    PointCollector collector(result);
    result.coarse = mayBeCoarse && result.dense && IsWide(curve, result.step) && curve.OverviewIsLong();
    if (result.coarse)
        CollectGlimpses(curve, span, result.step, collector);
    else if (result.dense)
        CollectColumns(curve, span, result.step, collector);
    else
        CollectSamples(curve, span, collector);
    if (!result.points.empty() && result.points.back().IsBreak())
        result.points.pop_back();
    return result;
}

bool PlotInformation::IsCoarse() const {
    return std::ranges::any_of(datasets, [](const DatasetPlot& dataset) {
        return std::ranges::any_of(dataset.curves,
                                   [](const PlottedCurve& curve) { return curve.values.coarse; });
    });
}

double ReadOnForPlot(std::size_t dataset, int milliseconds) {
    constexpr std::int64_t blocksAtOnce = 16;
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    return Attempt("Get curve values", 1.0, [&] {
        const DatasetRecord& record =
            CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(dataset), source);
        std::vector<std::string> fallbacks;
        DatasetCurves curves(record);
        if (!curves.Attach(record, ChooseCurveNames(PlotFormat(), fallbacks), false))
            return 1.0;
        double done = 0, all = 0;
        for (std::size_t i = 0; i < quantityCount; ++i) {
            std::optional<PlotCurveReader>& reader = curves.Reader(i);
            if (!reader)
                continue;
            while (std::chrono::steady_clock::now() < until && !reader->GrowOverview(blocksAtOnce)) {
            }
            done += reader->OverviewShare();
            all += 1;
        }
        curves.Detach();
        return all > 0 ? done / all : 1.0;
    });
}

const PlottedCurve* DatasetPlot::Find(Quantity quantity) const {
    const auto found = std::find_if(curves.begin(), curves.end(),
                                    [&](const PlottedCurve& curve) { return curve.quantity == quantity; });
    return found == curves.end() ? nullptr : &*found;
}

std::array<std::string, quantityCount> ChooseCurveNames(const PlotFormatOptions& format,
                                                        std::vector<std::string>& fallbacks) {
    const CurveChoice& choice = CurrentSelection().choice;
    std::array<std::string, quantityCount> names;
    names[IndexOf(Quantity::pressure)] = choice.pressure;
    names[IndexOf(Quantity::flow)] = choice.flow;
    names[IndexOf(Quantity::valve)] = curve::valvePosition;
    names[IndexOf(Quantity::filteredPressure)] = FilteredPressureName(choice);
    names[IndexOf(Quantity::filteredFlow)] = FilteredFlowName(choice);
    if (format.flowCurve == 1) {
        if (CurveInCommonList(DravikFilteredFlowName(choice)))
            names[IndexOf(Quantity::flow)] = DravikFilteredFlowName(choice);
        else
            fallbacks.emplace_back(
                "The Dravik filtered flow curve has not been created.\r\r"
                "The unfiltered curve will be plotted.");
    }
    if (format.valve == 1) {
        if (ValveSignalInCommonList())
            names[IndexOf(Quantity::valve)] = curve::valveSignal;
        else
            fallbacks.emplace_back(
                "The reconstructed valve signal curve (PVLSIG) has not been created.\r\r"
                "The motor position curve (PVLPOS) will be plotted.");
    }
    return names;
}

bool GetPlotInformation(const PlotRequest& request, PlotInformation& information, std::string& message) {
    message.clear();
    information = PlotInformation{};
    if (!PlotDataAvailable(message))
        return false;
    return Attempt("Getting Plot Information", false, [&] {
        std::vector<std::string> fallbacks;
        const auto names = ChooseCurveNames(PlotFormat(), fallbacks);
        for (const std::string& fallback : fallbacks)
            CurrentPorts().messages->Show(MessageIcon::information, "Vorela", fallback);
        for (const std::size_t dataset : request.datasets)
            if (!ReadDataset(request, dataset, names, information, message))
                return false;
        return Attempt("Get plotted data", [&] { DecideAxes(request, information); });
    });
}

}  // namespace vorela
