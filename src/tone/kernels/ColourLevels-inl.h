// Levels of red, green and blue, looked up in 16-bit lanes.

#if defined(TESSELU_SRC_TONE_KERNELS_COLOURLEVELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_TONE_KERNELS_COLOURLEVELS_INL_H
#undef TESSELU_SRC_TONE_KERNELS_COLOURLEVELS_INL_H
#else
#define TESSELU_SRC_TONE_KERNELS_COLOURLEVELS_INL_H
#endif

#include <algorithm>

#include "simd/ByteTable-inl.h"
#include "simd/Extra-inl.h"
#include "tone/kernels/CorrectionFormulas.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

/// Constants as parts of the kernel, which one instruction loads. What compilers know, they put together in
/// three.
class ColourConstants {
public:
    ColourConstants() {
        Fill(one, 1, 1);
        Fill(sign, 0x80, 0x80);
        Fill(middle, 128, 0);
        Fill(greatestUsual, 254, 0);
        Fill(lowHalf, 15, 15);
    }

    alignas(16) std::uint8_t one[16], sign[16], lowHalf[16];
    alignas(16) std::uint8_t middle[16], greatestUsual[16];  ///< of 16 bits

private:
    static void Fill(std::uint8_t* bytes, std::uint8_t even, std::uint8_t odd) {
        for (std::size_t i = 0; i < 16; i += 2) {
            bytes[i] = even;
            bytes[i + 1] = odd;
        }
    }
};

/// The sums of neighbouring bytes.
HWY_INLINE HWY_ATTR VI16 SumsOfPairs(VU8 v, VU8 ones) {
    return MulAddPairs(v, hn::BitCast(DI8(), ones));
}

/// The two places in a table of halves whose sum is the level of a magnitude.
HWY_INLINE HWY_ATTR VU8 PlacesOf(VU16 magnitude) {
    const DU16 d;
    const VU16 up = hn::AverageRound(magnitude, hn::Zero(d)), down = hn::ShiftRight<1>(magnitude);
    return hn::BitCast(DU8(), hn::Or(down, hn::ShiftLeft<8>(up)));
}

/// LevelOf in 16-bit lanes.
template <class Table>
HWY_INLINE HWY_ATTR VI16 Levelled(const Table& halves, const ColourConstants& constants, VI16 x) {
    const DU16 d;
    const VI16 level = SumsOfPairs(halves(PlacesOf(hn::BitCast(d, hn::Abs(x)))), InEveryBlock(constants.one));
#if HWY_TARGET == HWY_AVX3
    return VI16{
        _mm512_mask_sub_epi16(level.raw, _mm512_movepi16_mask(x.raw), _mm512_setzero_si512(), level.raw)};
#else
    const VI16 sign = hn::BroadcastSignBit(x);
    return hn::Sub(hn::Xor(level, sign), sign);
#endif
}

#if HWY_TARGET == HWY_AVX2

/// Rows of a table are loaded for so many vectors at a time.
template <class Table>
constexpr std::size_t kColourVectors = 2;

/// Selects entries of 128 in rows of 16. A negative place gives 0, so that two rows are joined by an or;
/// blends look at bit 7 alone.
class RowPlaces {
public:
    /// Of a place whose bit 7 is clear, and its bits 4 to 6 in bit 7.
    HWY_INLINE HWY_ATTR RowPlaces(VU8 place, VU8 bit4, VU8 bit5, VU8 bit6, VU8 sign)
        : even(hn::Or(place, hn::And(bit4, sign))), odd(hn::Xor(even, sign)), second(bit5), upper(bit6) {}

    /// The entries in four rows.
    HWY_INLINE HWY_ATTR VU8 Quarter(const VU8* rows) const {
        return Select(Two(rows), Two(rows + 2), second);
    }
    HWY_INLINE HWY_ATTR VU8 Joined(VU8 lower, VU8 higher) const { return Select(lower, higher, upper); }

    static HWY_INLINE HWY_ATTR VU8 Select(VU8 no, VU8 yes, VU8 bit) {
        // The compiler would make comparisons of bits that serve twice.
        __asm__("vpblendvb %2, %1, %0, %0" : "+x"(no.raw) : "x"(yes.raw), "x"(bit.raw));
        return no;
    }

private:
    HWY_INLINE HWY_ATTR VU8 Two(const VU8* rows) const {
        return hn::Or(hn::TableLookupBytes(rows[0], even), hn::TableLookupBytes(rows[1], odd));
    }
    VU8 even, odd, second, upper;
};

