// The integer kernels against formulas written down a second time, on every target of this machine: all
// widths up to several vectors, few lines, unaligned planes, padded, odd and negative pitches, coefficients
// from the defaults to any bit pattern. What must not change is compared too.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "convert/ConversionKinds.h"
#include "convert/KernelTable.h"
#include "simd/Rows.h"
#include "simd/Targets.h"

namespace Zan {
namespace {

constexpr unsigned kSeed = 20210;

using Bytes = std::vector<std::uint8_t>;

// ---- The formulas, from the words of their definition ----------------------------------------------------

std::int64_t Wrap16(std::int64_t v) {
    v &= 0xFFFF;
    return v >= 0x8000 ? v - 0x10000 : v;
}

std::int64_t Floor(std::int64_t v, int bits) {
    const std::int64_t unit = std::int64_t{1} << bits;
    return v >= 0 ? v / unit : -((-v + unit - 1) / unit);
}

std::uint8_t Byte(std::int64_t v) {
    return static_cast<std::uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

std::uint8_t ByteOf(double v) {
    if (std::isnan(v) || v <= 0) {
        return 0;
    }
    return v >= 255 ? std::uint8_t{255} : static_cast<std::uint8_t>(std::floor(v));
}

std::uint8_t Doubles(const FixedPointCoefficients& c, int i, const double* in) {
    double sum = 0;
    for (int j = 0; j < 4; ++j) {
        const double product = c.matrix[i][j] * (in[j] + c.offset[0][j]);
        sum = j == 0 ? product : sum + product;
    }
    return ByteOf(sum + c.offset[1][i]);
}

// 4:2:2 to RGB: seven fraction bits before, four after the matrix.
void SevenBitPixel(const FixedPointCoefficients& c, const int* ycc, std::uint8_t fill, std::uint8_t* out) {
    const int x[4] = {ycc[0], ycc[1], ycc[2], 0};
    for (int i = 0; i < 3; ++i) {
        std::int64_t sum = 0;
        for (int j = 0; j < 4; ++j) {
            sum += c.matrixFixed[i][j] * Wrap16(128 * x[j] + c.offsetFixed[0][j]);
        }
        const std::int64_t packed = std::clamp<std::int64_t>(Floor(sum, 16), -32768, 32767);
        out[i] = Byte(Floor(Wrap16(packed + c.offsetFixed[1][i]), 4));
    }
    out[3] = fill;
}

void DoublePixel(const FixedPointCoefficients& c, const int* ycc, std::uint8_t alpha, std::uint8_t* out) {
    const double x[4] = {double(ycc[0]), double(ycc[1]), double(ycc[2]), 0};
    for (int i = 0; i < 3; ++i) {
        out[i] = Doubles(c, i, x);
    }
    out[3] = alpha;
}

void ColumnwisePixel(const FixedPointCoefficients& c, const int* ycc, std::uint8_t* out) {
    const std::int64_t x[3] = {(ycc[0] - 128) * 128, (ycc[1] - 16) * 128, (ycc[2] - 128) * 128};
    for (int i = 0; i < 3; ++i) {
        std::int64_t sum = c.offsetFixed[1][i];
        for (int j = 0; j < 3; ++j) {
            sum += Floor(c.matrixFixed[j][i] * x[j], 16);
        }
        out[i] = Byte(Floor(Wrap16(sum), 4));
    }
    out[3] = Byte(Floor(c.offsetFixed[1][3], 4));
}

std::int64_t WordOf(double v) {
    if (std::isnan(v)) {
        return 0;
    }
    v = std::trunc(v);
    const std::int64_t whole = v <= -2147483648.0  ? INT32_MIN
                               : v >= 2147483647.0 ? INT32_MAX
                                                   : std::int64_t(v);
    return Wrap16(whole);
}

// A pair of pixels to Cb, Y0, Cr, Y1.
void EightBitPair(const FixedPointCoefficients& c, const std::uint8_t* a, const std::uint8_t* b,
                  std::uint8_t* out) {
    const std::uint8_t* pixels[2] = {a, b};
    for (int k = 0; k < 2; ++k) {
        std::int64_t sum = 0;
        for (int j = 0; j < 4; ++j) {
            sum += c.matrixFixed[1][j] * Wrap16(pixels[k][j] + WordOf(c.offset[0][j]));
        }
        out[1 + 2 * k] = Byte(Floor(sum, 13) + WordOf(c.offset[1][1]));
    }
    for (int row = 0; row < 4; row += 2) {
        std::int64_t sum = 0;
        for (int j = 0; j < 4; ++j) {
            sum += c.matrixFixed[row][j] * (a[j] + b[j]);
        }
        out[row] = Byte(Floor(sum, 14) + WordOf(c.offset[1][row]));
    }
}

void DoublePair(const FixedPointCoefficients& c, const std::uint8_t* a, const std::uint8_t* b,
                std::uint8_t* out) {
    double first[4], second[4], mean[4];
    for (int j = 0; j < 4; ++j) {
        first[j] = a[j];
        second[j] = b[j];
        mean[j] = (a[j] + b[j]) / 2.0;
    }
    out[0] = Doubles(c, 0, mean);
    out[1] = Doubles(c, 1, first);
    out[2] = Doubles(c, 2, mean);
    out[3] = Doubles(c, 1, second);
}

// ---- Coefficients ----------------------------------------------------------------------------------------

std::int16_t Truncated(double v) {
    return static_cast<std::int16_t>(WordOf(v));
}

FixedPointCoefficients Block(const ColorMatrix& of, double before, double after, bool transposed) {
    FixedPointCoefficients c{};
    std::memcpy(c.matrix, of.matrix, sizeof c.matrix);
    std::memcpy(c.offset, of.offset, sizeof c.offset);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            const double scaled = of.matrix[i][j] * 8192;
            (transposed ? c.matrixFixed[j][i] : c.matrixFixed[i][j]) =
                Truncated(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
        }
    }
    for (std::size_t j = 0; j < 4; ++j) {
        c.offsetFixed[0][j] = Truncated(of.offset[0][j] * before);
        c.offsetFixed[1][j] = Truncated(of.offset[1][j] * after);
    }
    return c;
}

class Random {
public:
    explicit Random(unsigned seed) : engine(seed) {}
    int operator()(int low, int high) {
        return low + static_cast<int>(engine() % static_cast<unsigned>(high - low + 1));
    }
    Bytes Picture(std::size_t bytes) {
        Bytes made(bytes);
        const int kind = (*this)(0, 3);
        for (auto& b : made) {
            b = static_cast<std::uint8_t>(kind == 0 ? (*this)(0, 1) * 255 : (*this)(0, 255));
        }
        return made;
    }

private:
    std::mt19937 engine;
};

// From harmless to any bit pattern.
FixedPointCoefficients RandomBlock(Random& random, ConversionKind kind, double before, double after,
                                   bool transposed) {
    FixedPointCoefficients c = Block(MatrixOfKind(kind), before, after, transposed);
    const int mood = random(0, 8);
    if (mood == 1 || mood == 2) {
        // A caller's own matrix, of moderate size.
        ColorMatrix own{};
        for (auto& row : own.matrix) {
            for (auto& entry : row) {
                entry = random(-8000, 8000) / (mood == 1 ? 8192.0 : 2500.0);
            }
        }
        for (auto& row : own.offset) {
            for (auto& entry : row) {
                entry = random(-2000, 2000) / 8.0;
            }
        }
        c = Block(own, before, after, transposed);
    } else if (mood == 3 || mood == 4) {
        for (auto& row : c.matrixFixed) {
            for (auto& entry : row) {
                entry = static_cast<std::int16_t>(random(-32768, 32767));
            }
        }
        for (auto& row : c.offsetFixed) {
            for (auto& entry : row) {
                entry = static_cast<std::int16_t>(random(-32768, 32767));
            }
        }
        for (auto& row : c.offset) {
            for (auto& entry : row) {
                entry = mood == 3 ? random(-40000, 40000) : random(-300, 300) / 7.0;
            }
        }
    } else if (mood == 5) {
        constexpr double kOdd[] = {std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   1e300,
                                   -3e9,
                                   0};
        ColorMatrix own{};
        for (auto& row : own.matrix) {
            for (auto& entry : row) {
                entry = random(0, 3) == 0 ? kOdd[random(0, 5)] : random(-9, 9);
            }
        }
        for (auto& row : own.offset) {
            for (auto& entry : row) {
                entry = random(0, 3) == 0 ? kOdd[random(0, 5)] : random(-99, 99);
            }
        }
        c = Block(own, before, after, transposed);
    } else if (mood == 7) {
        // Small entries, offsets at the ends of a word.
        ColorMatrix own{};
        for (auto& row : own.matrix) {
            for (auto& entry : row) {
                entry = random(-1000, 1000) / 8192.0;
            }
        }
        for (auto& row : own.offset) {
            for (auto& entry : row) {
                entry = random(0, 1) == 0 ? random(32400, 32767) : random(-32768, 32767);
            }
        }
        c = Block(own, before, after, transposed);
    } else if (mood == 8) {
        // Grey stays neutral, at the limits of what may be scaled.
        ColorMatrix own{};
        const auto entry = [&](int limit) { return random(0, 3) == 0 ? -limit : random(-limit, limit - 1); };
        for (const std::size_t row : {0U, 2U}) {
            const int blue = entry(4096), red = entry(4096);
            own.matrix[row][0] = blue / 8192.0;
            own.matrix[row][1] = -(blue + red) / 8192.0;
            own.matrix[row][2] = red / 8192.0;
        }
        own.matrix[1][0] = entry(4097) / 8192.0;
        own.matrix[1][1] = entry(8193) / 8192.0;
        own.matrix[1][2] = entry(4097) / 8192.0;
        const int limit = random(0, 1) == 0 ? 0 : 32767;
        for (std::size_t i = 0; i < 4; ++i) {
            own.offset[0][i] = random(-limit, limit);
            own.offset[1][i] = random(0, 1) == 0 ? random(-32768, 32767) : random(-300, 300);
        }
        c = Block(own, before, after, transposed);
    } else if (mood == 6) {
        for (auto& row : c.matrixFixed) {
            for (auto& entry : row) {
                entry = random(0, 1) == 0 ? std::int16_t{-32768} : std::int16_t{32767};
            }
        }
        for (auto& row : c.offsetFixed) {
            for (auto& entry : row) {
                entry = random(0, 1) == 0 ? std::int16_t{-32768} : std::int16_t{127};
            }
        }
    }
    return c;
}

// ---- Planes ----------------------------------------------------------------------------------------------

// Memory of one plane: no byte more than its rows need when read from, guards around it when written to.
struct Plane {
    Bytes memory;
    std::size_t guard = 0;
    std::ptrdiff_t pitch = 0;
    std::size_t first = 0;

