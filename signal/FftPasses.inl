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
FFT_INLINE void Back4(Points8& p0, Points8& p1, Points8& p2, Points8& p3) {
    const Points8 s02 = Sum(p0, p2);
    const Points8 d02 = Difference(p0, p2);
    const Points8 s13 = Sum(p1, p3);
    const Points8 d13 = Difference(p1, p3);
    p0 = Sum(s02, s13);
    p1 = SumTurned(d02, d13);
    p2 = Difference(s02, s13);
    p3 = DifferenceTurned(d02, d13);
}

/// Times e^(−iπ/4) and e^(+iπ/4).
FFT_INLINE Points8 EighthBack(Points8 p) {
    return {(p.re + p.im) * sqrtHalf, (p.im - p.re) * sqrtHalf};
}
FFT_INLINE Points8 EighthForth(Points8 p) {
    return {(p.re - p.im) * sqrtHalf, (p.im + p.re) * sqrtHalf};
}

/// Eight-point transform forth across p[0 … 7]; results in the order 0 2 4 6 1 3 5 7.
FFT_INLINE void Forth8(Points8* p) {
    const Points8 d0 = Difference(p[0], p[4]);
    const Points8 d1 = EighthBack(Difference(p[1], p[5]));
    const Points8 d2 = Difference(p[2], p[6]);
    const Points8 d3 = EighthBack(Difference(p[3], p[7]));
    p[0] = Sum(p[0], p[4]);
    p[1] = Sum(p[1], p[5]);
    p[2] = Sum(p[2], p[6]);
    p[3] = Sum(p[3], p[7]);
    Forth4(p[0], p[1], p[2], p[3]);
    // d2 and d3 want another quarter turn each, which the four-point step after them takes in.
    const Points8 s02 = DifferenceTurned(d0, d2);
    const Points8 d02 = SumTurned(d0, d2);
    const Points8 s13 = DifferenceTurned(d1, d3);
    const Points8 d13 = SumTurned(d1, d3);
    p[4] = Sum(s02, s13);
    p[5] = DifferenceTurned(d02, d13);
    p[6] = Difference(s02, s13);
    p[7] = SumTurned(d02, d13);
}
/// Undoes Forth8 (times eight).
FFT_INLINE void Back8(Points8* p) {
    Back4(p[0], p[1], p[2], p[3]);
    Back4(p[4], p[5], p[6], p[7]);
    const Points8 e1 = p[1];
    const Points8 e2 = p[2];
    const Points8 e3 = p[3];
    const Points8 o0 = p[4];
    const Points8 o1 = EighthForth(p[5]);
    const Points8 o2 = p[6];
    const Points8 o3 = EighthForth(p[7]);
    p[4] = Difference(p[0], o0);
    p[0] = Sum(p[0], o0);
    p[5] = Difference(e1, o1);
    p[1] = Sum(e1, o1);
    p[6] = DifferenceTurned(e2, o2);
    p[2] = SumTurned(e2, o2);
    p[7] = DifferenceTurned(e3, o3);
    p[3] = SumTurned(e3, o3);
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

FFT_TARGET void PassForth2(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t half = n / 2;
    for (std::size_t k = 0; k < half; k += 8, rotations += 16) {
        const Points8 a = Load(re, im, k);
        const Points8 b = Load(re, im, k + half);
        Store(re, im, k, Sum(a, b));
        Store(re, im, k + half, Product(Difference(a, b), Rotation(rotations, 0)));
    }
}
FFT_TARGET void PassBack2(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t half = n / 2;
    for (std::size_t k = 0; k < half; k += 8, rotations += 16) {
        const Points8 a = Load(re, im, k);
        const Points8 b = ProductConjugate(Load(re, im, k + half), Rotation(rotations, 0));
        Store(re, im, k, Sum(a, b));
        Store(re, im, k + half, Difference(a, b));
    }
}

FFT_TARGET void PassForth4(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t quarter = n / 4;
    for (std::size_t k = 0; k < quarter; k += 8, rotations += 48) {
        Points8 p0 = Load(re, im, k);
        Points8 p1 = Load(re, im, k + quarter);
        Points8 p2 = Load(re, im, k + 2 * quarter);
        Points8 p3 = Load(re, im, k + 3 * quarter);
        Forth4(p0, p1, p2, p3);
        Store(re, im, k, p0);
        Store(re, im, k + quarter, Product(p1, Rotation(rotations, 0)));
        Store(re, im, k + 2 * quarter, Product(p2, Rotation(rotations, 1)));
        Store(re, im, k + 3 * quarter, Product(p3, Rotation(rotations, 2)));
    }
}
FFT_TARGET void PassBack4(const float* rotations, std::size_t n, float* re, float* im) {
    const std::size_t quarter = n / 4;
    for (std::size_t k = 0; k < quarter; k += 8, rotations += 48) {
        Points8 p0 = Load(re, im, k);
        Points8 p1 = ProductConjugate(Load(re, im, k + quarter), Rotation(rotations, 0));
        Points8 p2 = ProductConjugate(Load(re, im, k + 2 * quarter), Rotation(rotations, 1));
        Points8 p3 = ProductConjugate(Load(re, im, k + 3 * quarter), Rotation(rotations, 2));
        Back4(p0, p1, p2, p3);
        Store(re, im, k, p0);
        Store(re, im, k + quarter, p1);
        Store(re, im, k + 2 * quarter, p2);
        Store(re, im, k + 3 * quarter, p3);
    }
}

/// A block of n points whose passes begin at `rotations`; its spectrum has 2n singles.
FFT_TARGET void Block(const AlignedFloats* rotations, std::size_t n, float* re, float* im, float* spectrum,
                      bool record) {
    const float* own = rotations->Data();
    if (n == CircularConvolver::fewestPoints) {
        Block64(own, re, im, spectrum, record);
        return;
    }
    const std::size_t parts = PartsOf(n);
    const std::size_t part = n / parts;
    if (parts == 2)
        PassForth2(own, n, re, im);
    else
        PassForth4(own, n, re, im);
    for (std::size_t at = 0; at < n; at += part)
        Block(rotations + 1, part, re + at, im + at, spectrum + 2 * at, record);
    if (record)
        return;
    if (parts == 2)
        PassBack2(own, n, re, im);
    else
        PassBack4(own, n, re, im);
}
