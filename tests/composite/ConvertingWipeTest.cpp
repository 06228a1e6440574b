// The wipe of plain memory that makes RGB of 4:2:2 on its way.

#include <TesselU/convert/ConversionMatrix.h>

#include "composite/ModelRuns.h"

using namespace composite_test;

namespace {

composite_model::Plane ModelOf(const RawPlane& raw) {
    const PlaneModel model = raw.Model();
    composite_model::Plane plane;
    plane.memory = model.bytes;
    plane.first = model.first;
    plane.pitch = model.pitch;
    plane.end = static_cast<std::ptrdiff_t>(model.bytes.size());
    plane.isThere = true;
    return plane;
}

/// Two sources of two bytes a pixel, a key of one and a destination of four.
struct Planes {
    RawPlane a, b, key, dst;

    Planes(int width, int height, std::ptrdiff_t extra, bool upwards)
        : a(2 * Columns(width), Rows(height), Pitch(2 * width, extra, upwards), 4),
          b(2 * Columns(width), Rows(height), Pitch(2 * width, 2 * extra, false)),
          key(Columns(width), Rows(height), Pitch(width, extra / 4, upwards), 1),
          dst(4 * Columns(width), Rows(height), Pitch(4 * width, extra, false), 8) {}

    Zan::Long32 Run(Zan::ZanCompositor& by, int width, int height, double threshold, double gain,
                    unsigned codePath) {
        return by.CompositeTwoSrcCSCAndAlphaGradient(
            a.Words(), b.Words(), reinterpret_cast<Zan::ULong32*>(key.First()), dst.Words(),
            static_cast<Zan::ULong32>(width), static_cast<Zan::ULong32>(height), a.Pitch(), b.Pitch(),
            key.Pitch(), dst.Pitch(), threshold, gain, codePath);
    }

private:
    static std::size_t Columns(int width) { return static_cast<std::size_t>(width); }
    static std::size_t Rows(int height) { return static_cast<std::size_t>(height); }
    static std::ptrdiff_t Pitch(int bytes, std::ptrdiff_t extra, bool upwards) {
        return upwards ? -(bytes + extra) : bytes + extra;
    }
};

void Expect(Zan::ZanCompositor& compositor, const Machine& machine, Planes& planes, int width, int height,
            double threshold, double gain, unsigned codePath) {
    SCOPED_TRACE(::testing::Message() << width << "x" << height << ", threshold " << threshold << ", gain "
                                      << gain << ", path " << codePath);
    double matrix[16], offsets[8];
    Zan::DefaultMatrixForFormats(matrix, offsets, 2, 0);
    const auto a = ModelOf(planes.a), b = ModelOf(planes.b), key = ModelOf(planes.key);
    auto dst = ModelOf(planes.dst);
    const int status =
        composite_model::ConvertingWipe(a, b, key, dst, width, height, threshold, gain, codePath,
                                        ProcessorOf(machine).integerSse, matrix, offsets);
    ASSERT_EQ(planes.Run(compositor, width, height, threshold, gain, codePath), status);
    ASSERT_TRUE(SameMemory("destination", dst, planes.dst.Memory()));
    ASSERT_TRUE(SameMemory("first source", a, planes.a.Memory()));
    ASSERT_TRUE(SameMemory("second source", b, planes.b.Memory()));
    ASSERT_TRUE(SameMemory("key", key, planes.key.Memory()));
}

double AnyThreshold() {
    return OneIn(3) ? AnyOf({0.0, 1.0, 0.5, -0.1, 1.2, 255 / 256.0}) : RandomFrom<int>(0, 10000) / 10000.0;
}
double AnyGain() {
    return OneIn(3) ? AnyOf({0.0, 1.0, 0.5, 1 / 128.0, 2.0}) : RandomFrom<int>(0, 10000) / 10000.0;
}

// Runs `body(compositor, machine)` as on every machine, a style having nothing to say.
template <class Body>
void OnMachines(Body body) {
    OnEveryPath([&](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        if (style == 0) {
            body(compositor, machine);
        }
    });
}

TEST(ConvertingWipe, AsTheModel) {
    OnMachines([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (int width = 16; width <= 70; ++width) {
            if (kSanitized && !OneIn(6)) {
                continue;
            }
            const int height = RandomFrom<int>(1, 4);
            // Pitches of pictures lose what is beyond whole words, that of the key does not.
            Planes planes(width, height, AnyOf({0, 4, 7, 13, 64}), OneIn(3));
            ASSERT_NO_FATAL_FAILURE(
                Expect(compositor, machine, planes, width, height, AnyThreshold(), AnyGain(), 2));
        }
    });
}

// Threshold and gain keep 16 bits, read without a sign.
TEST(ConvertingWipe, ThresholdsAndGainsBeyond16Bits) {
    OnMachines([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const double threshold : {-1.0, -0.001, 65535 / 65280.0, 65536 / 65280.0, 1.5, 3.7}) {
            for (const double gain : {-1.0, -0.01, 1.0, 65535 / 32767.0, 2.1, 5.0}) {
                Planes planes(48, 2, 0, false);
                ASSERT_NO_FATAL_FAILURE(Expect(compositor, machine, planes, 48, 2, threshold, gain, 2));
            }
        }
    });
}

