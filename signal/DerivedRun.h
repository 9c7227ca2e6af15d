// What the makers of derived curves share: a run over a recording that may still grow, which goes on from
// where the run before stopped and writes in transactions of one size. The makers keep their arithmetic.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "db/Curves.h"
#include "general/modGeneral.h"

namespace vorela {

/// Samples taken between two commits: bounds what a transaction holds and how long it locks out the recorder.
inline constexpr std::int64_t samplesPerCommit = 917504;

/// Samples of a curve's grid by the indices of the first and the last one, hundredths of a second; empty when
/// last < first.
struct GridSpan {
    std::int32_t first = 0;
    std::int32_t last = -1;
    std::int16_t step = 1;

    /// What is recorded of a curve; of an empty one, nothing from where its grid begins.
    static GridSpan Of(const ItemInfo& info) {
        return {info.IsEmpty() ? info.firstIndex : info.extentFirst,
                info.IsEmpty() ? info.firstIndex - 1 : info.extentLast, info.step};
    }
    bool IsEmpty() const { return last < first; }
    std::int64_t Count() const { return IsEmpty() ? 0 : (std::int64_t{last} - first) / step + 1; }
    /// Throws overflow (6) where the index does not fit into 32 bits.
    std::int32_t IndexOf(std::int64_t position) const;
};

/// Hands the samples from position `from` on to `work`, at most `atOnce` at a time. False as soon as `work`
/// is.
bool InPieces(const GridSpan& span, std::int64_t from, std::int64_t atOnce,
              const std::function<bool(const GridSpan& piece)>& work);

/// The samples of a piece; present[i] is 0 for a gap and for what is no number.
struct SampleBlock {
    std::vector<float> values;
    std::vector<std::uint8_t> present;
    void Read(CurveReader& curve, const GridSpan& piece);
};

/// A transaction that begins with the first need to write, and again after a commit on a long run. Rolled
/// back unless committed.
class WriteTransaction {
  public:
    explicit WriteTransaction(const Database& database) : database_(database) {}
    const Database& On() const { return database_; }
    void Begin();
    void Commit();

  private:
    const Database& database_;
    std::optional<Transaction> transaction_;
};

/// Where a run stopped.
struct DerivedMark {
    std::string input;
    std::string output;
    std::string made;              ///< how the curve was made
    GridSpan taken;                ///< samples of the input that went into it
    std::int32_t outputLast = -1;  ///< the last index written
};

/// A run that makes one curve of one dataset.
class DerivedRun {
  public:
    /// `recorded` of the curve `input` when the run begins; `output`: the name of the curve to make.
    DerivedRun(WriteTransaction& transaction, std::string dataset, std::string input,
               const GridSpan& recorded, std::string output);

    /// Input and output are as the run that left `mark` left them, but for growth. They are not when the
    /// dataset was imported again, nor when the output was made in another way since. A recording in the
    /// place of the output is as good as any.
    bool CanGoOnFrom(const DerivedMark& mark) const;

    /// Opens the output: for extension (made when it is missing), or anew from an empty item.
    CurveWriter& Extend(const DerivedCurve& attributes);
    CurveWriter& StartAnew(const DerivedCurve& attributes);
    /// For pieces that read under the lock which they then need anyway.
    void Begin() { transaction_.Begin(); }
    /// Writes what is buffered and states the valid span, in the transaction that has begun.
    void State(std::int64_t validFirst, std::int64_t validLast);
    void Commit() { transaction_.Commit(); }

    const GridSpan& Recorded() const { return recorded_; }
    CurveWriter& Output() { return *writer_; }
    /// The mark of a run that has stopped behind `last`.
    DerivedMark MarkAt(std::int32_t last) const;

    /// Of the output as it is now; nothing when there is none.
    std::optional<ItemInfo> OutputInfo() const;

  private:
    WriteTransaction& transaction_;
    std::string dataset_;
    std::string input_;
    GridSpan recorded_;
    std::string output_;
    std::string made_;
    std::optional<CurveWriter> writer_;
};

/// Bar ticks and a status text with the time index reached, for a run over a curve that the user waits for;
/// an extension is silent. May be told of every sample: it passes on about two hundred of them, ten for each
/// tick of the bar.
class RunProgress {
  public:
    RunProgress(bool shown, std::string status, const GridSpan& span);

    void At(std::int32_t index) {
        if (scope_ != nullptr && index >= next_)
            Show(index);
    }

  private:
    void Show(std::int32_t index);

    std::string status_;
    std::int64_t stride_;
    std::int64_t next_;
    std::unique_ptr<ProgressScope> scope_;
};

}  // namespace vorela
