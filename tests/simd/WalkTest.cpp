// The walk itself, by kernels that exist for nothing else: a window with surroundings on all sides, two lines
// with chroma of half height, a reduction, and a source that may be missing.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "simd/Dispatch.h"
#include "simd/Job.h"
#include "simd/Lines.h"
#include "support/FencedMemory.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/WalkTest.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

/// The sum of a byte, two to the left, one to the right, the two above and the one below, modulo 256.
struct Window {
    using Place = simd::Place<1, 1, 1, 4>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .left = 2, .right = 1, .above = 2, .below = 1}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* line = at.in[0][2] + x;
        at.out[0][0][x] = static_cast<std::uint8_t>(line[-2] + line[0] + line[1] + at.in[0][0][x] +
                                                    at.in[0][1][x] + at.in[0][3][x]);
    }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const std::uint8_t* line = at.in[0][2] + x;
        const VU8 row = hn::Add(hn::Add(hn::LoadU(d, line - 2), hn::LoadU(d, line)), hn::LoadU(d, line + 1));
        const VU8 column = hn::Add(hn::Add(hn::LoadU(d, at.in[0][0] + x), hn::LoadU(d, at.in[0][1] + x)),
                                   hn::LoadU(d, at.in[0][3] + x));
        put(d, hn::Add(row, column), at.out[0][0] + x);
    }
#endif
};

/// Luma plus the chroma sample of its block of two by two, modulo 256, and chroma as it is to a plane of its
/// own; what has no whole pair is inverted.
template <class LinesType>
struct AddChroma {
    using Place = simd::Place<2, 2, 2>;
    using Lines = LinesType;
    static constexpr PlaneUse kSources[] = {
        {.index = 0}, {.index = 1, .bytesPer16 = 8, .columns = 2, .halfHeight = true, .isClamped = true}};
    static constexpr PlaneUse kDestinations[] = {
        {.index = 0}, {.index = 1, .bytesPer16 = 8, .columns = 2, .halfHeight = true, .isClamped = true}};
    static constexpr std::size_t kUnit = 2;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t chroma = at.in[1][0][x / 2];
        for (std::size_t line = 0; line < 2; ++line) {
            for (std::size_t i = 0; i < 2; ++i) {
                at.out[0][line][x + i] = static_cast<std::uint8_t>(at.in[0][line][x + i] + chroma);
            }
        }
        at.out[1][0][x / 2] = chroma;
    }
    void Tail(const Place& at, std::size_t x, std::size_t columns) const {
        for (std::size_t line = 0; line < 2; ++line) {
            for (std::size_t i = 0; i < columns; ++i) {
                at.out[0][line][x + i] = static_cast<std::uint8_t>(~at.in[0][line][x + i]);
            }
        }
        at.out[1][0][x / 2] = at.in[1][0][x / 2];
    }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const hn::Half<DU8> half;
        const auto chroma = hn::LoadU(half, at.in[1][0] + x / 2);
        alignas(64) std::uint8_t twice[kVectorBytes];
        for (std::size_t i = 0; i < kVectorBytes; ++i) {
            twice[i] = at.in[1][0][(x + i) / 2];
        }
        const VU8 added = hn::Load(d, twice);
        const VU8 lines[2] = {hn::Add(hn::LoadU(d, at.in[0][0] + x), added),
                              hn::Add(hn::LoadU(d, at.in[0][1] + x), added)};
        put(d, lines[0], at.out[0][0] + x);
        put(d, lines[1], at.out[0][1] + x);
        put(half, chroma, at.out[1][0] + x / 2);
    }

#endif
};

/// The sum of all bytes of two planes, of which the second may be missing.
struct SumOfBytes {
    using Place = simd::Place<2, 0>;
    static constexpr PlaneUse kSources[] = {{.index = 0}, {.index = 1, .mayBeMissing = true}};
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    std::uint64_t sum = 0;

