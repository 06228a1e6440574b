// The blur against plain sums of its boxes, at sizes around those where a box is summed another way, on
// pictures that are narrow, flat, tall and wide.

#include <TesselU/filter/DeepDefocus.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "filter/BlurPicture.h"
#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/Choices.h"

namespace {

using namespace Zan;
using namespace filter_test;

struct Case {
    unsigned width = 1, height = 1;
    double across = 1, down = 1;  ///< the size of the box as it is given
    ULong32 xStart = 0, xEnd = 0xFFFFFFFF, yStart = 0, yEnd = 0xFFFFFFFF;
    int style = kBestAvailable;
    CPUinstructionSetEnum set = kSSE2;
    simd::Target target = simd::kPortable;
};

std::string NameOf(const Case& c) {
    std::string text = "picture ";
    text += std::to_string(c.width) + "x" + std::to_string(c.height) + ", box " + std::to_string(c.across) +
            "x" + std::to_string(c.down) + ", columns " + std::to_string(c.xStart) + " to " +
            std::to_string(c.xEnd) + ", rows " + std::to_string(c.yStart) + " to " + std::to_string(c.yEnd) +
            ", style " + std::to_string(c.style) + ", instructions " + std::to_string(c.set) + ", " +
            simd::TargetName(c.target);
    return text;
}

bool IsRounded(int style) {
    return style == kInt_MMXorSIMD || style == kFlp_SIMD || style == kBestAvailable;
}

std::int64_t Resolved(double size, unsigned working, bool rounded) {
    if (!rounded) {
        return size > working ? working : static_cast<std::int64_t>(size);
    }
    std::int64_t n = size < 1 ? 1 : static_cast<std::int64_t>(size + 0.5);
    n = std::min<std::int64_t>(n, working);
    return n % 2 == 0 ? n + 1 : n;
}

/// Where a coordinate beyond the edge is read.
std::int64_t Mirrored(std::int64_t c, std::int64_t n) {
    return c < 0 ? -c : c >= n ? 2 * n - 2 - c : c;
}

/// The picture and its mirrored surroundings, summed from the top left.
class Sums {
public:
    Sums(BlurPicture& picture, std::int64_t kw, std::int64_t kh)
        : stride(picture.wide + static_cast<std::size_t>(kw)),
          of(4 * stride * (picture.high + static_cast<std::size_t>(kh))),
          wide(static_cast<std::size_t>(kw)),
          high(static_cast<std::size_t>(kh)) {
        for (std::size_t y = 1; y < picture.high + high; ++y) {
            const auto fromY = static_cast<std::size_t>(
                Mirrored(static_cast<std::int64_t>(y) - 1 - kh / 2, static_cast<std::int64_t>(picture.high)));
            for (std::size_t x = 1; x < stride; ++x) {
                const auto fromX = static_cast<std::size_t>(Mirrored(
                    static_cast<std::int64_t>(x) - 1 - kw / 2, static_cast<std::int64_t>(picture.wide)));
                for (std::size_t byte = 0; byte < 4; ++byte) {
                    At(x, y, byte) = picture.At(fromX, fromY, byte) + At(x - 1, y, byte) +
                                     At(x, y - 1, byte) - At(x - 1, y - 1, byte);
                }
            }
        }
    }

    /// Of the box around a pixel.
    std::uint64_t Box(std::size_t x, std::size_t y, std::size_t byte) {
        return At(x + wide, y + high, byte) - At(x, y + high, byte) - At(x + wide, y, byte) + At(x, y, byte);
    }

private:
    std::uint64_t& At(std::size_t x, std::size_t y, std::size_t byte) {
        return of[4 * (y * stride + x) + byte];
    }

    std::size_t stride;
    std::vector<std::uint64_t> of;
    std::size_t wide, high;
};

/// How a sum becomes a byte.
class Mean {
public:
    Mean(const Case& c, double boxArea) : area(boxArea) {
        kind = !IsRounded(c.style) && c.style != kFlp && c.style != kFP ? Kind::kReference
               : IsRounded(c.style) && c.set >= kSIMD                   ? Kind::kSingle
                                                                        : Kind::kInteger;
        if (area == 0) {
            return;  // refused before anything is scaled
        }
        for (double most = area * 255; most > 65535 && preShift < 32; most /= 2) {
            ++preShift;
        }
        double scaled = 1.0 / area;
        for (; scaled < 32768 && totalShift < 32; scaled *= 2) {
            ++totalShift;
        }
        multiplier = static_cast<std::uint32_t>(scaled + 0.5 > 65535 ? scaled : scaled + 0.5);
    }

