// Means of boxes of any size, by sums that go along with the pixels.
//
// Rows are taken in blocks of as many as have one pixel's four 16-bit sums each in a vector: 4 in 256 bits.
// Along the columns of a block run two things at once:
//
// - Ahead, the sums of columns: what enters a box below minus what leaves it above is added to the sums of
// the
//   row before, a vector of pixels at a time and row by row. They are turned by 90 degrees then: a slot of
//   the ring holds the sums of one column for all rows of the block.
// - Behind, the sums of boxes: a slot that enters is added and one that leaves is taken away, for all rows of
//   the block at once. There is nothing to be summed across lanes.
//
// Wider vectors than 256 bits would need another step of turning for each pixel.

#include "filter/kernels/BoxBlur.h"

#include <cstring>
#include <new>

#include "filter/kernels/BoxFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/BoxBlur.cpp"
#include "simd/Foreach.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

constexpr std::size_t kBytes = HWY_LANES(std::uint8_t) < 32 ? HWY_LANES(std::uint8_t) : 32;
constexpr std::size_t kRows = kBytes / 8;    ///< of a block
constexpr std::size_t kPixels = kBytes / 4;  ///< of a vector
constexpr std::size_t kBlocks = kBytes / 16;
static_assert(kBlocks <= 2);

using DU8 = hn::CappedTag<std::uint8_t, kBytes>;
using DI8 = hn::CappedTag<std::int8_t, kBytes>;
using DU16 = hn::CappedTag<std::uint16_t, kBytes / 2>;
using DI16 = hn::CappedTag<std::int16_t, kBytes / 2>;
using DU32 = hn::CappedTag<std::uint32_t, kBytes / 4>;
using DI32 = hn::CappedTag<std::int32_t, kBytes / 4>;
using DF32 = hn::CappedTag<float, kBytes / 4>;
using DU64 = hn::CappedTag<std::uint64_t, kBytes / 8>;
using VU8 = hn::Vec<DU8>;
using VU16 = hn::Vec<DU16>;
using VI16 = hn::Vec<DI16>;
using VU32 = hn::Vec<DU32>;
using VI32 = hn::Vec<DI32>;
using VF32 = hn::Vec<DF32>;

// ---- What is done within blocks of 128 bits -------------------------------------------------------------

#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
#define TESSELU_BLOCKS(NAME) _mm256_##NAME
#elif HWY_TARGET == HWY_SSSE3
#define TESSELU_BLOCKS(NAME) _mm_##NAME
#endif

/// 16-bit sums of two bytes each, one of `a` and one of `b`, or their differences: for the lower halves of
/// blocks, then for the upper ones.
struct Halves {
    VU16 lower, upper;
};
template <bool Subtract>
HWY_INLINE HWY_ATTR Halves AddBytes(VU8 a, VU8 b) {
    const DU8 d;
    const DU16 d16;
#ifdef TESSELU_BLOCKS
    const auto signs = hn::BitCast(DI8(), hn::Set(d16, Subtract ? 0xFF01 : 0x0101));
    return {VU16{TESSELU_BLOCKS(maddubs_epi16)(hn::InterleaveLower(d, a, b).raw, signs.raw)},
            VU16{TESSELU_BLOCKS(maddubs_epi16)(hn::InterleaveUpper(d, a, b).raw, signs.raw)}};
#else
    const VU8 zero = hn::Zero(d);
    const VU16 la = hn::BitCast(d16, hn::InterleaveLower(d, a, zero)),
               lb = hn::BitCast(d16, hn::InterleaveLower(d, b, zero)),
               ua = hn::BitCast(d16, hn::InterleaveUpper(d, a, zero)),
               ub = hn::BitCast(d16, hn::InterleaveUpper(d, b, zero));
    return {Subtract ? hn::Sub(la, lb) : hn::Add(la, lb), Subtract ? hn::Sub(ua, ub) : hn::Add(ua, ub)};
#endif
}