    void Unit(const Place& at, std::size_t x) {
        sum += at.in[0][0][x];
        sum += at.in[1][0] != nullptr ? at.in[1][0][x] : 0U;
    }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x) {
        const hn::ScalableTag<std::uint64_t> d;
        alignas(64) std::uint64_t lanes[kVectorBytes / 8];
        hn::Store(hn::SumsOf8(hn::LoadU(DU8(), at.in[0][0] + x)), d, lanes);
        for (const std::uint64_t lane : lanes) {
            sum += lane;
        }
        for (std::size_t i = 0; i < kStep && at.in[1][0] != nullptr; ++i) {
            sum += at.in[1][0][x + i];
        }
    }
#endif
};

void RunWindow(const simd::Job<1, 1>& job) {
    Walk(Window{}, job);
}
void RunLinePairs(const simd::Job<2, 2>& job) {
    Walk(AddChroma<simd::LinePairs>{}, job);
}
void RunFieldLinePairs(const simd::Job<2, 2>& job) {
    Walk(AddChroma<simd::FieldLinePairs>{}, job);
}
void RunSum(const simd::Job<2, 0>& job, std::uint64_t& sum) {
    SumOfBytes kernel;
    Reduce(kernel, job);
    sum = kernel.sum;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {
namespace {

using simd::Job;
using simd::Target;
using test_support::FencedMemory;

using OneToOne = void (*)(const Job<1, 1>&);
using TwoToTwo = void (*)(const Job<2, 2>&);
using TwoToSum = void (*)(const Job<2, 0>&, std::uint64_t&);
constexpr OneToOne kWindow[] = TESSELU_FORMS(RunWindow);
constexpr TwoToTwo kLinePairs[] = TESSELU_FORMS(RunLinePairs);
constexpr TwoToTwo kFieldLinePairs[] = TESSELU_FORMS(RunFieldLinePairs);
constexpr TwoToSum kSum[] = TESSELU_FORMS(RunSum);

template <class Test>
void OnEveryTarget(const Test& test) {
    for (std::size_t t = simd::kPortable; t < simd::kTargetCount; ++t) {
        if (simd::IsTargetAvailable(static_cast<Target>(t))) {
            SCOPED_TRACE(simd::TargetName(static_cast<Target>(t)));
            test(t);
        }
    }
}

std::vector<std::size_t> Widths() {
    std::vector<std::size_t> widths;
    for (std::size_t w = 0; w <= 67; ++w) {
        widths.push_back(w);
    }
    for (const std::size_t w : {127U, 128U, 129U, 257U, 400U}) {
        widths.push_back(w);
    }
    return widths;
}

/// Rows in fenced memory that holds `rowsInMemory` of them and no more.
struct Picture {
    Picture(std::size_t rowBytes, std::size_t rowsInMemory, std::size_t padding)
        : pitch(rowBytes + padding), memory(rowsInMemory == 0 ? 0 : pitch * (rowsInMemory - 1) + rowBytes) {}

    Plane Bounded() {
        return {memory.Data(), static_cast<std::ptrdiff_t>(pitch), memory.Data(),
                memory.Data() + memory.Length()};
    }
    std::uint8_t At(std::size_t x, std::size_t y) { return memory.Data()[y * pitch + x]; }

    std::size_t pitch;
    FencedMemory memory;
};

TEST(Walk, WindowsSeeZeroBesideThePictureAndTheNearestRowAboveAndBelow) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : Widths()) {
            for (std::size_t height = 1; height <= 5; ++height) {
                Picture in(width, height, width % 3), out(width, height, height % 2);
                kWindow[target]({{in.Bounded()}, {out.Bounded()}, width, height, width});
                for (std::size_t y = 0; y < height; ++y) {
                    for (std::size_t x = 0; x < width; ++x) {
                        const std::size_t above = y > 0 ? y - 1 : 0, higher = y > 1 ? y - 2 : 0;
                        const std::size_t below = y + 1 < height ? y + 1 : y;
                        const int sum = (x > 1 ? in.At(x - 2, y) : 0) + in.At(x, y) +
                                        (x + 1 < width ? in.At(x + 1, y) : 0) + in.At(x, above) +
                                        in.At(x, higher) + in.At(x, below);
                        ASSERT_EQ(out.At(x, y), sum % 256)
                            << width << " x " << height << " at " << x << ", " << y;
                    }
                }
            }
        }
    });
}

