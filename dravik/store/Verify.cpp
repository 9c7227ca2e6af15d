// The check of a whole database.
#include "dravik/store/Database.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"

namespace dravik::store {

/// Goes down from the catalogue as reading does, and looks for rows that no list knows.
class Database::Verification {
  public:
    Verification(Database& database, std::string& fault) : database_(database), fault_(fault) {}

    std::vector<Damage> Run() {
        const Catalogue catalogue = database_.LoadCatalogue();
        if (catalogue.isDamaged)
            Note("the list of datasets is damaged");
        for (const Entry& entry : catalogue.datasets)
            Guard(entry.name, [&] { CheckDataset(catalogue, entry); });
        for (const Entry& entry : database_.UnlistedDatasets(catalogue))
            damages_.push_back({entry.name, 0, -1});
        Guard("", [&] { CheckCounts(); });
        CheckStructure();
        return std::move(damages_);
    }

  private:
    /// The first sentence stands.
    void Note(const std::string& fault) {
        if (fault_.empty())
            fault_ = fault;
    }

    template <typename Body>
    void Guard(const std::string& path, Body&& body) {
        try {
            body();
        } catch (const StoreError& error) {
            if (!error.isDamage)
                throw;
            if (path.empty())
                Note(error.detail);
            else
                damages_.push_back({path, 0, -1});
        }
    }

    void CheckDataset(const Catalogue& catalogue, const Entry& entry) {
        const DatasetRow dataset = database_.LoadListedDataset(catalogue, entry);
        if (!catalogue.isDamaged && dataset.stamp > static_cast<std::int64_t>(entry.seal))
            Note("the list of datasets is older than dataset \"" + dataset.name + "\"");
        for (const Entry& item : dataset.items) {
            ++items_;
            const std::string path = dataset.name + item.name;
            Guard(path, [&] { CheckChunks(path, database_.LoadItem(dataset, item.number)); });
        }
    }

    void CheckChunks(const std::string& path, const ItemRow& row) {
        const ItemInfo& info = row.info;
        const std::int64_t perChunk = info.SamplesPerChunk();
        for (const ChunkSums::Line& line : row.chunks.Lines()) {
            ++chunks_;
            try {
                database_.CheckChunk(row, line);
            } catch (const StoreError& error) {
                if (error.status != DK_DISK_ERROR)
                    throw;
                const std::int64_t first = line.chunk * perChunk;
                const std::int64_t last = std::min(first + perChunk - 1, info.LastOrdinal());
                damages_.push_back({path, static_cast<std::int32_t>(info.IndexOf(first)),
                                    static_cast<std::int32_t>(info.IndexOf(last))});
            }
        }
    }

    void CheckCounts() {
        if (!damages_.empty() || database_.format_ == 1)
            return;
        Query chunks(database_.connection_, database_.sql_->countChunks);
        chunks.Step();
        Query items(database_.connection_, database_.sql_->countItems);
        items.Step();
        if (items.Integer(0) != items_ || chunks.Integer(0) != chunks_)
            Note("there are rows that no list knows");
    }

    void CheckStructure() {
        Statement check("PRAGMA integrity_check(1)");
        Query integrity(database_.connection_, check);
        Guard("", [&] {
            if (!integrity.Step() || integrity.Text(0) != "ok")
                Note("the file's structure is damaged: " + integrity.Text(0));
        });
    }

    Database& database_;
    std::string& fault_;
    std::vector<Damage> damages_;
    std::int64_t items_ = 0;
    std::int64_t chunks_ = 0;
};

std::vector<Damage> Database::Verify(std::string& fault) {
    const ReadScope scope(*this);
    return Verification(*this, fault).Run();
}

}  // namespace dravik::store
