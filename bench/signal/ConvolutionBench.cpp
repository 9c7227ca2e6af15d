// Band-pass convolution at the field's kernel length against the same overlap-add on FFTW's real transforms.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "signal/modWindowedSinc.h"

namespace vorela {
namespace {

constexpr std::int16_t kernelLength = 4801;
constexpr std::size_t signalLength = 10'000'000;

const std::vector<float>& Kernel() {
    static const std::vector<float> kernel = BandPassKernel(0.0002F, 0.0008F, kernelLength);
    return kernel;
}

const std::vector<float>& Signal() {
    static const std::vector<float> signal = [] {
        std::vector<float> values(signalLength);
        for (std::size_t k = 0; k < values.size(); ++k)
            values[k] = static_cast<float>(3000.0 + std::sin(0.0026 * static_cast<double>(k)));
        return values;
    }();
    return signal;
}

/// The textbook's overlap-add on FFTW's real single-precision transforms, one segment at a time. Plain
/// convolution sums, delay not taken out, as OverlapAddFilter gives them.
class FftwOverlapAdd {
  public:
    explicit FftwOverlapAdd(const std::vector<float>& kernel)
        : points_(2 * static_cast<std::size_t>(NextPowerOfTwo(static_cast<std::int32_t>(kernel.size())))),
          carried_(kernel.size() - 1),
          time_(fftwf_alloc_real(points_), fftwf_free),
          spectrum_(fftwf_alloc_complex(points_ / 2 + 1), fftwf_free),
          kernelSpectrum_(points_ / 2 + 1) {
        forth_ = fftwf_plan_dft_r2c_1d(static_cast<int>(points_), time_.get(), spectrum_.get(), FFTW_MEASURE);
        back_ = fftwf_plan_dft_c2r_1d(static_cast<int>(points_), spectrum_.get(), time_.get(), FFTW_MEASURE);
        std::fill_n(std::copy(kernel.begin(), kernel.end(), time_.get()), points_ - kernel.size(), 0.0F);
        fftwf_execute(forth_);
        const float scale = 1.0F / static_cast<float>(points_);
        for (std::size_t k = 0; k <= points_ / 2; ++k)
            kernelSpectrum_[k] = {spectrum_.get()[k][0] * scale, spectrum_.get()[k][1] * scale};
    }
    ~FftwOverlapAdd() {
        fftwf_destroy_plan(forth_);
        fftwf_destroy_plan(back_);
    }
    FftwOverlapAdd(const FftwOverlapAdd&) = delete;
    FftwOverlapAdd& operator=(const FftwOverlapAdd&) = delete;

    void Run(const std::vector<float>& signal, std::vector<float>& result) {
        const std::size_t segment = points_ - carried_;
        std::vector<float> overlap(carried_);
        for (std::size_t b = 0; b < signal.size(); b += segment) {
            const std::size_t count = std::min(segment, signal.size() - b);
            std::copy_n(signal.begin() + static_cast<std::ptrdiff_t>(b), count, time_.get());
            std::fill(time_.get() + count, time_.get() + points_, 0.0F);
            fftwf_execute(forth_);
            Multiply();
            fftwf_execute(back_);
            for (std::size_t k = 0; k < carried_; ++k)
                time_.get()[k] += overlap[k];
            std::copy_n(time_.get() + segment, carried_, overlap.begin());
            std::copy_n(time_.get(), count, result.begin() + static_cast<std::ptrdiff_t>(b));
        }
    }

  private:
    struct Point {
        float re;
        float im;
    };
    void Multiply() {
        auto* const points = reinterpret_cast<Point*>(spectrum_.get());
        for (std::size_t k = 0; k <= points_ / 2; ++k) {
            const Point p = points[k];
            const Point h = kernelSpectrum_[k];
            points[k] = {p.re * h.re - p.im * h.im, p.re * h.im + p.im * h.re};
        }
    }

    std::size_t points_;
    std::size_t carried_;
    std::unique_ptr<float[], void (*)(void*)> time_;
    std::unique_ptr<fftwf_complex[], void (*)(void*)> spectrum_;
    std::vector<Point> kernelSpectrum_;
    fftwf_plan forth_ = nullptr;
    fftwf_plan back_ = nullptr;
};

void RunOwn(const std::shared_ptr<const OverlapAddKernel>& kernel, std::vector<float>& result) {
    OverlapAddFilter filter(kernel);
    const auto keep = [&](std::int64_t first, std::span<const float> values) {
        std::copy(values.begin(), values.end(), result.begin() + first);
    };
    filter.Feed(Signal(), keep);
    filter.Provisional(keep);
}

template <typename Body>
double Seconds(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Ours and the peer in turn, so that both see the same machine; the time reported is ours.
void ConvolutionBesideFftw(benchmark::State& state, FftVariant variant) {
    if (!IsSupported(variant)) {
        state.SkipWithError("this processor does not run it");
        return;
    }
    const auto kernel = std::make_shared<const OverlapAddKernel>(Kernel(), variant);
    FftwOverlapAdd peer(Kernel());
    std::vector<float> ours(signalLength);
    std::vector<float> theirs(signalLength);
    RunOwn(kernel, ours);
    peer.Run(Signal(), theirs);
    for (std::size_t k = kernelLength; k < signalLength; k += 1009) {
        if (std::abs(ours[k] - theirs[k]) > 5e-3F) {
            state.SkipWithError("the two results differ");
            return;
        }
    }
    double own = 0;
    double fftw = 0;
    while (state.KeepRunning()) {
        const double once = Seconds([&] { RunOwn(kernel, ours); });
        own += once;
        fftw += Seconds([&] { peer.Run(Signal(), theirs); });
        state.SetIterationTime(once);
    }
    const double samples = static_cast<double>(signalLength) * static_cast<double>(state.iterations());
    state.counters["own_Msamples/s"] = samples / own / 1e6;
    state.counters["fftw_Msamples/s"] = samples / fftw / 1e6;
    state.counters["rate_to_fftw"] = fftw / own;
}
BENCHMARK_CAPTURE(ConvolutionBesideFftw, fastest, FastestVariant())
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ConvolutionBesideFftw, portable, FftVariant::portable)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// The transform alone, without the copying around it.
void CircularConvolution(benchmark::State& state) {
    const auto points = static_cast<std::size_t>(state.range(0));
    const CircularConvolver convolver(
        std::span<const float>{Kernel()}.first(std::min<std::size_t>(points, Kernel().size())), points);
    AlignedFloats a(points);
    AlignedFloats b(points);
    while (state.KeepRunning()) {
        convolver.Apply(a.data(), b.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CircularConvolution)->RangeMultiplier(4)->Range(64, 65536)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vorela

BENCHMARK_MAIN();
