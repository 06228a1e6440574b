// Looks up each byte of a vector in a table of 256 bytes:
//
//     struct Kernel { ... Table table; ... table(v) ... };
//     WithByteTables([&]<class Table>() HWY_ATTR { Walk(Kernel<Table>{Table(bytes), ...}, job); });
//
// `Table` is the form that is fastest on the processor. It copies the bytes, so that a kernel holds it by
// value. Where it says `kStaysInCache`, it takes longer than memory does, and a kernel that does little else
// gains nothing by writing around the cache. Without vectors there is none.

#if defined(TESSELU_SRC_SIMD_BYTETABLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_BYTETABLE_INL_H
#undef TESSELU_SRC_SIMD_BYTETABLE_INL_H
#else
#define TESSELU_SRC_SIMD_BYTETABLE_INL_H
#endif

#include <cstring>

#include "simd/Extra-inl.h"
#include "simd/Targets.h"

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

#if HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64

/// In quarters of 64 entries; a lookup beyond one leaves the lane as it was.
class ByteTable {
public:
    static constexpr bool kStaysInCache = true;

    HWY_INLINE HWY_ATTR explicit ByteTable(const std::uint8_t* table) {
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t k = 0; k < 4; ++k) {
                quarter[i].val[k] = vld1q_u8(table + 64 * i + 16 * k);
            }
        }
    }

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const {
        const uint8x16_t step = vdupq_n_u8(64);
        uint8x16_t place = v.raw, found = vqtbl4q_u8(quarter[0], place);
        for (std::size_t i = 1; i < 4; ++i) {
            place = vsubq_u8(place, step);
            found = vqtbx4q_u8(found, quarter[i], place);
        }
        return VU8(found);
    }
    /// The same for places below 128 alone.
    HWY_INLINE HWY_ATTR VU8 Lower(VU8 v) const {
        const uint8x16_t place = v.raw;
        return VU8(vqtbx4q_u8(vqtbl4q_u8(quarter[0], place), quarter[1], vsubq_u8(place, vdupq_n_u8(64))));
    }

private:
    uint8x16x4_t quarter[4];
};

#else

/// In 16 rows of 16 entries, looked up by the low half of a byte and selected by the high half.
class ByteTable {
public:
    static constexpr bool kStaysInCache = true;

    HWY_INLINE HWY_ATTR explicit ByteTable(const std::uint8_t* table) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
        std::memcpy(row, table, sizeof row);
#else
        // A row as what it changes in the one before it, in either half.
        for (std::size_t i = 0; i < 256; ++i) {
            row[i / 16][i % 16] = static_cast<std::uint8_t>(table[i] ^ (i % 128 < 16 ? 0 : table[i - 16]));
        }
#endif
    }

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const {
#if HWY_TARGET == HWY_AVX3
        const auto bit = [&](int n) HWY_ATTR {
            return _mm512_test_epi8_mask(v.raw, _mm512_set1_epi8(static_cast<char>(1 << n)));
        };
        const __mmask64 bit4 = bit(4), bit5 = bit(5), bit6 = bit(6), bit7 = _mm512_movepi8_mask(v.raw);
        const __m512i place = hn::And(v, hn::Set(DU8(), 15)).raw;
        __m512i found[8];
        for (std::size_t i = 0; i < 8; ++i) {
            const __m512i even = _mm512_shuffle_epi8(Row(2 * i).raw, place);
            found[i] = _mm512_mask_shuffle_epi8(even, bit4, Row(2 * i + 1).raw, place);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            found[i] = _mm512_mask_blend_epi8(bit5, found[2 * i], found[2 * i + 1]);
        }
        for (std::size_t i = 0; i < 2; ++i) {
            found[i] = _mm512_mask_blend_epi8(bit6, found[2 * i], found[2 * i + 1]);
        }
        return VU8{_mm512_mask_blend_epi8(bit7, found[0], found[1])};
#elif HWY_TARGET == HWY_AVX2
        // A negative place gives 0, so that two rows are joined by an or. Blends look at bit 7 alone.
        const DU8 d;
        const DU16 d16;
        const VU8 sign = hn::Set(d, 0x80);
        const VU8 bit5 = hn::BitCast(d, hn::ShiftLeft<2>(hn::BitCast(d16, v))), bit6 = hn::Add(v, v);
        const VU8 bit4 = hn::And(hn::BitCast(d, hn::ShiftLeft<3>(hn::BitCast(d16, v))), sign);
        const VU8 even = hn::Or(hn::And(v, hn::Set(d, 15)), bit4), odd = hn::Xor(even, sign);
        const auto select = [](VU8 no, VU8 yes, VU8 bit)
                                HWY_ATTR { return VU8{_mm256_blendv_epi8(no.raw, yes.raw, bit.raw)}; };
        const auto two = [&](std::size_t i) HWY_ATTR {
            return hn::Or(hn::TableLookupBytes(Row(2 * i), even), hn::TableLookupBytes(Row(2 * i + 1), odd));
        };
        const auto four = [&](std::size_t i) HWY_ATTR { return select(two(2 * i), two(2 * i + 1), bit5); };
        const VU8 low = select(four(0), four(1), bit6), high = select(four(2), four(3), bit6);
        return select(low, high, v);
#else
        // A place below a row stays negative, and gives 0.
        const DU8 d;
        const DI8 di;
        const VI8 one = hn::Set(di, 16);
        VI8 low = hn::BitCast(di, v), high = hn::BitCast(di, hn::Xor(v, hn::Set(d, 0x80)));
        VU8 found = hn::Or(Changes(0, low), Changes(8, high));
        for (std::size_t i = 1; i < 8; ++i) {
            low = hn::SaturatedSub(low, one);
            high = hn::SaturatedSub(high, one);
            found = hn::Xor(found, hn::Xor(Changes(i, low), Changes(i + 8, high)));
        }
        return found;
#endif
    }

    /// The same for places below 128 alone, in half the time.
    HWY_INLINE HWY_ATTR VU8 Lower(VU8 v) const {
#if HWY_TARGET == HWY_AVX3
        const auto bit = [&](int n) HWY_ATTR {
            return _mm512_test_epi8_mask(v.raw, _mm512_set1_epi8(static_cast<char>(1 << n)));
        };
        const __mmask64 bit4 = bit(4), bit5 = bit(5), bit6 = bit(6);
        const __m512i place = hn::And(v, hn::Set(DU8(), 15)).raw;
        __m512i found[4];
        for (std::size_t i = 0; i < 4; ++i) {
            const __m512i even = _mm512_shuffle_epi8(Row(2 * i).raw, place);
            found[i] = _mm512_mask_shuffle_epi8(even, bit4, Row(2 * i + 1).raw, place);
        }
        return VU8{_mm512_mask_blend_epi8(bit6, _mm512_mask_blend_epi8(bit5, found[0], found[1]),
                                          _mm512_mask_blend_epi8(bit5, found[2], found[3]))};
#elif HWY_TARGET == HWY_AVX2
        const DU8 d;
        const DU16 d16;
        const VU8 sign = hn::Set(d, 0x80);
        const VU8 bit5 = hn::BitCast(d, hn::ShiftLeft<2>(hn::BitCast(d16, v))), bit6 = hn::Add(v, v);
        const VU8 bit4 = hn::And(hn::BitCast(d, hn::ShiftLeft<3>(hn::BitCast(d16, v))), sign);
        const VU8 even = hn::Or(hn::And(v, hn::Set(d, 15)), bit4), odd = hn::Xor(even, sign);
        const auto two = [&](std::size_t i) HWY_ATTR {
            return hn::Or(hn::TableLookupBytes(Row(2 * i), even), hn::TableLookupBytes(Row(2 * i + 1), odd));
        };
        const VU8 low{_mm256_blendv_epi8(two(0).raw, two(1).raw, bit5.raw)};
        const VU8 high{_mm256_blendv_epi8(two(2).raw, two(3).raw, bit5.raw)};
        return VU8{_mm256_blendv_epi8(low.raw, high.raw, bit6.raw)};
#else
        const VI8 one = hn::Set(DI8(), 16);
        VI8 places = hn::BitCast(DI8(), v);
        VU8 found = Changes(0, places);
        for (std::size_t i = 1; i < 8; ++i) {
            places = hn::SaturatedSub(places, one);
            found = hn::Xor(found, Changes(i, places));
        }
        return found;
#endif
    }

