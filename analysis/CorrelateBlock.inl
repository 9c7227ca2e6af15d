// Horner's rule for several frequencies at once, included once for each instruction set (CORRELATE_TARGET)
// into a namespace of its own. No set may join multiplication and addition: the sums are the same, bit for
// bit, on every processor.

CORRELATE_TARGET inline __attribute__((always_inline)) void Turn(Four& re, Four& im, const Four& turnRe,
                                                                 const Four& turnIm, double sample) {
    const Four next = turnRe * re - turnIm * im + sample;
    im = turnRe * im + turnIm * re;
    re = next;
}

/// Σ x e^{−2πi f (k · step)} over a short block; the turn is that of one step.
CORRELATE_TARGET void Block(std::span<const double> block, const Lanes& turnRe, const Lanes& turnIm,
                            Lanes& re, Lanes& im) {
    Four re0{}, re1{}, re2{}, im0{}, im1{}, im2{};
    for (std::size_t i = block.size(); i-- > 0;) {
        Turn(re0, im0, turnRe.fours[0], turnIm.fours[0], block[i]);
        Turn(re1, im1, turnRe.fours[1], turnIm.fours[1], block[i]);
        Turn(re2, im2, turnRe.fours[2], turnIm.fours[2], block[i]);
    }
    re = {{re0, re1, re2}};
    im = {{im0, im1, im2}};
}
