#include "dravik/store/Crc32c.h"

#include <array>
#include <cstring>

namespace vorela::store {
namespace {

using Word = std::uint32_t;
constexpr Word polynomial = 0x82F63B78U;

constexpr std::array<std::array<Word, 256>, 8> MakeSliceTables() {
    std::array<std::array<Word, 256>, 8> tables{};
    for (Word byte = 0; byte < 256; ++byte) {
        Word crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? polynomial : 0U);
        tables[0][byte] = crc;
    }
    for (std::size_t slice = 1; slice < 8; ++slice)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[slice][byte] = (tables[slice - 1][byte] >> 8) ^ tables[0][tables[slice - 1][byte] & 0xFFU];
    return tables;
}

constexpr auto sliceTables = MakeSliceTables();

Word SlicedBy8(const unsigned char* at, std::size_t count, Word crc) {
    for (; count >= 8; count -= 8, at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, at, sizeof word);
        word ^= crc;
        crc = 0;
        for (std::size_t slice = 0; slice < 8; ++slice)
            crc ^= sliceTables[7 - slice][(word >> (8 * slice)) & 0xFFU];
    }
    for (; count > 0; --count, ++at)
        crc = (crc >> 8) ^ sliceTables[0][(crc ^ *at) & 0xFFU];
    return crc;
}

#if defined(__x86_64__)

// The CRC instruction has a latency of three cycles and starts anew on every cycle, so three lanes of a block
// run side by side. A lane's state is moved over the lanes behind it by a linear map, "append laneBytes zero
// bytes".
constexpr std::size_t laneDoublings = 10;
constexpr std::size_t laneBytes = std::size_t{1} << laneDoublings;

using LinearMap = std::array<Word, 32>;

constexpr Word Apply(const LinearMap& map, Word state) {
    Word image = 0;
    for (std::size_t bit = 0; state != 0; ++bit, state >>= 1)
        if ((state & 1U) != 0)
            image ^= map[bit];
    return image;
}

constexpr std::array<std::array<Word, 256>, 4> MakeLaneTables() {
    LinearMap map{};
    for (std::size_t bit = 0; bit < 32; ++bit) {
        const Word state = Word{1} << bit;
        map[bit] = (state >> 8) ^ sliceTables[0][state & 0xFFU];
    }
    for (std::size_t doubling = 0; doubling < laneDoublings; ++doubling) {
        LinearMap twice{};
        for (std::size_t bit = 0; bit < 32; ++bit)
            twice[bit] = Apply(map, map[bit]);
        map = twice;
    }
    std::array<std::array<Word, 256>, 4> tables{};
    for (std::size_t place = 0; place < 4; ++place)
        for (Word byte = 0; byte < 256; ++byte)
            tables[place][byte] = Apply(map, byte << (8 * place));
    return tables;
}

constexpr auto laneTables = MakeLaneTables();

Word OverOneLane(Word crc) {
    return laneTables[0][crc & 0xFFU] ^ laneTables[1][(crc >> 8) & 0xFFU] ^
           laneTables[2][(crc >> 16) & 0xFFU] ^ laneTables[3][crc >> 24];
}

std::uint64_t Load(const unsigned char* at) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

__attribute__((target("sse4.2"))) Word ByInstruction(const unsigned char* at, std::size_t count, Word crc) {
    std::uint64_t state = crc;
    for (; count >= 3 * laneBytes; count -= 3 * laneBytes, at += 3 * laneBytes) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::size_t i = 0; i < laneBytes; i += 8) {
            state = __builtin_ia32_crc32di(state, Load(at + i));
            second = __builtin_ia32_crc32di(second, Load(at + laneBytes + i));
            third = __builtin_ia32_crc32di(third, Load(at + 2 * laneBytes + i));
        }
        const Word two = OverOneLane(static_cast<Word>(state)) ^ static_cast<Word>(second);
        state = OverOneLane(two) ^ static_cast<Word>(third);
    }
    for (; count >= 8; count -= 8, at += 8)
        state = __builtin_ia32_crc32di(state, Load(at));
    crc = static_cast<Word>(state);
    for (; count > 0; --count, ++at)
        crc = __builtin_ia32_crc32qi(crc, *at);
    return crc;
}

#endif

}  // namespace

std::vector<Crc32cWay> Crc32cWays() {
    std::vector<Crc32cWay> ways{{"table", SlicedBy8}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("sse4.2") != 0)
        ways.push_back({"instruction", ByInstruction});
#endif
    return ways;
}

Word Crc32c(const void* bytes, std::size_t count, Word crc) {
    static const auto advance = Crc32cWays().back().advance;
    return ~advance(static_cast<const unsigned char*>(bytes), count, ~crc);
}

}  // namespace vorela::store
