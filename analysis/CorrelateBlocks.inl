// The sums of blocks for several frequencies at once, included once for each instruction set into a namespace
// of its own: CORRELATE_TARGET is the set, CORRELATE_BYTES the width of its vectors. No set may join
// multiplication and addition (-ffp-contract=off): the sums are the same, bit for bit, on every processor.

using Wide = double __attribute__((vector_size(CORRELATE_BYTES)));
constexpr std::size_t width = sizeof(Wide) / sizeof(double);

CORRELATE_TARGET inline __attribute__((always_inline)) Wide Load(const double* from) {
    Wide wide;
    std::memcpy(&wide, from, sizeof wide);
    return wide;
}

/// Some frequencies, the sum so far turned on by a block and the block before it added.
struct Sum {
    Wide re{}, im{};
    CORRELATE_TARGET inline __attribute__((always_inline)) void Put(const Wide& turnRe, const Wide& turnIm,
                                                                    const Wide& cosines, const Wide& sines) {
        const Wide next = turnRe * re - turnIm * im + cosines;
        im = turnRe * im + turnIm * re - sines;
        re = next;
    }
};

/// Σ x e^{−2πi f (t − middle of the first block)} over all blocks. Three vectors take turns, so that the
/// processor need not wait for the result of one.
CORRELATE_TARGET void Blocks(std::span<const Block> blocks, const Turns& turns, Lanes& re, Lanes& im) {
    static_assert(lanes % (3 * width) == 0);
    for (std::size_t a = 0; a < lanes; a += 3 * width) {
        const std::size_t b = a + width;
        const std::size_t c = b + width;
        Sum sumA, sumB, sumC;
        for (std::size_t i = blocks.size(); i-- > 0;) {
            Wide cosA{}, cosB{}, cosC{}, sinA{}, sinB{}, sinC{};
            for (std::size_t k = 0; k < halfBlock; ++k) {
                const double even = blocks[i].even[k];
                const double odd = blocks[i].odd[k];
                const double* const cosine = turns.cosine[k].data();
                const double* const sine = turns.sine[k].data();
                cosA += Load(cosine + a) * even;
                cosB += Load(cosine + b) * even;
                cosC += Load(cosine + c) * even;
                sinA += Load(sine + a) * odd;
                sinB += Load(sine + b) * odd;
                sinC += Load(sine + c) * odd;
            }
            sumA.Put(Load(&turns.blockRe[a]), Load(&turns.blockIm[a]), cosA, sinA);
            sumB.Put(Load(&turns.blockRe[b]), Load(&turns.blockIm[b]), cosB, sinB);
            sumC.Put(Load(&turns.blockRe[c]), Load(&turns.blockIm[c]), cosC, sinC);
        }
        const Wide sums[2][3] = {{sumA.re, sumB.re, sumC.re}, {sumA.im, sumB.im, sumC.im}};
        std::memcpy(&re[a], sums[0], sizeof sums[0]);
        std::memcpy(&im[a], sums[1], sizeof sums[1]);
    }
}
