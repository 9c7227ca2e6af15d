// Filtered pressure and flow curves: half-period difference or band pass, created or extended in a dataset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "signal/SelectedDatasets.h"

namespace vorela {

struct GridSpan;
struct ItemInfo;

/// True when both filtered curves are in every selected dataset.
bool FilteredCurvesExist();

/// Creates (incremental false) or extends (true) both filtered curves of dataset `index`. False after a
/// report.
///
/// A first run, one with other filter settings than last time and one after the curve was changed from
/// elsewhere make the curve anew from an empty item; an extension goes on where the last run of this program
/// stopped. Either way the curve is, bit for bit, what one run over the samples recorded by now gives.
/// Samples that are missing or are no numbers are not available to the filters. A recording that stands in
/// the place of one of them is left as it is.
bool CreateFilteredCurves(const Database& database, std::size_t index, bool incremental);

/// How the filtered curves of the current parameters are made: the text that such a curve carries.
std::string FilterDescription();

/// How both filtered curves of dataset `index` stand against what CreateFilteredCurves would leave. For
/// guarded bodies: throws.
std::vector<CurveStanding> FilteredCurveStandings(const Database& database, std::size_t index);

/// Where the filtered curve of an input of these extents would be a full response with the current period and
/// kind of filter and `filterN` passes; empty where there is none. Throws as the filter does where it cannot
/// be made.
GridSpan FilteredSpanOf(const ItemInfo& input, int filterN);

/// First time index at which a sample of the dataset's filtered curves may still change when the recording
/// grows: values that lack later inputs, and last bits in the band pass's transform in progress. Samples
/// before it are final. The first index of 32 bits when this program has not made the curves for the current
/// selection.
std::int32_t FirstProvisionalIndex(std::size_t index);

/// The dialog's create step: stores FilterN (nothing selected: 1), writes the parameters, creates the curves
/// of every selected dataset. False at the first that fails, and before anything is done when all are there
/// and one of them is a recording, which would have to be replaced.
bool CreateFilteredCurvesInAll(int filterN);
/// The same with the stored FilterN: what the valve reconstruction's prompt runs.
bool CreateFilteredCurvesInAll();

/// What the dialog shows.
struct FilterInformation {
    std::string inputPressure, inputFlow, outputPressure, outputFlow;
    /// Entries of cboFilter: 1, 2, 3 … passes, behind them a stored FilterN that is none of these.
    std::vector<int> passChoices;
    std::size_t storedChoice = 0;  ///< the entry of the stored FilterN
};
FilterInformation GetFilterInformation();

}  // namespace vorela
