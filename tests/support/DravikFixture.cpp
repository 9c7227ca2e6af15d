#include "tests/support/DravikFixture.h"

#include "BuildPaths.h"
#include "db/CommonCurves.h"
#include "platform/DravikLibraries.h"

namespace vorela::test {
namespace {

const DkBaseApi& Api() {
    return LoadedLibraries().database;
}

void Check(std::int32_t status, const std::string& what) {
    if (status != DK_OK)
        ThrowDravikStatus(status, what);
}

/// Opens the database, makes it when it is not there, and writes what `write` writes in one transaction.
void Write(const std::string& path, const std::function<void(const Database&)>& write) {
    std::int32_t made = 0;
    if (!std::filesystem::exists(path) && Api().DBopenA(path.c_str(), DK_OPEN_CREATE, &made) == DK_OK)
        Api().DBclose(made);
    DravikDatabase database(path);
    Transaction transaction(database);
    write(database);
    transaction.Commit();
}

void WriteSamples(const Database& database, const std::string& path, const RecordedCurve& curve,
                  std::int32_t first, std::int32_t count) {
    if (count == 0)
        return;
    std::vector<float> values;
    std::vector<std::uint8_t> present;
    for (std::int32_t i = 0; i < count; ++i) {
        const std::optional<double> value = curve.value(first + i * curve.step);
        values.push_back(static_cast<float>(value.value_or(0.0)));
        present.push_back(value ? 1 : 0);
    }
    const Item item(database, path);
    Check(Api().DBwritepresent(item.Handle(), first, count, values.data(), present.data()), path);
}

void CreateItem(const Database& database, const std::string& path, const RecordedCurve& curve) {
    DBNewItem item{};
    item.kind = DK_ITEM_CURVE;
    item.indexKind = curve.indexKind;
    item.step = curve.step;
    item.firstIndex = curve.first;
    item.scale = curve.scale;
    item.offset = curve.offset;
    item.unitText = curve.unit.c_str();
    item.madeText = curve.made.empty() ? nullptr : curve.made.c_str();
    Check(Api().DBnewA(database.Handle(), path.c_str(), &item), path);
}

std::int32_t ValveCodeAt(const ValvePulses& valve, std::int32_t index) {
    if (index < valve.firstBoundary)
        return 1;
    return (index - valve.firstBoundary) % valve.period < valve.period / 2 ? 3 : 1;
}

std::int32_t LastChangeBefore(const ValvePulses& valve, std::int32_t index) {
    if (index < valve.firstBoundary)
        return valve.first;
    return index - (index - valve.firstBoundary) % (valve.period / 2);
}

/// The tool's 16-bit timer of 4,000,000/1024 ticks per second.
double TimerAt(std::int32_t index) {
    const std::int64_t ticks = std::llround(index * (4000000.0 / 1024 / 100));
    return static_cast<double>((ticks % 65536 + 65536) % 65536);
}

std::int32_t Choose(void* context, DBMultiSelect* selection) {
    auto& answers = *static_cast<std::deque<std::vector<std::string>>*>(context);
    if (answers.empty())
        return 0;
    for (const std::string& path : answers.front())
        Api().DBselectionadd(selection, path.c_str());
    answers.pop_front();
    return 1;
}

/// Nothing selected, and nothing that the modules remember of an earlier test counts any more.
void PutFreshSelection() {
    const std::uint64_t generation = CurrentSelection().generation;
    CurrentSelection() = Selection{};
    CurrentSelection().generation = generation + 1;
}

}  // namespace

std::optional<float> StoredCurve::At(std::int32_t index) const {
    const std::int32_t offset = index - info.extentFirst;
    if (offset < 0 || offset % info.step != 0 || offset / info.step >= std::ssize(samples))
        return std::nullopt;
    return samples[static_cast<std::size_t>(offset / info.step)];
}

std::vector<RecordedCurve> ValveCurves(const ValvePulses& valve) {
    const auto curve = [&](const char* name, auto value) {
        return RecordedCurve{name, "", valve.count, value, valve.first, valve.step};
    };
    return {
        curve("PVLPOS", [valve](std::int32_t t) { return ValveCodeAt(valve, t) == 3 ? -1.0 : 1.0; }),
        curve("PVLID", [valve](std::int32_t t) { return ValveCodeAt(valve, t); }),
        curve("PVLIDT", [valve](std::int32_t t) { return TimerAt(LastChangeBefore(valve, t)); }),
        curve("PVLT", [](std::int32_t t) { return TimerAt(t); }),
    };
}

bool LoadBuiltLibraries() {
    static const bool loaded = [] {
        setenv("VORELA_REGISTRY", VORELA_BIN_DIR "/vorela.reg", 1);
        return LoadDatabaseLibrary() && LoadFilterLibrary();
    }();
    if (!loaded)
        ADD_FAILURE() << "DKBase and Smooth32 do not load from " VORELA_BIN_DIR ": "
                      << LoadedLibraries().loadDetail;
    return loaded;
}

void DravikFixture::SetUp() {
    ASSERT_TRUE(LoadBuiltLibraries());
    Api().DBsetchooser(Choose, &chooserAnswers);
    PutFreshSelection();
}

void DravikFixture::TearDown() {
    Api().DBsetchooser(nullptr, nullptr);
    PutFreshSelection();
}

void DravikFixture::AddCurves(const std::string& dataset, const std::vector<RecordedCurve>& curves) {
    Write(DatabasePath(), [&](const Database& database) {
        for (const RecordedCurve& curve : curves) {
            const std::string path = ItemPath(dataset, curve.name);
            CreateItem(database, path, curve);
            WriteSamples(database, path, curve, curve.first, curve.count);
        }
    });
}

void DravikFixture::Append(const std::string& dataset, const RecordedCurve& curve, std::int32_t count) {
    const ItemInfo info = ReadCurve(dataset, curve.name).info;
    Record(dataset, {curve}, info.IsEmpty() ? 0 : (info.extentLast - curve.first) / curve.step + 1, count);
}

void DravikFixture::Record(const std::string& dataset, const std::vector<RecordedCurve>& curves,
                           std::int32_t from, std::int32_t count) {
    Write(DatabasePath(), [&](const Database& database) {
        for (const RecordedCurve& curve : curves)
            WriteSamples(database, ItemPath(dataset, curve.name), curve, curve.first + from * curve.step,
                         count);
    });
}

void DravikFixture::PutRecord(const std::string& path, std::span<const std::byte> sample) {
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.indexKind = DK_INDEX_TIME;
    record.step = 1;
    record.sampleBytes = static_cast<std::int32_t>(sample.size());
    Write(DatabasePath(), [&](const Database& database) {
        if (!Item::Find(database, path))
            Check(Api().DBnewA(database.Handle(), path.c_str(), &record), path);
        Check(Api().DBwrite(Item(database, path).Handle(), 0, 1, sample.data()), path);
    });
}

void DravikFixture::SetPresentation(const std::string& dataset, const Presentation& presentation) {
    PutRecord(PresentationPath(dataset), PackPresentation(presentation));
}

void DravikFixture::DeleteItem(const std::string& path) {
    Write(DatabasePath(),
          [&](const Database& database) { Check(Api().DBdeleteA(database.Handle(), path.c_str()), path); });
}

StoredCurve DravikFixture::ReadCurve(const std::string& dataset, const std::string& curve) {
    const DravikDatabase database(DatabasePath());
    CurveReader reader(database, dataset, curve, Between::sampleBefore);
    StoredCurve stored{reader.Info(), {}};
    if (stored.info.IsEmpty())
        return stored;
    const std::int32_t steps = (stored.info.extentLast - stored.info.extentFirst) / stored.info.step;
    const auto count = static_cast<std::size_t>(steps) + 1;
    std::vector<float> values(count);
    std::vector<std::uint8_t> present(count);
    reader.ReadGrid(stored.info.extentFirst, values, present);
    for (std::size_t i = 0; i < count; ++i)
        stored.samples.push_back(present[i] != 0 ? std::optional<float>(values[i]) : std::nullopt);
    return stored;
}

bool DravikFixture::HasCurve(const std::string& dataset, const std::string& curve) {
    const DravikDatabase database(DatabasePath());
    return Item::Find(database, ItemPath(dataset, curve)).has_value();
}

void DravikFixture::Select(const std::vector<std::string>& datasets, const std::string& pressure,
                           const std::string& flow) {
    InitialiseDatasetVariables();
    std::vector<DatasetRecord> records;
    ASSERT_TRUE(ReadDatasets(DatabasePath(), datasets, records));
    ASSERT_TRUE(AppendDatasets(std::move(records)));
    ASSERT_TRUE(CurveInCommonList(pressure)) << pressure;
    ASSERT_TRUE(CurveInCommonList(flow)) << flow;
    ChooseCurves(PreselectedCurve(0, pressure), PreselectedCurve(0, flow));
    SortDatasets();
}

}  // namespace vorela::test
