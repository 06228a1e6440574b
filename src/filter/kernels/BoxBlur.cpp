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
// With vectors of 128 bits blocks have 2 rows, with 512 bits 8, and a step more to turn.

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

constexpr std::size_t kBytes = HWY_LANES(std::uint8_t);
constexpr std::size_t kRows = kBytes / 8;    ///< of a block
constexpr std::size_t kPixels = kBytes / 4;  ///< of a vector
constexpr std::size_t kBlocks = kBytes / 16;

using DU8 = hn::ScalableTag<std::uint8_t>;
using DI8 = hn::ScalableTag<std::int8_t>;
using DU16 = hn::ScalableTag<std::uint16_t>;
using DI16 = hn::ScalableTag<std::int16_t>;
using DU32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using DF32 = hn::ScalableTag<float>;
using DU64 = hn::ScalableTag<std::uint64_t>;
using VU8 = hn::Vec<DU8>;
using VU16 = hn::Vec<DU16>;
using VI16 = hn::Vec<DI16>;
using VU32 = hn::Vec<DU32>;
using VI32 = hn::Vec<DI32>;
using VF32 = hn::Vec<DF32>;

// ---- What is done within blocks of 128 bits -------------------------------------------------------------

#if HWY_TARGET == HWY_AVX3
#define TESSELU_BLOCKS(NAME) _mm512_##NAME
#elif HWY_TARGET == HWY_AVX2
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

/// `sum` plus each even lane of `pairs` minus the odd one beside it. `Fused`, on AVX-512 alone, by VNNI's one
/// instruction.
template <bool Fused>
HWY_INLINE HWY_ATTR VU32 AddDifferences(VU32 sum, VI16 pairs) {
    const DU32 d;
#ifdef TESSELU_BLOCKS
    const auto signs = hn::BitCast(DI16(), hn::Set(d, 0xFFFF0001U));
#if HWY_TARGET == HWY_AVX3
    if constexpr (Fused) {
        __asm__("vpdpwssd %2, %1, %0" : "+v"(sum.raw) : "v"(pairs.raw), "v"(signs.raw));
        return sum;
    }
#endif
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

/// The nearest whole numbers, halves to even, of what fits 31 bits, about which Highway would not be sure.
HWY_INLINE HWY_ATTR VI32 Nearest(VF32 v) {
#ifdef TESSELU_BLOCKS
    return VI32{TESSELU_BLOCKS(cvtps_epi32)(v.raw)};
#else
    return hn::NearestInt(v);
#endif
}

#undef TESSELU_BLOCKS

/// Hands block i of vector j to `put(v, i)`, as block j.
template <class V, class Put>
HWY_INLINE HWY_ATTR void Turned(const V (&v)[kBlocks], Put put) {
    const DU8 d;
#if HWY_TARGET == HWY_AVX3
    // Fewer shuffles and twice as many stores of half the size would take longer.
    static_cast<void>(d);
    const auto low01 = _mm512_shuffle_i64x2(v[0].raw, v[1].raw, 0x44),
               low23 = _mm512_shuffle_i64x2(v[2].raw, v[3].raw, 0x44),
               high01 = _mm512_shuffle_i64x2(v[0].raw, v[1].raw, 0xEE),
               high23 = _mm512_shuffle_i64x2(v[2].raw, v[3].raw, 0xEE);
    put(VU8{_mm512_shuffle_i64x2(low01, low23, 0x88)}, 0);
    put(VU8{_mm512_shuffle_i64x2(low01, low23, 0xDD)}, 1);
    put(VU8{_mm512_shuffle_i64x2(high01, high23, 0x88)}, 2);
    put(VU8{_mm512_shuffle_i64x2(high01, high23, 0xDD)}, 3);
#elif HWY_TARGET == HWY_AVX2
    const VU8 a = hn::BitCast(d, v[0]), b = hn::BitCast(d, v[1]);
    put(hn::ConcatLowerLower(d, b, a), 0);
    put(hn::ConcatUpperUpper(d, b, a), 1);
#else
    static_assert(kBlocks == 1);
    put(hn::BitCast(d, v[0]), 0);
#endif
}

// ---- Sums of boxes --------------------------------------------------------------------------------------

/// Sums of at most 65535: a multiplication and a shift round them by what they start with. The shift, 1 or
/// more, is a multiplication as well, for which processors have other units than for all the shuffles around.
class ShortSums {
public:
    static constexpr bool kTall = false;
    static constexpr std::uint32_t kBias = 0;  ///< in sums of columns

    struct Sums {
        VU16 all;
    };

    ShortSums(unsigned start, unsigned factor, unsigned newShift)
        : first(start),
          multiplier(hn::Set(DU16(), static_cast<std::uint16_t>(factor))),
          last(hn::Set(DU16(), static_cast<std::uint16_t>(65536U >> newShift))) {}

    HWY_INLINE HWY_ATTR Sums Start() const { return {hn::Set(DU16(), static_cast<std::uint16_t>(first))}; }
    static HWY_INLINE HWY_ATTR void Enter(Sums& sums, const std::uint8_t* entering) {
        sums.all = hn::Add(sums.all, hn::BitCast(DU16(), hn::Load(DU8(), entering)));
    }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, const std::uint8_t* entering,
                                         const std::uint8_t* leaving) {
        const VU16 in = hn::BitCast(DU16(), hn::Load(DU8(), entering)),
                   out = hn::BitCast(DU16(), hn::Load(DU8(), leaving));
        sums.all = hn::Add(sums.all, hn::Sub(in, out));
    }
    /// Bytes of four pixels: of the even row of each block, and of the odd row behind it.
    HWY_INLINE HWY_ATTR void ToBytes(const Sums (&sums)[4], VU8& even, VU8& odd) const {
        const VU8 low = PackBytes(Mean(sums[0]), Mean(sums[1])),
                  high = PackBytes(Mean(sums[2]), Mean(sums[3]));
        even = LanesOf<false>(low, high);
        odd = LanesOf<true>(low, high);
    }

private:
    HWY_INLINE HWY_ATTR VI16 Mean(const Sums& sums) const {
        return hn::BitCast(DI16(), hn::MulHigh(hn::MulHigh(sums.all, multiplier), last));
    }

    unsigned first;
    VU16 multiplier, last;
};

