// What the runs over the selected datasets share: access to the records, and state that is remembered of a
// dataset between two extensions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "db/Curves.h"
#include "db/DatasetRecord.h"

namespace vorela {

/// The record of a selected dataset; throws subscript out of range.
DatasetRecord& SelectedDataset(std::size_t index);

/// One pass over a selected dataset: opens its database, hands it to `work` with the index and what else
/// `work` takes, and closes it. False when one of the three is; failures of opening and closing have been
/// told.
template <typename Work, typename... Arguments>
bool WithDatabase(std::size_t index, const Work& work, const Arguments&... arguments) {
    DravikDatabase database(SelectedDataset(index).database);
    return database.IsOpen() && work(std::as_const(database), index, arguments...) && database.Close();
}

/// True when something is selected and every selected dataset's database opens; otherwise a critical box has
/// told.
bool DatabasesOpen();

/// Throws, naming all of them, when some of `curves` are recordings in the selected datasets: a run over the
/// selection that would have to replace them does not begin.
void RefuseToReplaceRecordings(const std::vector<std::string>& curves);

/// How a derived curve stands against what one run over its inputs would write now.
enum class Standing { missing, recorded, madeOtherwise, incomplete, complete };
struct CurveStanding {
    Standing standing = Standing::missing;
    std::string path;    ///< "LEVEL1/ZG_p/1"
    std::string made{};  ///< how the curve was made, and how it would be now; where they differ
    std::string wanted{};
};
/// Standing of a curve whose name and description are known; `isComplete` is asked last.
CurveStanding StandingOf(const Database& database, const std::string& dataset, const std::string& curve,
                         const std::string& wanted,
                         const std::function<bool(const ItemInfo& output)>& isComplete);

/// One line on a curve that is not what the parameters would make of its inputs; empty for one that is, and
/// for one that is missing.
std::string StandingText(const CurveStanding& curve);

/// State kept by database and dataset name: a re-ordering of the records does no harm to it. Dies with the
/// selection.
template <typename State>
class PerDataset {
  public:
    /// Null when nothing is remembered.
    State* Find(const DatasetRecord& record) {
        ForgetOldSelection();
        const auto found = states_.find(KeyOf(record));
        return found == states_.end() ? nullptr : &found->second;
    }
    State& Of(const DatasetRecord& record) {
        ForgetOldSelection();
        return states_[KeyOf(record)];
    }
    void Forget(const DatasetRecord& record) { states_.erase(KeyOf(record)); }
    void ForgetAll() { states_.clear(); }
    auto begin() { return states_.begin(); }
    auto end() { return states_.end(); }

  private:
    using Key = std::pair<std::string, std::string>;
    static Key KeyOf(const DatasetRecord& record) { return {record.database, record.dataset}; }

    void ForgetOldSelection() {
        if (generation_ == CurrentSelection().generation)
            return;
        states_.clear();
        generation_ = CurrentSelection().generation;
    }

    std::map<Key, State> states_;
    std::uint64_t generation_ = 0;
};

}  // namespace vorela
