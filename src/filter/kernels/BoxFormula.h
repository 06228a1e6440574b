#ifndef TESSELU_SRC_FILTER_KERNELS_BOXFORMULA_H
#define TESSELU_SRC_FILTER_KERNELS_BOXFORMULA_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "filter/kernels/BoxBlur.h"

// What a blurred pixel is, in plain C++. Coordinates of boxes may lie up to a box outside of the picture.

namespace Zan {

/// Where a coordinate beyond the edge lies in a picture of `size` rows or columns: the edge itself is not
/// repeated.
inline std::size_t Mirrored(std::ptrdiff_t at, std::size_t size) noexcept {
    const auto inside = static_cast<std::size_t>(at < 0 ? -at : at);
    return inside < size ? inside : 2 * size - 2 - inside;
}

/// `sum` is below 2^63.
inline std::uint8_t ByteOf(const SumToByte& rule, std::uint64_t sum) noexcept {
    if (rule.form == SumToByte::Form::kSingle) {
        // Adding 1.5 * 2^23 rounds to a whole number.
        constexpr float kRounding = 12582912.0F;
        const float mean = static_cast<float>(static_cast<std::int64_t>(sum)) * rule.inverse;
        return static_cast<std::uint8_t>(std::min((mean + kRounding) - kRounding, 255.0F));
    }
    if (rule.preShift > rule.totalShift) {
        return 0;
    }
    const std::uint32_t product = (static_cast<std::uint32_t>(sum) >> rule.preShift) * rule.multiplier;
    return static_cast<std::uint8_t>(product >> (rule.totalShift - rule.preShift));
}

/// The nearest whole mean of a small box in 16 bits: the upper half of (S + start) * multiplier, shifted. It
/// is what single precision gives: an odd area has no halves, and no other mean is near enough to one.
struct ShortRounding {
    unsigned start, multiplier, shift;
};

/// False for an even area or one that is not between 3 and 255.
inline bool FindShortRounding(std::size_t area, ShortRounding& rounding) noexcept {
    if (area < 3 || area > 255 || area % 2 == 0) {
        return false;
    }
    const auto divisor = static_cast<unsigned>(area);
    rounding.shift = 0;
    while ((2U << rounding.shift) < divisor) {
        ++rounding.shift;
    }
    const unsigned one = 65536U << rounding.shift;
    rounding.multiplier = (one + divisor / 2) / divisor;
    // What the multiplier is too small for is added beforehand.
    rounding.start = divisor / 2 + (rounding.multiplier * divisor < one ? 1 : 0);
    return true;
}

/// The nearest whole mean of an odd number of samples by one fused multiplication: a sum S is kept as the
/// bits `added` + S of a float, and the low bits of its product with `factor` plus `last` are the mean.
struct FusedRounding {
    std::uint32_t added;
    float factor, last;
};

/// With B + S the value of such a float, the product is (B + S) * factor, and what is subtracted from it,
/// whole to be exact, B / area. So B is a multiple of the area, but for a few units that make good the error
/// of the factor. Whole means and halves are 0.5 / area apart: what is nearer than that to S / area rounds to
/// the same. False where no factor is so near, and for areas whose means in single precision are not the
/// nearest.
inline bool FindFusedRounding(std::size_t area, FusedRounding& rounding) noexcept {
    constexpr std::size_t kMostArea = 16383;  // 255.5 * 2^-23, the error of two roundings, is 0.4999 / area
    constexpr double kBase = 8388608.0, kNearest = 1.5 * kBase, kNearEnough = 0.49;
    constexpr std::uint32_t kBaseBits = 0x4B000000;
    if (area > kMostArea || area % 2 == 0) {
        return false;
    }
    const auto divisor = static_cast<double>(area);
    const double whole = std::floor(kBase / divisor) + 2;
    double nearest = kNearEnough;
    for (int ulps = -4; ulps <= 4; ++ulps) {
        const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(1 / divisor));
        const float factor = std::bit_cast<float>(bits + static_cast<std::uint32_t>(ulps));
        const double error = static_cast<double>(factor) * divisor - 1;
        for (int units = -4; units <= 4; ++units) {
            const double base = whole * divisor + units;
            const double ofNone = base * error + units, ofAll = (base + 255 * divisor) * error + units;
            const double most = std::max(std::abs(ofNone), std::abs(ofAll));
            if (base >= kBase && most < nearest) {
                nearest = most;
                rounding.added = kBaseBits + static_cast<std::uint32_t>(base - kBase);
                rounding.factor = factor;
                rounding.last = static_cast<float>(kNearest - whole);
            }
        }
    }
    return nearest < kNearEnough;
}

/// The same number of each of the four bytes of a pixel.
template <class T>
struct OfBytes {
    T of[4];
};

/// Sums the `boxHeight` rows around row `y` of column `x`.
template <class T>
inline void AddColumn(const BoxJob& job, std::size_t x, std::ptrdiff_t y, OfBytes<T>& sums) noexcept {
    const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
    for (std::ptrdiff_t row = y - reach; row <= y + reach; ++row) {
        const std::uint8_t* const pixel = job.source.Row(Mirrored(row, job.height)) + 4 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            sums.of[i] += pixel[i];
        }
    }
}

/// Sums the box around a pixel afresh.
template <class T>
inline OfBytes<T> SumOfBox(const BoxJob& job, std::size_t x, std::size_t y) noexcept {
    OfBytes<T> sums{};
    const auto reach = static_cast<std::ptrdiff_t>(job.boxWidth / 2);
    const auto centre = static_cast<std::ptrdiff_t>(x);
    for (std::ptrdiff_t column = centre - reach; column <= centre + reach; ++column) {
        AddColumn(job, Mirrored(column, job.width), static_cast<std::ptrdiff_t>(y), sums);
    }
    return sums;
}

