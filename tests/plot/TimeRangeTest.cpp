#include <gtest/gtest.h>

#include "general/RunTimeError.h"
#include "plot/TimeRange.h"

namespace vorela {
namespace {

TEST(TimeRange, AllDataGainsAStepAtItsEndAlsoOnAMultiple) {
    const PresentationOptions options{.timeAuto = true};
    EXPECT_EQ(ChosenSpan(options, 1234, 9500), (TimeSpan{1000, 10000}));
    EXPECT_EQ(ChosenSpan(options, 1000, 10000), (TimeSpan{1000, 11000}));
    EXPECT_EQ(ChosenSpan(options, -3, 0), (TimeSpan{-1000, 1000}));
}

TEST(TimeRange, FixedRangeShowsTheLastSecondsOrTheFirstWhenDataAreShorter) {
    const PresentationOptions options{.timeRange = 240};
    EXPECT_EQ(ChosenSpan(options, 0, 180000 - 1), (TimeSpan{180000 - 24000, 180000}));
    EXPECT_EQ(ChosenSpan(options, 500, 10400), (TimeSpan{0, 24000}));
    EXPECT_EQ(ChosenSpan(options, 0, 23000), (TimeSpan{0, 24000})) << "exactly as wide as the data";
}

TEST(TimeRange, SpecificZoneIsRoundedToTheEvenHundredth) {
    const PresentationOptions options{.fixed = false, .start = 0.125, .end = 10.375};
    EXPECT_EQ(ChosenSpan(options, 0, 999999), (TimeSpan{12, 1038}));
}

TEST(TimeRange, WhatLeaves32BitsIsAnOverflow) {
    EXPECT_THROW(ChosenSpan({.timeRange = 30000000}, 0, 1000), RunTimeError);
    EXPECT_THROW(ChosenSpan({.timeAuto = true}, 0, 2147483640), RunTimeError);
    std::int32_t t = 2147483647;
    EXPECT_THROW(RoundUpTime(t, 1000), RunTimeError);
    EXPECT_EQ(t, 2147483647);
    t = -2147483647;
    EXPECT_THROW(RoundDownTime(t, 1000), RunTimeError);
}

TEST(TimeRange, SamplingStepIsNeverFinerThanTheCurve) {
    EXPECT_EQ(SamplingStep({0, 24000}, 1000, 10), 24);
    EXPECT_EQ(SamplingStep({0, 24000}, 1000, 50), 50);
    EXPECT_EQ(SamplingStep({0, 2500}, 1000, 1), 2);  // 2.5 goes to the even 2
    EXPECT_EQ(SamplingStep({24000, 0}, 1000, 10), 24);
    EXPECT_EQ(SamplingStep({0, 100}, 1000, 0), 100);
    EXPECT_EQ(SamplingStep({-2147483647, 2147483647}, 100, 1), 42949673);
}

TEST(TimeRange, CursorPercentAndSecondsAreEachOthersInverse) {
    const PlottedRange range{100, 340};
    EXPECT_DOUBLE_EQ(SecondsAt(range, 25), 160);
    EXPECT_DOUBLE_EQ(SecondsAt(range, 150), 460);
    for (const double percent : {-20.0, 0.0, 33.33, 100.0, 212.5})
        EXPECT_NEAR(PercentAt(range, SecondsAt(range, percent)), percent, 1e-12);
    EXPECT_EQ(ElapsedOrigin(1234), 1000);
}

}  // namespace
}  // namespace vorela
