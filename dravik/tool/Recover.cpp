#include "dravik/tool/Recover.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <vector>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/NewDatabase.h"
#include "dravik/tool/StandardOutput.h"
#include "dravik/tool/ToolError.h"
#include "general/AtomicFile.h"
#include "general/TerminalText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

struct Span {
    std::int64_t first = 0;
    std::int64_t last = -1;
};

/// A folder beside the new database for what is not finished; gone with the object.
class WorkFolder {
  public:
    explicit WorkFolder(const std::string& output) : path_(output + ".recover-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr)
            throw ToolError(output + ": cannot be written: " + std::strerror(errno));
    }
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    std::string File(const char* name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// --- The damaged database ---

bool IsSameState(const struct stat& one, const struct stat& other) {
    return one.st_size == other.st_size && one.st_ino == other.st_ino &&
           one.st_mtim.tv_sec == other.st_mtim.tv_sec && one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

/// Opening a database rolls back what a killed writer left in its journal. That is a write: it is done to a
/// copy.
std::string PathToReadFrom(const std::string& path, const WorkFolder& folder) {
    struct stat journal {};
    struct stat file {};
    const std::string journalPath = path + "-journal";
    if (stat(path.c_str(), &file) != 0 || stat(journalPath.c_str(), &journal) != 0 || journal.st_size == 0)
        return path;
    WriteStandardOutput(vorela::TerminalText(path) +
                        ": a writer was interrupted; its journal is applied to a copy\n");
    std::string copy = folder.File("damaged.dkb");
    std::error_code failed;
    std::filesystem::copy_file(path, copy, failed);
    if (!failed)
        std::filesystem::copy_file(journalPath, copy + "-journal", failed);
    if (failed)
        throw ToolError(path + ": cannot be copied: " + failed.message());
    struct stat fileAfter {};
    struct stat journalAfter {};
    if (stat(path.c_str(), &fileAfter) != 0 || stat(journalPath.c_str(), &journalAfter) != 0 ||
        !IsSameState(file, fileAfter) || !IsSameState(journal, journalAfter))
        throw ToolError(path + ": is being written; end that first");
    return copy;
}

/// The spans that do not verify, by the item's full path.
class DamageList {
  public:
    explicit DamageList(const Database& database) {
        const auto collect = [](void* context, const char* path, std::int32_t first, std::int32_t last) {
            if (first <= last)
                static_cast<DamageList*>(context)->spans_[path].push_back({first, last});
        };
        if (DBverify(database.Handle(), collect, this) != DK_OK)
            fault_ = DBlastdetail();
    }
    /// What is wrong on the whole; "" when everything is sound.
    const std::string& Fault() const { return fault_; }
    /// The first bad span of an item that touches `span`.
    std::optional<Span> FirstWithin(const std::string& path, const Span& span) const {
        std::optional<Span> found;
        const auto list = spans_.find(path);
        for (const Span& bad : list == spans_.end() ? std::vector<Span>() : list->second)
            if (bad.last >= span.first && bad.first <= span.last && (!found || bad.first < found->first))
                found = bad;
        return found;
    }

  private:
    std::map<std::string, std::vector<Span>> spans_;
    std::string fault_;
};

// --- Copying ---

class Copier {
  public:
    Copier(const Database& from, Database& to) : from_(from), to_(to), damages_(from) {}

    bool CopyAll() {
        for (const vorela::ListedItem& dataset : from_.List("")) {
            if (dataset.info.shape.kind == DK_ITEM_DATASET)
                CopyDataset(dataset.name);
            else
                Lose("dataset " + dataset.name);
        }
        if (losses_ == 0 && !damages_.Fault().empty())
            Lose("something without a name (" + damages_.Fault() + ")");
        WriteStandardOutput(std::to_string(copied_) + (copied_ == 1 ? " item" : " items") + " copied, " +
                            std::to_string(losses_) + (losses_ == 1 ? " loss" : " losses") + "\n");
        return losses_ == 0;
    }

  private:
    void Lose(const std::string& what) {
        ++losses_;
        WriteStandardOutput("lost: " + vorela::TerminalText(what) + "\n");
    }

    void CopyDataset(const std::string& dataset) {
        std::vector<vorela::ListedItem> items;
        try {
            items = from_.List(dataset);
        } catch (const vorela::DatabaseError&) {
            Lose("dataset " + dataset);
            return;
        }
        if (items.empty())
            WriteStandardOutput("dataset " + vorela::TerminalText(dataset) +
                                " holds nothing and is left out\n");
        Transaction transaction(to_);
        for (const vorela::ListedItem& item : items)
            CopyItem(dataset + item.name, item);
        transaction.Commit();
    }

    void CopyItem(const std::string& path, const vorela::ListedItem& item) {
        const std::int16_t kind = item.info.shape.kind;
        const bool isKnown = kind == DK_ITEM_CURVE || kind == DK_ITEM_RECORD;
        const std::optional<Item> source = isKnown ? Item::FindQuietly(from_, path) : std::nullopt;
        if (!source) {
            Lose(path);
            return;
        }
        Create(path, item);
        Item target(to_, path);
        lost_.reset();
        const int lossesBefore = losses_;
        const ItemInfo& information = item.info;
        if (!information.IsEmpty())
            CopySpan(*source, target, item, path, {information.extentFirst, information.extentLast});
        EndLoss(path);
        // A derived curve with a hole no longer is a full response: without a valid span it is made anew.
        if (losses_ > lossesBefore && !information.made.empty())
            MarkValid(path, information.firstIndex, information.firstIndex - 1);
        ++copied_;
    }

    void Create(const std::string& path, const vorela::ListedItem& item) {
        const ItemInfo& information = item.info;
        DBNewItem attributes{};
        attributes.kind = information.shape.kind;
        attributes.indexKind = information.indexKind;
        attributes.step = information.step;
        attributes.firstIndex = information.firstIndex;
        attributes.sampleBytes = item.info.shape.sampleBytes;
        attributes.scale = information.scale;
        attributes.offset = information.offset;
        const std::string unit = vorela::GetUnitText(information.unitCode);
        attributes.unitText = unit.c_str();
        attributes.madeText = information.made.empty() ? nullptr : information.made.c_str();
        to_.Create(path, attributes);
        if (attributes.kind == DK_ITEM_CURVE)  // only curves have a valid span
            MarkValid(path, information.validFirst, information.validLast);
    }

    void MarkValid(const std::string& path, std::int32_t first, std::int32_t last) {
        Item(to_, path).Mark(first, last, nullptr);
    }

    /// Around what is known to be bad; what cannot be read beyond that is narrowed down by halves.
    void CopySpan(const Item& source, Item& target, const vorela::ListedItem& item, const std::string& path,
                  const Span& span) {
        const std::int64_t step = item.info.step;
        if (const auto bad = damages_.FirstWithin(path, span)) {
            if (bad->first > span.first)
                CopySpan(source, target, item, path, {span.first, bad->first - step});
            NoteLoss(path, {std::max(bad->first, span.first), std::min(bad->last, span.last)}, step);
            if (bad->last < span.last)
                CopySpan(source, target, item, path, {bad->last + step, span.last});
            return;
        }
        const std::int64_t longest = item.info.shape.kind == DK_ITEM_CURVE ? blockRows : 1;
        for (std::int64_t first = span.first; first <= span.last; first += longest * step)
            CopyBlock(source, target, item, path, first, std::min(longest, (span.last - first) / step + 1));
    }

    void CopyBlock(const Item& source, Item& target, const vorela::ListedItem& item, const std::string& path,
                   std::int64_t first, std::int64_t count) {
        if (Read(source, item, static_cast<std::int32_t>(first), count)) {
            Write(target, item, static_cast<std::int32_t>(first), count);
            return;
        }
        const std::int64_t step = item.info.step;
        if (count == 1) {
            NoteLoss(path, {first, first}, step);
            return;
        }
        CopyBlock(source, target, item, path, first, count / 2);
        CopyBlock(source, target, item, path, first + count / 2 * step, count - count / 2);
    }

    bool Read(const Item& source, const vorela::ListedItem& item, std::int32_t first, std::int64_t count) {
        present_.assign(static_cast<std::size_t>(count), 0);
        if (item.info.shape.kind == DK_ITEM_CURVE) {
            values_.resize(static_cast<std::size_t>(count));
            return DBreadpresent(source.Handle(), first, static_cast<std::int32_t>(count), values_.data(),
                                 present_.data()) == DK_OK;
        }
        record_.resize(static_cast<std::size_t>(item.info.shape.sampleBytes));
        const std::int32_t status = DBread(source.Handle(), first, 1, record_.data());
        present_[0] = status == DK_OK ? 1 : 0;
        return status == DK_OK || status == DK_NOT_AVAILABLE;
    }

    void Write(Item& target, const vorela::ListedItem& item, std::int32_t first, std::int64_t count) {
        if (std::find(present_.begin(), present_.end(), 1) == present_.end())
            return;
        if (item.info.shape.kind == DK_ITEM_CURVE)
            target.WritePresent(first, count, values_.data(), present_.data());
        else
            target.Write(first, 1, record_.data());
    }

    /// Losses that adjoin are one.
    void NoteLoss(const std::string& path, const Span& span, std::int64_t step) {
        if (lost_ && span.first == lost_->last + step) {
            lost_->last = span.last;
            return;
        }
        EndLoss(path);
        lost_ = span;
    }

    void EndLoss(const std::string& path) {
        if (lost_)
            Lose(path + " samples " + std::to_string(lost_->first) + " to " + std::to_string(lost_->last));
        lost_.reset();
    }

    const Database& from_;
    Database& to_;
    DamageList damages_;
    std::optional<Span> lost_;
    int copied_ = 0;
    int losses_ = 0;
    std::vector<float> values_;
    std::vector<std::uint8_t> present_;
    std::vector<unsigned char> record_;
};

void RefuseExisting(const std::string& output) {
    struct stat status {};
    if (lstat(output.c_str(), &status) == 0)
        throw ToolError(output + ": is there already; recover makes a new database");
}

}  // namespace

bool Recover(const RecoverRequest& request) {
    if (vorela::NameSameFile(request.output, request.database) ||
        vorela::NameSameFile(request.output, request.database + "-journal"))
        throw UsageError("-o " + request.output + ": that is the damaged database");
    RefuseExisting(request.output);
    const WorkFolder folder(request.output);
    const std::string made = folder.File("recovered.dkb");
    bool whole = false;
    {
        const Database from = OpenDatabase(PathToReadFrom(request.database, folder), OpenMode::readOnly);
        Database to = OpenDatabase(made, OpenMode::create);
        whole = Copier(from, to).CopyAll();
    }
    if (!GiveNewName(made, request.output))
        throw ToolError(request.output + ": cannot be written: " + std::strerror(errno));
    return whole;
}

}  // namespace dravik