/// Sums of 32 bits: even rows of blocks, odd rows of blocks. `ToByte` makes bytes of them, and says what is
/// added to every sum for it. Where boxes are `Tall` these are sums of what changes inside of a block, and
/// those of the row above it are added to them.
template <class ToByte, bool Fused, bool Tall>
class LongSums {
public:
    static constexpr bool kTall = Tall;
    /// Makes sums of columns up to 65535 signed; differences do not know of it.
    static constexpr std::uint32_t kBias = Tall ? 0 : 32768;

    struct Sums {
        VU32 even, odd;
    };

    LongSums(const BoxJob& job)
        : toByte(job.toByte), first(static_cast<std::uint32_t>(job.boxWidth) * kBias + ToByte::kAdded) {}

    HWY_INLINE HWY_ATTR Sums Start() const { return {hn::Set(DU32(), first), hn::Set(DU32(), first)}; }
    static HWY_INLINE HWY_ATTR Sums Plus(const Sums& sums, const std::uint32_t* above) {
        const VU32 all = hn::LoadDup128(DU32(), above);
        return {hn::Add(sums.even, all), hn::Add(sums.odd, all)};
    }
    static HWY_INLINE HWY_ATTR void Enter(Sums& sums, const std::uint8_t* entering) {
        MoveLanes(sums, Slot(entering), hn::Zero(DI16()));
    }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, const std::uint8_t* entering,
                                         const std::uint8_t* leaving) {
        MoveLanes(sums, Slot(entering), Slot(leaving));
    }
    HWY_INLINE HWY_ATTR void ToBytes(const Sums (&sums)[4], VU8& even, VU8& odd) const {
        const VI16 even01 = PackShorts(toByte(sums[0].even), toByte(sums[1].even)),
                   odd01 = PackShorts(toByte(sums[0].odd), toByte(sums[1].odd)),
                   even23 = PackShorts(toByte(sums[2].even), toByte(sums[3].even)),
                   odd23 = PackShorts(toByte(sums[2].odd), toByte(sums[3].odd));
        even = PackBytes(even01, even23);
        odd = PackBytes(odd01, odd23);
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Slot(const std::uint8_t* slot) {
        return hn::BitCast(DI16(), hn::Load(DU8(), slot));
    }
    static HWY_INLINE HWY_ATTR void MoveLanes(Sums& sums, VI16 entering, VI16 leaving) {
        const DI16 d;
        sums.even = AddDifferences<Fused>(sums.even, hn::InterleaveLower(d, entering, leaving));
        sums.odd = AddDifferences<Fused>(sums.odd, hn::InterleaveUpper(d, entering, leaving));
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
            return Nearest(hn::MulSub(value, inverse, excess));
        } else {
            return Nearest(hn::Mul(hn::Sub(value, excess), inverse));
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
        return Nearest(hn::Mul(hn::ConvertTo(DF32(), hn::BitCast(DI32(), sum)), inverse));
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
    std::size_t slots = 128;
    while (slots < job.boxWidth + 4 * kPixels) {
        slots *= 2;
    }
    return slots;
}

/// The sums of the last columns for all rows of a block. The first slots are there twice, so that as many
/// from anywhere lie one behind the other.
class Ring {
public:
    static std::size_t Bytes(const BoxJob& job) { return (SlotsFor(job) + kPixels) * kBytes; }

    Ring(const BoxJob& job, std::size_t newFirst, std::uint8_t* memory)
        : first(newFirst), mask(SlotsFor(job) - 1), slots(memory) {}

    /// The slot of column `x` and the `kPixels` - 1 next ones, to be read.
    HWY_INLINE const std::uint8_t* Slots(std::size_t x) const { return slots + Index(x) * kBytes; }

    HWY_INLINE HWY_ATTR void Put(VU16 sums, std::size_t x) const {
        const std::size_t at = Index(x);
        PutAt(sums, slots + at * kBytes);
        if (at < kPixels) {
            PutAt(sums, slots + (at + mask + 1) * kBytes);
        }
    }
    HWY_INLINE HWY_ATTR void Copy(std::size_t from, std::size_t to) const {
        Put(hn::BitCast(DU16(), hn::Load(DU8(), Slots(from))), to);
    }

    /// Puts the sums of `kPixels` columns from `x`, a whole number of vectors from the first. Block b of row
    /// i holds columns 4b and 4b + 1 in `lower`, and the two behind them in `upper`.
    HWY_INLINE HWY_ATTR void Turn(const VU16 (&lower)[kRows], const VU16 (&upper)[kRows],
                                  std::size_t x) const {
        const std::size_t at = Index(x);
        std::uint8_t* const to = slots + at * kBytes;
        TurnPairs(lower, to);
        TurnPairs(upper, to + 2 * kBytes);
        if (HWY_UNLIKELY(at == 0)) {
            std::memcpy(slots + (mask + 1) * kBytes, slots, kPixels * kBytes);
        }
    }

private:
    HWY_INLINE std::size_t Index(std::size_t x) const { return (x - first) & mask; }

    static HWY_INLINE HWY_ATTR void PutAt(VU16 sums, std::uint8_t* to) {
        hn::Store(hn::BitCast(DU8(), sums), DU8(), to);
    }

    /// Halves of blocks become rows.
    static HWY_INLINE HWY_ATTR void TurnPairs(const VU16 (&sums)[kRows], std::uint8_t* to) {
        const DU64 d;
        VU16 left[kBlocks], right[kBlocks];
        for (std::size_t i = 0; i < kBlocks; ++i) {
            const auto row = hn::BitCast(d, sums[2 * i]), next = hn::BitCast(d, sums[2 * i + 1]);
            left[i] = hn::BitCast(DU16(), hn::InterleaveLower(d, row, next));
            right[i] = hn::BitCast(DU16(), hn::InterleaveUpper(d, row, next));
        }
        const auto put = [](std::uint8_t* at) {
            return [at](VU8 slot, std::size_t i) HWY_ATTR { hn::Store(slot, DU8(), at + 4 * i * kBytes); };
        };
        Turned(left, put(to));
        Turned(right, put(to + kBytes));
    }

    std::size_t first, mask;
    std::uint8_t* slots;
};

/// Pixels of a row from column `x` on, of which those beyond `width` are 0.
HWY_INLINE HWY_ATTR VU8 LoadPixels(const std::uint8_t* row, std::size_t x, std::size_t width) {
    const DU8 d;
    if (HWY_LIKELY(x + kPixels <= width)) {
        return hn::LoadU(d, row + 4 * x);
    }
    alignas(kBytes) std::uint8_t some[kBytes] = {};
    std::memcpy(some, row + 4 * x, 4 * (width - x));
    return hn::Load(d, some);
}

/// The rows of a block.
struct Block {
    std::size_t rows;  ///< that are written
    const std::uint8_t *entering[kRows], *leaving[kRows];
    std::uint8_t* out[kRows];

    Block(const BoxJob& job, std::size_t y) : rows(std::min(kRows, job.bottom - y)) {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        for (std::size_t i = 0; i < kRows; ++i) {
            // Of a block that is not full the last row is made again.
            const std::size_t row = y + std::min(i, rows - 1);
            const auto at = static_cast<std::ptrdiff_t>(row);
            entering[i] = job.source.Row(Mirrored(at + reach, job.height));
            leaving[i] = job.source.Row(Mirrored(at - reach - 1, job.height));
            out[i] = job.destination.Row(row);
        }
    }
};

/// Sums of columns, for the row above a block.
class Columns {
public:
    static constexpr std::size_t kBytesEach = 8;

    Columns(std::size_t newFirst, std::uint8_t* memory) : first(newFirst), sums(memory) {}

    /// Sums the columns around the row above the first.
    HWY_ATTR void Start(const BoxJob& job, std::size_t end, std::uint32_t bias) const {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(job.top) - 1 - reach;
        const auto rowAt = [&](std::size_t i) {
            return job.source.Row(Mirrored(from + static_cast<std::ptrdiff_t>(i), job.height));
        };
        const VU16 none = hn::Set(DU16(), static_cast<std::uint16_t>(bias));
        const std::uint8_t* const row = rowAt(0);
        for (std::size_t x = first; x < end; x += kPixels) {
            const Halves one = AddBytes<false>(LoadPixels(row, x, job.width), hn::Zero(DU8()));
            Put({hn::Sub(one.lower, none), hn::Sub(one.upper, none)}, x);
        }
        for (std::size_t i = 1; i < job.boxHeight; i += 2) {
            const std::uint8_t *const upper = rowAt(i), *const lower = rowAt(i + 1);
            for (std::size_t x = first; x < end; x += kPixels) {
                const Halves two =
                    AddBytes<false>(LoadPixels(upper, x, job.width), LoadPixels(lower, x, job.width));
                const Halves before = Get(x);
                Put({hn::Add(before.lower, two.lower), hn::Add(before.upper, two.upper)}, x);
            }
        }
    }

    /// Makes those from column `x` for all rows of a block. Calls `between(row)` after each, `row` being a
    /// constant: processors look some 64 vector operations ahead, so what does not depend on one another
    /// shall lie close together.
    template <class Between>
    HWY_INLINE HWY_ATTR void Make(const Block& block, std::size_t x, std::size_t width, const Ring& ring,
                                  Between& between) const {
        VU16 lower[kRows], upper[kRows];
        Halves sum = Get(x);
        MakeRow<0>(block, x, width, sum, lower, upper, between);
        Put(sum, x);
        ring.Turn(lower, upper, x);
    }

    void Clear(std::size_t end) const {
        std::memset(sums, 0, (end - first + kPixels - 1) / kPixels * kPixels * kBytesEach);
    }
    /// Adds those of a column, which are signed, to others.
    HWY_INLINE void AddTo(std::uint32_t* others, std::size_t x) const {
        // Halves of blocks hold two columns each.
        const std::size_t at = x - first, group = at / kPixels, pixel = at % kPixels;
        const std::uint8_t* const from =
            sums + group * 2 * kBytes + pixel % 4 / 2 * kBytes + pixel / 4 * 16 + pixel % 2 * 8;
        std::int16_t changes[4];
        std::memcpy(changes, from, sizeof changes);
        for (std::size_t i = 0; i < 4; ++i) {
            others[i] += static_cast<std::uint32_t>(std::int32_t{changes[i]});
        }
    }

private:
    template <std::size_t I, class Between>
    HWY_INLINE HWY_ATTR void MakeRow(const Block& block, std::size_t x, std::size_t width, Halves& sum,
                                     VU16 (&lower)[kRows], VU16 (&upper)[kRows], Between& between) const {
        const Halves change =
            AddBytes<true>(LoadPixels(block.entering[I], x, width), LoadPixels(block.leaving[I], x, width));
        lower[I] = sum.lower = hn::Add(sum.lower, change.lower);
        upper[I] = sum.upper = hn::Add(sum.upper, change.upper);
        between.template Move<I>();
        if constexpr (I + 1 < kRows) {
            MakeRow<I + 1>(block, x, width, sum, lower, upper, between);
        }
    }

    HWY_INLINE std::uint8_t* At(std::size_t x) const { return sums + (x - first) * kBytesEach; }
    HWY_INLINE HWY_ATTR Halves Get(std::size_t x) const {
        const DU8 d;
        const DU16 d16;
        return {hn::BitCast(d16, hn::Load(d, At(x))), hn::BitCast(d16, hn::Load(d, At(x) + kBytes))};
    }
    HWY_INLINE HWY_ATTR void Put(Halves halves, std::size_t x) const {
        const DU8 d;
        hn::Store(hn::BitCast(d, halves.lower), d, At(x));
        hn::Store(hn::BitCast(d, halves.upper), d, At(x) + kBytes);
    }

    std::size_t first;
    std::uint8_t* sums;
};

/// Boxes on their way along `kPixels` columns, in as many parts as a block has rows.
template <class Summing>
class Boxes {
public:
    using Sums = typename Summing::Sums;

    HWY_INLINE HWY_ATTR Boxes(const Summing& newSumming, const Sums& newSums, const std::uint8_t* newEntering,
                              const std::uint8_t* newLeaving, const std::uint32_t* newAbove)
        : summing(newSumming), sums(newSums), entering(newEntering), leaving(newLeaving), above(newAbove) {}

    template <std::size_t Part>
    HWY_INLINE HWY_ATTR void Move() {
        constexpr std::size_t kFirst = Part * kPixels / kRows, kSecond = kFirst + 1;
        static_assert(kPixels == 2 * kRows);
        Summing::Move(sums, entering + kFirst * kBytes, leaving + kFirst * kBytes);
        boxes[kFirst % 4] = Whole(kFirst);
        Summing::Move(sums, entering + kSecond * kBytes, leaving + kSecond * kBytes);
        boxes[kSecond % 4] = Whole(kSecond);
        if constexpr (kSecond % 4 == 3) {
            summing.ToBytes(boxes, even[kSecond / 4], odd[kSecond / 4]);
        }
    }
    template <std::size_t Part = 0>
    HWY_INLINE HWY_ATTR void MoveAll() {
        Move<Part>();
        if constexpr (Part + 1 < kRows) {
            MoveAll<Part + 1>();
        }
    }

    HWY_INLINE HWY_ATTR Sums Last() const { return sums; }
    /// Writes the pixels to the rows.
    HWY_INLINE HWY_ATTR void Write(std::uint8_t* const (&rows)[kRows], std::size_t x) const {
        const auto put = [&rows, x](std::size_t odds) {
            return [&rows, x, odds](VU8 pixels, std::size_t i)
                       HWY_ATTR { hn::StoreU(pixels, DU8(), rows[2 * i + odds] + 4 * x); };
        };
        Turned(even, put(0));
        Turned(odd, put(1));
    }
    /// The same around the cache, to whole vectors.
    HWY_INLINE HWY_ATTR void Stream(std::uint8_t* const (&rows)[kRows], std::size_t x) const {
        const auto put = [&rows, x](std::size_t odds) {
            return [&rows, x, odds](VU8 pixels, std::size_t i)
                       HWY_ATTR { hn::Stream(pixels, DU8(), rows[2 * i + odds] + 4 * x); };
        };
        Turned(even, put(0));
        Turned(odd, put(1));
    }

private:
    HWY_INLINE HWY_ATTR Sums Whole(std::size_t i) const {
        if constexpr (Summing::kTall) {
            return Summing::Plus(sums, above + 4 * i);
        } else {
            return sums;
        }
    }

    const Summing summing;
    Sums sums;
    const std::uint8_t *entering, *leaving;
    const std::uint32_t* above;
    Sums boxes[4];
    VU8 even[kBlocks], odd[kBlocks];  ///< four pixels of the even row of each block, and of the odd one
};

/// For columns that are made ahead of all boxes.
struct NoBoxes {
    template <std::size_t>
    void Move() {}
};

/// Where there are none they are not asked for.
HWY_INLINE const std::uint32_t* AboveAt(const std::uint32_t* above, std::size_t x) {
    return above == nullptr ? nullptr : above + 4 * x;
}

template <class Summing>
HWY_ATTR void BlurBlock(const BoxJob& job, const Block& rows, const Summing& theSumming,
                        const Columns& theColumns, const Ring& theRing, const std::uint32_t* above) {
    // In registers: bytes that are written may be anything.
    const Block block = rows;
    const Summing summing = theSumming;
    const Columns columns = theColumns;
    const Ring ring = theRing;
    const std::size_t width = job.width, left = job.left, right = job.right, reach = job.boxWidth / 2;
    const std::size_t end = EndColumn(job);
    const auto address = reinterpret_cast<std::uintptr_t>(block.out[0] + 4 * left);
    // Lines of the cache in parts, and of several rows in turn, would be slow.
    const bool streams = kBytes == 64 && job.streams &&
                         (address | static_cast<std::uintptr_t>(job.destination.pitch)) % kBytes == 0;

    NoBoxes none;
    std::size_t made = FirstColumn(job);
    // Beyond the picture lie slots of columns that are mirrored there.
    std::size_t mirrored = width;
    const auto makeBelow = [&](std::size_t column) HWY_ATTR {
        for (; made < std::min(column, end); made += kPixels) {
            columns.Make(block, made, width, ring, none);
        }
        for (; mirrored < std::min(column, right + reach); ++mirrored) {
            ring.Copy(2 * width - 2 - mirrored, mirrored);
        }
    };
    // A vector ahead of what the first boxes need: the loop below then makes columns for its next round, and
    // neither half of it waits for the other.
    makeBelow(left + reach + 1 + kPixels);
    for (std::size_t i = 1; i + left <= reach; ++i) {
        ring.Copy(i, std::size_t{0} - i);
    }
    typename Summing::Sums sums = summing.Start();
    for (std::size_t i = 0; i < job.boxWidth - 1; ++i) {
        Summing::Enter(sums, ring.Slots(left - reach + i));
    }
    // Nothing leaves the first box.
    ring.Put(hn::Zero(DU16()), left - reach - 1);

    std::size_t x = left;
    if (block.rows == kRows) {
        // The next columns of the ring and the next pixels.
        for (; x + kPixels <= right && made < end && made + kPixels <= width; x += kPixels, made += kPixels) {
            Boxes<Summing> boxes(summing, sums, ring.Slots(x + reach), ring.Slots(x - reach - 1),
                                 AboveAt(above, x - left));
            columns.Make(block, made, made + kPixels, ring, boxes);
            sums = boxes.Last();
            if (streams) {
                boxes.Stream(block.out, x);
            } else {
                boxes.Write(block.out, x);
            }
        }
    }
    for (; x < right; x += kPixels) {
        makeBelow(x + kPixels + reach);
        Boxes<Summing> boxes(summing, sums, ring.Slots(x + reach), ring.Slots(x - reach - 1),
                             AboveAt(above, x - left));
        boxes.MoveAll();
        sums = boxes.Last();
        if (block.rows == kRows && x + kPixels <= right) {
            boxes.Write(block.out, x);
            continue;
        }
        alignas(kBytes) std::uint8_t some[kRows][kBytes];
        std::uint8_t* someRows[kRows];
        for (std::size_t i = 0; i < kRows; ++i) {
            someRows[i] = some[i];
        }
        boxes.Write(someRows, 0);
        for (std::size_t i = 0; i < block.rows; ++i) {
            std::memcpy(block.out[i] + 4 * x, some[i], 4 * std::min(kPixels, right - x));
        }
    }
}

/// Sums of tall columns, and of their boxes, for the row above a block, in 32 bits.
class TallSums {
public:
    static constexpr std::size_t kBytesEach = 2 * 4 * sizeof(std::uint32_t);

    TallSums(const BoxJob& newJob, std::uint8_t* memory)
        : job(newJob),
          first(FirstColumn(job)),
          end(EndColumn(job)),
          ofColumns(reinterpret_cast<std::uint32_t*>(memory)),
          ofBoxes(ofColumns + 4 * (end - first)) {}

    HWY_ATTR void Start() const {
        std::memset(ofColumns, 0, (end - first) * kBytesEach / 2);
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        const std::ptrdiff_t above = static_cast<std::ptrdiff_t>(job.top) - 1;
        for (std::ptrdiff_t y = above - reach; y <= above + reach; ++y) {
            const std::uint8_t* const row = job.source.Row(Mirrored(y, job.height)) + 4 * first;
            for (std::size_t i = 0; i < 4 * (end - first); ++i) {
                ofColumns[i] += row[i];
            }
        }
    }
    /// Takes over what changed in a block.
    HWY_ATTR void Add(const Columns& changes) const {
        for (std::size_t x = first; x < end; ++x) {
            changes.AddTo(ofColumns + 4 * (x - first), x);
        }
    }
    /// The sums of boxes from the left of the job on.
    HWY_ATTR const std::uint32_t* Boxes() const {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxWidth / 2);
        const auto column = [this](std::ptrdiff_t x) {
            return ofColumns + 4 * (Mirrored(x, job.width) - first);
        };
        OfBytes<std::uint32_t> box{};
        const auto left = static_cast<std::ptrdiff_t>(job.left);
        for (std::ptrdiff_t x = left - reach; x < left + reach; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                box.of[i] += column(x)[i];
            }
        }
        std::uint32_t* to = ofBoxes;
        for (std::ptrdiff_t x = left; x < static_cast<std::ptrdiff_t>(job.right); ++x, to += 4) {
            const std::uint32_t *const entering = column(x + reach), *const leaving = column(x - reach);
            for (std::size_t i = 0; i < 4; ++i) {
                to[i] = box.of[i] + entering[i];
                box.of[i] = to[i] - leaving[i];
            }
        }
        return ofBoxes;
    }

