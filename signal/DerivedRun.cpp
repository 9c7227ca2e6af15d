#include "signal/DerivedRun.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr const char* source = "DerivedRun";
/// Of a run's progress.
constexpr std::int64_t updates = 200;

}  // namespace

std::int32_t GridSpan::IndexOf(std::int64_t position) const {
    return CheckedNarrow<std::int32_t>(first + position * step, source);
}

bool InPieces(const GridSpan& span, std::int64_t from, std::int64_t atOnce,
              const std::function<bool(const GridSpan& piece)>& work) {
    const std::int64_t count = span.Count();
    for (std::int64_t at = from; at < count; at += atOnce)
        if (!work({span.IndexOf(at), span.IndexOf(std::min(at + atOnce, count) - 1), span.step}))
            return false;
    return true;
}

void SampleBlock::Read(CurveReader& curve, const GridSpan& piece) {
    values.resize(static_cast<std::size_t>(piece.Count()));
    present.resize(values.size());
    curve.ReadGrid(piece.first, values, present);
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!std::isfinite(values[i]))
            present[i] = 0;
}

void WriteTransaction::Begin() {
    if (!transaction_)
        transaction_.emplace(database_);
}

void WriteTransaction::Commit() {
    if (transaction_)
        transaction_->Commit();
    transaction_.reset();
}

DerivedRun::DerivedRun(WriteTransaction& transaction, std::string dataset, std::string input,
                       const GridSpan& recorded, std::string output)
    : transaction_(transaction),
      dataset_(std::move(dataset)),
      input_(std::move(input)),
      recorded_(recorded),
      output_(std::move(output)) {}

std::optional<ItemInfo> DerivedRun::OutputInfo() const {
    const std::optional<Item> output = Item::Find(transaction_.On(), ItemPath(dataset_, output_));
    return output ? std::optional(output->Info()) : std::nullopt;
}

bool DerivedRun::CanGoOnFrom(const DerivedMark& mark) const {
    const bool sameGrid = mark.taken.first == recorded_.first && mark.taken.step == recorded_.step;
    if (mark.input != input_ || mark.output != output_ || mark.taken.last > recorded_.last ||
        !(sameGrid || mark.taken.IsEmpty()))
        return false;
    const std::optional<ItemInfo> output = OutputInfo();
    return output &&
           (output->made.empty() || (output->made == mark.made && output->extentLast >= mark.outputLast));
}

CurveWriter& DerivedRun::Extend(const DerivedCurve& attributes) {
    made_ = attributes.made;
    return writer_.emplace(CurveWriter::OpenOrCreate(transaction_.On(), dataset_, output_, attributes));
}

CurveWriter& DerivedRun::StartAnew(const DerivedCurve& attributes) {
    transaction_.Begin();
    writer_.reset();  // an item is not deleted while it is attached
    made_ = attributes.made;
    return writer_.emplace(CurveWriter::Recreate(transaction_.On(), dataset_, output_, attributes));
}

void DerivedRun::State(std::int64_t validFirst, std::int64_t validLast) {
    writer_->Flush();
    writer_->Mark(CheckedNarrow<std::int32_t>(validFirst, source),
                  CheckedNarrow<std::int32_t>(validLast, source), made_);
}

DerivedMark DerivedRun::MarkAt(std::int32_t last) const {
    const std::optional<ItemInfo> output = OutputInfo();
    return {
        input_, output_, made_, {recorded_.first, last, recorded_.step}, output ? output->extentLast : -1};
}

RunProgress::RunProgress(bool shown, std::string status, const GridSpan& span)
    : status_(std::move(status)),
      stride_((std::int64_t{span.last} - span.first) / updates + 1),
      next_(span.first) {
    if (shown)
        scope_ = std::make_unique<ProgressScope>(span.first, span.last);
}

void RunProgress::Show(std::int32_t index) {
    next_ = index + stride_;
    scope_->Update(index);
    CurrentPorts().status->SetText(status_ + " " + std::to_string(index));
}

}  // namespace vorela
