// Selecting datasets and curves.
#include <gmock/gmock.h>

#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

using test::CurveSpec;
using testing::ElementsAre;

CurveSpec Constant(const std::string& name, double value, const std::string& unit = "") {
    return {name, unit, 50, [value](std::int32_t) { return value; }};
}

class SelectData : public test::DravikFixture {
  protected:
    void TearDown() override {
        LoadedLibraries().database.DBsetchooser(nullptr, nullptr);
        SetSelectedCycleSource(nullptr);
        DravikFixture::TearDown();
    }
    void AddLevel(const std::string& name, double depth) {
        AddCurves(name, {Constant("ADPTH", depth, "ft"), Constant("ZG", 1, "psi"), Constant("RTC", 2, "rps"),
                         Constant("PVLPOS", 1)});
    }
    std::vector<DatasetRecord> Read(const std::vector<std::string>& names) {
        std::vector<DatasetRecord> records;
        EXPECT_TRUE(ReadDatasets(DatabasePath(), names, records));
        return records;
    }
    void Choose(std::vector<std::string> paths) {
        chosen = std::move(paths);
        LoadedLibraries().database.DBsetchooser(
            [](void* context, DBMultiSelect* selection) {
                for (const std::string& path : *static_cast<std::vector<std::string>*>(context))
                    LoadedLibraries().database.DBselectionadd(selection, path.c_str());
                return selection->count;
            },
            &chosen);
    }
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (const DatasetRecord& record : CurrentSelection().datasets)
            names.push_back(record.dataset);
        return names;
    }
    static std::vector<std::string> CommonNames() {
        std::vector<std::string> names;
        for (const CommonCurve& common : CurrentSelection().commonCurves)
            names.push_back(common.name);
        return names;
    }
    void ExpectRefusal(bool accepted, MessageIcon icon, const std::string& text) {
        EXPECT_FALSE(accepted);
        EXPECT_EQ(ports.TakeBox(), (test::ShownBox{icon, "Corvane Vorela Utilities", text}));
    }
    std::vector<std::string> chosen;
};

TEST_F(SelectData, ChosenDatasetsComeWithCurvesDepthExtentAndRecordingFlag) {
    AddLevel("TOP", 1000.5);
    Presentation presentation;
    presentation.recordingFlag = 1;
    SetPresentation("TOP", presentation);
    Choose({DatabasePath() + "\\TOP"});
    ASSERT_TRUE(AddDatasets());
    ASSERT_EQ(CurrentSelection().datasets.size(), 1U);
    const DatasetRecord& record = CurrentSelection().datasets[0];
    EXPECT_EQ(record.database, DatabasePath());
    EXPECT_EQ(record.dataset, "TOP");
    EXPECT_EQ(record.sortKey, 1000.5);
    EXPECT_EQ(record.extentA, 0);
    EXPECT_EQ(record.extentB, 490);
    EXPECT_EQ(record.step, 10);
    EXPECT_EQ(record.index.name, "Time");
    EXPECT_EQ(record.index.unit, "sec");
    EXPECT_NE(record.pendingFlag, 0);
    EXPECT_THAT(CommonNames(), ElementsAre("ZG", "RTC", "PVLPOS", "ADPTH"));
    EXPECT_EQ(CurrentSelection().commonCurves[0].unit, "psi");
    EXPECT_TRUE(ports.boxes.empty());
}

