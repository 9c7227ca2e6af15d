// A database file that was damaged: the input is a list of edits (5 bytes each) of a small sound database.
// Whatever they are, a number that is read is the number that was written, or there is none.
#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "db/modSelectData.h"
#include "dravik/chooser/DatasetListing.h"
#include "fuzz/FuzzTarget.h"
#include "interfaces/DKBase.h"
#include "platform/DravikLibraries.h"

namespace {

using vorela::fuzz::Require;

struct Samples {
    std::vector<float> values;
    std::vector<std::uint8_t> present;
    bool operator==(const Samples&) const = default;
};

constexpr std::int32_t step = 10;
const char* const curves[] = {"L1/ZG/1", "L1/RTC_p/1", "L2/ZG/1"};
constexpr int longCurve = 9000;  ///< samples: more than one chunk

void PutRecord(std::int32_t database, const char* path, std::int32_t bytes) {
    const std::vector<char> sample(static_cast<std::size_t>(bytes), '\1');
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.indexKind = DK_INDEX_TIME;
    record.step = 1;
    record.sampleBytes = bytes;
    std::int32_t item = 0;
    Require(DBnewA(database, path, &record) == DK_OK &&
                DBattachA(database, path, &item, 0, nullptr) == DK_OK &&
                DBwrite(item, 0, 1, sample.data()) == DK_OK,
            "the record is written");
}

/// A sound database: a long curve, one with gaps and a valid span, a record, two datasets.
std::string MakeSound(const std::string& path, std::map<std::string, Samples>& content) {
    std::int32_t database = 0;
    Require(DBopenA(path.c_str(), DK_OPEN_CREATE, &database) == DK_OK, "the sound database opens");
    for (const char* curve : curves) {
        const bool gaps = std::string_view(curve).find("_p") != std::string_view::npos;
        DBNewItem item{};
        item.indexKind = DK_INDEX_TIME;
        item.step = step;
        item.unitText = gaps ? "rps" : "psi";
        item.madeText = gaps ? "difference" : nullptr;
        Samples samples;
        for (int i = 0; i < (gaps ? 300 : longCurve); ++i) {
            samples.present.push_back(gaps && i % 7 == 3 ? 0 : 1);
            samples.values.push_back(samples.present.back() != 0 ? std::sin(static_cast<float>(i)) : 0.0F);
        }
        std::int32_t handle = 0;
        Require(DBnewA(database, curve, &item) == DK_OK &&
                    DBattachA(database, curve, &handle, 0, nullptr) == DK_OK &&
                    DBwritepresent(handle, 0, static_cast<std::int32_t>(samples.values.size()),
                                   samples.values.data(), samples.present.data()) == DK_OK &&
                    (!gaps || DBmark(handle, 0, 2000, nullptr) == DK_OK),
                "the sound database is written");
        content[curve] = std::move(samples);
    }
    PutRecord(database, "L1/_defaults_/1", 32);
    // Whoever made a file may have put anything under any name: a long and a short presentation record, a
    // record for a depth.
    PutRecord(database, "L2/_defaults_/1", 4096);
    PutRecord(database, "L2/ADPTH/1", 64);
    PutRecord(database, "L3/_defaults_/1", 6);
    Require(DBclose(database) == DK_OK, "it is closed");
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Edit(std::string& bytes, const std::uint8_t* edit) {
    constexpr std::size_t page = 16384;
    const std::size_t at = (edit[1] * 65536U + edit[2] * 256U + edit[3]) % (bytes.size() + 1);
    const std::size_t count = std::min<std::size_t>(edit[4] * 16U, bytes.size() - at);
    switch (edit[0] % 6) {
        case 0:
            if (at < bytes.size())
                bytes[at] = static_cast<char>(bytes[at] ^ (1 << (edit[4] % 8)));
            break;
        case 1:
            if (at < bytes.size())
                bytes[at] = static_cast<char>(edit[4]);
            break;
        case 2:
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, '\0');
            break;
        case 3:
            bytes.resize(at);
            break;
        case 4: {
            const std::size_t pages = bytes.size() / page;
            if (pages > 0)
                bytes.replace(at / page % pages * page, page,
                              std::string(bytes, edit[4] % pages * page, page));
            break;
        }
        default:
            bytes.insert(at, count, static_cast<char>(edit[4]));
    }
}

/// What the curve gives: nothing when it cannot be read; otherwise it must be what was written.
bool IsReadAsWritten(std::int32_t database, const char* curve, const Samples& written) {
    std::int32_t handle = 0;
    if (DBattachA(database, curve, &handle, 0, nullptr) != DK_OK)
        return false;
    Samples read{std::vector<float>(written.values.size() + 50),
                 std::vector<std::uint8_t>(written.values.size() + 50)};
    const bool readable = DBreadpresent(handle, 0, static_cast<std::int32_t>(read.values.size()),
                                        read.values.data(), read.present.data()) == DK_OK;
    if (readable) {
        Require(std::all_of(read.present.end() - 50, read.present.end(), [](auto flag) { return flag == 0; }),
                "nothing was written beyond the end");
        read.values.resize(written.values.size());
        read.present.resize(written.values.size());
        Require(read == written, "what is read is what was written");
    }
    DBdetach(handle);
    return readable;
}

/// The library as the program has it, here of the same build as the rest.
void LinkLibrary() {
    vorela::DkBaseApi& api = vorela::LoadedLibraries().database;
    api.DBopenA = DBopenA;
    api.DBclose = DBclose;
    api.DBattachA = DBattachA;
    api.DBdetach = DBdetach;
    api.DBread = DBread;
    api.DBenumA = DBenumA;
    api.GetUnitTextA = GetUnitTextA;
    api.DBlastdetail = DBlastdetail;
    api.GetDravikSetting = GetDravikSetting;
}

/// The program's own ways to a selection: no item writes beyond what its reader has room for.
void Select(const std::string& path) {
    std::vector<vorela::DatasetRecord> records;
    for (const char* dataset : {"L1", "L2", "L3"})
        if (vorela::ReadDatasets(path, {dataset}, records))
            Require(std::isfinite(records[0].sortKey), "a depth is a number");
    std::string problem;
    dravik::ListDatasets(path, problem);
}

void WriteInto(std::int32_t database) {
    const std::vector<float> more(20, 5.0F);
    std::int32_t handle = 0;
    if (DBattachA(database, curves[0], &handle, 0, nullptr) == DK_OK)
        DBwrite(handle, longCurve * step, 20, more.data());
    DBNewItem item{};
    item.step = step;
    DBnewA(database, "L3/NEW/1", &item);
    DBdeleteA(database, "L1");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vorela::fuzz::Scratch scratch;
    static std::map<std::string, Samples> content;
    static const std::string sound = [] {
        LinkLibrary();
        return MakeSound(scratch.File("sound.vdb"), content);
    }();

    std::string bytes = sound;
    constexpr std::size_t editBytes = 5;
    for (std::size_t i = 0; i + editBytes <= std::min<std::size_t>(size, 16 * editBytes); i += editBytes)
        Edit(bytes, data + i);
    std::filesystem::remove(scratch.File("damaged.vdb-journal"));
    const std::string path = scratch.Put("damaged.vdb", bytes);
    std::int32_t database = 0;
    if (DBopenA(path.c_str(), DK_OPEN_EXISTING, &database) != DK_OK)
        return 0;
    for (const char* dataset : {"", "L1", "L2"})
        DBenumA(
            database, dataset, [](void*, const char*, const void*) { return std::int32_t{0}; }, nullptr);
    const bool isSound = DBverify(database, nullptr, nullptr) == DK_OK;
    for (const auto& [curve, samples] : content) {
        const bool readable = IsReadAsWritten(database, curve.c_str(), samples);
        Require(readable || !isSound, "what the check passes can be read");
    }
    Select(path);
    WriteInto(database);
    DBverify(database, nullptr, nullptr);
    Require(DBclose(database) == DK_OK, "it closes");
    return 0;
}