private:
    HWY_INLINE HWY_ATTR VU8 Row(std::size_t i) const {
        return InEveryBlock(row[i]);
    }

#if HWY_TARGET != HWY_AVX3 && HWY_TARGET != HWY_AVX2
    HWY_INLINE HWY_ATTR VU8 Changes(std::size_t i, VI8 places) const {
        const DU8 d;
#if HWY_ARCH_X86
        return hn::TableLookupBytes(Row(i), hn::BitCast(d, places));
#else
        return hn::TableLookupBytesOr0(Row(i), hn::And(hn::BitCast(d, places), hn::Set(d, 0x8F)));
#endif
    }
#endif

    alignas(64) std::uint8_t row[16][16];
};

#endif  // HWY_TARGET

#if HWY_TARGET == HWY_AVX3

/// By VBMI: halves of 128 entries in two vectors each. Highway's target for it also takes instructions that
/// processors with VBMI need not have.
class PermutedByteTable {
public:
    static constexpr bool kStaysInCache = false;

    HWY_INLINE HWY_ATTR explicit PermutedByteTable(const std::uint8_t* table) {
        for (std::size_t i = 0; i < 4; ++i) {
            quarter[i] = hn::LoadU(DU8(), table + 64 * i);
        }
    }

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const {
        // Bit 7 of a place does not count.
        VU8 low = v, high = v;
        __asm__("vpermi2b %2, %1, %0" : "+v"(low.raw) : "v"(quarter[0].raw), "v"(quarter[1].raw));
        __asm__("vpermi2b %2, %1, %0" : "+v"(high.raw) : "v"(quarter[2].raw), "v"(quarter[3].raw));
        return VU8{_mm512_mask_blend_epi8(_mm512_movepi8_mask(v.raw), low.raw, high.raw)};
    }
    /// The same for places below 128 alone.
    HWY_INLINE HWY_ATTR VU8 Lower(VU8 v) const {
        __asm__("vpermi2b %2, %1, %0" : "+v"(v.raw) : "v"(quarter[0].raw), "v"(quarter[1].raw));
        return v;
    }

private:
    VU8 quarter[4];
};

#endif

/// Calls `run<Table>()` with the form of table for the target in use.
template <class Run>
HWY_INLINE void WithByteTables(const Run& run) {
#if HWY_TARGET == HWY_AVX3
    if (simd::CurrentTarget() == simd::kAVX512DL) {
        run.template operator()<PermutedByteTable>();
        return;
    }
#endif
    run.template operator()<ByteTable>();
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
