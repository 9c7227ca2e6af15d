#include "signal/modDFilt.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

constexpr std::int32_t samples = 250;
enum FilterType : std::int16_t { none, square, gaussian, triangle };

class SpinnerFilter : public DravikFixture {
  protected:
    SpinnerFilter() { CurrentParameters() = ParameterSet{}; }
    ~SpinnerFilter() override { ReleaseAllFilters(); }
    static RecordedCurve Flow(std::int32_t count = samples, bool gaps = false) {
        return {"RTC", "rps", count,
                [gaps](std::int32_t t) {
                    return gaps && t % 630 < 50 ? std::nullopt
                                                : std::optional(3.0 + std::sin(t * 0.01) + (t % 70) * 0.01);
                },
                200};
    }
    void MakeLevel(const std::string& name, const RecordedCurve& flow) {
        const auto one = [](std::int32_t) { return 1.0; };
        AddCurves(name, {{"ZG", "psi", 1, one, 200}, flow, {"PVLPOS", "", 1, one, 200}});
        Select({name});
    }
    static void SetFilter(FilterType type, double seconds) {
        CurrentParameters().dFilt = type;
        CurrentParameters().dLen = seconds;
    }
    std::string Made() { return ReadCurve("L", "RTC_f").info.made; }
};

TEST_F(SpinnerFilter, OutputIsMovedBackByTheLagAndItsEndStaysUnwritten) {
    MakeLevel("L", Flow());
    SetFilter(square, 0.9);  // nine samples, lag 40
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
    const StoredCurve flow = ReadCurve("L", "RTC");
    const StoredCurve filtered = ReadCurve("L", "RTC_f");
    EXPECT_EQ(filtered.info.extentFirst, 200);
    EXPECT_EQ(filtered.info.extentLast, flow.info.extentLast - 40);
    EXPECT_EQ(filtered.info.validFirst, 240);
    EXPECT_EQ(filtered.info.validLast, filtered.info.extentLast);
    for (std::int32_t t = 240; t <= filtered.info.extentLast; t += 10) {
        double mean = 0;
        for (std::int32_t i = -40; i <= 40; i += 10)
            mean += *flow.At(t + i) / 9.0;
        ASSERT_NEAR(*filtered.At(t), mean, 1e-6) << t;
    }
    double first = 5 * *flow.At(200);  // the first value stands for those before it
    for (const std::int32_t t : {210, 220, 230, 240})
        first += *flow.At(t);
    EXPECT_NEAR(*filtered.At(200), first / 9, 1e-6);
}

TEST_F(SpinnerFilter, EachFilterSaysHowItWasMadeAndNoneWritesTheValuesThemselves) {
    MakeLevel("L", Flow(samples, true));
    const std::tuple<FilterType, double, std::string> filters[] = {{none, 0, "None,0"},
                                                                   {square, 1, "Square,1"},
                                                                   {gaussian, 2.5, "Gaussian,2.5"},
                                                                   {triangle, 2.1, "Triangle,2.1"}};
    for (const auto& [type, length, definition] : filters) {
        SetFilter(type, length);
        ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
        EXPECT_EQ(Made(), definition + " by Smooth32");
        EXPECT_EQ(ReadCurve("L", "RTC_f").samples == ReadCurve("L", "RTC").samples, type == none);
    }
}

TEST_F(SpinnerFilter, AnotherFilterAndADatasetImportedAgainStartTheCurveAnew) {
    MakeLevel("L", Flow(150));
    SetFilter(square, 1);
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
    SetFilter(triangle, 9);
    Append("L", Flow(), samples - 150);
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
    SetFilter(square, 5);
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
    EXPECT_EQ(Made(), "Triangle,9 by Smooth32") << "a living filter goes on";
    SetFilter(triangle, 9);
    const StoredCurve extended = ReadCurve("L", "RTC_f");
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
    EXPECT_EQ(extended.samples, ReadCurve("L", "RTC_f").samples);
    SetFilter(square, 1);
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
    DeleteItem("L");
    AddCurve("L", Flow(60));
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
    EXPECT_EQ(ReadCurve("L", "RTC_f").samples.size(), 55U);
}

TEST_F(SpinnerFilter, ThatWasReleasedJoinsWithoutAStepWhereItGoesOn) {
    for (const FilterType type : {square, gaussian, triangle}) {
        const std::string level = "JOIN" + std::to_string(type);
        MakeLevel(level, Flow(170, true));
        SetFilter(type, 4);
        ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
        ResetFilterSlots();
        Append(level, Flow(samples, true), samples - 170);
        ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, true));
        const StoredCurve joined = ReadCurve(level, "RTC_f");
        ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
        const StoredCurve whole = ReadCurve(level, "RTC_f");
        ASSERT_EQ(joined.samples.size(), whole.samples.size());
        for (std::size_t i = 0; i < whole.samples.size(); ++i)
            EXPECT_FLOAT_EQ(joined.samples[i].value_or(-1.0F), whole.samples[i].value_or(-1.0F)) << i;
    }
}

TEST_F(SpinnerFilter, InteractiveEntryFindsTheCurveAfterwardsAndAsksBeforeOverwriting) {
    MakeLevel("L", Flow());
    const auto input = ReadCurve("L", "RTC").samples;
    SetFilter(square, 1);
    EXPECT_FALSE(FilteredFlowExists());
    ASSERT_TRUE(CreateFilteredFlow(true));
    EXPECT_TRUE(FilteredFlowExists());
    ports.answers = {false};
    SetFilter(square, 5);
    EXPECT_FALSE(CreateFilteredFlow(true));
    EXPECT_EQ(
        ports.questions.at(0).text,
        "The Dravik filtered flow curve already exists.\rDo you want to overwrite the existing curves?");
    EXPECT_EQ(Made(), "Square,1 by Smooth32");
    ASSERT_TRUE(CreateFilteredFlow(false));
    EXPECT_EQ(Made(), "Square,5 by Smooth32");
    EXPECT_EQ(ReadCurve("L", "RTC").samples, input);
    ports.onQuestion = [] { throw RunTimeError{7, "test", "no memory"}; };
    EXPECT_FALSE(CreateFilteredFlow(true));
    EXPECT_EQ(ports.TakeBox().text,
              "Error #7 was generated by test\rCreating reconstructed valve curves: no memory");
}

TEST_F(SpinnerFilter, ALengthOrTypeThatIsNoneIsToldAndLeavesTheCurve) {
    MakeLevel("L", Flow());
    SetFilter(square, 1);
    ASSERT_TRUE(WithDatabase(0, FilterDatasetFlow, false));
    const auto before = ReadCurve("L", "RTC_f").samples;
    SetFilter(square, -1);
    EXPECT_FALSE(WithDatabase(0, FilterDatasetFlow, false));
    EXPECT_EQ(ports.TakeBox(),
              (ShownBox{MessageIcon::information, "Vorela", "Error creating filtered flow"}));
    CurrentParameters().dFilt = 9;
    EXPECT_FALSE(CreateFilteredFlow(false));
    EXPECT_THAT(ports.boxes.at(0).text, testing::HasSubstr("Creating Dravik filter: Subscript out of range"));
    EXPECT_EQ(ReadCurve("L", "RTC_f").samples, before);
}

}  // namespace
}  // namespace vorela::test