    bool HasScale() const { return kind != Kind::kInteger || totalShift < 32; }
    bool IsReference() const { return kind == Kind::kReference; }

    std::uint8_t Of(std::uint64_t sum) const {
        switch (kind) {
            case Kind::kReference:
                return static_cast<std::uint8_t>(
                    static_cast<std::uint32_t>(static_cast<std::uint32_t>(sum) * (1.0 / area) + 0.5));
            case Kind::kInteger: {
                const std::uint32_t product = (static_cast<std::uint32_t>(sum) >> preShift) * multiplier;
                return static_cast<std::uint8_t>(totalShift < preShift ? 0
                                                                       : product >> (totalShift - preShift));
            }
            default: {
                const float mean = static_cast<float>(sum) * static_cast<float>(1.0 / area);
                return static_cast<std::uint8_t>(std::clamp(std::nearbyint(mean), 0.0F, 255.0F));
            }
        }
    }

private:
    enum class Kind { kReference, kInteger, kSingle } kind;
    double area;
    int preShift = 0, totalShift = 0;
    std::uint32_t multiplier = 0;
};

/// 0 to 3: noise, white, black, black beside white, which are as far apart as bytes can be.
void Fill(BlurPicture& picture, int kind) {
    if (kind == 0) {
        return;
    }
    for (std::size_t y = 0; y < picture.high; ++y) {
        for (std::size_t x = 0; x < picture.wide; ++x) {
            for (std::size_t byte = 0; byte < 4; ++byte) {
                picture.At(x, y, byte) = kind == 1 || (kind == 3 && (x + y + byte) % 2 == 0) ? 255 : 0;
            }
        }
    }
}

void Compare(const Case& c, int filling) {
    SCOPED_TRACE(NameOf(c) + ", filling " + std::to_string(filling));
    BlurPicture source(c.width, c.height, {AnyOf<std::size_t>({0, 0, 4, 12}), kTopLeft, k8Bits, kRGB});
    BlurPicture destination(c.width, c.height, {AnyOf<std::size_t>({0, 0, 20}), kTopLeft, k8Bits, kRGB});
    Fill(source, filling);
    Bytes expected = destination.Memory().Snapshot();
    const Bytes untouched = source.Memory().Snapshot();

    const std::int64_t kw = Resolved(c.across, c.width, IsRounded(c.style));
    const std::int64_t kh = Resolved(c.down, c.height, IsRounded(c.style));
    const Mean mean(c, static_cast<double>(kw) * static_cast<double>(kh));
    const Long32 status = 255 * c.across * c.down > 4294967295.0 ? -10
                          : kw == 0 || kh == 0                   ? -1
                          : kw % 2 == 0 || kh % 2 == 0           ? -2
                          : kw >= c.width || kh >= c.height      ? -3
                          : !mean.HasScale()                     ? -5
                                                                 : 0;
    if (status == 0) {
        Sums sums(source, kw, kh);
        // Running sums begin with a column before they look for the end.
        const ULong32 end = mean.IsReference() ? c.xEnd : std::max(c.xEnd, c.xStart + 1);
        const std::size_t guard = destination.Memory().GuardLength();
        for (std::size_t y = c.yStart; y < std::min<std::size_t>(c.yEnd, c.height); ++y) {
            for (std::size_t x = c.xStart; x < std::min<std::size_t>(end, c.width); ++x) {
                for (std::size_t byte = 0; byte < 4; ++byte) {
                    expected[guard + y * destination.pitch + 4 * x + byte] = mean.Of(sums.Box(x, y, byte));
                }
            }
        }
    }
    const ScopedInstructionSet believed(c.set);
    const simd::ScopedTarget limited(c.target);
    ImageView from = source.View(), to = destination.View();
    ASSERT_EQ(DeepDefocus().Do(from, to, c.across, c.down, c.xStart, c.xEnd, c.yStart, c.yEnd,
                               static_cast<ProcessingStyleEnum>(c.style)),
              status);
    const Bytes got = destination.Memory().Snapshot();
    for (std::size_t i = 0; i < got.size(); ++i) {
        ASSERT_EQ(int{got[i]}, int{expected[i]})
            << "byte " << i - destination.Memory().GuardLength() << ", pitch " << destination.pitch;
    }
    ASSERT_EQ(source.Memory().Snapshot(), untouched);
}

simd::Target AnyTarget() {
    for (;;) {
        const auto target =
            static_cast<simd::Target>(RandomFrom<int>(0, static_cast<int>(simd::BestTarget())));
        if (simd::IsTargetAvailable(target)) {
            return target;
        }
    }
}

/// What else a case has, by chance.
Case WithChances(Case c) {
    c.style = AnyOf<int>({kBestAvailable, kBestAvailable, kFP, kFlp, kInt_MMXorSIMD});
    if (c.across * c.down < 50 && OneIn(10)) {
        c.style = AnyOf({4, 6, -1});
    }
    c.set = AnyOf({kSSE2, kSSE2, kSIMD, kSSE_MMX, kScalarOnly});
    c.target = AnyTarget();
    if (OneIn(3)) {
        c.xStart = RandomFrom<ULong32>(0, static_cast<int>(c.width));
        c.xEnd = RandomFrom<ULong32>(0, static_cast<int>(c.width) + 2);
    }
    if (OneIn(3)) {
        c.yStart = RandomFrom<ULong32>(0, static_cast<int>(c.height));
        c.yEnd = RandomFrom<ULong32>(0, static_cast<int>(c.height) + 2);
    }
    if (OneIn(4)) {
        c.across += AnyOf({0.25, 0.5, -0.5, -0.51});
    }
    if (OneIn(4)) {
        c.down += AnyOf({0.25, 0.5, -0.5, -0.51});
    }
    return c;
}

constexpr int kSizes[] = {1,  3,  5,  7,   9,   15,  17,  31,  33,  47,  49,  63,  65,
                          95, 97, 99, 101, 127, 129, 191, 193, 255, 257, 259, 299, 301};

int SizeBelow(unsigned limit) {
    for (;;) {
        const int size = kSizes[RandomFrom<std::size_t>(0, static_cast<int>(std::size(kSizes)) - 1)];
        if (OneIn(12) || size < static_cast<int>(limit)) {
            return size;
        }
    }
}

TEST(DeepDefocusSizes, SmallPicturesOfEveryWidth) {
    for (int round = 0; round < 12; ++round) {
        for (unsigned width = 1; width <= 70; ++width) {
            const auto height = RandomFrom<unsigned>(1, 40);
            const Case c = {width, height, double(SizeBelow(width)), double(SizeBelow(height))};
            ASSERT_NO_FATAL_FAILURE(Compare(WithChances(c), RandomFrom<int>(0, 3)));
        }
    }
}

TEST(DeepDefocusSizes, BoxesOfEverySizeInLargerPictures) {
    for (const int across : kSizes) {
        for (int round = 0; round < 3; ++round) {
            const auto width = RandomFrom<unsigned>(std::max(200, across + 1), 700);
            const auto height = RandomFrom<unsigned>(4, 40);
            const Case c = {width, height, double(across), double(SizeBelow(height))};
            ASSERT_NO_FATAL_FAILURE(Compare(WithChances(c), RandomFrom<int>(0, 3)));
        }
    }
    for (const int down : kSizes) {
        const auto height = RandomFrom<unsigned>(std::max(40, down + 1), 400);
        const auto width = RandomFrom<unsigned>(3, 70);
        const Case c = {width, height, double(SizeBelow(width)), double(down)};
        ASSERT_NO_FATAL_FAILURE(Compare(WithChances(c), RandomFrom<int>(0, 3)));
    }
    for (const int both : kSizes) {
        if (both >= 95) {
            const Case c = {310, 305, double(both), double(both)};
            ASSERT_NO_FATAL_FAILURE(Compare(WithChances(c), both % 3 + (both % 3 == 2)));
        }
    }
}

TEST(DeepDefocusSizes, WidePicturesOfFewLinesAndTallOnesOfFewColumns) {
    for (const int size : kSizes) {
        for (const unsigned few : {1U, 2U, 3U, 4U}) {
            // A box is smaller than its picture: with one line there is none.
            const double other = few > 3 && OneIn(2) ? 3 : 1;
            ASSERT_NO_FATAL_FAILURE(Compare(
                WithChances({RandomFrom<unsigned>(1200, 2600), few, double(size), other}), few == 2 ? 3 : 0));
            ASSERT_NO_FATAL_FAILURE(Compare(
                WithChances({few, RandomFrom<unsigned>(600, 1300), other, double(size)}), few == 3 ? 1 : 0));
        }
    }
}

}  // namespace
