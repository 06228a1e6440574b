#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using I16 = std::int16_t;

U32 Limit(int value) {
    return static_cast<U32>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Arguments of 16 bits, not int: that keeps the compiler's lanes at 16 bits.

/// A number with four bits of fraction.
U16 Limit16(I16 value) {
    value >>= 4;
    return static_cast<U16>(value < 0 ? 0 : value > 255 ? 255 : value);
}

/// The high half of a product.
I16 High(I16 a, int b) {
    return static_cast<I16>((a * b) >> 16);
}

U32 Luma(U32 b, U32 g, U32 r) {
    return (802 * b + 4130 * g + 2104 * r + (16U << 13)) >> 13;
}

void PairsToPixels(const U32* __restrict uyvy, U32* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 pair = uyvy[i];
        const int cb = static_cast<int>(pair & 255) - 128, cr = static_cast<int>((pair >> 16) & 255) - 128;
        const int y0 = 9538 * (static_cast<int>((pair >> 8) & 255) - 16);
        const int y1 = 9538 * (static_cast<int>(pair >> 24) - 16);
        const int b = 16526 * cb, g = -3210 * cb - 6660 * cr, r = 13074 * cr;
        bgra[2 * i] =
            Limit((y0 + b) >> 13) | Limit((y0 + g) >> 13) << 8 | Limit((y0 + r) >> 13) << 16 | 0xFF000000;
        bgra[2 * i + 1] =
            Limit((y1 + b) >> 13) | Limit((y1 + g) >> 13) << 8 | Limit((y1 + r) >> 13) << 16 | 0xFF000000;
    }
}

void PixelsToPairs(const U32* __restrict bgra, U32* __restrict uyvy, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 p = bgra[2 * i], q = bgra[2 * i + 1];
        const U32 b0 = p & 255, g0 = (p >> 8) & 255, r0 = (p >> 16) & 255;
        const U32 b1 = q & 255, g1 = (q >> 8) & 255, r1 = (q >> 16) & 255;
        const int b = static_cast<int>(b0 + b1), g = static_cast<int>(g0 + g1), r = static_cast<int>(r0 + r1);
        const auto cb = static_cast<U32>(((3598 * b - 2384 * g - 1214 * r) >> 14) + 128);
        const auto cr = static_cast<U32>(((-586 * b - 3012 * g + 3598 * r) >> 14) + 128);
        uyvy[i] = cb | Luma(b0, g0, r0) << 8 | cr << 16 | Luma(b1, g1, r1) << 24;
    }
}

void PlanarToPixels(const U8* __restrict y, const U8* __restrict cb, const U8* __restrict cr,
                    U16* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const auto u = static_cast<I16>(128 * cb[i] - 16384), v = static_cast<I16>(128 * cr[i] - 16384);
        const I16 b = High(u, 16526), r = High(v, 13074);
        const auto g = static_cast<I16>(High(u, -3210) + High(v, -6660));
        const I16 y0 = High(static_cast<I16>(128 * y[2 * i] - 2048), 9538);
        const I16 y1 = High(static_cast<I16>(128 * y[2 * i + 1] - 2048), 9538);
        const U16 b0 = Limit16(static_cast<I16>(y0 + b)), b1 = Limit16(static_cast<I16>(y1 + b));
        const U16 g0 = Limit16(static_cast<I16>(y0 + g)), g1 = Limit16(static_cast<I16>(y1 + g));
        bgra[4 * i] = static_cast<U16>(b0 | g0 << 8);
        bgra[4 * i + 1] = Limit16(static_cast<I16>(y0 + r));
        bgra[4 * i + 2] = static_cast<U16>(b1 | g1 << 8);
        bgra[4 * i + 3] = Limit16(static_cast<I16>(y1 + r));
    }
}

void SwapPairs(const U32* __restrict uyvy, U32* __restrict yuyv, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        yuyv[i] = ((uyvy[i] >> 8) & 0x00FF00FF) | ((uyvy[i] & 0x00FF00FF) << 8);
    }
}

}  // namespace

extern const Conversions kConversions;
const Conversions kConversions = {PairsToPixels, PixelsToPairs, PlanarToPixels, SwapPairs};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
