#include <TesselU/filter/NoiseSource.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "filter/WordPictures.h"
#include "filter/model/Exact.h"
#include "filter/model/Noise.h"

// Noises against their model.

namespace {

using namespace filter_test;
using filter_model::Noise;
using Zan::NoiseSource;

/// One of the three noises with its parameters.
struct Kind {
    std::string name;
    std::function<Zan::Long32(NoiseSource&, Zan::ULong32*, Zan::ULong32*, Zan::ULong32 width,
                              Zan::ULong32 height, Zan::ULong32 sourcePitch, Zan::ULong32 destinationPitch)>
        run;
    std::function<int(Noise&, const std::uint8_t*, std::uint8_t*, const Noise::Size&)> model;
};

Kind Gaussian(double variance, double mean) {
    std::string name = "Gaussian ";
    name += std::to_string(variance);
    name += ", ";
    name += std::to_string(mean);
    return {name,
            [=](NoiseSource& noise, Zan::ULong32* from, Zan::ULong32* to, Zan::ULong32 width,
                Zan::ULong32 height, Zan::ULong32 fromPitch, Zan::ULong32 toPitch) {
                return noise.AddGaussian(from, to, width, height, fromPitch, toPitch, variance, mean);
            },
            [=](Noise& noise, const std::uint8_t* from, std::uint8_t* to, const Noise::Size& size) {
                return noise.AddGaussian(from, to, size, variance, mean);
            }};
}

Kind Uniform(double low, double high) {
    std::string name = "uniform ";
    name += std::to_string(low);
    name += " to ";
    name += std::to_string(high);
    return {name,
            [=](NoiseSource& noise, Zan::ULong32* from, Zan::ULong32* to, Zan::ULong32 width,
                Zan::ULong32 height, Zan::ULong32 fromPitch, Zan::ULong32 toPitch) {
                return noise.AddUniform(from, to, width, height, fromPitch, toPitch, low, high);
            },
            [=](Noise& noise, const std::uint8_t* from, std::uint8_t* to, const Noise::Size& size) {
                return noise.AddUniform(from, to, size, low, high);
            }};
}

Kind BitErrors(double probability) {
    std::string name = "bit errors ";
    name += std::to_string(probability);
    return {name,
            [=](NoiseSource& noise, Zan::ULong32* from, Zan::ULong32* to, Zan::ULong32 width,
                Zan::ULong32 height, Zan::ULong32 fromPitch, Zan::ULong32 toPitch) {
                return noise.UniformBitErrors(from, to, width, height, fromPitch, toPitch, probability);
            },
            [=](Noise& noise, const std::uint8_t* from, std::uint8_t* to, const Noise::Size& size) {
                return noise.UniformBitErrors(from, to, size, probability);
            }};
}

double Real(int least, int most) {
    return RandomFrom<int>(least * 64, most * 64) / 64.0 + (OneIn(2) ? 0.0 : 1e-3 / 3);
}

Kind AnyKind() {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    switch (RandomFrom<int>(0, 5)) {
        case 0:
            return Gaussian(
                AnyOf({0.0, 1.0, 100.0, 2500.0, 1e6, 1e300, -1.0, -0.0, kInfinity, kNone, 5e-324}),
                AnyOf({0.0, -128.0, 127.5, 0.5, 1e300, kInfinity, -kInfinity, kNone}));
        case 1: {
            const double variance = Real(0, 900), mean = Real(-40, 40);
            return Gaussian(variance, mean);
        }
        case 2: {
            const double low = Real(-255, 60);
            return Uniform(low, std::min(low + Real(0, 254), 255.0));
        }
        case 3:
            return AnyOf({Uniform(-127, 128), Uniform(0, 0), Uniform(10, 10), Uniform(-255, 0),
                          Uniform(0, 255), Uniform(-0.5, 0.5)});
        case 4:
            return BitErrors(AnyOf({0.0, 1.0, 0.5, 1.0 / 32768, 0.25, -0.0, 0.99999}));
        default:
            return BitErrors(Real(0, 63) / 64);
    }
}

/// Runs a noise and its model on the same pictures.
void ExpectAsModel(NoiseSource& noise, Noise& model, const Kind& kind, std::size_t width, std::size_t height,
                   bool inPlace) {
    WordPicture source(width, height), destination(width, height);
    Bytes expected = inPlace ? source.memory : destination.memory;
    const Bytes before = source.memory;
    const WordPicture& written = inPlace ? source : destination;
    const Noise::Size size{width, height, source.pitch, written.pitch};
    const int status =
        kind.model(model, before.data() + source.offset, expected.data() + written.offset, size);
    ASSERT_EQ(kind.run(noise, source.Words(), inPlace ? source.Words() : destination.Words(),
                       static_cast<Zan::ULong32>(width), static_cast<Zan::ULong32>(height),
                       static_cast<Zan::ULong32>(source.pitch), static_cast<Zan::ULong32>(written.pitch)),
              status)
        << kind.name;
    ASSERT_TRUE(SameBytes(expected, written)) << kind.name << ", " << width << "x" << height;
    if (!inPlace) {
        ASSERT_EQ(source.memory, before) << kind.name;
    }
}

TEST(NoiseSourceModel, EveryWidth) {
    OnEveryTarget([] {
        NoiseSource noise;
        Noise model;
        for (std::size_t width = 1; width <= 70; ++width) {
            if (kSanitized && !OneIn(6)) {
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                ASSERT_NO_FATAL_FAILURE(
                    ExpectAsModel(noise, model, AnyKind(), width, RandomFrom<std::size_t>(1, 5), OneIn(2)));
            }
        }
    });
}

// Rows that are long enough for any number of lanes, and states that leap over them.
TEST(NoiseSourceModel, LongRows) {
    OnEveryTarget([] {
        NoiseSource noise;
        Noise model;
        for (const std::size_t width : {255U, 256U, 257U, 1000U, 4099U}) {
            for (const Kind& kind : {Gaussian(100, 0), Uniform(-127, 128), BitErrors(0.01)}) {
                ASSERT_NO_FATAL_FAILURE(
                    ExpectAsModel(noise, model, kind, width, kSanitized ? 1 : 3, OneIn(2)));
            }
        }
    });
}

// A noise goes on where the last one ended, over calls of all kinds, refused ones and empty ones.
TEST(NoiseSourceModel, StateFromCallToCall) {
    OnEveryTarget([] {
        NoiseSource noise;
        Noise model;
        // The first repeated call settles the state.
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel(noise, model, Uniform(-20, 20), 7, 2, false));
        for (int i = 0; i < (kSanitized ? 40 : 400); ++i) {
            if (OneIn(4)) {
                model.repeats = !model.repeats;
                noise.EnableSameRandomSeed(model.repeats);
            }
            if (OneIn(6)) {
                model.seed =
                    AnyOf<std::uint32_t>({0, 1, 2, 3, 0xFFFFFFFFU, 0x80000000U, 12345, RandomByte()});
                noise.SetRandomSeed(model.seed);
            }
            ASSERT_NO_FATAL_FAILURE(ExpectAsModel(noise, model, AnyKind(), RandomFrom<std::size_t>(0, 40),
                                                  RandomFrom<std::size_t>(0, 3), OneIn(2)));
        }
    });
}