// Every sample of luma with every pair of chroma in steps of 15, with colours that leave the range.
TEST(ConvertingWipe, EveryColour) {
    OnMachines([](Zan::ZanCompositor& compositor, const Machine& machine) {
        if (!machine.TakesSse()) {
            return;
        }
        for (int row = 0; row < 18 * 18; row += kSanitized ? 7 : 1) {
            Planes planes(256, 1, 0, false);
            for (int x = 0; x < 256; ++x) {
                std::uint8_t* const pair = planes.a.First() + x / 2 * 4;
                pair[0] = static_cast<std::uint8_t>(row / 18 * 15);
                pair[2] = static_cast<std::uint8_t>(row % 18 * 15);
                pair[1 + x % 2 * 2] = static_cast<std::uint8_t>(x);
                planes.key.First()[x] = 0;
            }
            ASSERT_NO_FATAL_FAILURE(Expect(compositor, machine, planes, 256, 1, 0.5, 1.0, 2));
        }
    });
}

// A key below the threshold gives srcA; alpha of 1.0 above it has a factor of 127.
TEST(ConvertingWipe, TheScaleOfTheGain) {
    OnMachines([](Zan::ZanCompositor& compositor, const Machine& machine) {
        if (!machine.TakesSse()) {
            return;
        }
        Planes planes(16, 1, 0, false);
        for (int x = 0; x < 16; ++x) {
            // Grey: Cb and Cr 128; luma 16 is black, 235 white.
            for (std::uint8_t* const first : {planes.a.First(), planes.b.First()}) {
                first[2 * x] = 128;
                first[2 * x + 1] = first == planes.a.First() ? 16 : 235;
            }
            planes.key.First()[x] = static_cast<std::uint8_t>(100 + x);
        }
        // T = 102 * 256: keys up to 102 have alpha 0, 103 has 127, 104 has 254, and all above 255.
        ASSERT_EQ(planes.Run(compositor, 16, 1, 102.0 / 255, 1.0, 2), 0);
        const int alphas[] = {0, 0, 0, 127, 254, 255, 255, 255};
        const int black = planes.dst.First()[0], white = planes.dst.First()[4 * 15];
        EXPECT_LT(black, 3);
        EXPECT_GT(white, 252);
        for (int x = 0; x < 8; ++x) {
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(planes.dst.First()[4 * x + i],
                          composite_model::Div255Round((255 - alphas[x]) * black + alphas[x] * white))
                    << x;
            }
            EXPECT_EQ(planes.dst.First()[4 * x + 3], 255);
        }
    });
}

TEST(ConvertingWipe, OtherPathsAreRefused) {
    OnMachines([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {0U, 1U, 3U, 5U, 0xFFFFFFFFU}) {
            Planes planes(32, 2, 0, false);
            const Bytes before = planes.dst.Memory();
            EXPECT_EQ(planes.Run(compositor, 32, 2, 0.5, 1.0, path), 100);
            EXPECT_EQ(before, planes.dst.Memory());
        }
        Planes planes(32, 2, 0, false);
        const Bytes before = planes.dst.Memory();
        EXPECT_EQ(planes.Run(compositor, 32, 2, 0.5, 1.0, 2), 0);
        // Without integer SSE, or held back from it, nothing is written.
        EXPECT_EQ(before == planes.dst.Memory(), !machine.TakesSse());
        // No rows, and rows that are no block.
        Planes none(32, 2, 0, false);
        const Bytes noneBefore = none.dst.Memory();
        EXPECT_EQ(none.Run(compositor, 32, 0, 0.5, 1.0, 2), 0);
        EXPECT_EQ(none.Run(compositor, 15, 2, 0.5, 1.0, 2), 0);
        EXPECT_EQ(none.Run(compositor, 0, 2, 0.5, 1.0, 2), 0);
        EXPECT_EQ(noneBefore, none.dst.Memory());
    });
}

}  // namespace
