// The passes of the transform, included once for each instruction set (FFT_TARGET) into a namespace of its
// own.
//
// Real and imaginary parts lie in two arrays, so that eight neighbouring points fill two vectors. The
// transform forth is decimation in frequency: a block of n points is combined into four blocks of n/4, each
// of which is a transform of its own. The way back undoes the same passes in reverse order (decimation in
// time). A block is carried down to 64 points, multiplied with the spectrum and carried up again before its
// neighbour is touched: all but the outer passes run in the innermost cache.

/// Eight points.
struct Points8 {
    Lanes re;
    Lanes im;
};

FFT_INLINE Lanes LoadLanes(const float* from) {
    Lanes lanes;
    __builtin_memcpy(&lanes, __builtin_assume_aligned(from, sizeof lanes), sizeof lanes);
    return lanes;
}
FFT_INLINE void StoreLanes(float* to, Lanes lanes) {
    __builtin_memcpy(__builtin_assume_aligned(to, sizeof lanes), &lanes, sizeof lanes);
}
FFT_INLINE Points8 Load(const float* re, const float* im, std::size_t at) {
    return {LoadLanes(re + at), LoadLanes(im + at)};
}
FFT_INLINE void Store(float* re, float* im, std::size_t at, Points8 p) {
    StoreLanes(re + at, p.re);
    StoreLanes(im + at, p.im);
}

FFT_INLINE Points8 Sum(Points8 a, Points8 b) {
    return {a.re + b.re, a.im + b.im};
}
FFT_INLINE Points8 Difference(Points8 a, Points8 b) {
    return {a.re - b.re, a.im - b.im};
}
/// a + ib and a − ib
FFT_INLINE Points8 SumTurned(Points8 a, Points8 b) {
    return {a.re - b.im, a.im + b.re};
}
FFT_INLINE Points8 DifferenceTurned(Points8 a, Points8 b) {
    return {a.re + b.im, a.im - b.re};
}
FFT_INLINE Points8 Product(Points8 a, Points8 w) {
    return {a.re * w.re - a.im * w.im, a.im * w.re + a.re * w.im};
}
/// a times the conjugate of w
FFT_INLINE Points8 ProductConjugate(Points8 a, Points8 w) {
    return {a.re * w.re + a.im * w.im, a.im * w.re - a.re * w.im};
}

/// Two-point transform: its own way back (times two).
FFT_INLINE void Forth2(Points8& p0, Points8& p1) {
    const Points8 difference = Difference(p0, p1);
    p0 = Sum(p0, p1);
    p1 = difference;
}
/// Four-point transform forth: out[r] = sum of in[j] e^(−2πi jr/4).
FFT_INLINE void Forth4(Points8& p0, Points8& p1, Points8& p2, Points8& p3) {
    const Points8 s02 = Sum(p0, p2);
    const Points8 d02 = Difference(p0, p2);
    const Points8 s13 = Sum(p1, p3);
    const Points8 d13 = Difference(p1, p3);
    p0 = Sum(s02, s13);
    p1 = DifferenceTurned(d02, d13);
    p2 = Difference(s02, s13);
    p3 = SumTurned(d02, d13);
}
/// The way back turns the other way: the results of parts 1 and 3 change places.
FFT_INLINE void Back4(Points8& p0, Points8& p1, Points8& p2, Points8& p3) {
    Forth4(p0, p1, p2, p3);
    const Points8 forth1 = p1;
    p1 = p3;
    p3 = forth1;
}

/// Times e^(−iπ/4) and e^(+iπ/4), −i and i.
FFT_INLINE Points8 EighthBack(Points8 p) {
    return {(p.re + p.im) * sqrtHalf, (p.im - p.re) * sqrtHalf};
}
FFT_INLINE Points8 EighthForth(Points8 p) {
    return {(p.re - p.im) * sqrtHalf, (p.im + p.re) * sqrtHalf};
}
FFT_INLINE Points8 QuarterBack(Points8 p) {
    return {p.im, -p.re};
}
FFT_INLINE Points8 QuarterForth(Points8 p) {
    return {-p.im, p.re};
}

/// Eight-point transform forth across p[0 … 7]; results in the order 0 2 4 6 1 3 5 7.
FFT_INLINE void Forth8(Points8* p) {
    for (std::size_t i = 0; i < 4; ++i)
        Forth2(p[i], p[i + 4]);
    p[5] = EighthBack(p[5]);
    p[6] = QuarterBack(p[6]);
    p[7] = QuarterBack(EighthBack(p[7]));
    Forth4(p[0], p[1], p[2], p[3]);
    Forth4(p[4], p[5], p[6], p[7]);
}
/// Undoes Forth8 (times eight).
FFT_INLINE void Back8(Points8* p) {
    Back4(p[0], p[1], p[2], p[3]);
    Back4(p[4], p[5], p[6], p[7]);
    p[5] = EighthForth(p[5]);
    p[6] = QuarterForth(p[6]);
    p[7] = QuarterForth(EighthForth(p[7]));
    for (std::size_t i = 0; i < 4; ++i)
        Forth2(p[i], p[i + 4]);
}

