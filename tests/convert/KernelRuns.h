#ifndef TESSELU_TESTS_CONVERT_KERNELRUNS_H
#define TESSELU_TESTS_CONVERT_KERNELRUNS_H

#include <TesselU/convert/ColorSpaceConverter.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "convert/ConvertedPicture.h"
#include "convert/KernelFormulas.h"
#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/Streaming.h"

// Every way of running a conversion, and the comparison of all that it may touch.

namespace convert_test {

struct RunsAs {
    Zan::CPUinstructionSetEnum set;
    bool mmxOnly;
    Zan::simd::Target target;
    bool streaming;
};

inline void ForEveryRun(const std::function<void(const RunsAs&)>& body) {
    for (std::size_t t = 0; t < Zan::simd::kTargetCount; ++t) {
        const auto target = static_cast<Zan::simd::Target>(t);
        if (!Zan::simd::IsTargetAvailable(target)) {
            continue;
        }
        const Zan::simd::ScopedTarget limited(target);
        for (const Zan::CPUinstructionSetEnum set : {Zan::kMMX, Zan::kSSE_MMX, Zan::kSSE2}) {
            const Zan::ScopedInstructionSet believed(set);
            for (const bool streaming : {false, true}) {
                const ScopedStreaming around(streaming);
                SCOPED_TRACE(testing::Message() << Zan::simd::TargetName(target) << ", instruction set "
                                                << set << (streaming ? ", streaming" : ""));
                body({set, set == Zan::kSSE_MMX, target, streaming});
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

struct Conversion {
    Zan::ConverterFormat source, destination;
};

struct Size {
    unsigned width, height;
};

/// What a caller hands in. Without a matrix or offsets the defaults of the pair are in use.
struct Given {
    const Matrix* matrix = nullptr;
    const Matrix* offsets = nullptr;
    std::uint8_t fill = 255;

    static Given Both(const Matrix& own, std::uint8_t fill = 255) { return {&own, &own, fill}; }
};

/// Adds what a conversion is to write, by the source.
using Expectation = std::function<void(ConvertedPicture& source, ExpectedPicture& expected)>;

/// Converts once and compares the whole memory of the destination, and that of the source with what it was.
inline void ExpectConversion(const Conversion& pair, const Size& size, const Placement& placement,
                             const RunsAs& run, Given given, const Expectation& expect) {
    ConvertedPicture source(pair.source, size.width, size.height, placement);
    ConvertedPicture destination(pair.destination, size.width, size.height,
                                 {placement.padding + 1, placement.slack, !placement.bottomUp});
    Zan::ImageView from = source.View(size.width, size.height);
    Zan::ImageView to = destination.View(size.width, size.height);
    const ExpectedPicture untouched(source);
    ExpectedPicture expected(destination);
    expect(source, expected);

    Zan::ColorSpaceConverter converter;
    converter.SetMMXonlyStyle(run.mmxOnly);
    converter.SetAlphaChannel(given.fill);
    Matrix matrix = given.matrix != nullptr ? *given.matrix : Matrix{};
    Matrix offsets = given.offsets != nullptr ? *given.offsets : Matrix{};
    ASSERT_EQ(
        converter.Do(from, to, Zan::kInt_MMXorSIMD, given.matrix != nullptr ? matrix.Entries() : nullptr,
                     given.offsets != nullptr ? offsets.Offsets() : nullptr),
        0);
    ASSERT_EQ(expected.FirstDifference(), "")
        << pair.source << " to " << pair.destination << ", " << size.width << 'x' << size.height
        << ", padding " << placement.padding << ", slack " << placement.slack << ", bottom up "
        << placement.bottomUp;
    ASSERT_EQ(untouched.FirstDifference(), "") << "the source was written";
}

/// Lines that touch and lines apart, odd pitches, addresses of every kind, either direction.
inline Placement PlacementOf(std::size_t number) {
    static constexpr Placement kPlacements[] = {
        {0, 0, false}, {12, 0, false}, {5, 1, true}, {4, 7, false}, {0, 4, true},
        {3, 2, false}, {0, 8, false},  {1, 3, true}, {6, 16, true}, {2, 36, false},
    };
    return kPlacements[number % std::size(kPlacements)];
}

/// Every width up to several steps of the widest vectors, few lines, and some widths of real pictures.
inline const std::vector<Size>& AllSizes() {
    static const std::vector<Size> sizes = [] {
        std::vector<Size> made;
        for (unsigned width = 1; width <= 150; ++width) {
            made.push_back({width, 1 + width % 5});
        }
        for (unsigned height = 1; height <= 6; ++height) {
            made.push_back({64, height});
            made.push_back({67, height});
        }
        made.insert(made.end(), {{193, 3}, {256, 2}, {257, 5}, {300, 3}, {513, 2}, {720, 4}, {721, 3}});
        return made;
    }();
    return sizes;
}

inline void ForEverySize(const std::function<void(const Size&, const Placement&, const RunsAs&)>& body) {
    ForEveryRun([&](const RunsAs& run) {
        std::size_t next = 0;
        for (const Size& size : AllSizes()) {
            body(size, PlacementOf(next++), run);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

/// Rows so wide that every target writes them around the cache, at all addresses, lines apart and touching.
inline void ForEveryStreamedAddress(
    const std::function<void(const Size&, const Placement&, const RunsAs&)>& body) {
    ForEveryRun([&](const RunsAs& run) {
        if (!run.streaming || run.set != Zan::kSSE2) {
            return;
        }
        for (unsigned slack = 0; slack < 64; slack += slack < 17 ? 1 : 5) {
            for (const unsigned width : {320U, 531U}) {
                // The destination has a byte more than is given here.
                body({width, 4}, {slack % 4 == 0 ? 3 : slack % 9, slack, slack % 3 == 0}, run);
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

/// Converts a picture of one line and gives back the bytes of the destination.
inline Bytes OneLine(const Conversion& pair, unsigned width, const Bytes& line, Given given = {}) {
    ConvertedPicture source(pair.source, width, 1), destination(pair.destination, width, 1);
    std::copy(line.begin(), line.end(), source.PlaneMemory(0).Data());
    FencedMemory& out = destination.PlaneMemory(0);
    std::fill_n(out.Data(), out.Length(), std::uint8_t{0xEE});
    Zan::ImageView from = source.View(width, 1), to = destination.View(width, 1);
    Zan::ColorSpaceConverter converter;
    converter.SetAlphaChannel(given.fill);
    Matrix matrix = given.matrix != nullptr ? *given.matrix : Matrix{};
    Matrix offsets = given.offsets != nullptr ? *given.offsets : Matrix{};
    EXPECT_EQ(
        converter.Do(from, to, Zan::kInt_MMXorSIMD, given.matrix != nullptr ? matrix.Entries() : nullptr,
                     given.offsets != nullptr ? offsets.Offsets() : nullptr),
        0);
    return Bytes(out.Data(), out.Data() + out.Length());
}

inline Bytes Repeated(const Bytes& some, std::size_t times) {
    Bytes made;
    for (std::size_t i = 0; i < times; ++i) {
        made.insert(made.end(), some.begin(), some.end());
    }
    return made;
}

/// A matrix and offsets whose products are exact in doubles, but of any size and sign: `reach` 8192ths an
/// entry, eighths an offset.
inline Matrix RandomMatrix(int reach, int offsetReach) {
    Matrix own{};
    for (auto& row : own.m) {
        for (double& entry : row) {
            entry = RandomFrom<int>(-reach, reach) / 8192.0;
        }
    }
    for (auto& row : own.o) {
        for (double& entry : row) {
            entry = RandomFrom<int>(-offsetReach, offsetReach) / 8.0;
        }
    }
    return own;
}

/// Coefficients from tame to any bit pattern that the fixed-point block can hold, for the whole groups of a
/// row. The scales are what the arithmetic multiplies its offsets with.
inline Matrix AnyMatrix(unsigned number, double beforeScale, double afterScale) {
    switch (number % 8) {
        case 0:
            return RandomMatrix(8000, 2000);
        case 1: {
            // Halves of an 8192th, which are rounded, and offsets that are truncated.
            Matrix own = RandomMatrix(20000, 3000);
            for (auto& row : own.m) {
                for (double& entry : row) {
                    entry /= 2;
                }
            }
            for (auto& row : own.o) {
                for (double& entry : row) {
                    entry += 0.0077;
                }
            }
            return own;
        }
        case 2: {
            // Any bits.
            Matrix own{};
            for (auto& row : own.m) {
                for (double& entry : row) {
                    entry = RandomFrom<int>(-32768, 32767) / 8192.0;
                }
            }
            for (std::size_t i = 0; i < 4; ++i) {
                own.o[0][i] = RandomFrom<int>(-32768, 32767) / beforeScale;
                own.o[1][i] = RandomFrom<int>(-32768, 32767) / afterScale;
            }
            return own;
        }
        case 3: {
            // The ends of a word.
            Matrix own{};
            for (auto& row : own.m) {
                for (double& entry : row) {
                    entry = (RandomFrom<int>(0, 1) == 0 ? -32768 : 32767) / 8192.0;
                }
            }
            for (std::size_t i = 0; i < 4; ++i) {
                own.o[0][i] = (RandomFrom<int>(0, 1) == 0 ? -32768 : RandomFrom<int>(126, 129)) / beforeScale;
                own.o[1][i] = (RandomFrom<int>(0, 1) == 0 ? -32768 : 32767) / afterScale;
            }
            return own;
        }
        case 4: {
            // Values that no word holds.
            constexpr double kOdd[] = {std::numeric_limits<double>::quiet_NaN(),
                                       std::numeric_limits<double>::infinity(),
                                       -std::numeric_limits<double>::infinity(),
                                       1e300,
                                       -3e9,
                                       5e9};
            Matrix own = RandomMatrix(9000, 800);
            for (auto& row : own.m) {
                row[RandomFrom<std::size_t>(0, 3)] = kOdd[RandomFrom<std::size_t>(0, 5)];
            }
            own.o[0][RandomFrom<std::size_t>(0, 3)] = kOdd[RandomFrom<std::size_t>(0, 5)];
            own.o[1][RandomFrom<std::size_t>(0, 3)] = kOdd[RandomFrom<std::size_t>(0, 5)];
            return own;
        }
        case 5: {
            // Small entries, and offsets of whole code values at the ends of a word.
            Matrix own = RandomMatrix(1000, 0);
            for (auto& row : own.o) {
                for (double& entry : row) {
                    entry = RandomFrom<int>(0, 1) == 0 ? RandomFrom<int>(32400, 32767)
                                                       : RandomFrom<int>(-32768, 32767);
                }
            }
            return own;
        }
        case 6: {
            // Grey stays neutral, at the limits of what may be scaled.
            Matrix own{};
            const auto entry = [](int limit) {
                return (RandomFrom<int>(0, 3) == 0 ? -limit : RandomFrom<int>(-limit, limit - 1)) / 8192.0;
            };
            for (const std::size_t row : {0U, 2U}) {
                own.m[row][0] = entry(4096);
                own.m[row][2] = entry(4096);
                own.m[row][1] = -(own.m[row][0] + own.m[row][2]);
            }
            own.m[1] = {entry(4097), entry(8193), entry(4097), 0};
            const int limit = RandomFrom<int>(0, 1) == 0 ? 0 : 32767;
            for (std::size_t i = 0; i < 4; ++i) {
                own.o[0][i] = RandomFrom<int>(-limit, limit);
                own.o[1][i] =
                    RandomFrom<int>(0, 1) == 0 ? RandomFrom<int>(-32768, 32767) : RandomFrom<int>(-300, 300);
            }
            return own;
        }
        default: {
            // Luma weighs alike in all rows, blue takes no Cr and red no Cb, as in every matrix to RGB.
            Matrix own = RandomMatrix(32767, 1023);
            own.m[1][1] = own.m[2][1] = own.m[0][1];
            own.m[0][2] = own.m[2][0] = 0;
            return own;
        }
    }
}

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_KERNELRUNS_H