/// `sum` plus each even lane of `pairs` minus the odd one beside it.
HWY_INLINE HWY_ATTR VU32 AddDifferences(VU32 sum, VI16 pairs) {
    const DU32 d;
#ifdef TESSELU_BLOCKS
    const auto signs = hn::BitCast(DI16(), hn::Set(d, 0xFFFF0001U));
    return hn::Add(sum, VU32{TESSELU_BLOCKS(madd_epi16)(pairs.raw, signs.raw)});
#else
    const DI32 di;
    const VI32 both = hn::BitCast(di, pairs);
    const VI32 even = hn::ShiftRight<16>(hn::ShiftLeft<16>(both)), odd = hn::ShiftRight<16>(both);
    return hn::Add(sum, hn::BitCast(d, hn::Sub(even, odd)));
#endif
}

/// Limits to 0 ... 255: each block holds the block of `low`, then that of `high`.
HWY_INLINE HWY_ATTR VU8 PackBytes(VI16 low, VI16 high) {
#ifdef TESSELU_BLOCKS
    return VU8{TESSELU_BLOCKS(packus_epi16)(low.raw, high.raw)};
#else
    const hn::Half<DU8> h;
    return hn::Combine(DU8(), hn::DemoteTo(h, high), hn::DemoteTo(h, low));
#endif
}

HWY_INLINE HWY_ATTR VI16 PackShorts(VI32 low, VI32 high) {
#ifdef TESSELU_BLOCKS
    return VI16{TESSELU_BLOCKS(packs_epi32)(low.raw, high.raw)};
#else
    const hn::Half<DI16> h;
    return hn::Combine(DI16(), hn::DemoteTo(h, high), hn::DemoteTo(h, low));
#endif
}

/// Each block holds the even lanes of the block of `low`, then those of `high`; or the odd ones.
template <bool Odd>
HWY_INLINE HWY_ATTR VU8 LanesOf(VU8 low, VU8 high) {
    const DU8 d;
#ifdef TESSELU_BLOCKS
    const DF32 f;
    return hn::BitCast(d, VF32{TESSELU_BLOCKS(shuffle_ps)(hn::BitCast(f, low).raw, hn::BitCast(f, high).raw,
                                                          Odd ? 0xDD : 0x88)});
#else
    const DU32 d32;
    const VU32 l = hn::BitCast(d32, low), h = hn::BitCast(d32, high);
    return hn::BitCast(d, Odd ? hn::ConcatOdd(d32, h, l) : hn::ConcatEven(d32, h, l));
#endif
}

#undef TESSELU_BLOCKS

/// The lower blocks of `low` and `high`, or the upper ones.
template <bool Upper, class V>
HWY_INLINE HWY_ATTR V BlocksOf(V low, V high) {
    const hn::DFromV<V> d;
    return Upper ? hn::ConcatUpperUpper(d, high, low) : hn::ConcatLowerLower(d, high, low);
}

// ---- Sums of boxes --------------------------------------------------------------------------------------

/// Bytes of pixels in groups: of an even row of each block, and of the odd row behind it.
struct FourPixels {
    VU8 even, odd;
};

/// Sums of at most 65535: a multiplication and a shift round them by what they start with.
class ShortSums {
public:
    static constexpr std::uint32_t kBias = 0;  ///< in sums of columns

    struct Sums {
        VU16 all;
    };

    ShortSums(unsigned start, unsigned factor, unsigned newShift)
        : first(start),
          multiplier(hn::Set(DU16(), static_cast<std::uint16_t>(factor))),
          shift(static_cast<int>(newShift)) {}