    void Make(Random& random, std::size_t rowBytes, std::size_t rows, bool guarded, int pitchUnit) {
        guard =
            guarded ? 80 + static_cast<std::size_t>(random(0, 9)) : static_cast<std::size_t>(random(0, 3));
        const bool backwards = random(0, 3) == 0;
        std::size_t step = rowBytes;
        if (random(0, 2) != 0) {
            step += static_cast<std::size_t>(random(0, 20));
        }
        // A pitch in whole words is what most kernels step by; others round it toward zero, which must
        // not make rows overlap here.
        if (pitchUnit == 4) {
            step = (step + 3) / 4 * 4;
            if (random(0, 3) == 0) {
                step += static_cast<std::size_t>(random(1, 3));
            }
        }
        const std::size_t used = rows == 0 ? 0 : (rows - 1) * step + rowBytes;
        memory = random.Picture(used + guard + (guarded ? guard : 0));
        memory.shrink_to_fit();
        pitch = static_cast<std::ptrdiff_t>(step);
        first = guard;
        if (backwards && rows != 0) {
            first += (rows - 1) * step;
            pitch = -pitch;
        }
    }

    ViewPlane View() { return {memory.data() + first, pitch, memory.data(), memory.data() + memory.size()}; }
    std::size_t Row(std::size_t y, bool words) const {
        const std::ptrdiff_t by = words ? pitch / 4 * 4 : pitch;
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(first) +
                                        static_cast<std::ptrdiff_t>(y) * by);
    }
};

// What all targets of this machine make of a job.
template <class Check>
void OnEveryTarget(Check check) {
    int targets = 0;
    for (std::size_t t = 0; t < simd::kTargetCount; ++t) {
        const auto target = static_cast<simd::Target>(t);
        if (!simd::IsTargetAvailable(target)) {
            continue;
        }
        const simd::ScopedTarget scope(target);
        ASSERT_EQ(simd::CurrentTarget(), target);
        for (int streaming = 0; streaming < 2; ++streaming) {
            simd::ForceStreaming(streaming);
            SCOPED_TRACE(std::string(simd::TargetName(target)) + (streaming ? ", streaming" : ""));
            check();
        }
        simd::ForceStreaming(-1);
        ++targets;
    }
    ASSERT_GT(targets, 0);
}

struct Size {
    std::size_t width, height;
};

std::vector<Size> Sizes() {
    std::vector<Size> sizes;
    for (std::size_t width = 0; width <= 200; ++width) {
        sizes.push_back({width, 1 + width % 5});
    }
    for (std::size_t height = 0; height < 6; ++height) {
        sizes.push_back({67, height});
        sizes.push_back({64, height});
    }
    sizes.insert(sizes.end(), {{720, 4}, {721, 3}, {1366, 2}, {1024, 2}, {2047, 1}});
    return sizes;
}

ConversionJob JobOf(Size size, const FixedPointCoefficients* c, std::uint8_t fill) {
    ConversionJob job{};
    job.width = size.width;
    job.height = size.height;
    job.coefficients = c;
    job.alphaFill = fill;
    job.useSseMmx = job.sse2 = true;
    return job;
}

// Runs the kernel as the converter does: not on an empty rectangle.
void RunKernel(int source, int destination, const ConversionJob& job, bool sse2 = true) {
    const NamedKernel kernel =
        FindIntegerKernel(static_cast<std::uint32_t>(source), static_cast<std::uint32_t>(destination), sse2);
    ASSERT_NE(kernel.run, nullptr);
    if (job.width != 0 && job.height != 0) {
        kernel.run(job);
    }
}

// ---- Comparisons -----------------------------------------------------------------------------------------

TEST(ConversionKernels, PairsToRgb32) {
    Random random(kSeed);
    RecordProperty("seed", static_cast<int>(kSeed));
    constexpr int kDestinations[] = {0, 5, 14};
    for (const Size size : Sizes()) {
        for (int round = 0; round < 4; ++round) {
            const FixedPointCoefficients c =
                RandomBlock(random, round == 0 ? kKindYCrCbToFullRGB : kKindYCrCbToStudioRGB, 128, 16, false);
            const auto fill = static_cast<std::uint8_t>(random(0, 255));
            Plane from, to;
            from.Make(random, (size.width + 1) / 2 * 4, size.height, false, 4);
            to.Make(random, 4 * size.width, size.height, true, 4);
            Bytes expected = to.memory;
            for (std::size_t y = 0; y < size.height; ++y) {
                for (std::size_t x = 0; x < size.width; ++x) {
                    const std::uint8_t* s = from.memory.data() + from.Row(y, true) + x / 2 * 4;
                    const int ycc[3] = {s[0], s[x % 2 == 0 ? 1 : 3], s[2]};
                    std::uint8_t* d = expected.data() + to.Row(y, true) + 4 * x;
                    if (x < size.width / 16 * 16) {
                        SevenBitPixel(c, ycc, fill, d);
                    } else {
                        DoublePixel(c, ycc, fill, d);
                    }
                }
            }
            const Bytes before = to.memory;
            SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
            OnEveryTarget([&] {
                to.memory = before;
                ConversionJob job = JobOf(size, &c, fill);
                job.source[0] = from.View();
                job.destination[0] = to.View();
                RunKernel(2, kDestinations[round % 3], job, round % 2 == 0);
                ASSERT_TRUE(to.memory == expected);
            });
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(ConversionKernels, Rgb32ToPairs) {
    Random random(kSeed + 1);
    for (const Size size : Sizes()) {
        for (int round = 0; round < 4; ++round) {
            const FixedPointCoefficients c =
                RandomBlock(random, round == 0 ? kKindFullRGBToYCrCb : kKindStudioRGBToYCrCb, 128, 1, false);
            Plane from, to;
            from.Make(random, 4 * size.width, size.height, false, 4);
            to.Make(random, (size.width + 1) / 2 * 4, size.height, true, 4);
            Bytes expected = to.memory;
            for (std::size_t y = 0; y < size.height; ++y) {
                for (std::size_t x = 0; x < size.width; x += 2) {
                    const std::uint8_t* a = from.memory.data() + from.Row(y, true) + 4 * x;
                    const bool alone = x + 1 == size.width;
                    const std::uint8_t* b = alone ? a : a + 4;
                    std::uint8_t pair[4];
                    if (x < size.width / 4 * 4) {
                        EightBitPair(c, a, b, pair);
                    } else {
                        DoublePair(c, a, b, pair);
                    }
                    std::memcpy(expected.data() + to.Row(y, true) + 2 * x, pair, alone ? 3 : 4);
                }
            }
            const Bytes before = to.memory;
            SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
            OnEveryTarget([&] {
                to.memory = before;
                ConversionJob job = JobOf(size, &c, 255);
                job.source[0] = from.View();
                job.destination[0] = to.View();
                RunKernel(round % 2 == 0 ? 0 : 5, 2, job, round % 2 == 0);
                ASSERT_TRUE(to.memory == expected);
            });
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(ConversionKernels, Planar420ToRgb32) {
    Random random(kSeed + 2);
    for (const Size size : Sizes()) {
        for (int round = 0; round < 4; ++round) {
            const FixedPointCoefficients c =
                RandomBlock(random, round == 0 ? kKindYCrCbToFullRGB : kKindYCrCbToStudioRGB, 16, 16, true);
            Plane y, cb, cr, to;
            const Size half = {(size.width + 1) / 2, (size.height + 1) / 2};
            y.Make(random, size.width, size.height, false, 1);
            cb.Make(random, half.width, half.height, false, 1);
            cr.Make(random, half.width, half.height, false, 1);
            to.Make(random, 4 * size.width, size.height, true, 4);
            Bytes expected = to.memory;
            for (std::size_t row = 0; row < size.height; ++row) {
                for (std::size_t x = 0; x < size.width; ++x) {
                    const int ycc[3] = {cb.memory[cb.Row(row / 2, false) + x / 2],
                                        y.memory[y.Row(row, false) + x],
                                        cr.memory[cr.Row(row / 2, false) + x / 2]};
                    std::uint8_t* d = expected.data() + to.Row(row, true) + 4 * x;
                    if (x < size.width / 16 * 16) {
                        ColumnwisePixel(c, ycc, d);
                    } else {
                        DoublePixel(c, ycc, ByteOf(c.offset[1][3]), d);
                    }
                }
            }
            const Bytes before = to.memory;
            SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
            OnEveryTarget([&] {
                to.memory = before;
                ConversionJob job = JobOf(size, &c, 77);
                job.source[0] = y.View();
                job.source[1] = cb.View();
                job.source[2] = cr.View();
                job.destination[0] = to.View();
                RunKernel(6, round % 2 == 0 ? 0 : 5, job, round % 2 == 0);
                ASSERT_TRUE(to.memory == expected);
            });
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

struct RepackCase {
    int source, destination;
    std::size_t secondLuma;
    bool alpha;
};

// What becomes of the four bytes of a pair.
void RepackPair(const RepackCase& repack, const std::uint8_t* in, std::uint8_t* out) {
    if (repack.source == repack.destination || repack.destination == 18) {
        const std::uint8_t made[4] = {128, in[1], 128, in[3]};
        std::memcpy(out, made, 4);
    } else {
        const std::uint8_t made[4] = {in[1], in[0], in[3], in[2]};
        std::memcpy(out, made, 4);
    }
}

TEST(ConversionKernels, Repacks) {
    Random random(kSeed + 3);
    constexpr RepackCase kCases[] = {
        {2, 11, 2, false}, {11, 2, 3, false}, {2, 18, 3, false}, {18, 18, 3, false}, {19, 19, 3, true}};
    for (const RepackCase& repack : kCases) {
        for (const Size size : Sizes()) {
            for (const bool inPlace : {false, true}) {
                Plane from, to, alphaFrom, alphaTo;
                const std::size_t rowBytes = (size.width + 1) / 2 * 4;
                to.Make(random, rowBytes, size.height, true, 4);
                if (inPlace) {
                    from = to;
                } else {
                    from.Make(random, rowBytes, size.height, false, 4);
                }
                alphaFrom.Make(random, size.width, size.height, false, 1);
                alphaTo.Make(random, size.width, size.height, true, 1);
                Bytes expected = to.memory, expectedAlpha = alphaTo.memory;
                for (std::size_t y = 0; y < size.height; ++y) {
                    for (std::size_t x = 0; x < size.width; x += 2) {
                        std::uint8_t pair[4];
                        RepackPair(repack, from.memory.data() + from.Row(y, true) + 2 * x, pair);
                        for (std::size_t i = 0; i < 4; ++i) {
                            if (i != repack.secondLuma || x + 1 < size.width) {
                                expected[to.Row(y, true) + 2 * x + i] = pair[i];
                            }
                        }
                    }
                    for (std::size_t x = 0; repack.alpha && x < size.width; ++x) {
                        expectedAlpha[alphaTo.Row(y, false) + x] =
                            alphaFrom.memory[alphaFrom.Row(y, false) + x];
                    }
                }
                const Bytes before = to.memory, alphaBefore = alphaTo.memory;
                SCOPED_TRACE(std::to_string(repack.source) + " to " + std::to_string(repack.destination) +
                             ", " + std::to_string(size.width) + " x " + std::to_string(size.height));
                OnEveryTarget([&] {
                    to.memory = before;
                    alphaTo.memory = alphaBefore;
                    ConversionJob job = JobOf(size, nullptr, 255);
                    job.source[0] = inPlace ? to.View() : from.View();
                    job.source[3] = alphaFrom.View();
                    job.destination[0] = to.View();
                    job.destination[3] = alphaTo.View();
                    RunKernel(repack.source, repack.destination, job);
                    ASSERT_TRUE(to.memory == expected);
                    ASSERT_TRUE(alphaTo.memory == expectedAlpha);
                });
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

// ---- Worked by hand --------------------------------------------------------------------------------------

// All values of a channel at once: a picture of one line, `width` columns.
Bytes OneLine(int source, int destination, const FixedPointCoefficients& c, Bytes from, std::size_t width,
              std::size_t bytesOut) {
    Bytes to(bytesOut, 0xEE);
    ConversionJob job = JobOf({width, 1}, &c, 255);
    job.source[0] = {from.data(), 0, from.data(), from.data() + from.size()};
    job.destination[0] = {to.data(), 0, to.data(), to.data() + to.size()};
    RunKernel(source, destination, job);
    return to;
}

Bytes Repeated(const Bytes& four, std::size_t times) {
    Bytes made(4 * times);
    for (std::size_t i = 0; i < made.size(); ++i) {
        made[i] = four[i % 4];
    }
    return made;
}

TEST(ConversionKernels, GroupAndTailDifferByOne) {
    // Cb 240, Y 235, Cr 128 to full RGB. Blue of the group: 16526 * 112 * 128 + 9538 * 219 * 128 =
    // 504285952; >> 16 is 7694; >> 4 is 480, limited to 255. Green: -3210 * 14336 + 9538 * 28032 =
    // 221350656; >> 16 is 3377; >> 4 is 211. In doubles: (-1605 * 112 + 4769 * 219) / 4096 = 211.09.
    const FixedPointCoefficients c = Block(MatrixOfKind(kKindYCrCbToFullRGB), 128, 16, false);
    const Bytes from = Repeated({240, 235, 128, 16}, 9);
    const Bytes to = OneLine(2, 0, c, from, 17, 4 * 17);
    EXPECT_EQ(Bytes(to.begin(), to.begin() + 4), (Bytes{255, 211, 254, 255}));
    EXPECT_EQ(Bytes(to.begin() + 64, to.end()), (Bytes{255, 211, 254, 255}));

    // A matrix entry of 0.00006 is rounded to nothing in 8192ths, yet makes 0.0006 * 100 of 100 times 10.
    ColorMatrix small{};
    small.matrix[0][1] = 1.00006;
    small.offset[1][0] = 1 - 0.005;
    const FixedPointCoefficients fine = Block(small, 128, 16, false);
    // Group: 8192 * 100 * 128 >> 16 is 1600; + trunc(15.92) is 1615; >> 4 is 100. Tail: 100.006 + 0.995 is
    // 101.001.
    const Bytes fromFine(36, 100);
    const Bytes toFine = OneLine(2, 0, fine, fromFine, 17, 4 * 17);
    for (std::size_t x = 0; x < 17; ++x) {
        EXPECT_EQ(toFine[4 * x], x < 16 ? 100 : 101) << x;
    }
}

TEST(ConversionKernels, PrimariesToPairs) {
    // Blue, full RGB: luma 802 * 255 >> 13 = 24, + 16; Cb 3598 * 510 >> 14 = 111.99, + 128; Cr
    // -586 * 510 >> 14 = -18.24 down to -19, + 128.
    const FixedPointCoefficients c = Block(MatrixOfKind(kKindFullRGBToYCrCb), 128, 1, false);
    const Bytes from = Repeated({255, 0, 0, 9}, 4);
    EXPECT_EQ(OneLine(0, 2, c, from, 4, 8), (Bytes{239, 40, 109, 40, 239, 40, 109, 40}));
    // A single pixel is a tail: 1799 * 255 / 4096 + 128 = 239.99, 401 * 255 / 4096 + 16 = 40.96,
    // 128 - 293 * 255 / 4096 = 109.76. The place of the second luma stays.
    EXPECT_EQ(OneLine(0, 2, c, {255, 0, 0, 9}, 1, 4), (Bytes{239, 40, 109, 0xEE}));
    // Neighbours share the chroma of their mean: blue and black.
    EXPECT_EQ(OneLine(0, 2, c, {255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0}, 4, 8),
              (Bytes{183, 40, 118, 16, 183, 16, 118, 40}));
}

TEST(ConversionKernels, PlanesShareChromaOverTwoLinesAndColumns) {
    const FixedPointCoefficients c = Block(MatrixOfKind(kKindYCrCbToFullRGB), 16, 16, true);
    Bytes y(16 * 3, 126), cb(8 * 2, 128), cr(8 * 2, 128), to(64 * 3, 0xEE);
    cb[1] = 240;
    ConversionJob job = JobOf({16, 3}, &c, 255);
    job.source[0] = {y.data(), 16, y.data(), y.data() + y.size()};
    job.source[1] = {cb.data(), 8, cb.data(), cb.data() + cb.size()};
    job.source[2] = {cr.data(), 8, cr.data(), cr.data() + cr.size()};
    job.destination[0] = {to.data(), 64, to.data(), to.data() + to.size()};
    RunKernel(6, 0, job);
    // Luma: 9538 * 110 * 128 >> 16 = 2049. Chroma 240: blue 16526 * 112 * 128 >> 16 = 3615, green
    // -3210 * 112 * 128 >> 16 = -703. Sixteenths; alpha is its offset alone.
    for (std::size_t line = 0; line < 3; ++line) {
        for (std::size_t x = 0; x < 16; ++x) {
            const Bytes pixel(to.begin() + static_cast<std::ptrdiff_t>(64 * line + 4 * x),
                              to.begin() + static_cast<std::ptrdiff_t>(64 * line + 4 * x + 4));
            const bool blue = line < 2 && (x == 2 || x == 3);
            EXPECT_EQ(pixel, (blue ? Bytes{255, 84, 128, 0} : Bytes{128, 128, 128, 0})) << line << ", " << x;
        }
    }
}

TEST(ConversionKernels, NamesFollowTheProcessor) {
    EXPECT_STREQ(FindIntegerKernel(2, 0, false).name, "ConvertCbYCrYToRGB32_MMX");
    EXPECT_STREQ(FindIntegerKernel(2, 0, true).name, "ConvertCbYCrYToRGB32_SSE");
    EXPECT_STREQ(FindIntegerKernel(6, 5, false).name, "ConvertPlanar420ToRGB32_MMX");
    EXPECT_STREQ(FindIntegerKernel(6, 5, true).name, "ConvertPlanar420ToRGB32_SSE");
    EXPECT_STREQ(FindIntegerKernel(0, 2, false).name, "ConvertRGB32ToCbYCrY");
    EXPECT_STREQ(FindIntegerKernel(0, 2, true).name, "ConvertRGB32ToCbYCrY");
    EXPECT_STREQ(FindIntegerKernel(2, 11, true).name, "SwapCbYCrYWithYCbYCr");
    EXPECT_STREQ(FindIntegerKernel(11, 2, true).name, "SwapCbYCrYWithYCbYCr");
    EXPECT_STREQ(FindIntegerKernel(18, 18, true).name, "MakeMonochromeLines");
    EXPECT_STREQ(FindIntegerKernel(19, 19, false).name, "MakeMonochromeLines");
    EXPECT_STREQ(FindIntegerKernel(0, 0, true).name, "CopyLines_SSE2");
}

}  // namespace
}  // namespace Zan
