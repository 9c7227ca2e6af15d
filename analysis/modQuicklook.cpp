#include "analysis/modQuicklook.h"

#include <cmath>
#include <cstdint>

#include "analysis/modComplex.h"
#include "analysis/modIntervalInfo.h"
#include "db/DatasetRecord.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* source = "modQuicklook";

QuicklookRecord RecordOf(std::size_t interval) {
    const ParameterSet& parameters = CurrentParameters();
    const IntervalRecord& from = CurrentIntervals()[interval];
    const IntervalParameters& entry =
        CheckedAt(parameters.intervals, static_cast<std::int64_t>(interval), source);
    QuicklookRecord record;
    record.label = from.label;
    record.reservoirHpi = from.reservoirHpi;
    record.reservoirPhase = from.reservoirPhase;
    record.porosity = entry.porosity;
    record.viscosity = entry.viscosity;
    record.compressibility = entry.ct;
    record.b0 = parameters.b0;
    record.height = entry.height;
    record.period = parameters.period;
    record.boreholeDiameter = parameters.dw;
    return record;
}

// Closed-form fit to the response of a homogeneous layer. The tangent enters the skin factor with a plus
// sign; that is the field's quicklook formula and is kept, although a physical model would subtract it.
void ComputeOutputs(QuicklookRecord& record) {
    const double hpi = *record.reservoirHpi;
    const double theta = DegreesToRadians(*record.reservoirPhase);
    const double k = CheckedDivide(111.0 * record.viscosity * hpi, std::sin(theta) * record.height, source);
    record.permeability = k;
    const double x = CheckedDivide(0.16 * k * record.period,
                                   record.porosity * record.viscosity * record.compressibility *
                                       record.boreholeDiameter * record.boreholeDiameter,
                                   source);
    const double decades = CheckedLog(x, source) / std::log(10.0);
    record.skin = CheckedFinite(4.92 - 1.15 * decades + pi * std::tan(theta) / 4.0, source);
    record.surfaceHpi = CheckedDivide(hpi, record.b0, source);
}

/// An interval whose values have no logarithm, say, costs itself only: the first error goes on once the
/// others are computed.
void ComputeAll(std::vector<QuicklookRecord>& records) {
    std::optional<RunTimeError> first;
    for (std::size_t i = 1; i < records.size(); ++i) {
        if (!records[i].reservoirHpi || !records[i].reservoirPhase)
            continue;  // the interval has been told of
        try {
            WithIntervalNamed(records[i].label, [&] { ComputeOutputs(records[i]); });
        } catch (const RunTimeError& error) {
            if (!first)
                first = error;
            else
                first->description += "; " + error.description;
        }
    }
    if (first)
        throw RunTimeError{*first};
}

}  // namespace

std::vector<QuicklookRecord>& CurrentQuicklook() {
    static std::vector<QuicklookRecord> records;
    return records;
}

bool GetQuicklookInformation() {
    return Attempt(step::gettingQuicklookInformation, [] {
        const StatusScope status(step::gettingQuicklookInformation);
        std::vector<QuicklookRecord>& records = CurrentQuicklook();
        records.clear();
        if (CurrentSelection().datasets.empty() || CurrentIntervals().empty())
            return;
        records.resize(1);
        for (std::size_t i = 1; i < CurrentIntervals().size(); ++i)
            records.push_back(RecordOf(i));
        ComputeAll(records);
    });
}

}  // namespace vorela
