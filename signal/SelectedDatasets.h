// What the runs over the selected datasets share: access to the records, and state that is remembered of a
// dataset between two extensions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "db/DatasetRecord.h"

namespace vorela {

/// The record of a selected dataset; throws subscript out of range.
DatasetRecord& SelectedDataset(std::size_t index);

/// True when something is selected and every selected dataset's database opens; otherwise a critical box has
/// told.
bool DatabasesOpen();

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