/// Luma and chroma of a source and a destination.
struct Subsampled {
    Subsampled(std::size_t width, std::size_t height, std::size_t chromaRows)
        : luma(width, height, 3), chroma((width + 1) / 2, chromaRows, 1) {}

    Picture luma, chroma;
};

/// Which chroma row line `y` takes, `rows` being those that there are: the last one of its field at most.
std::size_t ChromaRow(bool fields, std::size_t y, std::size_t rows) {
    if (!fields) {
        return std::min(y / 2, rows - 1);
    }
    std::size_t row = y / 4 * 2 + y % 2;
    while (row >= rows && row != 0) {
        row -= std::min<std::size_t>(row, 2);
    }
    return row;
}

/// Converts in strips. Where the source has fewer rows of chroma than are asked for its last one serves; in
/// the destination such a row is left out.
void CheckSubsampled(std::size_t target, bool fields, std::size_t width, std::size_t height,
                     std::size_t whole, std::size_t rowsIn, std::size_t rowsOut, std::size_t strip) {
    Subsampled in(width, height, rowsIn), out(width, height, rowsOut);
    for (std::size_t from = 0; from < height; from += strip) {
        Job<2, 2> job = {{in.luma.Bounded(), in.chroma.Bounded()},
                         {out.luma.Bounded(), out.chroma.Bounded()},
                         width,
                         std::min(strip, height - from),
                         whole};
        for (auto* planes : {&job.source, &job.destination}) {
            (*planes)[0].first = (*planes)[0].Row(from);
            (*planes)[1].first = (*planes)[1].Row(from / 2);
        }
        (fields ? kFieldLinePairs : kLinePairs)[target](job);
    }
    const std::size_t evenWhole = whole / 2 * 2;
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t row = ChromaRow(fields, y, rowsIn);
        for (std::size_t x = 0; x < width; ++x) {
            const int wanted =
                x < evenWhole ? (in.luma.At(x, y) + in.chroma.At(x / 2, row)) % 256 : 255 - in.luma.At(x, y);
            ASSERT_EQ(out.luma.At(x, y), wanted) << width << " x " << height << " at " << x << ", " << y;
            const std::size_t wantedRow = fields ? y / 4 * 2 + y % 2 : y / 2;
            if (wantedRow < rowsOut) {
                ASSERT_EQ(out.chroma.At(x / 2, wantedRow), in.chroma.At(x / 2, row)) << x << ", " << y;
            }
        }
    }
}

TEST(Walk, TwoLinesShareTheirChroma) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : Widths()) {
            for (std::size_t height = 1; width > 0 && height <= 9; ++height) {
                for (const bool fields : {false, true}) {
                    const std::size_t rows =
                        fields ? simd::FieldLinePairs::Bands(height) : simd::LinePairs::Bands(height);
                    const std::size_t whole = width - width % 16;
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, fields, width, height, width, rows, rows, height));
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, fields, width, height, whole, rows, rows, height));
                }
            }
        }
    });
}

TEST(Walk, TheLastChromaServesWhereThereIsNone) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : {1U, 2U, 15U, 16U, 33U, 130U}) {
            for (std::size_t height = 3; height <= 8; ++height) {
                for (const bool fields : {false, true}) {
                    const std::size_t rows =
                        fields ? simd::FieldLinePairs::Bands(height) : simd::LinePairs::Bands(height);
                    // Whatever is asked beyond the memory would meet the fence behind it.
                    const std::size_t fewer = fields ? 2 : rows - 1;
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, fields, width, height, width, fewer, fewer, height));
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, fields, width, height, width, fewer, rows, height));
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, fields, width, height, width, rows, fewer, height));
                }
            }
        }
    });
}