private:
    const BoxJob& job;
    std::size_t first, end;
    std::uint32_t *ofColumns, *ofBoxes;
};

template <class Summing>
constexpr std::size_t kBytesOfColumn = Columns::kBytesEach + (Summing::kTall ? TallSums::kBytesEach : 0);

/// Blurs a strip of columns from the top to the bottom.
template <class Summing>
HWY_ATTR void BlurStrip(const BoxJob& job, const Summing& summing, std::uint8_t* memory) {
    const std::size_t first = FirstColumn(job), end = EndColumn(job);
    const Ring ring(job, first, memory);
    std::uint8_t* const sums = memory + Ring::Bytes(job);
    const Columns columns(first, sums);
    if constexpr (Summing::kTall) {
        const TallSums tall(job, sums + (end - first + kPixels) / kPixels * kPixels * Columns::kBytesEach);
        tall.Start();
        for (std::size_t y = job.top; y < job.bottom; y += kRows) {
            columns.Clear(end);
            BlurBlock(job, Block(job, y), summing, columns, ring, tall.Boxes());
            tall.Add(columns);
        }
    } else {
        columns.Start(job, end, Summing::kBias);
        for (std::size_t y = job.top; y < job.bottom; y += kRows) {
            BlurBlock(job, Block(job, y), summing, columns, ring, nullptr);
        }
    }
    if (job.streams) {
        hwy::FlushStream();
    }
}

