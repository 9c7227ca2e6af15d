// Dates and clocks as they are written.
#include <gtest/gtest.h>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/CurvePlan.h"
#include "dravik/exchange/Stamp.h"

namespace dravik {
namespace {

TEST(Stamp, ReadsDatesAndClocks) {
    struct Case {
        const char* text;
        const char* date;
    };
    for (const Case& c : {Case{"2024-3-1T7:05", "2024-03-01T07:05:00"},
                          {"07:05:01.25 1.3.2024", "2024-03-01T07:05:01.250"},
                          {"Fri 1 March 2024, 12:00:00 AM", "2024-03-01T00:00:00"},
                          {"Mar 1, 2024 12:30 pm", "2024-03-01T12:30:00"},
                          {"1-Mar-70 00:00:00,5", "1970-03-01T00:00:00.500"},
                          {"01/03/24 25:00:00", "2024-03-02T01:00:00"},
                          {"2024-03-01 10:00:00Z", "2024-03-01T10:00:00"},
                          {"2024/03/01 10:00:00 -0330", "2024-03-01T10:00:00"}}) {
        Stamp stamp;
        ASSERT_TRUE(ParseStamp(c.text, stamp)) << c.text;
        const DateOrder order = (stamp.orders & SetOf(DateOrder::dmy)) != 0 ? DateOrder::dmy : DateOrder::ymd;
        EXPECT_EQ(DateText(static_cast<double>(*DayOf(stamp, order)) * 86400.0 + stamp.clockSeconds), c.date);
    }
    Stamp stamp;
    for (const char* text : {"31.02.2024", "2024-13-01", "10:60", "13:00 pm", "1.2.3", "12:00x",
                             "2024-03-01 x", "March", "3.14.2024"})
        EXPECT_FALSE(ParseStamp(text, stamp)) << text;
}

TEST(Cells, NullsOfLoggers) {
    for (const char* text :
         {"", "NaN", "-nan", "N/A", "(null)", "---", "*****", "#REF!", "1.#INF", "-1.#IND", "Missing"})
        EXPECT_EQ(KindOfCell(text), CellKind::null) << text;
    for (const char* text : {"OK", "nano", "- -", "1.#", "n.a"})
        EXPECT_EQ(KindOfCell(text), CellKind::text) << text;
}

TEST(CurveNames, AreCutByCharactersAndUnique) {
    EXPECT_EQ(CurveName("gr\xC3\xB6\xC3\x9F"
                        "e/\"a\",b",
                        {}),
              "GR\xC3\x96\xC3\x9F"
              "E__A__");
    EXPECT_EQ(CurveName("abcdefghijk", {"ABCDEFGHIJ", "ABCDEFGHI2"}), "ABCDEFGHI3");
}

}  // namespace
}  // namespace dravik