// The state is that of the process, not of an object.
TEST(NoiseSourceModel, ObjectsShareTheState) {
    NoiseSource one, two;
    Noise model;
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(one, model, BitErrors(0.2), 9, 2, false));
    two.EnableSameRandomSeed(false);
    model.repeats = false;
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(two, model, Uniform(0, 100), 9, 2, false));
    NoiseSource copy = two;
    ASSERT_NO_FATAL_FAILURE(ExpectAsModel(copy, model, Gaussian(50, 3), 9, 2, false));
}

TEST(NoiseSourceModel, EverySeedsFirstDraws) {
    for (int i = 0; i < 200; ++i) {
        NoiseSource noise;
        Noise model;
        model.seed = static_cast<std::uint32_t>(Random()());
        noise.SetRandomSeed(model.seed);
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel(noise, model, Uniform(0, 255), 20, 1, OneIn(2)));
    }
}

// All 32,768 logarithms and cosines.
TEST(NoiseSourceModel, EveryDrawOfTheGaussian) {
    std::vector<bool> logarithms(32768), cosines(32768);
    NoiseSource noise;
    Noise model;
    std::size_t seen = 0;
    for (std::uint32_t seed = 0; seed < (kSanitized ? 4U : 60U); ++seed) {
        const std::size_t width = 4096;
        Noise draws;
        draws.state = seed;
        for (std::size_t i = 0; i < 4 * width; ++i) {
            logarithms[static_cast<std::size_t>(draws.Draw())] = true;
            cosines[static_cast<std::size_t>(draws.Draw())] = true;
        }
        model.seed = seed;
        noise.SetRandomSeed(seed);
        // Wide enough for differences of the last bit to show somewhere.
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel(noise, model, Gaussian(1000 + seed, 0.5), width, 1, false));
    }
    for (std::size_t i = 0; i < 32768; ++i) {
        seen += (logarithms[i] ? 1U : 0U) + (cosines[i] ? 1U : 0U);
    }
    EXPECT_GT(seen, kSanitized ? 40000U : 65000U);
}

// Sums that lie on a half as nearly as doubles can say: the order of additions and the last bit of a
// logarithm decide.