// Luma is not clamped: of two lines of which the second is not all there no column beyond is touched in
// either, as the fence behind the memory tells.
TEST(Walk, BandsWhoseSecondLineEndsEarlyStayInside) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : {2U, 16U, 33U, 130U}) {
            for (const std::size_t lacking : {std::size_t{1}, width / 2 + 1, width}) {
                for (const bool ofSource : {true, false}) {
                    const std::size_t height = 4, rows = 2;
                    Subsampled in(width, height, rows), out(width, height, rows);
                    const std::size_t pitch = in.luma.pitch;
                    FencedMemory shorter(pitch * (height - 1) + width - lacking);
                    const Plane cut = {shorter.Data(), static_cast<std::ptrdiff_t>(pitch), shorter.Data(),
                                       shorter.Data() + shorter.Length()};
                    Job<2, 2> job = {{in.luma.Bounded(), in.chroma.Bounded()},
                                     {out.luma.Bounded(), out.chroma.Bounded()},
                                     width,
                                     height,
                                     width};
                    (ofSource ? job.source : job.destination)[0] = cut;
                    kLinePairs[target](job);
                    for (std::size_t y = 0; y < 2; ++y) {
                        for (std::size_t x = 0; x < width / 2 * 2; ++x) {
                            ASSERT_EQ(job.destination[0].Row(y)[x],
                                      (job.source[0].Row(y)[x] + in.chroma.At(x / 2, 0)) % 256)
                                << "the lines that are there, " << x << ", " << y;
                        }
                    }
                }
            }
        }
    });
}

TEST(Walk, StripsMakeTheSameBytes) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : {7U, 64U, 300U}) {
            for (std::size_t height = 1; height <= 11; ++height) {
                for (std::size_t strips = 1; strips <= 2; ++strips) {
                    ASSERT_NO_FATAL_FAILURE(
                        CheckSubsampled(target, false, width, height, width, simd::LinePairs::Bands(height),
                                        simd::LinePairs::Bands(height), strips * simd::LinePairs::kPeriod));
                    ASSERT_NO_FATAL_FAILURE(CheckSubsampled(
                        target, true, width, height, width, simd::FieldLinePairs::Bands(height),
                        simd::FieldLinePairs::Bands(height), strips * simd::FieldLinePairs::kPeriod));
                }
            }
        }
    });
}

TEST(Walk, ReductionsTakeEveryColumnThatLiesInsideOnce) {
    OnEveryTarget([](std::size_t target) {
        for (const std::size_t width : Widths()) {
            for (std::size_t height = 0; height <= 4; ++height) {
                Picture a(width, height, width % 2), b(width, height, 5);
                std::uint64_t ofA = 0, ofB = 0, got = 1;
                for (std::size_t y = 0; y < height; ++y) {
                    for (std::size_t x = 0; x < width; ++x) {
                        ofA += a.At(x, y);
                        ofB += b.At(x, y);
                    }
                }
                kSum[target]({{a.Bounded(), b.Bounded()}, {}, width, height, width}, got);
                ASSERT_EQ(got, ofA + ofB) << width << " x " << height;
                kSum[target]({{a.Bounded(), Plane{}}, {}, width, height, width}, got);
                ASSERT_EQ(got, ofA) << width << " x " << height;
                // More rows and columns than there are.
                kSum[target]({{a.Bounded(), Plane{}}, {}, a.pitch, height + 3, a.pitch}, got);
                std::uint64_t all = 0;
                for (std::size_t i = 0; i < a.memory.Length(); ++i) {
                    all += a.memory.Data()[i];
                }
                ASSERT_EQ(got, all) << width << " x " << height;
            }
        }
    });
}

TEST(Lines, BandsCoverEveryLineOnce) {
    for (std::size_t height = 0; height <= 20; ++height) {
        for (const bool fields : {false, true}) {
            std::vector<int> seen(height);
            const std::size_t bands =
                fields ? simd::FieldLinePairs::Bands(height) : simd::LinePairs::Bands(height);
            for (std::size_t band = 0; band < bands; ++band) {
                for (std::size_t i = 0; i < 2; ++i) {
                    const std::size_t line =
                        fields ? simd::FieldLinePairs::Line(band, i) : simd::LinePairs::Line(band, i);
                    if (line < height) {
                        ++seen[line];
                    } else {
                        EXPECT_EQ(i, 1U) << "a band has its first line";
                    }
                }
            }
            EXPECT_EQ(seen, std::vector<int>(height, 1)) << height;
        }
    }
}

}  // namespace
}  // namespace Zan

#endif  // HWY_ONCE