template <class Summing>
void Blur(const BoxJob& job, const Summing& summing, BoxMemory& memory) {
    // The last vectors reach beyond the columns.
    InStrips(job, Ring::Bytes(job) + kPixels * kBytesOfColumn<Summing>, kBytesOfColumn<Summing>, memory,
             [&](const BoxJob& strip, std::uint8_t* bytes) HWY_ATTR { BlurStrip(strip, summing, bytes); });
}

constexpr std::size_t kMostRows = 257;  ///< whose sum of bytes has 16 bits

template <bool Fused, bool Tall>
void BlurByLongSums(const BoxJob& job, std::size_t area, BoxMemory& memory) {
    if (job.toByte.form == SumToByte::Form::kSingle) {
        if (area <= SingleOfMantissa::kMostArea) {
            Blur(job, LongSums<SingleOfMantissa, Fused, Tall>(job), memory);
        } else {
            Blur(job, LongSums<SingleOfInteger, false, Tall>(job), memory);
        }
    } else if (ShortProduct::Serves(job.toByte, area)) {
        Blur(job, LongSums<ShortProduct, Fused, Tall>(job), memory);
    } else {
        Blur(job, LongSums<WrappingProduct, false, Tall>(job), memory);
    }
}

void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    const std::size_t area = job.boxWidth * job.boxHeight;
    const SumToByte& rule = job.toByte;
    const bool isSingle = rule.form == SumToByte::Form::kSingle;
    if (area > SingleOfInteger::kMostArea) {
        BlurPlainly(job, memory);
    } else if (ShortRounding rounding; isSingle && FindShortRounding(area, rounding)) {
        Blur(job, ShortSums(rounding.start, rounding.multiplier, rounding.shift), memory);
    } else if (!isSingle && area <= kMostRows && rule.preShift == 0 && rule.totalShift > 16) {
        Blur(job, ShortSums(0, rule.multiplier, rule.totalShift - 16), memory);
    } else if (job.boxHeight > kMostRows) {
        BlurByLongSums<false, true>(job, area, memory);
    } else if (HWY_TARGET == HWY_AVX3 && simd::CurrentTarget() == simd::kAVX512DL) {
        BlurByLongSums<HWY_TARGET == HWY_AVX3, false>(job, area, memory);
    } else {
        BlurByLongSums<false, false>(job, area, memory);
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