TEST_F(SelectData, RefusedDatasetsAndNothingChosenLeaveTheSelectionAsItWas) {
    using enum MessageIcon;
    AddLevel("A", 1);
    AddLevel("B", 2);
    CurveSpec deep = Constant("ZG", 1);
    deep.indexKind = 0;
    AddCurve("DEEP", deep);
    AddCurve("NOVALVE", Constant("ZG", 1));
    AddCurve("OTHER", Constant("XX", 1));
    ASSERT_TRUE(AppendDatasets(Read({"A"})));
    const auto before = std::pair(Names(), CommonNames());
    Choose({});
    EXPECT_FALSE(AddDatasets());
    EXPECT_TRUE(ports.boxes.empty());

    std::vector<DatasetRecord> records;
    const std::string longPath(145, 'p');
    const std::string longName(67, 'n');
    const auto read = [&](const std::vector<std::string>& names) {
        return ReadDatasets(DatabasePath(), names, records);
    };
    ExpectRefusal(read({"B", "DEEP"}), exclamation, "Selected datasets must be recorded against time (DEEP)");
    ExpectRefusal(read({"GONE"}), critical, "Error attaching to Dravik dataset: GONE");
    ExpectRefusal(ReadDatasets(longPath, {"A"}, records), exclamation,
                  "The database path is longer than 144 characters:\r" + longPath);
    ExpectRefusal(read({longName}), exclamation,
                  "The dataset name is longer than 66 characters:\r" + longName);
    EXPECT_TRUE(records.empty());

    const auto append = [&](const std::string& name) { return AppendDatasets(Read({"B", name})); };
    ExpectRefusal(append("OTHER"), information, "There are no common curves in the selected datasets");
    ExpectRefusal(append("NOVALVE"), information, "Vorela valve curve is not in all datasets");
    for (const std::string twice : {"A", "B"})
        ExpectRefusal(
            append(twice), exclamation,
            "This dataset has already been selected\rDatabase: " + DatabasePath() + "\rDataset: " + twice);
    EXPECT_EQ(std::pair(Names(), CommonNames()), before);
}

TEST_F(SelectData, DepthIsConvertedByScaleAndOffsetAndNullWhenThereIsNone) {
    CurveSpec metres = Constant("ADPTH", 100);
    metres.scale = 3.28125F;
    metres.offset = 10.0F;
    CurveSpec empty = Constant("ADPTH", 1);
    empty.count = 0;
    AddCurves("M", {metres, Constant("PVLPOS", 1)});
    AddCurves("NONE", {Constant("PVLPOS", 1)});
    AddCurves("EMPTY", {empty, Constant("PVLPOS", 1)});
    const std::vector<DatasetRecord> records = Read({"M", "NONE", "EMPTY"});
    EXPECT_EQ(records[0].sortKey, 338.125);
    EXPECT_EQ(records[1].sortKey, -999.25);
    EXPECT_EQ(records[2].sortKey, -999.25);
}

TEST_F(SelectData, LevelsComeOutDeepestFirstWithTheirOwnCycleNumbers) {
    AddLevel("SHALLOW", 1000);
    AddLevel("DEEP", 3000);
    AddCurves("NODEPTH", {Constant("ZG", 1), Constant("RTC", 1), Constant("PVLPOS", 1)});
    AddLevel("MIDDLE", 2000);
    AddLevel("MIDDLE2", 2000);
    SetSelectedCycleSource([](std::size_t i) { return static_cast<std::int32_t>(10 + i); });
    ASSERT_TRUE(AppendDatasets(Read({"SHALLOW", "NODEPTH", "DEEP", "MIDDLE", "MIDDLE2"})));
    SortDatasets();
    EXPECT_THAT(Names(), ElementsAre("DEEP", "MIDDLE", "MIDDLE2", "SHALLOW", "NODEPTH"));
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(CurrentSelection().datasets[i].cycles.selectedCycle, static_cast<std::int32_t>(10 + i));
}

TEST_F(SelectData, TheExtentIsThatOfTheFirstCurveThatAllHave) {
    CurveSpec longer = Constant("RTC", 1);
    longer.count = 80;
    AddCurves("A", {Constant("ZG", 1), longer, Constant("PVLPOS", 1)});
    AddCurves("B", {longer, Constant("PVLPOS", 1)});
    ASSERT_TRUE(AppendDatasets(Read({"A"})));
    EXPECT_EQ(CurrentSelection().datasets[0].extentB, 490);
    ASSERT_TRUE(AppendDatasets(Read({"B"})));
    EXPECT_EQ(CurrentSelection().datasets[0].extentB, 790);
    EXPECT_EQ(CurrentSelection().datasets[1].extentB, 790);
}