/// One pixel with several first bytes.
void ExpectAtHalf(Noise& model, NoiseSource& noise, const Kind& kind) {
    model.repeats = true;
    noise.SetRandomSeed(model.seed);
    for (const int byte : {0, 1, 77, 128, 254}) {
        WordPicture source(1, 1), destination(1, 1);
        source.Line(0)[0] = static_cast<std::uint8_t>(byte);
        Bytes expected = destination.memory;
        ASSERT_EQ(kind.model(model, source.Line(0), expected.data() + destination.offset,
                             {1, 1, source.pitch, destination.pitch}),
                  0);
        ASSERT_EQ(
            kind.run(noise, source.Words(), destination.Words(), 1, 1,
                     static_cast<Zan::ULong32>(source.pitch), static_cast<Zan::ULong32>(destination.pitch)),
            0);
        ASSERT_TRUE(SameBytes(expected, destination)) << kind.name << ", seed " << model.seed;
    }
}

TEST(NoiseSourceModel, UniformAtHalves) {
    NoiseSource noise;
    Noise model;
    for (int i = 0; i < (kSanitized ? 200 : 4000); ++i) {
        model.seed = static_cast<std::uint32_t>(Random()());
        Noise draws;
        draws.state = model.seed;
        const double span = RandomFrom<int>(1, 100000) / 1000.0;
        const double offset = draws.Draw() * 3.051850947599719e-05 * span;
        const double low = RandomFrom<int>(-100, 100) + 0.5 - offset;
        ASSERT_NO_FATAL_FAILURE(ExpectAtHalf(model, noise, Uniform(low, low + span)));
    }
}

TEST(NoiseSourceModel, GaussianAtHalves) {
    NoiseSource noise;
    Noise model;
    // Draws whose logarithm or cosine this machine's own library does not round to the nearest, and others.
    std::vector<bool> logarithms(32768), cosines(32768);
    int hard = 0;
    for (int draw = 0; draw < 32768; draw += kSanitized ? 16 : 1) {
        const double u = 1.0 - draw * 3.0518416338339375e-05;
        const double angle = draw * 0.00019175345011749627 - 3.141592653589793;
        const auto at = static_cast<std::size_t>(draw);
        logarithms[at] = filter_model::NearestLog(u) != std::log(u) || draw % 1000 == 0;
        cosines[at] = filter_model::NearestCosine(angle) != std::cos(angle) || draw % 1000 == 0;
        hard += (logarithms[at] ? 1 : 0) + (cosines[at] ? 1 : 0);
    }
    EXPECT_GE(hard, kSanitized ? 34 : 66);
    int done = 0;
    for (std::uint32_t seed = 0; seed < 400000; ++seed) {
        Noise draws;
        draws.state = seed;
        const int first = draws.Draw(), second = draws.Draw();
        const auto one = static_cast<std::size_t>(first), two = static_cast<std::size_t>(second);
        if (!logarithms[one] && !cosines[two]) {
            continue;
        }
        for (const double variance : {1.0, 100.0, 2000.0 + seed}) {
            const double u = 1.0 - first * 3.0518416338339375e-05;
            const double angle = second * 0.00019175345011749627 - 3.141592653589793;
            const double radius = std::sqrt(filter_model::NearestLog(u) * variance * -2.0);
            const double mean = 0.5 - filter_model::NearestCosine(angle) * radius;
            model.seed = seed;
            ASSERT_NO_FATAL_FAILURE(ExpectAtHalf(model, noise, Gaussian(variance, mean)));
        }
        // Each a few times.
        logarithms[one] = logarithms[one] && !OneIn(3);
        cosines[two] = cosines[two] && !OneIn(3);
        ++done;
    }
    EXPECT_GE(done, hard / 2);
}

TEST(NoiseSourceModel, Refusals) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    NoiseSource noise;
    Noise model;
    for (const Kind& kind :
         {Uniform(-255.01, 0), Uniform(0, 255.01), Uniform(3, 2), Uniform(-128, 128), Uniform(kNone, 0),
          Uniform(0, kNone), Uniform(-kInfinity, 0), Uniform(0, kInfinity), BitErrors(-1e-9),
          BitErrors(1.0000001), BitErrors(kNone), BitErrors(kInfinity), BitErrors(-kInfinity)}) {
        ASSERT_NO_FATAL_FAILURE(ExpectAsModel(noise, model, kind, 5, 2, false));
        WordPicture picture(5, 2);
        EXPECT_EQ(kind.run(noise, picture.Words(), picture.Words(), 5, 2, 20, 20), -2);
        EXPECT_EQ(kind.run(noise, nullptr, picture.Words(), 5, 2, 20, 20), -1) << kind.name;
        EXPECT_EQ(kind.run(noise, picture.Words(), nullptr, 5, 2, 20, 20), -1) << kind.name;
    }
}

}  // namespace
