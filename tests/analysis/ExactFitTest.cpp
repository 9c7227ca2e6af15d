// Inversion, fits, ranges and messages on indices whose answer is known.
#include "analysis/ExactFit.h"
#include "analysis/ExactTables.h"
#include "tests/analysis/ExactSupport.h"

namespace vorela::test {
namespace {

using Complex = std::complex<double>;

TEST(ExactFit, EveryWellComesBackFromItsIndex) {
    std::mt19937_64 random(3);
    const auto uniform = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int i = 0; i < 1000; ++i) {
        ExactLayer layer{uniform(1, 200), uniform(0.05, 0.4), uniform(0.1, 10), 1e-5, uniform(4, 14)};
        layer.period = std::pow(10.0, uniform(1.3, 5.0));
        const double k = std::pow(10.0, uniform(-2, 5));
        const double skin = uniform(-5, 30);
        const Complex index = ThinSkinIndex(layer, 1, {k, skin}).index;
        const auto back = InvertThinSkin(layer, index);
        ASSERT_TRUE(back);
        EXPECT_NEAR(back->permeability / k, 1, 1e-11);
        EXPECT_NEAR(back->skin, skin, 1e-10);
        const double negative = -std::abs(skin) / 8;
        const auto enlarged = InvertEnlargedWell(layer, EnlargedWellIndex(layer, 1, {k, negative}).index);
        ASSERT_TRUE(enlarged);
        EXPECT_NEAR(enlarged->permeability / k, 1, 1e-9);
        EXPECT_NEAR(enlarged->skin, negative, 1e-9);
    }
    EXPECT_FALSE(InvertThinSkin({}, {1, 0}));
    EXPECT_FALSE(InvertThinSkin({}, {0, 0}));
    EXPECT_FALSE(InvertEnlargedWell({}, {1, 1.01}));
}

/// Central differences of an index.
TEST(ExactFit, DerivativesAreThoseOfTheModels) {
    const ExactLayer layer;
    for (const auto& index : {ThinSkinIndex, EnlargedWellIndex})
        for (const double skin : {-1.0, 4.0}) {
            const double d = 1e-5;
            const ModelIndex at = index(layer, 3, {30, skin});
            const Complex byLnK = (index(layer, 3, {30 * std::exp(d), skin}).index -
                                   index(layer, 3, {30 * std::exp(-d), skin}).index) /
                                  (2 * d);
            const Complex bySkin =
                (index(layer, 3, {30, skin + d}).index - index(layer, 3, {30, skin - d}).index) / (2 * d);
            EXPECT_LT(std::abs(at.byLnPermeability - byLnK), 1e-8 * std::abs(at.index));
            EXPECT_LT(std::abs(at.bySkin - bySkin), 1e-8 * std::abs(at.index));
        }
}

/// Harmonics of a layer with a storage that the analysis does not know of.
std::vector<FitHarmonic> HarmonicsOf(const ExactLayer& layer, const PermeabilityAndSkin& at, double storage,
                                     double relative) {
    std::vector<FitHarmonic> list;
    for (const int n : {1, 3, 5}) {
        FitHarmonic harmonic;
        harmonic.number = n;
        harmonic.index = ThinSkinIndex(layer, n, at).index + Complex{0, OmegaPerDay(layer, n) * storage};
        harmonic.variance = std::norm(harmonic.index) * relative * relative;
        harmonic.parts = {{0.3 * harmonic.variance, 16}, {0.7 * harmonic.variance, 16}};
        list.push_back(harmonic);
    }
    return list;
}

TEST(ExactFit, StorageIsFoundBesideTheLayerFromAnywhere) {
    const ExactLayer layer{30, 0.2, 1, 1e-5, 8.5, 240};
    for (const double k : {0.5, 30.0, 2000.0})
        for (const double skin : {-1.0, 5.0, 25.0})
            for (const double storage : {-5e-5, 1e-5, -1e-2}) {
                const auto harmonics = HarmonicsOf(layer, {k, skin}, storage, 0.01);
                const auto found = FitJoint(layer, harmonics, {StorageKnowledge::free, 0}, 95);
                ASSERT_TRUE(found) << k << " " << skin << " " << storage;
                EXPECT_NEAR(*found->estimate.permeability / k, 1, 1e-6) << skin << " " << storage;
                EXPECT_NEAR(*found->estimate.skin, skin, 1e-5);
                EXPECT_NEAR(found->storage / storage, 1, 1e-5);
                EXPECT_GT(*found->estimate.pValue, 0.99);
            }
}

TEST(ExactFit, LimitedStorageLiesBetweenExactAndFree) {
    const ExactLayer layer{30, 0.2, 1, 1e-5, 8.5, 240};
    const auto harmonics = HarmonicsOf(layer, {100, 5}, 2e-6, 0.01);
    const auto fit = [&](StorageKnowledge::Kind kind, double sigma) {
        return *FitJoint(layer, harmonics, {kind, sigma}, 95);
    };
    const JointResult exact = fit(StorageKnowledge::exact, 0);
    const JointResult free = fit(StorageKnowledge::free, 0);
    const JointResult tight = fit(StorageKnowledge::limited, 1e-12);
    const JointResult loose = fit(StorageKnowledge::limited, 1);
    EXPECT_NEAR(*tight.estimate.permeability / *exact.estimate.permeability, 1, 1e-6);
    EXPECT_NEAR(*tight.estimate.sigmaSkin / *exact.estimate.sigmaSkin, 1, 1e-5);
    EXPECT_NEAR(*loose.estimate.permeability / *free.estimate.permeability, 1, 1e-6);
    EXPECT_NEAR(*loose.estimate.sigmaSkin / *free.estimate.sigmaSkin, 1, 1e-5);
    EXPECT_LT(*exact.estimate.sigmaLnPermeability, *free.estimate.sigmaLnPermeability);
    // Harmonics that no layer makes: the errors are scaled up by what they miss.
    auto odd = harmonics;
    odd[1].index *= 1.2;
    const JointResult bad = *FitJoint(layer, odd, {}, 95);
    EXPECT_LT(*bad.estimate.pValue, 0.01);
    EXPECT_GT(*bad.estimate.sigmaLnPermeability, 3 * *exact.estimate.sigmaLnPermeability);
}

TEST(ExactFit, RangesOpenUpwardsWhereTheErrorReachesTheValue) {
    ExactEstimate estimate;
    estimate.permeability = 100;
    estimate.skin = 5;
    ExactEstimate wide = estimate;
    SetErrors(estimate, {0.01, 0.06, 0.5}, 16, 95);
    const double t = 2.119905299;  // Student's, 16 degrees
    EXPECT_NEAR(*estimate.permeabilityRange.lower, 100 / (1 + 0.1 * t), 1e-6);
    EXPECT_NEAR(*estimate.permeabilityRange.upper, 100 / (1 - 0.1 * t), 1e-6);
    for (const auto& end : {estimate.skinRange.lower, estimate.skinRange.upper}) {
        const double d = *end - 5;  // Fieller: |d + the error of S| = t of its own standard error
        EXPECT_NEAR(d * d, t * t * (0.5 + 2 * 0.06 * d + 0.01 * d * d), 1e-9);
    }
    SetErrors(wide, {0.26, 1.4, 8}, 16, 95);
    EXPECT_FALSE(wide.permeabilityRange.upper);
    EXPECT_FALSE(wide.skinRange.upper);
    EXPECT_LT(*wide.skinRange.lower, 5);
    EXPECT_GT(*wide.skinRange.lower, -5) << "the end that is there as the error goes through the limit";
    EXPECT_NEAR(FisherTail(3.2389, 4, 16), 0.04, 0.001);
}

// --- Messages ---

Simulation Quiet(double k = 100, double skin = 5) {
    return SimulationOf({k, skin, 30, 240, 9, 20, 0.002});
}

TEST(ExactMessages, InputsThatCannotBeAreNamedAndCostTheirIntervalOnly) {
    const auto told = [](const std::function<void(IntervalInputs&)>& assume) {
        const ExactInterval interval = Analysed(Quiet(), {}, {}, assume);
        EXPECT_FALSE(interval.single.HasSolution());
        EXPECT_EQ(interval.recommended, ExactMethod::none);
        return interval.messages.front();
    };
    EXPECT_EQ(told([](auto& i) { i.layer.height = 0; }), "height must be positive");
    EXPECT_EQ(told([](auto& i) { i.layer.viscosity = -1; }), "viscosity must be positive");
    EXPECT_EQ(told([](auto& i) { i.layer.porosity = 0; }), "porosity must be positive");
    EXPECT_EQ(told([](auto& i) { i.layer.compressibility = 0; }), "total compressibility must be positive");
    EXPECT_EQ(told([](auto& i) { i.layer.boreholeDiameter = 0; }), "borehole diameter must be positive");
    EXPECT_EQ(told([](auto& i) { i.casingID = 0; }), "casing ID must be positive");
    EXPECT_EQ(told([](auto& i) { i.wellCompressibility = std::nan(""); }),
              "well compressibility must be a number");
    const ExactInterval same = Analysed(Quiet(), {}, {}, [](auto& i) { i.depth2 = i.depth1; });
    EXPECT_FALSE(same.storage.HasSolution());
    EXPECT_EQ(same.recommended, ExactMethod::joint) << "no well between the levels, no storage";
    const ExactInterval defaults =
        Analysed(Quiet(), {}, {}, [](auto& i) { i.layer.porosity = i.layer.compressibility = 1; });
    EXPECT_TRUE(Says(defaults, "porosity and total compressibility are still at their defaults"));
}

TEST(ExactMessages, RecordsThatCannotBeUsedSayWhy) {
    EXPECT_TRUE(Says(Analysed(Quiet(), {}, [](LevelRecord& r) { r.boundaries.resize(1); }),
                     "no whole cycle without a gap"));
    EXPECT_TRUE(Says(Analysed(Quiet(), {},
                              [](LevelRecord& r) {
                                  std::fill(r.flow.states.begin(), r.flow.states.end(),
                                            SampledCurve::missing);
                              }),
                     "no whole cycle without a gap"));
    EXPECT_TRUE(Says(
        Analysed(Quiet(), {},
                 [](LevelRecord& r) { std::fill(r.pressure.values.begin(), r.pressure.values.end(), 3.0); }),
        "no pressure signal"));
    for (SampledCurve LevelRecord::*curve : {&LevelRecord::pressure, &LevelRecord::flow})
        EXPECT_TRUE(Says(Analysed(Quiet(), {}, [&](LevelRecord& r) { (r.*curve).step = 0; }),
                         "no whole cycle without a gap"))
            << "no sampling step, no cycle";
    const ExactInterval periods = Analysed(Quiet(), {}, [](LevelRecord& r) {
        if (r.dataset == "LEVEL1")
            for (std::int32_t& boundary : r.boundaries)
                boundary += boundary / 100;
    });
    EXPECT_TRUE(Says(periods, "levels have different periods"));
    EXPECT_FALSE(periods.single.HasSolution());
}

TEST(ExactMessages, FewCyclesAndCoarseStepsAreTold) {
    ExactSettings settings;
    settings.firstCycle = settings.lastCycle = 3;
    const ExactInterval one = Analysed(Quiet(), settings);
    EXPECT_TRUE(Says(one, "one cycle has no measure of its scatter"));
    EXPECT_TRUE(one.single.HasSolution());
    EXPECT_FALSE(one.single.sigmaSkin);
    EXPECT_FALSE(one.harmonics.front().sigma);
    EXPECT_EQ(one.recommended, ExactMethod::single);
    EXPECT_TRUE(Says(one, "without harmonics the result rests on the assumed well compressibility"));
    for (const int cycles : {2, 3}) {
        settings.lastCycle = settings.firstCycle + cycles - 1;
        const ExactInterval few = Analysed(Quiet(), settings);
        EXPECT_TRUE(few.single.sigmaSkin);
        EXPECT_TRUE(Says(few, "fewer than 6 cycles"));
    }
    EXPECT_FALSE(Says(Analysed(Quiet()), "cycles"));
    EXPECT_FALSE(Says(Analysed(Quiet()), "step is coarse"));
    EXPECT_TRUE(Says(Analysed(SimulationOf({100, 5, 30, 240, 9, 30, 0.002})),
                     "step is coarse for a sharp valve edge"));
    EXPECT_TRUE(Says(Analysed(Quiet(), {},
                              [](LevelRecord& r) {
                                  for (std::size_t i = 0; 2 * i < r.flow.values.size(); ++i)
                                      r.flow.values[i] = r.flow.values[2 * i];
                                  r.flow.values.resize(r.flow.values.size() / 2);
                                  r.flow.states.resize(r.flow.values.size());
                                  r.flow.step *= 2;
                              }),
                     "step is coarse for a sharp valve edge"))
        << "of the flow alone";
}

TEST(ExactMessages, FlowThatIsLateIsSeen) {
    Simulation late = Quiet();
    late.flowDelay = 5;
    const ExactInterval interval = Analysed(late);
    EXPECT_TRUE(Says(interval, "apparent well compressibility is negative: flow record late by about"))
        << interval.messages.front();
    Simulation little = Quiet();
    little.flowDelay = 0.1;
    EXPECT_TRUE(Says(Analysed(little), "harmonics disagree"));
    EXPECT_TRUE(
        Says(Analysed(Quiet(), {}, [](LevelRecord& r) { r.flow.first += r.dataset == "LEVEL1" ? 10 : 0; }),
             "harmonics disagree"))
        << "one level late by 100 ms";
    Simulation lost = SimulationOf({10, 0, 30, 240, 9, 100, 0.01});
    lost.flowDelay = 5;
    const ExactInterval assumed = Analysed(lost);
    EXPECT_TRUE(Says(assumed, "storage of the well not resolved"));
    EXPECT_NE(assumed.recommended, ExactMethod::storage);
    Simulation shifted = Quiet();  // beyond the storage, by noise that holds nothing up
    shifted.flowDelay = 60;
    const ExactInterval none = Analysed(shifted);
    EXPECT_FALSE(none.single.HasSolution());
    EXPECT_TRUE(
        Says(none, "lag not positive: storage of the well, a time offset or noise exceeds the signal"));
    EXPECT_FALSE(Says(none, "of at least")) << "the circle of the error does not reach positive lags";
    Simulation early = Quiet();
    early.flowDelay = -90;
    const ExactInterval beyond = Analysed(early);
    EXPECT_TRUE(Says(beyond, "lag of 90 degrees or more: not a resistance"));
    EXPECT_TRUE(beyond.single.HasSolution());
}

TEST(ExactMessages, AnotherModelAndLargeErrorsAreTold) {
    Simulation enlarged = SimulationOf({10, -3, 30, 240, 20, 20, 0.0005});
    enlarged.levels[0].layer.enlargedWell = true;
    const ExactInterval other = Analysed(enlarged);
    EXPECT_TRUE(Says(other, "not the model of one radial layer")) << *other.storage.pValue;
    ASSERT_TRUE(other.enlargedWell);
    EXPECT_NEAR(*other.enlargedWell->permeability, 10, 0.1);
    EXPECT_NEAR(*other.enlargedWell->skin, -3, 0.02);
    EXPECT_EQ(ExactMethodRows(other, 95).back().front(), "enlarged well");
    const ExactInterval slightly = Analysed(Quiet(100, -0.3));
    EXPECT_TRUE(slightly.enlargedWell);
    EXPECT_EQ(ExactMethodRows(slightly, 95).back().front(), "storage") << "no second opinion near zero";
    const ExactInterval open = Analysed(SimulationOf({1, 5, 50, 600, 7, 100, 0.003, 0.1, 1e-5, 8.5, 12}));
    EXPECT_TRUE(Says(open, "permeability has no upper limit"));
    EXPECT_TRUE(Says(open, "state the error of the well compressibility or choose a longer period"));
}

}  // namespace
}  // namespace vorela::test
