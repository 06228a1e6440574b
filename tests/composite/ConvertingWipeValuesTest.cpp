#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/convert/ConverterFormat.h>

#include <cmath>

#include "composite/Wipe.h"

using namespace composite_test;
using Zan::ZanCompositor;

namespace {

/// The planes of one call.
struct Planes {
    RawPlane a, b, key, dst;

    Planes(std::size_t width, std::size_t rows, std::ptrdiff_t extra = 0)
        : a(2 * width, rows, static_cast<std::ptrdiff_t>(2 * width) + extra),
          b(2 * width, rows, -(static_cast<std::ptrdiff_t>(2 * width) + extra)),
          key(width, rows, static_cast<std::ptrdiff_t>(width) + extra),
          dst(4 * width, rows, static_cast<std::ptrdiff_t>(4 * width) + extra) {}

    Zan::Long32 Run(ZanCompositor& compositor, std::size_t width, std::size_t rows, double threshold,
                    double gain, unsigned codePath = 2) {
        return compositor.CompositeTwoSrcCSCAndAlphaGradient(
            a.Words(), b.Words(), key.Words(), dst.Words(), static_cast<Zan::ULong32>(width),
            static_cast<Zan::ULong32>(rows), a.Pitch(), b.Pitch(), key.Pitch(), dst.Pitch(), threshold, gain,
            codePath);
    }
};

/// The conversion as it is told: samples in 128ths, coefficients in 8192ths, results in 16ths.
class Matrix {
public:
    Matrix() {
        double matrix[16], offsets[8];
        Zan::DefaultMatrixForFormats(matrix, offsets, Zan::kFmtCbYCrY, Zan::kFmtRGB32);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                fixed[i][j] = static_cast<int>(std::lround(matrix[4 * i + j] * 8192));
            }
            before[i] = static_cast<int>(offsets[i] * 128);
            after[i] = static_cast<int>(offsets[4 + i] * 16);
        }
    }
    unsigned operator()(int i, int c0, int c1, int c2) const {
        const int u[4] = {c0 * 128 + before[0], c1 * 128 + before[1], c2 * 128 + before[2], before[3]};
        std::int64_t sum = 0;
        for (int j = 0; j < 4; ++j) {
            sum += std::int64_t{u[j]} * fixed[i][j];
        }
        const int v =
            std::clamp(static_cast<int>(std::floor(static_cast<double>(sum) / 65536)), -32768, 32767);
        return static_cast<unsigned>(std::clamp(static_cast<int>(std::floor((v + after[i]) / 16.0)), 0, 255));
    }

private:
    int fixed[4][4], before[4], after[4];
};

unsigned Alpha(unsigned key, double threshold, double gain) {
    const int t = Truncate32(threshold * 65280) & 0xFFFF, g = Truncate32(gain * 32767) & 0xFFFF;
    const int x = std::max(static_cast<int>(key << 8) - t, 0) >> 8;
    return static_cast<unsigned>(std::min(x * (g >> 8), 255));
}

