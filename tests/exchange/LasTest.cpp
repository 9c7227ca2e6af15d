// LAS files of every version, delimiter and wrapping.
#include "tests/exchange/ExchangeTest.h"

namespace dravik {
namespace {

struct LasShape {
    const char* version = "2.0";
    bool wrapped = false;
    const char* delimiter = "";
    char sign = ' ';
};

std::string Las(const LasShape& shape, double step, int rows, const std::string& unit) {
    const bool third = std::string(shape.version) == "3.0";
    std::string text =
        std::string("~V\n VERS. ") + shape.version + " :\n WRAP. " + (shape.wrapped ? "YES" : "NO") + " :\n";
    text += third ? std::string(" DLM. ") + shape.delimiter + " :\n" : "";
    text += "~W\n STRT." + unit + " 1000 :\n NULL. -999.25 :\n";
    text += std::string(third ? "~Log_Definition" : "~C") + "\n DEPT." + unit +
            " :\n GR.API 1 2 : g: main\n GR.API :\n";
    text += third ? "~Log_Data | Log_Definition\n" : "~A DEPT GR GR\n";
    for (int i = 0; i < rows; ++i) {
        std::array<char, 96> line{};
        const char sign = shape.wrapped ? '\n' : shape.sign;
        std::snprintf(line.data(), line.size(), "%.4f%c%d%c%s\n", 1000.0 + i * step, sign, i, sign,
                      i == 2 ? "-999.250" : "7.5");
        text += line.data();
    }
    return text;
}

TEST(Las, EveryVersionDelimiterAndWrapping) {
    for (const LasShape& shape : {LasShape{"1.2"},
                                  {"2.0"},
                                  {"2.1"},
                                  {"1.2", true},
                                  {"2.0", true},
                                  {"3.0", false, "COMMA", ','},
                                  {"3.0", false, "TAB", '\t'},
                                  {"3.0", false, "SPACE", ' '}}) {
        const ImportPlan plan = PlanOf(Las(shape, 0.5, 4, "FT"));
        EXPECT_EQ(Summary(plan).substr(plan.separator.size() + 1 + (plan.separator == "\t" ? 2 : 0)),
                  "|GR(API) GR2(API) |DEPT FT|100000+50x4")
            << Summary(plan);
        EXPECT_EQ(CurveOf(plan, 0), (std::vector<float>{0, 1, 2, 3}));
        EXPECT_EQ(CurveOf(plan, 1), (std::vector<float>{7.5F, 7.5F, noSample, 7.5F}));
    }
}

TEST(Las, MetricLogsOfEveryLengthAndStep) {
    for (const double step : {0.05, 0.1, 0.125, 0.1524, 0.25, 0.5, 1.0}) {
        for (const int rows : {20, 200, 20000}) {
            const ImportPlan plan = PlanOf(Las({}, step, rows, "M"));
            ASSERT_TRUE(plan.CanImport()) << step << " " << rows << PlanText(plan);
            const double feet = (rows - 1) * step / 0.3048;
            EXPECT_NEAR(static_cast<double>(plan.grid.rows) * plan.grid.step / 100.0, feet,
                        2.0 * step / 0.3048)
                << step << " " << rows;
            const std::vector<float> values = CurveOf(plan, 0, 4096);
            const double last = (plan.grid.LastIndex() / 100.0 * 0.3048 - 1000.0) / step;
            EXPECT_NEAR(values.back(), last, 0.02) << step << " " << rows;
        }
    }
}

std::string RowsOfThree() {
    std::string text;
    for (int i = 2; i < 20; ++i)
        text += std::to_string(i) + " 5 6\n";
    return text;
}

TEST(Las, RepairsAndRefusals) {
    const std::string head =
        "~V\nVERS. 2 :\n~W\nSTRT.S 0 :\nSTOP.S 9 :\n~C\nT.S :\nA. :\nB. :\n~A T A B\n";  // 10 lines
    struct Case {
        std::string text;
        std::string plan;
        std::string tells;
    };
    for (const Case& c : std::vector<Case>{
             {head + "0 1 2\n1 3-4\n2 5 6\n", "blanks.|A B |T S|0+100x3",
              "line 12: numbers that run together"},
             {head + "0 1 2\n1 3.4.5\n2 5 6\n", "blanks.|A B |T S|0+100x3", "taken apart"},
             {head + "0 1 2\n1 3 4\n2 5 6\n3 4", "blanks.|A B |T S|0+100x3", "cut row at the end (line 14)"},
             {head + "0 1,5 2\n1 3 4\n2 5 6\n", "blanks,|A B |T S|0+100x3", "STOP is 9, the data end at 2"},
             {head + "0 1 2\n1 3\n2 5 6\n", "line 12: 2 values where there should be 3 (--leave-out 12)", ""},
             {head + "0 1 2\n1 x 4\n" + RowsOfThree(),
              "line 12: \"x\" in column A is no number (--null x, or --leave-out 12)", ""},
             {"~C\nT. :\nA. :\n~A\n0 1\n1 2\n2 3\n", "index T has no unit (--time-unit s|ms|min|h|d|ft|m)",
              ""},
             {"~C\nDEPT..1IN :\nA. :\n~A\n1200 1\n1260 2\n1320 3\n", "blanks.|A |DEPT .1IN|1000+50x3", ""},
             {"~C\nDEPT.M :\nA. :\nB. :\n~A DEPT A\n101 3\n100.5 2\n100 1\n", "blanks.|A |DEPT M|32808+164x3",
              "turned round"},
             {"~W\nSTRT.FT 0 :\n~C\nT.M :\nA. :\n~A\n0, 1\n0.5, 2\n1, 3\n", ",.|A |T M|0+164x3",
              "STRT is in FT"},
             {"~C\nT.D :\nA. :\n~A\n45365.25 1\n45365.2500115741 2\n45365.2500231481 3\n",
              "blanks.|A |T D|0+100x3|2024-03-14T06:00:00", "30 December 1899"},
             {"~V\nVERS. 2 :\n", "it has no ~A section (LAS)", ""}}) {
        const ImportPlan plan = PlanOf(c.text);
        EXPECT_EQ(Summary(plan), c.plan) << c.text << PlanText(plan);
        EXPECT_TRUE(Tells(plan, c.tells)) << c.text << PlanText(plan);
    }
}

}  // namespace
}  // namespace dravik
