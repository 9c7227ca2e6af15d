// A recording that grows in a database as an acquisition system would write it, followers of it, and what a
// follower leaves behind: derived curves and cycle record, to be compared with one run over the final data.
#pragma once

#include "follow/StartUp.h"
#include "signal/modDFilt.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {

/// A made test at one level: pressure and flow (psi, rps) with drift, noise and harmonics, a valve whose
/// changes lie off the sample grid, and the depth.
struct TestPlan {
    double periodSeconds = 8.0;
    std::int32_t samples = 520;
    std::int32_t first = 240;          ///< hundredths of a second
    std::int32_t firstBoundary = 523;  ///< hundredths of a second
    double depth = 5000.0;             ///< ft
    bool gaps = false;                 ///< some samples of pressure and flow are missing
    int seed = 1;
};
std::vector<RecordedCurve> CurvesOf(const TestPlan& plan);

/// Plays curves into a dataset, all of them in one transaction for each piece.
class Recording {
  public:
    /// The items are there and empty, the recording flag is set.
    Recording(DravikFixture& fixture, std::string dataset, std::vector<RecordedCurve> curves);
    /// The next samples of every curve, as many as are left; the flag is cleared with the last of them.
    void Append(std::int32_t samples);
    void AppendAll() { Append(Left()); }
    std::int32_t Left() const { return curves_.front().count - written_; }

  private:
    void WriteFlag(std::int16_t recording);

    DravikFixture* fixture_;
    std::string dataset_;
    std::vector<RecordedCurve> curves_;
    std::int32_t written_ = 0;
};

/// How derived curves are made.
struct Way {
    std::int16_t filterN = 1;
    bool bandPass = false;
    std::int16_t spinnerFilter = 0;
    double spinnerLength = 0.0;  ///< s
};
void Use(const Way& way, double periodSeconds);

/// Derived curves by name and the cycle record of one dataset.
struct Outcome {
    std::map<std::string, StoredCurve> curves;
    CycleRecord cycles;
};
/// "" when they are the same: bit by bit, the spinner filter's curve to one unit in the last place; else
/// where they first differ.
std::string Difference(const Outcome& live, const Outcome& batch);

class LiveFixture : public DravikFixture {
  protected:
    LiveFixture() { ComposeRooms(); }
    ~LiveFixture() override { ReleaseAllFilters(); }
    /// What the derived curves and the cycle record of a selected dataset are now.
    Outcome Observe(const std::string& dataset);
    /// One interactive run over a selected dataset, as the offers after a selection would make it.
    static bool CreateAll(std::size_t index);
    /// The outcome of one interactive run over the whole of `curves` in a dataset of their own, which is
    /// selected then.
    Outcome OneRunOver(const std::vector<RecordedCurve>& curves);
    void ExpectOneRun(const Outcome& live, const std::vector<RecordedCurve>& curves) {
        EXPECT_EQ(Difference(live, OneRunOver(curves)), "");
    }
    /// Of a dataset that is not there yet.
    std::string NewName() { return "MADE" + std::to_string(++names_); }

  private:
    int names_ = 0;
};

}  // namespace vorela::test
