// Sums of boxes, and how they become bytes.

#if defined(TESSELU_SRC_FILTER_KERNELS_BOXSUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_BOXSUMS_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_BOXSUMS_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_BOXSUMS_INL_H
#endif

#include "filter/kernels/BoxVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

// `Sums` are those of one pixel of each row; `Means` of two pixels are their bytes, as `PackToBytes` puts
// them.

/// Sums of at most 65535: a multiplication and a shift round them by what they start with. The shift, 1 or
/// more, is a multiplication as well, for which processors have other units than for all the shuffles around.
class ShortSums {
public:
    static constexpr bool kTall = false;
    static constexpr std::uint32_t kBias = 0;  ///< in sums of columns

    struct Sums {
        VU16 all;
    };

    explicit ShortSums(const ShortRounding& scale)
        : first(scale.start),
          multiplier(hn::Set(DU16(), static_cast<std::uint16_t>(scale.multiplier))),
          last(hn::Set(DU16(), static_cast<std::uint16_t>(65536U >> scale.shift))) {}

    HWY_INLINE HWY_ATTR Sums Start() const { return {hn::Set(DU16(), static_cast<std::uint16_t>(first))}; }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, VU16 entering, VU16 leaving) {
        sums.all = hn::Add(sums.all, hn::Sub(entering, leaving));
    }
    HWY_INLINE HWY_ATTR VU8 Means(const Sums& one, const Sums& other) const {
        return PackToBytes(Mean(one), Mean(other));
    }

private:
    HWY_INLINE HWY_ATTR VI16 Mean(const Sums& sums) const {
        return hn::BitCast(DI16(), hn::MulHigh(hn::MulHigh(sums.all, multiplier), last));
    }

    unsigned first;
    VU16 multiplier, last;
};

/// How sums of columns become sums of boxes in 32 bits.
enum class Columns32 {
    kShort,  ///< whose differences have 16 bits with the sign: of at most 128 rows
    kLong,   ///< with 16 bits, but not their differences: of at most 257 rows
    kTall    ///< what changes inside of a block, to which the sums of the row above it are added
};

/// Sums of 32 bits of the even samples of pixels, and of the odd ones. `ToBytes` makes bytes of them, and
/// says what is added to every sum for it.
template <class ToBytes, bool Fused, Columns32 Kind>
class LongSums {
public:
    static constexpr bool kTall = Kind == Columns32::kTall;
    /// Makes sums of columns up to 65535 signed; differences do not know of it.
    static constexpr std::uint32_t kBias = Kind == Columns32::kLong ? 32768 : 0;

    struct Sums {
        VI32 even, odd;
    };

    LongSums(const ToBytes& newToBytes, std::size_t boxWidth)
        : toBytes(newToBytes), first(static_cast<std::uint32_t>(boxWidth) * kBias + toBytes.Added()) {}

    HWY_INLINE HWY_ATTR Sums Start() const {
        const VI32 all = hn::BitCast(DI32(), hn::Set(DU32(), first));
        return {all, all};
    }
    /// `above`: the even samples of one pixel, then the odd ones.
    static HWY_INLINE HWY_ATTR Sums Plus(const Sums& sums, const std::uint32_t* above) {
        std::uint64_t pairs[2];
        std::memcpy(pairs, above, sizeof pairs);
        return {hn::Add(sums.even, hn::BitCast(DI32(), hn::Set(DU64(), pairs[0]))),
                hn::Add(sums.odd, hn::BitCast(DI32(), hn::Set(DU64(), pairs[1])))};
    }
    static HWY_INLINE HWY_ATTR void Move(Sums& sums, VU16 entering, VU16 leaving) {
        const DI32 d;
        const DI16 d16;
        const VI16 in = hn::BitCast(d16, entering), out = hn::BitCast(d16, leaving);
        const VI16 isEven = hn::BitCast(d16, hn::Set(d, 1));
        if constexpr (Kind == Columns32::kLong) {
            const auto difference = [d](VI32 a, VI32 b) HWY_ATTR { return hn::Sub(a, b); };
            sums.even = hn::Add(sums.even, difference(MulAddPairs(in, isEven), MulAddPairs(out, isEven)));
            sums.odd = hn::Add(sums.odd, difference(hn::ShiftRight<16>(hn::BitCast(d, in)),
                                                    hn::ShiftRight<16>(hn::BitCast(d, out))));
        } else {
            const VI16 change = hn::Sub(in, out);
            sums.even = AddMulAddPairs<Fused>(sums.even, change, isEven);
            if constexpr (Fused) {
                const VI16 isOdd = hn::BitCast(d16, hn::Set(d, 0x10000));
                sums.odd = AddMulAddPairs<Fused>(sums.odd, change, isOdd);
            } else {
                sums.odd = hn::Add(sums.odd, hn::ShiftRight<16>(hn::BitCast(d, change)));
            }
        }
    }
    HWY_INLINE HWY_ATTR VU8 Means(const Sums& one, const Sums& other) const {
        if constexpr (requires { toBytes.OfTwo(one.even, one.odd, other.even, other.odd); }) {
            return toBytes.OfTwo(one.even, one.odd, other.even, other.odd);
        } else {
            return PackToBytes(toBytes(one.even, one.odd), toBytes(other.even, other.odd));
        }
    }

private:
    ToBytes toBytes;
    std::uint32_t first;
};

/// One lane of 16 bits behind the other; those of `even` have nothing above them.
HWY_INLINE HWY_ATTR VI16 MergeWords(VI32 even, VI32 odd) {
    return hn::BitCast(DI16(), hn::Or(even, hn::ShiftLeft<16>(odd)));
}
// Where Highway is known to fuse.
constexpr bool kFuses = HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2;

