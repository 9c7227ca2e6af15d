#include "dravik/store/Crc32c.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <array>
#include <cstring>

namespace dravik::store {
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

// Folding (V. Gopal and others, "Fast CRC computation for generic polynomials using PCLMULQDQ instruction",
// Intel 2009): what stands in a sum is moved over the bytes behind it by a carry-less product with a power of
// x. The sums are a message with the same checksum. The products and the CRC instruction use different parts
// of the processor, so the front of the bytes is folded while three lanes behind it go through the
// instruction.
constexpr std::size_t foldBytes = 128;
constexpr std::size_t laneStep = 32;  ///< of each lane while foldBytes are folded
constexpr std::size_t foldedBesideLanes = laneBytes / laneStep * foldBytes;

/// x^power mod the polynomial, lowest power in the highest bit, in the place that a product of such numbers
/// needs.
constexpr long long FoldFactor(std::size_t power) {
    Word factor = 0x80000000U;
    for (; power > 0; --power)
        factor = (factor >> 1) ^ ((factor & 1U) != 0 ? polynomial : 0U);
    const std::uint64_t shifted = std::uint64_t{factor} << 1;
    return static_cast<long long>(shifted);
}
constexpr long long overLow = FoldFactor(8 * foldBytes + 32);
constexpr long long overHigh = FoldFactor(8 * foldBytes - 32);

#define VORELA_FOLDS __attribute__((target("sse4.2,avx2,vpclmulqdq"), always_inline)) inline

struct FoldSums {
    __m256i part[4];

    VORELA_FOLDS FoldSums(const unsigned char* at, Word crc) {
        for (std::size_t i = 0; i < 4; ++i)
            part[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 32 * i));
        part[0] = _mm256_xor_si256(part[0], _mm256_set_epi64x(0, 0, 0, static_cast<long long>(crc)));
    }
    VORELA_FOLDS void Take(const unsigned char* at) {
        const __m256i factors = _mm256_set_epi64x(overHigh, overLow, overHigh, overLow);
        for (std::size_t i = 0; i < 4; ++i) {
            const __m256i low = _mm256_clmulepi64_epi128(part[i], factors, 0x00);
            const __m256i high = _mm256_clmulepi64_epi128(part[i], factors, 0x11);
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 32 * i));
            part[i] = _mm256_xor_si256(_mm256_xor_si256(low, high), bytes);
        }
    }
};

__attribute__((target("sse4.2,avx2,vpclmulqdq"))) Word ByFolding(const unsigned char* at, std::size_t count,
                                                                 Word crc) {
    if (count < 4 * foldBytes)
        return ByInstruction(at, count, crc);
    const std::size_t laneBlocks = (count - foldBytes) / (foldedBesideLanes + 3 * laneBytes);
    const unsigned char* lane = at + count - laneBlocks * 3 * laneBytes;
    count -= laneBlocks * 3 * laneBytes;

    FoldSums sums(at, crc);
    at += foldBytes;
    count -= foldBytes;
    std::uint64_t first = 0;
    for (std::size_t block = 0; block < laneBlocks; ++block, lane += 3 * laneBytes) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::size_t step = 0; step < laneBytes; step += laneStep, at += foldBytes) {
            sums.Take(at);
            for (std::size_t i = step; i < step + laneStep; i += 8) {
                first = __builtin_ia32_crc32di(first, Load(lane + i));
                second = __builtin_ia32_crc32di(second, Load(lane + laneBytes + i));
                third = __builtin_ia32_crc32di(third, Load(lane + 2 * laneBytes + i));
            }
        }
        count -= foldedBesideLanes;
        const Word two = OverOneLane(static_cast<Word>(first)) ^ static_cast<Word>(second);
        first = OverOneLane(two) ^ static_cast<Word>(third);
    }
    for (; count >= foldBytes; count -= foldBytes, at += foldBytes)
        sums.Take(at);
    unsigned char message[sizeof sums];
    std::memcpy(message, &sums, sizeof sums);
    crc = ByInstruction(at, count, ByInstruction(message, sizeof message, 0));
    for (std::size_t i = 0; i < 3 * laneBlocks; ++i)
        crc = OverOneLane(crc);
    return crc ^ static_cast<Word>(first);
}

#undef VORELA_FOLDS

#endif

}  // namespace

std::vector<Crc32cWay> Crc32cWays() {
    std::vector<Crc32cWay> ways{{"table", SlicedBy8}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("sse4.2") != 0)
        ways.push_back({"instruction", ByInstruction});
    if (ways.size() == 2 && __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("vpclmulqdq") != 0)
        ways.push_back({"folding", ByFolding});
#endif
    return ways;
}

Word Crc32c(const void* bytes, std::size_t count, Word crc) {
    static const auto advance = Crc32cWays().back().advance;
    return ~advance(static_cast<const unsigned char*>(bytes), count, ~crc);
}

}  // namespace dravik::store