    HWY_INLINE HWY_ATTR Sums Start() const { return {hn::Set(DU16(), static_cast<std::uint16_t>(first))}; }
    static HWY_INLINE HWY_ATTR void Enter(Sums& sums, const std::uint8_t* entering) {
        sums.all = hn::Add(sums.all, hn::BitCast(DU16(), hn::Load(DU8(), entering)));
    }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, const std::uint8_t* entering,
                                         const std::uint8_t* leaving) {
        Enter(sums, entering);
        sums.all = hn::Sub(sums.all, hn::BitCast(DU16(), hn::Load(DU8(), leaving)));
    }
    HWY_INLINE HWY_ATTR FourPixels ToBytes(const Sums (&sums)[4]) const {
        const VU8 low = PackBytes(Mean(sums[0]), Mean(sums[1])),
                  high = PackBytes(Mean(sums[2]), Mean(sums[3]));
        return {LanesOf<false>(low, high), LanesOf<true>(low, high)};
    }

private:
    HWY_INLINE HWY_ATTR VI16 Mean(const Sums& sums) const {
        return hn::BitCast(DI16(), hn::ShiftRightSame(hn::MulHigh(sums.all, multiplier), shift));
    }

    unsigned first;
    VU16 multiplier;
    int shift;
};

/// Sums of 32 bits: even rows of blocks, odd rows of blocks. `ToByte` makes bytes of them, and says what is
/// added to every sum for it.
template <class ToByte>
class LongSums {
public:
    /// Makes sums of columns up to 65535 signed; differences do not know of it.
    static constexpr std::uint32_t kBias = 32768;

    struct Sums {
        VU32 even, odd;
    };

    LongSums(const BoxJob& job)
        : toByte(job.toByte), first(static_cast<std::uint32_t>(job.boxWidth) * kBias + ToByte::kAdded) {}

    HWY_INLINE HWY_ATTR Sums Start() const { return {hn::Set(DU32(), first), hn::Set(DU32(), first)}; }
    static HWY_INLINE HWY_ATTR void Enter(Sums& sums, const std::uint8_t* entering) {
        MoveLanes(sums, Slot(entering), hn::Zero(DI16()));
    }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, const std::uint8_t* entering,
                                         const std::uint8_t* leaving) {
        MoveLanes(sums, Slot(entering), Slot(leaving));
    }
    HWY_INLINE HWY_ATTR FourPixels ToBytes(const Sums (&sums)[4]) const {
        const VI16 even01 = PackShorts(toByte(sums[0].even), toByte(sums[1].even)),
                   odd01 = PackShorts(toByte(sums[0].odd), toByte(sums[1].odd)),
                   even23 = PackShorts(toByte(sums[2].even), toByte(sums[3].even)),
                   odd23 = PackShorts(toByte(sums[2].odd), toByte(sums[3].odd));
        return {PackBytes(even01, even23), PackBytes(odd01, odd23)};
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Slot(const std::uint8_t* slot) {
        return hn::BitCast(DI16(), hn::Load(DU8(), slot));
    }
    static HWY_INLINE HWY_ATTR void MoveLanes(Sums& sums, VI16 entering, VI16 leaving) {
        const DI16 d;
        sums.even = AddDifferences(sums.even, hn::InterleaveLower(d, entering, leaving));
        sums.odd = AddDifferences(sums.odd, hn::InterleaveUpper(d, entering, leaving));
    }

    ToByte toByte;
    std::uint32_t first;
};

/// Times 1 / area in single precision, for sums below 2^23: they stand in the mantissa of a float that is
/// 2^23 larger, and a fused multiplication takes that away, exactly, before it rounds.
class SingleOfMantissa {
public:
    static constexpr std::uint32_t kAdded = 0x4B000000;  ///< the bits of 2^23
    static constexpr std::size_t kMostArea = ((std::size_t{1} << 23) - 1) / 255;

    explicit SingleOfMantissa(const SumToByte& rule)
        : inverse(hn::Set(DF32(), rule.inverse)),
          excess(hn::Set(DF32(), kFused ? rule.inverse * 0x1p23F : 0x1p23F)) {}

