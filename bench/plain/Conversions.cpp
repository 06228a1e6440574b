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

/// What the chroma of a pixel brings to its colour, and its luma, in 8192ths.
struct Colour {
    int b, g, r;
};
Colour ColourOf(U32 cbSample, U32 crSample) {
    const int cb = static_cast<int>(cbSample) - 128, cr = static_cast<int>(crSample) - 128;
    return {16526 * cb, -3210 * cb - 6660 * cr, 13074 * cr};
}
U32 PixelOf(const Colour& colour, U32 luma, U32 alpha) {
    const int y = 9538 * (static_cast<int>(luma) - 16);
    return Limit((y + colour.b) >> 13) | Limit((y + colour.g) >> 13) << 8 |
           Limit((y + colour.r) >> 13) << 16 | alpha << 24;
}

/// Chroma of the sum of 1 << (bits - 13) pixels.
U32 CbOf(int b, int g, int r, int bits) {
    return static_cast<U32>(((3598 * b - 2384 * g - 1214 * r) >> bits) + 128);
}
U32 CrOf(int b, int g, int r, int bits) {
    return static_cast<U32>(((-586 * b - 3012 * g + 3598 * r) >> bits) + 128);
}

void PairsToPixels(const U32* __restrict uyvy, U32* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 pair = uyvy[i];
        const Colour colour = ColourOf(pair & 255, (pair >> 16) & 255);
        bgra[2 * i] = PixelOf(colour, (pair >> 8) & 255, 255);
        bgra[2 * i + 1] = PixelOf(colour, pair >> 24, 255);
    }
}

void SwappedToPixels(const U32* __restrict yuyv, U32* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 pair = yuyv[i];
        const Colour colour = ColourOf((pair >> 8) & 255, pair >> 24);
        bgra[2 * i] = PixelOf(colour, pair & 255, 255);
        bgra[2 * i + 1] = PixelOf(colour, (pair >> 16) & 255, 255);
    }
}

void PairsAlphaToPixels(const U32* __restrict uyvy, const U8* __restrict alpha, U32* __restrict bgra,
                        std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 pair = uyvy[i];
        const Colour colour = ColourOf(pair & 255, (pair >> 16) & 255);
        bgra[2 * i] = PixelOf(colour, (pair >> 8) & 255, alpha[2 * i]);
        bgra[2 * i + 1] = PixelOf(colour, pair >> 24, alpha[2 * i + 1]);
    }
}

void YccToPixels(const U32* __restrict cbYCrA, U32* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 p = cbYCrA[i];
        bgra[i] = PixelOf(ColourOf(p & 255, (p >> 16) & 255), (p >> 8) & 255, p >> 24);
    }
}

void PixelsToPairs(const U32* __restrict bgra, U32* __restrict uyvy, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 p = bgra[2 * i], q = bgra[2 * i + 1];
        const U32 b0 = p & 255, g0 = (p >> 8) & 255, r0 = (p >> 16) & 255;
        const U32 b1 = q & 255, g1 = (q >> 8) & 255, r1 = (q >> 16) & 255;
        const int b = static_cast<int>(b0 + b1), g = static_cast<int>(g0 + g1), r = static_cast<int>(r0 + r1);
        uyvy[i] =
            CbOf(b, g, r, 14) | Luma(b0, g0, r0) << 8 | CrOf(b, g, r, 14) << 16 | Luma(b1, g1, r1) << 24;
    }
}

void PixelsToPairsAlpha(const U32* __restrict bgra, U32* __restrict uyvy, U8* __restrict alpha,
                        std::size_t pixels) {
    PixelsToPairs(bgra, uyvy, pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        alpha[i] = static_cast<U8>(bgra[i] >> 24);
    }
}

void PixelsToYcc(const U32* __restrict bgra, U32* __restrict cbYCrA, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 p = bgra[i], b = p & 255, g = (p >> 8) & 255, r = (p >> 16) & 255;
        const int b1 = static_cast<int>(b), g1 = static_cast<int>(g), r1 = static_cast<int>(r);
        cbYCrA[i] = CbOf(b1, g1, r1, 13) | Luma(b, g, r) << 8 | CrOf(b1, g1, r1, 13) << 16 | (p & 0xFF000000);
    }
}

void Line420ToPixels(const U8* __restrict y, const U8* __restrict cb, const U8* __restrict cr,
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

void Planar411ToPixels(const U8* __restrict y, const U8* __restrict cb, const U8* __restrict cr,
                       U32* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 4; ++i) {
        const int u = 128 * cb[i] - 16384, v = 128 * cr[i] - 16384;
        const int b = (16526 * u) >> 16, g = ((-3210 * u) >> 16) + ((-6660 * v) >> 16);
        const int r = (13074 * v) >> 16;
        for (std::size_t k = 4 * i; k < 4 * i + 4; ++k) {
            const int luma = (9538 * (128 * y[k] - 2048)) >> 16;
            bgra[k] = Limit((luma + b) >> 4) | Limit((luma + g) >> 4) << 8 | Limit((luma + r) >> 4) << 16;
        }
    }
}

void LumaOf(const U32* __restrict bgra, U8* __restrict y, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 p = bgra[i];
        y[i] = static_cast<U8>(Luma(p & 255, (p >> 8) & 255, (p >> 16) & 255));
    }
}

