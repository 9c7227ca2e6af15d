#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "dravik/store/Crc32c.h"

namespace dravik::store {
namespace {

// The check value of the catalogue of parametrised CRC algorithms, and two of RFC 3720, appendix B.4.
TEST(Crc32cTest, KnownAnswers) {
    EXPECT_EQ(Crc32c("123456789", 9), 0xE3069283U);
    const std::vector<unsigned char> zeros(32, 0);
    const std::vector<unsigned char> ones(32, 0xFF);
    EXPECT_EQ(Crc32c(zeros.data(), 32), 0x8A9136AAU);
    EXPECT_EQ(Crc32c(ones.data(), 32), 0x62A8AB43U);
}

TEST(Crc32cTest, EveryWayOfTheProcessorAgreesWithTheBitwiseDefinition) {
    std::mt19937 random(7);
    std::vector<unsigned char> bytes(20000);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    const auto bitwise = [&](std::size_t from, std::size_t count, std::uint32_t state) {
        for (std::size_t i = from; i < from + count; ++i) {
            state ^= bytes[i];
            for (int bit = 0; bit < 8; ++bit)
                state = (state >> 1) ^ ((state & 1U) != 0 ? 0x82F63B78U : 0U);
        }
        return state;
    };
    std::vector<std::size_t> lengths{3071, 3072, 3073, 6150, 16380, 19000};
    for (std::size_t length = 0; length < 600; ++length)
        lengths.push_back(length);
    for (const std::size_t length : lengths) {
        const std::size_t from = length % 17;
        const auto state = static_cast<std::uint32_t>(random());
        for (const Crc32cWay& way : Crc32cWays())
            ASSERT_EQ(way.advance(bytes.data() + from, length, state), bitwise(from, length, state))
                << way.name << ", " << length << " bytes";
    }
}

}  // namespace
}  // namespace dravik::store