    HWY_INLINE HWY_ATTR VI32 operator()(VU32 sum) const {
        const VF32 value = hn::BitCast(DF32(), sum);
        if constexpr (kFused) {
            return hn::NearestInt(hn::MulSub(value, inverse, excess));
        } else {
            return hn::NearestInt(hn::Mul(hn::Sub(value, excess), inverse));
        }
    }

private:
    // Where Highway is known to fuse.
    static constexpr bool kFused = HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2;

    VF32 inverse, excess;
};

/// The same for sums below 2^31.
class SingleOfInteger {
public:
    static constexpr std::uint32_t kAdded = 0;
    static constexpr std::size_t kMostArea = ((std::size_t{1} << 31) - 1) / 255;

    explicit SingleOfInteger(const SumToByte& rule) : inverse(hn::Set(DF32(), rule.inverse)) {}

    HWY_INLINE HWY_ATTR VI32 operator()(VU32 sum) const {
        return hn::NearestInt(hn::Mul(hn::ConvertTo(DF32(), hn::BitCast(DI32(), sum)), inverse));
    }

private:
    VF32 inverse;
};

/// By shifts, where a sum has at most 16 bits after the first and loses 16 or more in the second.
class ShortProduct {
public:
    static constexpr std::uint32_t kAdded = 0;

    static bool Serves(const SumToByte& rule, std::size_t area) {
        return rule.totalShift >= rule.preShift + 16 && 255 * area >> rule.preShift <= 65535;
    }

    explicit ShortProduct(const SumToByte& rule)
        : multiplier(hn::BitCast(DU16(), hn::Set(DU32(), rule.multiplier))),
          before(static_cast<int>(rule.preShift)),
          after(static_cast<int>(rule.totalShift - rule.preShift - 16)) {}

    HWY_INLINE HWY_ATTR VI32 operator()(VU32 sum) const {
        const DU32 d;
        const VU16 factor = hn::BitCast(DU16(), hn::ShiftRightSame(sum, before));
        const VU32 product = hn::BitCast(d, hn::MulHigh(factor, multiplier));
        return hn::BitCast(DI32(), hn::ShiftRightSame(product, after));
    }

private:
    VU16 multiplier;
    int before, after;
};

/// By shifts, whatever they are.
class WrappingProduct {
public:
    static constexpr std::uint32_t kAdded = 0;

    explicit WrappingProduct(const SumToByte& rule)
        : multiplier(hn::Set(DU32(), rule.preShift > rule.totalShift ? 0 : rule.multiplier)),
          before(static_cast<int>(rule.preShift < 31 ? rule.preShift : 31)),
          after(rule.preShift > rule.totalShift ? 0 : static_cast<int>(rule.totalShift - rule.preShift)) {}

    HWY_INLINE HWY_ATTR VI32 operator()(VU32 sum) const {
        const VU32 product = hn::Mul(hn::ShiftRightSame(sum, before), multiplier);
        const VU32 byte = hn::And(hn::ShiftRightSame(product, after), hn::Set(DU32(), 0xFF));
        return hn::BitCast(DI32(), byte);
    }

private:
    VU32 multiplier;
    int before, after;
};

// ---- The engine -----------------------------------------------------------------------------------------

/// Slots of the ring: what a box holds, and what is made ahead of it.
std::size_t SlotsFor(const BoxJob& job) {
    std::size_t slots = 8 * kPixels;
    while (slots < job.boxWidth + 4 * kPixels) {
        slots *= 2;
    }
    return slots;
}

/// Blurs a strip of columns from the top to the bottom.
template <class Summing>
class Strip {
public:
    /// Bytes of the ring, and bytes that a column takes besides.
    static std::size_t RingBytes(const BoxJob& job) { return SlotsFor(job) * kBytes + 2 * kBytes * kPixels; }
    static constexpr std::size_t kColumnBytes = 8;