/// Rows to columns of eight vectors of eight.
FFT_INLINE void Transpose(Lanes* v) {
    Lanes pair[8];
    for (int i = 0; i < 8; i += 2) {
        pair[i] = __builtin_shufflevector(v[i], v[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pair[i + 1] = __builtin_shufflevector(v[i], v[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    Lanes four[8];
    for (int i = 0; i < 8; i += 4) {
        four[i] = __builtin_shufflevector(pair[i], pair[i + 2], 0, 1, 8, 9, 4, 5, 12, 13);
        four[i + 1] = __builtin_shufflevector(pair[i], pair[i + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        four[i + 2] = __builtin_shufflevector(pair[i + 1], pair[i + 3], 0, 1, 8, 9, 4, 5, 12, 13);
        four[i + 3] = __builtin_shufflevector(pair[i + 1], pair[i + 3], 2, 3, 10, 11, 6, 7, 14, 15);
    }
    for (int i = 0; i < 4; ++i) {
        v[i] = __builtin_shufflevector(four[i], four[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        v[i + 4] = __builtin_shufflevector(four[i], four[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}
FFT_INLINE void Transpose(Points8* p) {
    Lanes re[8];
    Lanes im[8];
    for (int i = 0; i < 8; ++i) {
        re[i] = p[i].re;
        im[i] = p[i].im;
    }
    Transpose(re);
    Transpose(im);
    for (int i = 0; i < 8; ++i)
        p[i] = {re[i], im[i]};
}

/// Rotations of the last pass of 64: the points of vector r turn by w^(r k) in lane k.
FFT_INLINE Points8 Rotation(const float* rotations, std::size_t r) {
    return {LoadLanes(rotations + 16 * r), LoadLanes(rotations + 16 * r + 8)};
}

/// The innermost 64 points: two passes of eight forth, product with the spectrum, two passes back; all in
/// registers. With `record` the transform itself is kept in `spectrum` instead.
FFT_TARGET void Block64(const float* rotations, float* re, float* im, float* spectrum, bool record) {
    Points8 p[8];
    for (std::size_t i = 0; i < 8; ++i)
        p[i] = Load(re, im, 8 * i);
    Forth8(p);
    for (std::size_t r = 1; r < 8; ++r)
        p[r] = Product(p[r], Rotation(rotations, r));
    Transpose(p);
    Forth8(p);
    if (record) {
        for (std::size_t i = 0; i < 8; ++i)
            Store(spectrum, spectrum + 8, 16 * i, p[i]);
        return;
    }
    for (std::size_t i = 0; i < 8; ++i)
        p[i] = Product(p[i], Rotation(spectrum, i));
    Back8(p);
    Transpose(p);
    for (std::size_t r = 1; r < 8; ++r)
        p[r] = ProductConjugate(p[r], Rotation(rotations, r));
    Back8(p);
    for (std::size_t i = 0; i < 8; ++i)
        Store(re, im, 8 * i, p[i]);
}

/// One pass over n points that are cut into two or four parts.
template <std::size_t parts>
FFT_TARGET void PassForth(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t part = n / parts;
    for (std::size_t k = 0; k < part; k += 8, rotations += 16 * (parts - 1)) {
        Points8 p[parts];
        for (std::size_t i = 0; i < parts; ++i)
            p[i] = Load(re, im, k + i * part);
        if constexpr (parts == 2)
            Forth2(p[0], p[1]);
        else
            Forth4(p[0], p[1], p[2], p[3]);
        Store(re, im, k, p[0]);
        for (std::size_t i = 1; i < parts; ++i)
            Store(re, im, k + i * part, Product(p[i], Rotation(rotations, i - 1)));
    }
}
/// Undoes PassForth (times the number of parts).
template <std::size_t parts>
FFT_TARGET void PassBack(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t part = n / parts;
    for (std::size_t k = 0; k < part; k += 8, rotations += 16 * (parts - 1)) {
        Points8 p[parts];
        p[0] = Load(re, im, k);
        for (std::size_t i = 1; i < parts; ++i)
            p[i] = ProductConjugate(Load(re, im, k + i * part), Rotation(rotations, i - 1));
        if constexpr (parts == 2)
            Forth2(p[0], p[1]);
        else
            Back4(p[0], p[1], p[2], p[3]);
        for (std::size_t i = 0; i < parts; ++i)
            Store(re, im, k + i * part, p[i]);
    }
}

/// A block of n points whose passes begin at `rotations`; its spectrum has 2n singles.
FFT_TARGET void Block(const AlignedFloats* rotations, std::size_t n, float* re, float* im, float* spectrum,
                      bool record) {
    const float* own = rotations->data();
    if (n == CircularConvolver::fewestPoints) {
        Block64(own, re, im, spectrum, record);
        return;
    }
    const std::size_t parts = PartsOf(n);
    const std::size_t part = n / parts;
    if (parts == 2)
        PassForth<2>(own, n, re, im);
    else
        PassForth<4>(own, n, re, im);
    for (std::size_t at = 0; at < n; at += part)
        Block(rotations + 1, part, re + at, im + at, spectrum + 2 * at, record);
    if (record)
        return;
    if (parts == 2)
        PassBack<2>(own, n, re, im);
    else
        PassBack<4>(own, n, re, im);
}