TEST_F(SelectData, RemovingKeepsTheOthersAndTheLastOneEmptiesAll) {
    AddLevel("A", 1);
    AddLevel("B", 2);
    AddCurve("B", Constant("ONLYB", 1));
    AddLevel("C", 3);
    ASSERT_TRUE(AppendDatasets(Read({"A", "B", "C"})));
    const std::uint64_t generation = CurrentSelection().generation;
    RemoveDatasets({0, 2});
    EXPECT_THAT(Names(), ElementsAre("B"));
    EXPECT_THAT(CommonNames(), testing::Contains("ONLYB"));
    EXPECT_NE(CurrentSelection().generation, generation);
    RemoveDatasets({0});
    EXPECT_TRUE(CurrentSelection().datasets.empty());
    EXPECT_TRUE(CurrentSelection().commonCurves.empty());
}

TEST_F(SelectData, ChoiceIsByPositionAndDefaultsWithoutCommonCurves) {
    ChooseCurves(4, 5);
    EXPECT_EQ(CurrentSelection().choice.pressure, "ZG");
    EXPECT_EQ(CurrentSelection().choice.flow, "RTC");
    EXPECT_EQ(CurrentSelection().choice.flowIndex, 0);
    AddLevel("A", 1);
    ASSERT_TRUE(AppendDatasets(Read({"A"})));
    CurrentSelection().datasets[0].cycles.count = 7;
    ChooseCurves(std::nullopt, 1);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, 7);
    const std::uint64_t generation = CurrentSelection().generation;
    ChooseCurves(2, 1);
    EXPECT_EQ(CurrentSelection().choice.pressure, "PVLPOS");
    EXPECT_EQ(CurrentSelection().choice.pressureIndex, 2);
    EXPECT_NE(CurrentSelection().generation, generation);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.count, 0) << "cycles of other curves";
    ChooseCurves(0, 99);
    EXPECT_EQ(CurrentSelection().choice.pressure, "PVLPOS");
    EXPECT_EQ(ports.boxes.size(), 1U);
}

TEST_F(SelectData, TheStoredNameIsPreselectedWhereverItStands) {
    CurrentSelection().commonCurves = {{"ZG", ""}, {"RTC", ""}, {"X", ""}};
    EXPECT_EQ(PreselectedCurve(0, "RTC"), 1U);
    EXPECT_EQ(PreselectedCurve(2, "X"), 2U);
    EXPECT_EQ(PreselectedCurve(2, "GONE"), 2U);
    EXPECT_EQ(PreselectedCurve(3, "GONE"), 0U);
    EXPECT_EQ(PreselectedCurve(-1, "GONE"), 0U);
}

TEST_F(SelectData, FlowCurveNameIsKeptUnderTheKeyOfItsNumber) {
    CurveChoice& choice = CurrentSelection().choice;
    ReadDatasetSettings();
    EXPECT_EQ(choice.pressure, "ZG");
    EXPECT_EQ(choice.flow, "RTC");
    choice = {3, 4, "PRES", "RTC3 SPIN"};
    WriteDatasetSettings();
    EXPECT_EQ(ReadIniString("Dataset", "FlowCurveNum", "", SettingsFilePath()), "RTC3 SPIN");
    choice = {};
    ReadDatasetSettings();
    EXPECT_EQ(choice.pressureIndex, 3);
    EXPECT_EQ(choice.pressure, "PRES");
    EXPECT_EQ(choice.flowIndex, 0);
    EXPECT_EQ(choice.flow, "RTC3 SPIN");
}

TEST_F(SelectData, CurvesMadeSinceAreFoundByARefreshAndTheChoiceStays) {
    AddLevel("A", 1);
    AddLevel("B", 2);
    Select({"A", "B"});
    AddCurve("A", Constant("NEW", 1));
    ASSERT_TRUE(RefreshCommonCurves());
    EXPECT_FALSE(CurveInCommonList("NEW"));
    AddCurve("B", Constant("NEW", 1));
    ASSERT_TRUE(RefreshCommonCurves());
    EXPECT_TRUE(CurveInCommonList("NEW"));
    EXPECT_FALSE(CurveInCommonList("new"));
    EXPECT_EQ(CurrentSelection().choice.flow, "RTC");
    EXPECT_EQ(CurrentSelection().choice.flowIndex, 1);
}

}  // namespace
}  // namespace vorela
