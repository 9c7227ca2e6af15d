#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "plot/CurveOverview.h"

namespace vorela {
namespace {

constexpr float gap = std::numeric_limits<float>::quiet_NaN();
constexpr std::int64_t bucket = CurveOverview::bucketSamples;

std::vector<float> Noise(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<float> normal;
    std::vector<float> samples(count);
    for (float& sample : samples)
        sample = random() % 5 == 0 ? gap : normal(random);
    for (std::size_t i = 1000; i < std::min<std::size_t>(2000, count); ++i)
        samples[i] = gap;
    return samples;
}

MinMax Plain(const std::vector<float>& samples, std::int64_t first, std::int64_t end) {
    MinMax result;
    for (std::int64_t i = first; i < std::min<std::int64_t>(end, std::ssize(samples)); ++i)
        if (!std::isnan(samples[static_cast<std::size_t>(i)]))
            result.Add(samples[static_cast<std::size_t>(i)]);
    return result;
}

void ExpectAgreement(const CurveOverview& overview, const std::vector<float>& samples) {
    const std::int64_t buckets = (std::ssize(samples) + bucket - 1) / bucket;
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int64_t> bound(0, buckets);
    for (int i = 0; i < 300; ++i) {
        const auto [a, b] = std::minmax({bound(random), bound(random)});
        ASSERT_EQ(overview.OfBuckets(a, b), Plain(samples, a * bucket, b * bucket)) << a << " to " << b;
    }
    EXPECT_EQ(overview.OfBuckets(0, buckets), Plain(samples, 0, std::ssize(samples)));
    EXPECT_TRUE(overview.OfBuckets(8, 15).IsEmpty()) << "gaps only";
    EXPECT_TRUE(overview.OfBuckets(5, 5).IsEmpty());
}

TEST(CurveOverview, AgreesWithTheSamplesHoweverItGrew) {
    const std::vector<float> samples = Noise(100'003, 1);
    for (const std::size_t piece : {1UL, 7UL, 128UL, 1000UL, 100'003UL}) {
        CurveOverview overview;
        for (std::size_t at = 0; at < samples.size(); at += piece)
            overview.Append(std::span(samples).subspan(at, std::min(piece, samples.size() - at)));
        EXPECT_EQ(overview.Size(), 100'003);
        ExpectAgreement(overview, samples);
    }
}

TEST(CurveOverview, ForgetsATailThatIsWrittenAgain) {
    std::vector<float> samples = Noise(90'000, 2);
    CurveOverview overview;
    overview.Append(samples);
    for (const std::int64_t keep : {89'999, 70'000, 2048, 128, 127, 0}) {
        overview.Truncate(keep);
        EXPECT_LE(overview.Size(), keep);
        EXPECT_GT(overview.Size(), keep - bucket);
        const std::vector<float> other = Noise(90'000, static_cast<unsigned>(keep));
        std::copy(other.begin() + overview.Size(), other.end(), samples.begin() + overview.Size());
        overview.Append(std::span(samples).subspan(static_cast<std::size_t>(overview.Size())));
        ExpectAgreement(overview, samples);
    }
}

}  // namespace
}  // namespace vorela