    Strip(const BoxJob& newJob, const Summing& newSumming, std::uint8_t* memory)
        : job(newJob),
          summing(newSumming),
          first(FirstColumn(job)),
          end(EndColumn(job)),
          reach(job.boxWidth / 2),
          mask(SlotsFor(job) - 1),
          ring(memory),
          columns(memory + SlotsFor(job) * kBytes) {}

    HWY_ATTR void Run() {
        SumColumns();
        for (std::size_t y = job.top; y < job.bottom; y += kRows) {
            rows = std::min(kRows, job.bottom - y);
            for (std::size_t i = 0; i < kRows; ++i) {
                // Of a block that is not full the last row is made again.
                const std::size_t row = y + std::min(i, rows - 1);
                const auto at = static_cast<std::ptrdiff_t>(row);
                const auto reachDown = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
                entering[i] = job.source.Row(Mirrored(at + reachDown, job.height));
                leaving[i] = job.source.Row(Mirrored(at - reachDown - 1, job.height));
                out[i] = job.destination.Row(row);
            }
            RunBlock();
        }
    }

private:
    std::uint8_t* Slot(std::size_t x) const { return ring + (x & mask) * kBytes; }
    std::uint8_t* Column(std::size_t x) const { return columns + (x - first) * kColumnBytes; }

    /// Pixels of a row from column `x`, of which those beyond the picture are 0.
    HWY_INLINE HWY_ATTR VU8 Load(const std::uint8_t* row, std::size_t x) const {
        const DU8 d;
        if (HWY_LIKELY(x + kPixels <= job.width)) {
            return hn::LoadU(d, row + 4 * x);
        }
        alignas(kBytes) std::uint8_t some[kBytes] = {};
        std::memcpy(some, row + 4 * x, 4 * (job.width - x));
        return hn::Load(d, some);
    }

    /// Sums all columns as they are for the row above the first.
    HWY_ATTR void SumColumns() {
        const DU16 d;
        const auto from = static_cast<std::ptrdiff_t>(job.top) - 1 - static_cast<std::ptrdiff_t>(reachRows());
        const VU16 bias = hn::Set(d, static_cast<std::uint16_t>(Summing::kBias));
        for (std::size_t x = first; x < end; x += kPixels) {
            const VU8 one = Load(job.source.Row(Mirrored(from, job.height)), x);
            const Halves sums = AddBytes<false>(one, hn::Zero(DU8()));
            Store(hn::Sub(sums.lower, bias), hn::Sub(sums.upper, bias), x);
        }
        for (std::size_t i = 1; i < job.boxHeight; i += 2) {
            const std::uint8_t* const row =
                job.source.Row(Mirrored(from + static_cast<std::ptrdiff_t>(i), job.height));
            const std::uint8_t* const next =
                job.source.Row(Mirrored(from + static_cast<std::ptrdiff_t>(i) + 1, job.height));
            for (std::size_t x = first; x < end; x += kPixels) {
                const Halves sums = AddBytes<false>(Load(row, x), Load(next, x));
                Store(hn::Add(LowerSums(x), sums.lower), hn::Add(UpperSums(x), sums.upper), x);
            }
        }
    }
    std::size_t reachRows() const { return job.boxHeight / 2; }

    HWY_INLINE HWY_ATTR VU16 LowerSums(std::size_t x) const {
        return hn::BitCast(DU16(), hn::Load(DU8(), Column(x)));
    }
    HWY_INLINE HWY_ATTR VU16 UpperSums(std::size_t x) const {
        return hn::BitCast(DU16(), hn::Load(DU8(), Column(x) + kBytes));
    }
    HWY_INLINE HWY_ATTR void Store(VU16 lower, VU16 upper, std::size_t x) {
        hn::Store(hn::BitCast(DU8(), lower), DU8(), Column(x));
        hn::Store(hn::BitCast(DU8(), upper), DU8(), Column(x) + kBytes);
    }
    HWY_INLINE HWY_ATTR void PutSlot(VU16 sums, std::size_t x) const {
        hn::Store(hn::BitCast(DU8(), sums), DU8(), Slot(x));
    }

