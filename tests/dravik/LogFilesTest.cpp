// The two file formats: what is read, what is refused and where, and that what is written reads back the
// same.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <variant>

#include "dravik/include/DKBase.h"
#include "dravik/tool/LogTable.h"
#include "dravik/tool/TableWriter.h"

namespace vorela {
namespace {

constexpr float gap = -7777.0F;  // how CurveOf shows a gap

std::vector<float> CurveOf(LogTable& table, std::size_t curve) {
    const auto rows = static_cast<std::size_t>(table.Grid().rowCount);
    std::vector<float> values(rows);
    std::vector<std::uint8_t> present(rows);
    table.Read(curve, 0, table.Grid().rowCount, values.data(), present.data());
    for (std::size_t i = 0; i < rows; ++i)
        values[i] = present[i] != 0 ? values[i] : gap;
    return values;
}

LogTable Parsed(ParseResult result) {
    if (const auto* error = std::get_if<ParseError>(&result))
        throw std::runtime_error(std::to_string(error->line) + ": " + error->message);
    return std::get<LogTable>(std::move(result));
}

struct Refusal {
    std::string text;
    std::size_t line;
    const char* words;
};

void ExpectRefusals(ParseResult (*parse)(std::string_view, const ParseOptions&),
                    const std::vector<Refusal>& refusals, const ParseOptions& options = {}) {
    for (const Refusal& refusal : refusals) {
        const ParseResult result = parse(refusal.text, options);
        const auto* error = std::get_if<ParseError>(&result);
        ASSERT_NE(error, nullptr) << refusal.text;
        EXPECT_EQ(error->line, refusal.line) << refusal.text << error->message;
        EXPECT_NE(error->message.find(refusal.words), std::string::npos) << refusal.text << error->message;
    }
}

TEST(LogFiles, AbsurdWidthsAreRefusedAtOnce) {
    std::string names = "TIME";
    std::string las = "~V\nVERS. 2.0:\n~C\nTIME.s:\n";
    for (int i = 0; i <= 4096; ++i) {
        names += ",C" + std::to_string(i);
        las += "C" + std::to_string(i) + ".:\n";
    }
    const std::string longLine = "TIME,ZG\n0,1" + std::string(1 << 20, ' ') + "\n";
    ExpectRefusals(ParseCsv, {{names + "\n", 1, "4096"}, {longLine, 2, "longer than 1048576"}});
    ExpectRefusals(ParseLas, {{las, 4101, "4096"}});
}

TEST(Csv, ReadsMarkLineEndsUnitsAndGaps) {
    LogTable table = Parsed(ParseCsv(
        "\xEF\xBB\xBFTIME, ZG ,RTC\r\nsec,psi,rps\r\n10.5,1,-2e-3\r\n11,,NaN\r\n11.5,+3,0.1\r\n\r\n", {}));
    EXPECT_EQ(table.Grid().indexKind, DK_INDEX_TIME);
    EXPECT_EQ(table.Grid().step, 50);
    EXPECT_EQ(table.Grid().firstIndex, 1050);
    EXPECT_EQ(table.Curves()[0].name, "ZG");
    EXPECT_EQ(table.Curves()[1].unit, "rps");
    EXPECT_EQ(CurveOf(table, 0), (std::vector<float>{1.0F, gap, 3.0F}));
    EXPECT_EQ(CurveOf(table, 1), (std::vector<float>{-2e-3F, gap, 0.1F}));
}

TEST(Csv, TimesMayStrayByHalfAStepAndAGivenStepKeepsTheNearestOfSeveral) {
    LogTable stray = Parsed(ParseCsv("TIME,A\n0,1\n1.49,2\n2,3\n2.5,4\n4,5\n", {}));
    EXPECT_EQ(stray.Grid().step, 100);
    EXPECT_EQ(CurveOf(stray, 0), (std::vector<float>{1, 2, 3, 4, 5}));
    LogTable table = Parsed(ParseCsv("TIME,A\n0,1\n0.9,2\n1.02,3\n1.3,4\n4.6,5\n", {100, {}}));
    EXPECT_EQ(CurveOf(table, 0), (std::vector<float>{1, 3, gap, gap, gap, 5}));
    EXPECT_EQ(table.NextRow(2), 5);
}

TEST(Csv, DepthsInMetresBecomeFeet) {
    LogTable table = Parsed(ParseCsv("DEPT,GR\nm,api\n100,1\n100.1524,2\n", {}));
    EXPECT_EQ(table.Grid().indexKind, DK_INDEX_DEPTH);
    EXPECT_EQ(table.Grid().firstIndex, 32808);
    EXPECT_EQ(table.Grid().step, 50);
    LogTable level = Parsed(ParseCsv("TIME,ADPTH\ns,m\n0,3000\n1,\n", {}));
    EXPECT_NEAR(3000.0F * level.Curves()[0].scale, 9842.52, 0.01);
}

TEST(Csv, RefusesFaultsWithTheirLine) {
    ExpectRefusals(ParseCsv, {{"", 0, "empty"},
                              {"\xEF\xBB\xBF \r\n", 0, "empty"},
                              {"TIME,A\n", 0, "no data rows"},
                              {"TIME\n0\n1\n", 1, "no curve"},
                              {"T,A\n0,1\n", 1, "not TIME"},
                              {"TIME,A,B,A\n0,1,1,1\n", 1, "occurs twice"},
                              {"TIME,ABCDEFGHIJK\n0,1\n", 1, "longer than 10"},
                              {"TIME,A/B\n0,1\n", 1, "slash"},
                              {"TIME,A,\n0,1,1\n", 1, "column 3 has no name"},
                              {"TIME,\"A\"\n0,1\n", 1, "quote"},
                              {"TIME,_defaults_\n0,1\n", 1, "reserved"},
                              {"TIME,A\ns\n0,1\n", 2, "1 cell where there should be 2"},
                              {"TIME,A\n0,1\n1,2,3\n", 3, "3 cells"},
                              {"TIME,A\n0,1\n\n1,2\n", 3, "TIME cell is empty"},
                              {"TIME,A\n0,1\n1,2x\n", 3, "\"2x\" is not a number"},
                              {"TIME,A\n0,1\n1,inf\n", 3, "not a number"},
                              {"TIME,A\n0,1\n1,3.5e38\n", 3, "beyond the range of a single"},
                              {"TIME,A\n0,1\nx,2\n", 3, "not a number"},
                              {"TIME,A\n0,1\n21474836.48,2\n", 3, "32 bits"},
                              {"TIME,A\n-21474836.49,2\n", 2, "32 bits"},
                              {"TIME,A\n0,1\n", 2, "single row"},
                              {"TIME,A\n0,1\n400,2\n", 3, "longer than the longest"},
                              {"TIME,A\n0,1\n0.001,2\n", 3, "does not rise"},
                              {"TIME,A\n0,1\n1,2\n2,3\n3.51,4\n4,5\n", 5, "half a step"},
                              {"TIME,A\n0,1\n1,2\n3,3\n4,4\n", 4, "half a step"}});
    ExpectRefusals(ParseCsv, {{"TIME,A\n0,1\n2,2\n1,3\n", 4, "goes back"}}, {100, {}});
    ExpectRefusals(ParseCsv, {{"TIME,A\n0,1\n1,2\n", 1, "index asked for"}}, {{}, DK_INDEX_DEPTH});
}

const std::string lasHead =  // 15 lines
    "~VERSION INFORMATION\n VERS. 2.0 : CWLS\n WRAP. NO : one line\n~WELL\n STRT.S 0.0 : start\n"
    " STOP.S 2.0 : stop\n STEP.S 1.0 : step\n NULL. -999.25 : null\n# remark\n~CURVE\n TIME.S : time\n"
    " ZG.PSI 00 001 : gauge: main\n RTC.RPS : spin\n~PARAMETERS\n anything at all\n";

TEST(Las, ReadsSectionsNullValuesAndWrappedSteps) {
    LogTable table =
        Parsed(ParseLas(lasHead + "~A TIME ZG RTC\n 0.0 1 2\n 1.0  -999.25 3\n\n 2.0\t5 -999.250\n", {}));
    EXPECT_EQ(table.Grid().step, 100);
    EXPECT_EQ(table.Curves()[0].unit, "PSI");
    EXPECT_EQ(CurveOf(table, 0), (std::vector<float>{1, gap, 5}));
    EXPECT_EQ(CurveOf(table, 1), (std::vector<float>{2, 3, gap}));
    std::string wrapped = lasHead;
    wrapped.replace(wrapped.find("WRAP. NO"), 8, "WRAP. YES");
    LogTable same = Parsed(ParseLas(wrapped + "~A\n0.0\n1 2\n1.0\n-999.25\n3\n2.0\n5 -999.25\n", {}));
    EXPECT_EQ(CurveOf(same, 1), CurveOf(table, 1));
}

TEST(Las, ALogRecordedUpwardsIsPutInRisingOrder) {
    const std::string head =
        "~V\nVERS. 2 : \nWRAP. NO : \n~W\nSTRT.M 101 : \nSTOP.M 100 : \n~C\nDEPT.M : \nGR. : \n~A\n";
    LogTable table = Parsed(ParseLas(head + "101 1\n100.5 2\n100 3\n", {}));
    EXPECT_EQ(table.Grid().firstIndex, 32808);
    EXPECT_EQ(CurveOf(table, 0), (std::vector<float>{3, 2, 1}));
}

TEST(Las, RefusesBrokenFilesWithTheirLine) {
    std::string wrapped = lasHead;
    wrapped.replace(wrapped.find("WRAP. NO"), 8, "WRAP. YES");
    ExpectRefusals(ParseLas, {{"", 0, "empty"},
                              {"TIME,ZG\n0,1\n", 1, "not a LAS file"},
                              {"~V\nVERS. 3.0 : \n", 2, "not 2.0"},
                              {"~V\nVERS. 2.0 : \nWRAP. MAYBE : \n", 3, "neither"},
                              {"~V\nVERS. 2.0 : \n~C\nTIME S\n", 4, "point and a colon"},
                              {"~V\nVERS. 2.0 : \n~C\nXYZ.q : \n", 4, "neither time nor depth"},
                              {"~V\nVERS. 2.0 : \n~C\nTIME.min : \n", 4, "unit \"min\""},
                              {"~V\nVERS. 2.0 : \n~C\nTIME.S : \n~A\n", 5, "no curve"},
                              {"~C\nTIME.S : \nZG. : \n~A\n", 4, "no VERS"},
                              {lasHead, 0, "no ~A section"},
                              {lasHead + "~A\n", 0, "no data rows"},
                              {lasHead + "~A\n0 1 2\n1 2\n", 18, "2 values where there should be 3"},
                              {lasHead + "~A\n0 1 2\n1 2 3 4\n", 18, "more than 3"},
                              {lasHead + "~A\n0 1 2\n1 2 z\n", 18, "\"z\" is not a number"},
                              {lasHead + "~A\n0 1 2\n0.5 2 3\n", 18, "STOP (line 6) is 2"},
                              {lasHead + "~A\n0 1 2\n~C\n", 18, "section after the data"},
                              {wrapped + "~A\n0\n1 2\n1\n2\n", 20, "after 2 of 3 values"}});
}

/// Every kind of single, gaps at both ends and in the middle.
std::string AwkwardCsv() {
    const std::vector<float> values{
        0.1F,     -0.0F,       1e-45F,      1.17549435e-38F, std::numeric_limits<float>::max(),
        -999.25F, 16777217.0F, 1.0F / 3.0F, -9999.25F};
    std::string text = "TIME,A,LONGESTONE,ADPTH\ns,psi,,ft\n-3.00,,,9000\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        AppendHundredths(text, -200 + 100 * static_cast<std::int64_t>(i));
        text += ',';
        AppendSample(text, values[i]);
        text += i % 3 == 1 ? ",,\n" : ",2.5,\n";
    }
    return text + "7.00,,,\n";
}

TEST(LogFiles, WhatIsWrittenReadsBackTheSameInEveryFormat) {
    LogTable table = Parsed(ParseCsv(AwkwardCsv(), {}));
    std::string text;
    const TextSink sink = [&](std::string_view piece) { text += piece; };
    WriteCsv(table, sink);
    EXPECT_EQ(text, AwkwardCsv());
    for (const bool wrapped : {false, true}) {
        text.clear();
        WriteLas(table, "T", wrapped, sink);
        EXPECT_NE(text.find("NULL. -999999"), std::string::npos) << "two NULL values occur among the samples";
        LogTable again = Parsed(ParseLas(text, {}));
        text.clear();
        WriteCsv(again, sink);
        EXPECT_EQ(text, AwkwardCsv());
    }
}

}  // namespace
}  // namespace vorela
