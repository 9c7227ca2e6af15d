// Dates and clocks as they are written.
#include <gtest/gtest.h>

#include <tuple>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/CurvePlan.h"
#include "dravik/exchange/Stamp.h"
#include "dravik/exchange/StampCache.h"

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
                          {"20240301T095807Z", "2024-03-01T09:58:07"},
                          {"20240301t0958+0100", "2024-03-01T09:58:00"},
                          {"20240301T095807,25", "2024-03-01T09:58:07.250"},
                          {"2024-03-01 09:58:07:012", "2024-03-01T09:58:07.012"},
                          {"2024/03/01 10:00:00 -0330", "2024-03-01T10:00:00"}}) {
        Stamp stamp;
        ASSERT_TRUE(ParseStamp(c.text, stamp)) << c.text;
        const DateOrder order = (stamp.orders & SetOf(DateOrder::dmy)) != 0 ? DateOrder::dmy : DateOrder::ymd;
        EXPECT_EQ(DateText(static_cast<double>(*DayOf(stamp, order)) * 86400.0 + stamp.clockSeconds), c.date);
    }
    Stamp stamp;
    for (const char* text : {"31.02.2024", "2024-13-01", "10:60", "13:00 pm", "1.2.3", "12:00x",
                             "2024-03-01 x", "March", "3.14.2024", "20240230T095807", "20240301T096007",
                             "20240301T9580", "20240301T095807x", "09:58:07:12", "09:58:07:1234"})
        EXPECT_FALSE(ParseStamp(text, stamp)) << text;
}

TEST(Stamp, RememberedClocksAreThoseOfTheCellItself) {
    StampCache cache;
    for (const char* text : {"2024-03-01 10:00:00",
                             "2024-03-01 10:00:01",
                             "2024-03-01 11:59:59",
                             "2024-03-02 11:59:59",
                             "2024-03-02 11:60:59",
                             "2024-03-02 11:00:59.250",
                             "2024-03-02 12:00:59.125",
                             "2024-03-02 12:00:5x.125",
                             "2024-03-02T10:00:00+01:00",
                             "2024-03-02T10:00:01+01:00",
                             "2024-03-02T10:00:01+02:00",
                             "11:59:59 AM",
                             "12:00:00 AM",
                             "12:00:00 PM",
                             "1:00:00 PM",
                             "10:00:00 1.3.2024",
                             "10:00:01 1.3.2024",
                             "00:12.5",
                             "00:13.5",
                             "100:00:00",
                             "25:00:00",
                             "26:00:00,5",
                             "x",
                             "26:00:01,5",
                             ""}) {
        Stamp plain;
        Stamp cached;
        ASSERT_EQ(ParseStamp(text, plain), cache.Parse(text, cached)) << text;
        if (ParseStamp(text, plain)) {
            EXPECT_EQ(
                std::tuple(plain.hasDate, plain.hasClock, plain.parts, plain.orders, plain.clockSeconds,
                           plain.hasFraction, plain.minutesOnly, plain.zoneSeconds),
                std::tuple(cached.hasDate, cached.hasClock, cached.parts, cached.orders, cached.clockSeconds,
                           cached.hasFraction, cached.minutesOnly, cached.zoneSeconds))
                << text;
        }
    }
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
