// Tests on real databases: the built libraries of the acquisition system, loaded as the program loads them,
// and databases made from functions of the time index.
#pragma once

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {

/// A curve to be made: value(index) for `count` samples from `first` on; nothing is a gap.
struct RecordedCurve {
    std::string name;
    std::string unit;
    std::int32_t count = 0;
    std::function<std::optional<double>(std::int32_t)> value;
    std::int32_t first = 0;  ///< hundredths of a second
    std::int16_t step = 10;  ///< hundredths of a second
    float scale = 1.0F;
    float offset = 0.0F;
    std::int16_t indexKind = 1;  ///< time
    std::string made{};          ///< not empty: a derived curve
};

/// A curve as it stands in a database: its whole grid from first to last index written.
struct StoredCurve {
    ItemInfo info;
    std::vector<std::optional<float>> samples;
    /// Sample at a time index; nothing for a gap and outside.
    std::optional<float> At(std::int32_t index) const;
    /// All that a follower may change besides the samples.
    auto Attributes() const {
        return std::tuple(info.extentFirst, info.extentLast, info.validFirst, info.validLast, info.step,
                          info.made);
    }
};

/// Tool data of a valve that is at code 3 from each boundary on and at code 1 half a period later, code 1
/// before the first: the four curves PVLPOS, PVLID, PVLIDT, PVLT as the tool logs them (16-bit timer that
/// wraps).
struct ValvePulses {
    std::int32_t firstBoundary = 0;  ///< hundredths of a second
    std::int32_t period = 0;         ///< hundredths of a second, even
    std::int32_t count = 0;          ///< samples
    std::int32_t first = 0;
    std::int16_t step = 10;
};
std::vector<RecordedCurve> ValveCurves(const ValvePulses& valve);

/// Loads DKBase and Smooth32 from the build's bin folder, once for the process. False after a failure is
/// added.
bool LoadBuiltLibraries();

/// Libraries loaded and an empty selection.
class DravikFixture : public SettingsFixture {
  public:
    std::string DatabasePath() const { return folder.File("well.vdb"); }

    /// Creates the database when it is not there, the dataset with it.
    void AddCurve(const std::string& dataset, const RecordedCurve& curve) { AddCurves(dataset, {curve}); }
    void AddCurves(const std::string& dataset, const std::vector<RecordedCurve>& curves);
    /// Writes further samples behind the last one that is there.
    void Append(const std::string& dataset, const RecordedCurve& curve, std::int32_t count);
    /// Writes `count` samples of all curves, from their sample `from` on, in one transaction.
    void Record(const std::string& dataset, const std::vector<RecordedCurve>& curves, std::int32_t from,
                std::int32_t count);
    /// A record of one sample.
    void PutRecord(const std::string& path, std::span<const std::byte> sample);
    void SetPresentation(const std::string& dataset, const Presentation& presentation);
    void DeleteItem(const std::string& path);
    StoredCurve ReadCurve(const std::string& dataset, const std::string& curve);
    bool HasCurve(const std::string& dataset, const std::string& curve);

    /// Selects datasets of the database as the dialog's OK would, with these input curves.
    void Select(const std::vector<std::string>& datasets, const std::string& pressure = "ZG",
                const std::string& flow = "RTC");

    /// Paths "file/dataset" that the chooser gives, one entry for each DBselectA; without an entry it is
    /// cancelled.
    std::deque<std::vector<std::string>> chooserAnswers;

  protected:
    void SetUp() override;
    void TearDown() override;
};

}  // namespace vorela::test