/// Every box summed by itself, `toByte` of its sums.
template <class T, class ToByte>
inline void BlurAfresh(const BoxJob& job, ToByte toByte) noexcept {
    for (std::size_t y = job.top; y < job.bottom; ++y) {
        for (std::size_t x = job.left; x < job.right; ++x) {
            const OfBytes<T> sums = SumOfBox<T>(job, x, y);
            for (std::size_t i = 0; i < 4; ++i) {
                job.destination.Row(y)[4 * x + i] = toByte(sums.of[i]);
            }
        }
    }
}

inline void BlurAfresh(const BoxJob& job) noexcept {
    BlurAfresh<std::uint64_t>(job, [&job](std::uint64_t sum) { return ByteOf(job.toByte, sum); });
}

/// The columns that a job reads: from `First` to below `End`. What is mirrored lies between them.
inline std::size_t FirstColumn(const BoxJob& job) noexcept {
    return job.left - std::min(job.left, job.boxWidth / 2);
}
inline std::size_t EndColumn(const BoxJob& job) noexcept {
    return std::min(job.right + job.boxWidth / 2, job.width);
}

/// Runs `job` in as few strips of columns as let `fixed` bytes, and `each` bytes for every column that a
/// strip reads, stay on the stack; in one strip on other memory where too many columns would be read twice.
/// `run(strip, memory)`.
template <class Run>
inline void InStrips(BoxJob job, std::size_t fixed, std::size_t each, BoxMemory& memory, Run run) {
    const std::size_t columns = job.right - job.left;
    const std::size_t around = job.boxWidth - 1;
    std::size_t wide = fixed < BoxMemory::kOnStack ? (BoxMemory::kOnStack - fixed) / each : 0;
    wide = wide > around ? wide - around : 0;
    if (wide < std::min(columns, 4 * around)) {
        wide = columns;
    }
    const std::size_t strips = (columns + wide - 1) / wide;
    wide = (columns + strips - 1) / strips;
    const std::size_t end = job.right;
    for (; job.left < end; job.left = job.right) {
        job.right = std::min(job.left + wide, end);
        std::uint8_t* const bytes = memory.Get(fixed + each * (EndColumn(job) - FirstColumn(job)));
        if (bytes == nullptr) {
            BlurAfresh(job);
        } else {
            run(job, bytes);
        }
    }
}

/// By sums of columns and of boxes that go along with the pixels. `Column` holds 255 times the height of the
/// box.
template <class Column>
inline void BlurPlainly(const BoxJob& job, OfBytes<Column>* sums) noexcept {
    const std::size_t first = FirstColumn(job), end = EndColumn(job);
    const auto reach = static_cast<std::ptrdiff_t>(job.boxWidth / 2);
    const auto reachDown = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
    for (std::size_t x = first; x < end; ++x) {
        sums[x - first] = {};
        AddColumn(job, x, static_cast<std::ptrdiff_t>(job.top), sums[x - first]);
    }
    for (std::size_t y = job.top; y < job.bottom; ++y) {
        const auto row = static_cast<std::ptrdiff_t>(y);
        if (y != job.top) {
            const std::uint8_t* const entering = job.source.Row(Mirrored(row + reachDown, job.height));
            const std::uint8_t* const leaving = job.source.Row(Mirrored(row - reachDown - 1, job.height));
            for (std::size_t x = first; x < end; ++x) {
                for (std::size_t i = 0; i < 4; ++i) {
                    Column& sum = sums[x - first].of[i];
                    sum = static_cast<Column>(sum + entering[4 * x + i] - leaving[4 * x + i]);
                }
            }
        }
        const auto column = [=](std::ptrdiff_t x) -> const OfBytes<Column>& {
            return sums[Mirrored(x, job.width) - first];
        };
        OfBytes<std::uint64_t> box{};
        auto x = static_cast<std::ptrdiff_t>(job.left);
        for (std::ptrdiff_t at = x - reach; at < x + reach; ++at) {
            for (std::size_t i = 0; i < 4; ++i) {
                box.of[i] += column(at).of[i];
            }
        }
        std::uint8_t* to = job.destination.Row(y) + 4 * job.left;
        for (; x < static_cast<std::ptrdiff_t>(job.right); ++x, to += 4) {
            const OfBytes<Column>&entering = column(x + reach), &leaving = column(x - reach);
            for (std::size_t i = 0; i < 4; ++i) {
                box.of[i] += entering.of[i];
                to[i] = ByteOf(job.toByte, box.of[i]);
                box.of[i] -= leaving.of[i];
            }
        }
    }
}

/// The same with memory for the sums of columns.
inline void BlurPlainly(const BoxJob& job, BoxMemory& memory) {
    // Above it, 255 times the height takes more than 32 bits.
    constexpr std::size_t kTall = std::size_t{1} << 24;
    if (job.boxHeight < kTall) {
        using Sums = OfBytes<std::uint32_t>;
        InStrips(job, 0, sizeof(Sums), memory, [](const BoxJob& strip, std::uint8_t* bytes) {
            BlurPlainly(strip, reinterpret_cast<Sums*>(bytes));
        });
    } else {
        using Sums = OfBytes<std::uint64_t>;
        InStrips(job, 0, sizeof(Sums), memory, [](const BoxJob& strip, std::uint8_t* bytes) {
            BlurPlainly(strip, reinterpret_cast<Sums*>(bytes));
        });
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_BOXFORMULA_H
