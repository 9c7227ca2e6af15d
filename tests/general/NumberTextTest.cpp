#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/RangeCheck.h"
#include "general/TerminalText.h"
#include "tests/support/CommaLocale.h"

namespace vorela {
namespace {

TEST(NumberFormat, GivesSmallNumbersMoreDecimalsThanLargeOnes) {
    const std::tuple<double, int, const char*> cases[] = {
        {0, 0, "0"},           {0.00000005, 0, "0"},   {0.5, 3, "0.5"},       {0.01, 5, "0.01"},
        {0.02, 4, "0.02"},     {0.123456, 3, "0.123"}, {2, 0, "2"},           {2.5, 2, "2.5"},
        {2.0005, 0, "2"},      {250.75, 1, "250.8"},   {1500.7, 0, "1501"},   {-0.123456, 3, "-0.123"},
        {-1500.7, 0, "-1501"}, {5.001, 2, "5"},        {-0.00000005, 0, "0"}, {9.999, 2, "10"},
        {20.0005, 1, "20"},
    };
    for (const auto& [value, decimals, text] : cases) {
        EXPECT_EQ(DecimalsFor(value), decimals) << value;
        EXPECT_EQ(FormatNumber(value), text);
    }
}

TEST(NumberFormat, RoundsHalvesAwayFromZeroOnTheDecimalText) {
    // 0.125 and 1.005 as decimal texts: the binary value of 1.005 lies below the half.
    EXPECT_EQ(FormatByPattern(0.125, "0.00"), "0.13");
    EXPECT_EQ(FormatByPattern(1.005, "0.##"), "1.01");
    EXPECT_EQ(FormatByPattern(-2.5, "0"), "-3");
    EXPECT_EQ(FormatByPattern(-0.4, "0"), "0");
    EXPECT_EQ(FormatByPattern(99.996, "0.00"), "100.00");
    EXPECT_EQ(FormatByPattern(0.01, "0.0000000"), "0.0100000");
    EXPECT_THROW(FormatNumber(std::numeric_limits<double>::quiet_NaN()), RunTimeError);
}

TEST(NumberText, ShortestTextReadsBackToTheSameNumberUnderACommaLocale) {
    const test::CommaLocale german;
    for (const double value :
         {0.1, 240.0, 2.5, 1e-5, 1.0 / 3.0, 123456789.125, 5e-324, 1.7976931348623157e308}) {
        const std::string text = ShortestText(value);
        EXPECT_EQ(text.find(','), std::string::npos);
        EXPECT_EQ(LeadingNumber(text), value) << text;
    }
    EXPECT_EQ(ShortestText(0.5), "0.5");
    EXPECT_EQ(ShortestText(1e-5), "0.00001");
    EXPECT_EQ(ShortestText(33.33F), "33.33");
    EXPECT_EQ(ShortestText(-0.0), "0");
    for (const char* small : {"1.5e-50", "-0.25e-46", "1.5e-400"})
        EXPECT_EQ(StrictFloat(small), 0.0F) << small;
    EXPECT_EQ(StrictNumber("1.5e-400"), 0.0);
    for (const char* large : {"0.1e50", "-1.5e39", "0.1e400"})
        EXPECT_EQ(StrictFloat(large), std::nullopt) << large;
    EXPECT_EQ(StrictNumber("0.1e400"), std::nullopt);
}

TEST(NumberText, ReadsTheLeadingPartOfASettingAndTheWholeOfABox) {
    const std::pair<const char*, double> leading[] = {{" 12abc", 12}, {"abc", 0}, {"1e", 1},
                                                      {"-.5e1x", -5}, {".", 0},   {"1e400", 0}};
    for (const auto& [text, number] : leading)
        EXPECT_EQ(LeadingNumber(text), number) << text;
    EXPECT_EQ(LeadingInteger("-1"), -1);
    EXPECT_EQ(LeadingInteger("RTC3 SPIN"), 0);
    EXPECT_EQ(LeadingInteger("99999999999"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(LeadingInteger("-99999999999"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(StrictNumber(" 1.5 "), 1.5);
    for (const char* refused : {"", " ", "1.5x", "1,5", "nan", "inf", "0x10", "1e400", "1 2"})
        EXPECT_FALSE(StrictNumber(refused)) << refused;
}

TEST(RangeCheck, StoresAnAcceptedValueAtOnceAndKeepsTheFieldOfARefusedOne) {
    double field = 7;
    EXPECT_TRUE(CheckRange({"20", true}, 20, 30, field));
    EXPECT_EQ(field, 20);
    EXPECT_FALSE(CheckRange({"19.9", true}, 20, 30, field));
    EXPECT_FALSE(CheckRange({"", false}, 20, 30, field));
    EXPECT_EQ(field, 20);
    // An unchanged box shows a rounded text: the stored value stays, and is still checked.
    field = 20.004;
    EXPECT_TRUE(CheckRange({"20.00", false}, 20, 30, field));
    EXPECT_EQ(field, 20.004);
    field = 31;
    EXPECT_FALSE(CheckRange({"31", false}, 20, 30, field));
}

TEST(TerminalText, LetsNoControlCharacterThrough) {
    const std::pair<std::string, std::string> cases[] = {
        {"LEVEL 1\x1B[2J", "LEVEL 1\\x1B[2J"},
        {"a\tb\r\x7F", "a\\x09b\\x0D\\x7F"},
        {"\xC2\x9B"
         "31m",
         "\\xC2\\x9B"
         "31m"},
        {"\x9B", "\\x9B"},
        {"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"\xC1\x9B\xE0\x82\x9B", "\\xC1\\x9B\\xE0\\x82\\x9B"},
        {"\xE2\x82", "\\xE2\\x82"}};
    for (const auto& [raw, shown] : cases)
        EXPECT_EQ(TerminalText(raw), shown);
    EXPECT_EQ(TerminalText("a\nb"), "a\\x0Ab");
    EXPECT_EQ(TerminalLines("a\nb\x07"), "a\nb\\x07");
}

TEST(CheckedMath, StopsWhereTheClassicRunTimeStops) {
    EXPECT_EQ(RoundHalfEven(0.5), 0);
    EXPECT_EQ(RoundHalfEven(1.5), 2);
    EXPECT_EQ(RoundHalfEven(-0.5), 0);
    EXPECT_EQ(RoundHalfEven(-1.5), -2);
    EXPECT_EQ(RoundTo<std::int16_t>(32767.4, "t"), 32767);
    const auto numberOf = [](const std::function<void()>& body) { return test::ThrownBy(body).number; };
    EXPECT_EQ(numberOf([] { RoundTo<std::int16_t>(32767.5, "t"); }), error_number::overflow);
    EXPECT_EQ(numberOf([] { RoundTo<std::int32_t>(std::nan(""), "t"); }), error_number::overflow);
    EXPECT_EQ(numberOf([] { CheckedDivide(1, 0, "t"); }), error_number::divisionByZero);
    EXPECT_EQ(numberOf([] { CheckedLog(0, "t"); }), error_number::invalidProcedureCall);
    std::string three = "abc";
    EXPECT_EQ(numberOf([&] { CheckedAt(three, 3, "t"); }), error_number::subscriptOutOfRange);
}

}  // namespace
}  // namespace vorela