void Check(ZanCompositor& compositor, const Machine& machine, std::size_t width, std::size_t rows,
           std::ptrdiff_t extra, double threshold, double gain) {
    SCOPED_TRACE(::testing::Message() << width << "x" << rows << ", pitches + " << extra << ", threshold "
                                      << threshold << ", gain " << gain);
    const Matrix matrix;
    Planes planes(width, rows, extra);
    const PlaneModel a = planes.a.Model(), b = planes.b.Model(), key = planes.key.Model();
    PlaneModel dst = planes.dst.Model();
    const std::ptrdiff_t pitchA = a.pitch / 4 * 4, pitchB = b.pitch / 4 * 4, pitchOut = dst.pitch / 4 * 4;
    const std::size_t columns = machine.TakesSse() ? width / 16 * 16 : 0;
    for (std::size_t y = 0; y < rows; ++y) {
        const auto row = static_cast<std::ptrdiff_t>(y);
        for (std::size_t x = 0; x < columns; ++x) {
            const auto pair = static_cast<std::ptrdiff_t>(x / 2 * 4), luma = pair + 1 + (x % 2 != 0 ? 2 : 0);
            const unsigned alpha = Alpha(key.At(row, static_cast<std::ptrdiff_t>(x)), threshold, gain);
            for (int i = 0; i < 4; ++i) {
                const auto pixel = [&](const PlaneModel& from, std::ptrdiff_t pitch) {
                    return i == 3 ? 255U
                                  : matrix(i, from.AtPitch(pitch, row, pair), from.AtPitch(pitch, row, luma),
                                           from.AtPitch(pitch, row, pair + 2));
                };
                dst.AtPitch(pitchOut, row, static_cast<std::ptrdiff_t>(4 * x) + i) =
                    Blend255(alpha, pixel(a, pitchA), pixel(b, pitchB));
            }
        }
    }
    ASSERT_EQ(planes.Run(compositor, width, rows, threshold, gain), 0);
    ASSERT_TRUE(Matches(dst, planes.dst.Memory()));
}

TEST(ConvertingWipeValues, EveryWidth) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (std::size_t width = 0; width <= 100; ++width) {
            ASSERT_NO_FATAL_FAILURE(
                Check(compositor, machine, width, 3, static_cast<std::ptrdiff_t>(width % 5), 0.3, 0.02));
        }
        ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, 531, 3, 5, 0.3, 0.02));
    });
}

// Both numbers are cut to their low 16 bits: a threshold of -0.5 is 32896 of 65536, a gain of 3 is 32765
// again with the highest bit set.
TEST(ConvertingWipeValues, ThresholdsAndGainsOfAnyKind) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (const double threshold : {0.0, 0.25, 1.0, 1.1, -0.5, -3.0, 1e9, -1e12}) {
            for (const double gain : {0.0, 0.004, 0.0079, 0.5, 1.0, 2.0, 3.0, -1.0, 1e6}) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, 64, 4, 0, threshold, gain));
            }
        }
    });
}

TEST(ConvertingWipeValues, StreamedRows) {
    StreamingOnEveryTarget([](ZanCompositor& compositor, const Machine& machine) {
        for (const std::ptrdiff_t extra : {0, 1, 4, 13}) {
            ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, 1040, 3, extra, 0.3, 0.02));
        }
    });
}

// Black becomes 0; white becomes 254, since 219 * 128 * 9536 / 65536 is 4078.9 and a sixteenth of 4078 is cut
// as well. A gain of 1 is 127 for each code value of the key.
TEST(ConvertingWipeValues, BlackAndWhite) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        Planes planes(16, 1);
        for (std::ptrdiff_t i = 0; i < 32; ++i) {
            planes.a.First()[i] = i % 2 == 0 ? 128 : 16;
            planes.b.First()[i] = i % 2 == 0 ? 128 : 235;
        }
        for (std::uint8_t i = 0; i < 16; ++i) {
            planes.key.First()[i] = i;
        }
        const Bytes before = planes.dst.Memory();
        ASSERT_EQ(planes.Run(compositor, 16, 1, 0, 1), 0);
        if (!machine.TakesSse()) {
            EXPECT_EQ(planes.dst.Memory(), before);
            return;
        }
        const unsigned expected[] = {0, 127, 253, 254, 254};
        for (int x = 0; x < 5; ++x) {
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(planes.dst.First()[4 * x + i], expected[x]) << x;
            }
            EXPECT_EQ(planes.dst.First()[4 * x + 3], 255);
        }
    });
}

TEST(ConvertingWipeValues, HasOneCodePath) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {0U, 1U, 3U, 4U, 5U, 0xFFFFFFFFU}) {
            Planes planes(16, 2);
            const Bytes before = planes.dst.Memory();
            EXPECT_EQ(planes.Run(compositor, 16, 2, 0, 1, path), 100);
            EXPECT_EQ(planes.dst.Memory(), before);
        }
    });
}

}  // namespace