/// The nearest means in one step, of sums that stand in the mantissa of a float.
class FusedSingle {
public:
    explicit FusedSingle(const FusedRounding& newRounding)
        : added(newRounding.added),
          factor(hn::Set(DF32(), -newRounding.factor)),
          last(hn::Set(DF32(), -newRounding.last)) {}

    std::uint32_t Added() const { return added; }
    /// Of negative floats, whose upper halves become 0 when they are packed with saturation.
    HWY_INLINE HWY_ATTR VU8 OfTwo(VI32 firstEven, VI32 firstOdd, VI32 secondEven, VI32 secondOdd) const {
        const DU16 d;
        const VU16 even = hn::BitCast(d, PackToBytes(Mean(firstEven), Mean(secondEven))),
                   odd = hn::BitCast(d, PackToBytes(Mean(firstOdd), Mean(secondOdd)));
        return hn::BitCast(DU8(), hn::Or(even, hn::ShiftLeft<8>(odd)));
    }

private:
    HWY_INLINE HWY_ATTR VI16 Mean(VI32 sum) const {
        return hn::BitCast(DI16(), hn::MulAdd(hn::BitCast(DF32(), sum), factor, last));
    }

    std::uint32_t added;
    VF32 factor, last;
};

/// Times 1 / area in single precision, for sums below 2^23: they stand in the mantissa of a float that is
/// 2^23 larger, and a fused multiplication takes that away, exactly, before it rounds.
class SingleOfMantissa {
public:
    static constexpr std::size_t kMostArea = ((std::size_t{1} << 23) - 1) / 255;

    explicit SingleOfMantissa(const SumToByte& rule)
        : inverse(hn::Set(DF32(), rule.inverse)),
          excess(hn::Set(DF32(), kFuses ? rule.inverse * 0x1p23F : 0x1p23F)) {}

    static std::uint32_t Added() { return 0x4B000000; }  // the bits of 2^23
    HWY_INLINE HWY_ATTR VI16 operator()(VI32 even, VI32 odd) const {
        return MergeWords(Mean(even), Mean(odd));
    }

private:
    HWY_INLINE HWY_ATTR VI32 Mean(VI32 sum) const {
        const VF32 value = hn::BitCast(DF32(), sum);
        if constexpr (kFuses) {
            return Nearest(hn::MulSub(value, inverse, excess));
        } else {
            return Nearest(hn::Mul(hn::Sub(value, excess), inverse));
        }
    }

    VF32 inverse, excess;
};

/// The same for sums below 2^31.
class SingleOfInteger {
public:
    static constexpr std::size_t kMostArea = ((std::size_t{1} << 31) - 1) / 255;

    explicit SingleOfInteger(const SumToByte& rule) : inverse(hn::Set(DF32(), rule.inverse)) {}

    static std::uint32_t Added() { return 0; }
    HWY_INLINE HWY_ATTR VI16 operator()(VI32 even, VI32 odd) const {
        return MergeWords(Mean(even), Mean(odd));
    }

private:
    HWY_INLINE HWY_ATTR VI32 Mean(VI32 sum) const {
        return Nearest(hn::Mul(hn::ConvertTo(DF32(), sum), inverse));
    }

    VF32 inverse;
};

/// By shifts, where a sum has at most 16 bits after the first and loses 16 or more in the second.
class ShortProduct {
public:
    static bool Serves(const SumToByte& rule, std::size_t area) {
        return rule.preShift <= 16 && rule.totalShift >= rule.preShift + 16 &&
               255 * area >> rule.preShift <= 65535;
    }

    explicit ShortProduct(const SumToByte& rule)
        : multiplier(hn::Set(DU16(), static_cast<std::uint16_t>(rule.multiplier))),
          before(static_cast<int>(rule.preShift)),
          after(static_cast<int>(rule.totalShift - rule.preShift - 16)) {}

    static std::uint32_t Added() { return 0; }
    HWY_INLINE HWY_ATTR VI16 operator()(VI32 even, VI32 odd) const {
        const DI16 d;
        const VI16 factors = MergeEvenOdd(hn::BitCast(d, hn::ShiftRightSame(even, before)),
                                          hn::BitCast(d, hn::ShiftLeftSame(odd, 16 - before)));
        const VU16 product = hn::MulHigh(hn::BitCast(DU16(), factors), multiplier);
        return hn::BitCast(d, hn::ShiftRightSame(product, after));
    }

private:
    VU16 multiplier;
    int before, after;
};

/// By shifts, whatever they are.
class WrappingProduct {
public:
    explicit WrappingProduct(const SumToByte& rule)
        : multiplier(hn::Set(DU32(), rule.preShift > rule.totalShift ? 0 : rule.multiplier)),
          before(static_cast<int>(rule.preShift < 31 ? rule.preShift : 31)),
          after(rule.preShift > rule.totalShift ? 0 : static_cast<int>(rule.totalShift - rule.preShift)) {}

    static std::uint32_t Added() { return 0; }
    HWY_INLINE HWY_ATTR VI16 operator()(VI32 even, VI32 odd) const {
        return MergeWords(Byte(even), Byte(odd));
    }

private:
    HWY_INLINE HWY_ATTR VI32 Byte(VI32 sum) const {
        const DU32 d;
        const VU32 product = hn::Mul(hn::ShiftRightSame(hn::BitCast(d, sum), before), multiplier);
        const VU32 byte = hn::And(hn::ShiftRightSame(product, after), hn::Set(d, 0xFF));
        return hn::BitCast(DI32(), byte);
    }

    VU32 multiplier;
    int before, after;
};

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