    /// Puts the sums of two columns of each block, `column` and the next, into the ring: halves of blocks
    /// become rows. Block 1 holds columns that lie `apart` pixels further on.
    HWY_INLINE HWY_ATTR void Turn(const VU16 (&sums)[kRows], std::size_t column) const {
        const DU64 d;
        const auto pair = [&](std::size_t i, bool isUpper) HWY_ATTR {
            const auto a = hn::BitCast(d, sums[i]), b = hn::BitCast(d, sums[i + 1]);
            return hn::BitCast(DU16(), isUpper ? hn::InterleaveUpper(d, a, b) : hn::InterleaveLower(d, a, b));
        };
        const VU16 lower = pair(0, false), upper = pair(0, true);
        if constexpr (kBlocks == 1) {
            PutSlot(lower, column);
            PutSlot(upper, column + 1);
        } else {
            const VU16 lower2 = pair(kRows - 2, false), upper2 = pair(kRows - 2, true);
            PutSlot(BlocksOf<false>(lower, lower2), column);
            PutSlot(BlocksOf<false>(upper, upper2), column + 1);
            PutSlot(BlocksOf<true>(lower, lower2), column + 4);
            PutSlot(BlocksOf<true>(upper, upper2), column + 5);
        }
    }

    /// Sums of `kPixels` columns from `x` for all rows of the block.
    HWY_INLINE HWY_ATTR void MakeColumns(std::size_t x) {
        VU16 lower[kRows], upper[kRows];
        VU16 lowerSum = LowerSums(x), upperSum = UpperSums(x);
        for (std::size_t i = 0; i < kRows; ++i) {
            const Halves change = AddBytes<true>(Load(entering[i], x), Load(leaving[i], x));
            lower[i] = lowerSum = hn::Add(lowerSum, change.lower);
            upper[i] = upperSum = hn::Add(upperSum, change.upper);
        }
        Store(lowerSum, upperSum, x);
        Turn(lower, x);
        Turn(upper, x + 2);
    }

    HWY_ATTR void RunBlock() {
        std::size_t made = first;
        // Beyond the picture, the slots of columns that are mirrored there.
        std::size_t mirrored = job.width;
        const auto makeBelow = [&](std::size_t column) HWY_ATTR {
            for (; made < std::min(column, end); made += kPixels) {
                MakeColumns(made);
            }
            for (; mirrored < std::min(column, job.right + reach); ++mirrored) {
                CopySlot(2 * job.width - 2 - mirrored, mirrored);
            }
        };
        makeBelow(job.left + reach + 1);
        for (std::size_t i = 1; i + job.left <= reach; ++i) {
            CopySlot(i, std::size_t{0} - i);
        }
        // Nothing leaves the first box.
        PutSlot(hn::Zero(DU16()), job.left - reach - 1);
        typename Summing::Sums sums = summing.Start();
        for (std::size_t i = 0; i < job.boxWidth - 1; ++i) {
            Summing::Enter(sums, Slot(job.left - reach + i));
        }
        for (std::size_t x = job.left; x < job.right; x += kPixels) {
            makeBelow(x + kPixels + reach);
            FourPixels groups[kBlocks];
            for (std::size_t group = 0; group < kBlocks; ++group) {
                typename Summing::Sums boxes[4];
                for (std::size_t i = 0; i < 4; ++i) {
                    const std::size_t at = x + 4 * group + i;
                    Summing::Move(sums, Slot(at + reach), Slot(at - reach - 1));
                    boxes[i] = sums;
                }
                groups[group] = summing.ToBytes(boxes);
            }
            Write(groups, x);
        }
    }

    HWY_INLINE HWY_ATTR void CopySlot(std::size_t from, std::size_t to) const {
        hn::Store(hn::Load(DU8(), Slot(from)), DU8(), Slot(to));
    }