void LinesTo420(const U32* __restrict bgra, U8* __restrict y, U8* __restrict cb, U8* __restrict cr,
                std::size_t pixels) {
    LumaOf(bgra, y, 2 * pixels);
    const U32* below = bgra + pixels;
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 p = bgra[2 * i], q = bgra[2 * i + 1], s = below[2 * i], t = below[2 * i + 1];
        const auto sum = [&](int shift) {
            return static_cast<int>(((p >> shift) & 255) + ((q >> shift) & 255) + ((s >> shift) & 255) +
                                    ((t >> shift) & 255));
        };
        const int b = sum(0), g = sum(8), r = sum(16);
        cb[i] = static_cast<U8>(CbOf(b, g, r, 15));
        cr[i] = static_cast<U8>(CrOf(b, g, r, 15));
    }
}

void PixelsTo411(const U32* __restrict bgra, U8* __restrict y, U8* __restrict cb, U8* __restrict cr,
                 std::size_t pixels) {
    LumaOf(bgra, y, pixels);
    for (std::size_t i = 0; i < pixels / 4; ++i) {
        int b = 0, g = 0, r = 0;
        for (std::size_t k = 4 * i; k < 4 * i + 4; ++k) {
            b += static_cast<int>(bgra[k] & 255);
            g += static_cast<int>((bgra[k] >> 8) & 255);
            r += static_cast<int>((bgra[k] >> 16) & 255);
        }
        cb[i] = static_cast<U8>(CbOf(b, g, r, 15));
        cr[i] = static_cast<U8>(CrOf(b, g, r, 15));
    }
}

void PairLumaOf(const U32* __restrict uyvy, U8* __restrict y, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        y[2 * i] = static_cast<U8>(uyvy[i] >> 8);
        y[2 * i + 1] = static_cast<U8>(uyvy[i] >> 24);
    }
}

void PairLinesTo420(const U32* __restrict uyvy, U8* __restrict y, U8* __restrict cb, U8* __restrict cr,
                    std::size_t pixels) {
    PairLumaOf(uyvy, y, 2 * pixels);
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 p = uyvy[i], q = uyvy[i + pixels / 2];
        cb[i] = static_cast<U8>(((p & 255) + (q & 255)) >> 1);
        cr[i] = static_cast<U8>((((p >> 16) & 255) + ((q >> 16) & 255)) >> 1);
    }
}

void PairsTo422(const U32* __restrict uyvy, U8* __restrict y, U8* __restrict cb, U8* __restrict cr,
                std::size_t pixels) {
    PairLumaOf(uyvy, y, pixels);
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        cb[i] = static_cast<U8>(uyvy[i]);
        cr[i] = static_cast<U8>(uyvy[i] >> 16);
    }
}

void Planar422ToPairs(const U8* __restrict y, const U8* __restrict cb, const U8* __restrict cr,
                      U8* __restrict uyvy, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        uyvy[4 * i] = cb[i];
        uyvy[4 * i + 1] = y[2 * i];
        uyvy[4 * i + 2] = cr[i];
        uyvy[4 * i + 3] = y[2 * i + 1];
    }
}

void SwapPairs(const U32* __restrict pairs, U32* __restrict swapped, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        swapped[i] = ((pairs[i] >> 8) & 0x00FF00FF) | ((pairs[i] & 0x00FF00FF) << 8);
    }
}

void PixelsTo24(const U8* __restrict bgra, U8* __restrict bgr, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        bgr[3 * i] = bgra[4 * i];
        bgr[3 * i + 1] = bgra[4 * i + 1];
        bgr[3 * i + 2] = bgra[4 * i + 2];
    }
}

void Pixels24ToPixels(const U8* __restrict bgr, U8* __restrict bgra, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        bgra[4 * i] = bgr[3 * i];
        bgra[4 * i + 1] = bgr[3 * i + 1];
        bgra[4 * i + 2] = bgr[3 * i + 2];
        bgra[4 * i + 3] = 255;
    }
}

U32 DividedBy255(U32 t) {
    return (t + 128 + ((t + 128) >> 8)) >> 8;
}

void Shape(const U32* __restrict bgra, U32* __restrict shaped, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 p = bgra[i], alpha = p >> 24;
        shaped[i] = DividedBy255((p & 255) * alpha) | DividedBy255(((p >> 8) & 255) * alpha) << 8 |
                    DividedBy255(((p >> 16) & 255) * alpha) << 16 | (p & 0xFF000000);
    }
}

void Unshape(const U32* __restrict shaped, U32* __restrict bgra, std::size_t pixels,
             const U32* __restrict reciprocals) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 p = shaped[i], reciprocal = reciprocals[p >> 24];
        const auto unshaped = [&](U32 c) { return ((c * reciprocal + 0x20000) >> 18) & 255; };
        bgra[i] = unshaped(p & 255) | unshaped((p >> 8) & 255) << 8 | unshaped((p >> 16) & 255) << 16 |
                  (p & 0xFF000000);
    }
}

}  // namespace

extern const Conversions kConversions;
const Conversions kConversions = {
    PairsToPixels, SwappedToPixels,  PairsAlphaToPixels, YccToPixels, PixelsToPairs,    PixelsToPairsAlpha,
    PixelsToYcc,   Line420ToPixels,  Planar411ToPixels,  LinesTo420,  PixelsTo411,      PairLinesTo420,
    PairsTo422,    Planar422ToPairs, SwapPairs,          PixelsTo24,  Pixels24ToPixels, Shape,
    Unshape};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