/// LevelOf for 0 ... 254.
template <class Table>
HWY_INLINE HWY_ATTR void LevelUsual(const Table&, const std::uint8_t* halves,
                                    const ColourConstants& constants, VI16* x) {
    const DU8 d;
    const DU16 d16;
    const VU8 ones = InEveryBlock(constants.one), sign = InEveryBlock(constants.sign), zero = hn::Zero(d);
    const VU8 v = PackToBytes(x[0], x[1]);
    const VU8 up = hn::AverageRound(v, zero), down = hn::AverageRound(hn::SaturatedSub(v, ones), zero);
    const VU16 v16 = hn::BitCast(d16, v), up16 = hn::BitCast(d16, up);
    const RowPlaces below(down, hn::BitCast(d, hn::ShiftLeft<2>(v16)), hn::Add(v, v), v, sign);
    const RowPlaces above(up, hn::BitCast(d, hn::ShiftLeft<3>(up16)), hn::BitCast(d, hn::ShiftLeft<2>(up16)),
                          hn::Add(up, up), sign);
    VU8 foundBelow[2], foundAbove[2];
    for (std::size_t i = 0; i < 2; ++i) {
        const VU8 rows[4] = {InEveryBlock(halves + 64 * i), InEveryBlock(halves + 64 * i + 16),
                             InEveryBlock(halves + 64 * i + 32), InEveryBlock(halves + 64 * i + 48)};
        foundBelow[i] = below.Quarter(rows);
        foundAbove[i] = above.Quarter(rows);
    }
    const VU8 first = below.Joined(foundBelow[0], foundBelow[1]);
    const VU8 second = above.Joined(foundAbove[0], foundAbove[1]);
    x[0] = SumsOfPairs(hn::InterleaveLower(d, first, second), ones);
    x[1] = SumsOfPairs(hn::InterleaveUpper(d, first, second), ones);
}

/// LevelOf for 0 ... 254 where levels do not fall: a byte each, and from which place on a ninth bit is set.
class RisingLevels {
public:
    explicit RisingLevels(const std::uint8_t* halves) {
        for (std::size_t i = 0; i < 128; ++i) {
            bytes[2 * i] = static_cast<std::uint8_t>(2 * halves[i]);
            bytes[2 * i + 1] = static_cast<std::uint8_t>(halves[i] + halves[i + 1]);
        }
        // The first half that makes an even level of nine bits; the odd one before it may be one, too.
        const std::uint8_t* const end = halves + 129;
        const std::uint8_t* const first = std::upper_bound(halves, end, 127);
        const auto evens = static_cast<std::size_t>(first - halves);
        const std::size_t last = 2 * evens - (first != end && first[-1] + first[0] < 256 ? 1 : 2);
        lastOfBytes = static_cast<std::uint8_t>(std::min<std::size_t>(last, 255));
    }

    /// Whether levels are such.
    static bool Rise(const std::uint8_t* halves) {
        return halves[0] < 128 && std::is_sorted(halves, halves + 129);
    }

    HWY_INLINE HWY_ATTR void operator()(const ColourConstants& constants, VI16* x) const {
        const DU8 d;
        const DU16 d16;
        const VU8 sign = InEveryBlock(constants.sign);
        const VU8 v = PackToBytes(x[0], x[1]);
        const VU16 v16 = hn::BitCast(d16, v);
        const RowPlaces places(hn::And(v, InEveryBlock(constants.lowHalf)),
                               hn::BitCast(d, hn::ShiftLeft<3>(v16)), hn::BitCast(d, hn::ShiftLeft<2>(v16)),
                               hn::Add(v, v), sign);
        const auto quarter = [&](std::size_t i) HWY_ATTR {
            const std::uint8_t* const row = bytes + 16 * i;
            const VU8 rows[4] = {InEveryBlock(row), InEveryBlock(row + 16), InEveryBlock(row + 32),
                                 InEveryBlock(row + 48)};
            return places.Quarter(rows);
        };
        const VU8 half[2] = {places.Joined(quarter(0), quarter(4)), places.Joined(quarter(8), quarter(12))};
        const VU8 low = RowPlaces::Select(half[0], half[1], v);
        const VU8 high = hn::Min(hn::SaturatedSub(v, hn::Set(d, lastOfBytes)), InEveryBlock(constants.one));
        x[0] = hn::BitCast(DI16(), hn::InterleaveLower(d, low, high));
        x[1] = hn::BitCast(DI16(), hn::InterleaveUpper(d, low, high));
    }

private:
    alignas(16) std::uint8_t bytes[256];
    std::uint8_t lastOfBytes;
};

#else

template <class Table>
constexpr std::size_t kColourVectors = 1;

/// LevelOf for 0 ... 254.
template <class Table>
HWY_INLINE HWY_ATTR void LevelUsual(const Table& table, const std::uint8_t*, const ColourConstants& constants,
                                    VI16* x) {
    x[0] = SumsOfPairs(table.Lower(PlacesOf(hn::BitCast(DU16(), x[0]))), InEveryBlock(constants.one));
}

#endif

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