    HWY_INLINE HWY_ATTR void Write(const FourPixels (&groups)[kBlocks], std::size_t x) const {
        VU8 made[kRows];
        if constexpr (kBlocks == 1) {
            made[0] = groups[0].even;
            made[1] = groups[0].odd;
        } else {
            constexpr std::size_t kLast = kBlocks - 1, kSecond = kRows - 2;
            made[0] = BlocksOf<false>(groups[0].even, groups[kLast].even);
            made[1] = BlocksOf<false>(groups[0].odd, groups[kLast].odd);
            made[kSecond] = BlocksOf<true>(groups[0].even, groups[kLast].even);
            made[kSecond + 1] = BlocksOf<true>(groups[0].odd, groups[kLast].odd);
        }
        const DU8 d;
        if (HWY_LIKELY(rows == kRows && x + kPixels <= job.right)) {
            for (std::size_t i = 0; i < kRows; ++i) {
                hn::StoreU(made[i], d, out[i] + 4 * x);
            }
            return;
        }
        alignas(kBytes) std::uint8_t some[kBytes];
        for (std::size_t i = 0; i < rows; ++i) {
            hn::Store(made[i], d, some);
            std::memcpy(out[i] + 4 * x, some, 4 * std::min(kPixels, job.right - x));
        }
    }

    const BoxJob& job;
    const Summing summing;
    const std::size_t first, end, reach, mask;
    std::uint8_t* const ring;
    std::uint8_t* const columns;
    std::size_t rows = 0;
    const std::uint8_t *entering[kRows], *leaving[kRows];
    std::uint8_t* out[kRows];
};

template <class Summing>
HWY_ATTR void Blur(const BoxJob& job, const Summing& summing, BoxMemory& memory) {
    InStrips(job, Strip<Summing>::RingBytes(job), Strip<Summing>::kColumnBytes, memory,
             [&](const BoxJob& strip, std::uint8_t* bytes) { Strip<Summing>(strip, summing, bytes).Run(); });
}

constexpr std::size_t kMostRows = 257;  ///< whose sum of bytes has 16 bits

HWY_ATTR void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    const std::size_t area = job.boxWidth * job.boxHeight;
    const SumToByte& rule = job.toByte;
    if (job.boxHeight > kMostRows || area > SingleOfInteger::kMostArea) {
        BlurPlainly(job, memory);
    } else if (rule.form == SumToByte::Form::kSingle) {
        if (ShortRounding rounding; FindShortRounding(area, rounding)) {
            Blur(job, ShortSums(rounding.start, rounding.multiplier, rounding.shift), memory);
        } else if (area <= SingleOfMantissa::kMostArea) {
            Blur(job, LongSums<SingleOfMantissa>(job), memory);
        } else {
            Blur(job, LongSums<SingleOfInteger>(job), memory);
        }
    } else if (area <= kMostRows && rule.preShift == 0 && rule.totalShift >= 16) {
        Blur(job, ShortSums(0, rule.multiplier, rule.totalShift - 16), memory);
    } else if (ShortProduct::Serves(rule, area)) {
        Blur(job, LongSums<ShortProduct>(job), memory);
    } else {
        Blur(job, LongSums<WrappingProduct>(job), memory);
    }
}

#else

void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    BlurPlainly(job, memory);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

constexpr std::align_val_t kLine{64};

void BoxMemory::Free::operator()(std::uint8_t* memory) const noexcept {
    ::operator delete(memory, kLine);
}

std::uint8_t* BoxMemory::Get(std::size_t bytes) noexcept {
    if (bytes <= kOnStack) {
        return stack;
    }
    heap.reset();
    heap.reset(static_cast<std::uint8_t*>(::operator new(bytes, kLine, std::nothrow)));
    return heap.get();
}

TESSELU_KERNEL(simd::Kernel<void(const BoxJob&, BoxMemory&)>, kBlurBox, RunBlurBox);

}  // namespace Zan

#endif  // HWY_ONCE
