#include <algorithm>
#include <cstdlib>

#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;

constexpr U32 kEven = 0x00FF00FF;  // bytes 0 and 2 of a word, as 16-bit numbers

/// Two samples at once, rounded quotients by 255 in the high bytes: u = t + 128, u + (u >> 8).
U32 BlendTwo(U32 a, U32 b, U32 alpha) {
    const U32 t = a * (255 - alpha) + b * alpha + 0x00800080;
    return t + ((t >> 8) & kEven);
}

/// All four bytes by one alpha.
U32 BlendFour(U32 a, U32 b, U32 alpha) {
    const U32 even = BlendTwo(a & kEven, b & kEven, alpha);
    const U32 odd = BlendTwo((a >> 8) & kEven, (b >> 8) & kEven, alpha);
    return ((even >> 8) & kEven) | (odd & ~kEven);
}

U32 AlphaOf32640(U8 key, Ramp ramp) {
    const int x = std::clamp((int{key} << 7) - ramp.threshold, 0, 32640);
    return static_cast<U32>(std::min((x * ramp.gain) >> 14, 255));
}

U32 AlphaOf65280(U8 key, Ramp ramp) {
    const auto x = static_cast<U32>(std::max((int{key} << 8) - ramp.threshold, 0));
    return std::min((x * static_cast<U32>(ramp.gain) + 32768) >> 16, U32{255});
}

void Dissolve(const U8* __restrict a, const U8* __restrict b, U8* __restrict out, std::size_t bytes,
              int weight) {
    // b + w (a - b) in 16 bits: what wraps is above the byte that is kept.
    const auto w = static_cast<std::int16_t>(weight);
    for (std::size_t i = 0; i < bytes; ++i) {
        out[i] = static_cast<U8>(b[i] + (static_cast<std::int16_t>(w * (a[i] - b[i]) + 128) >> 8));
    }
}

void CompositeTwoSources(const U32* __restrict a, const U32* __restrict b, U32* __restrict out,
                         std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = BlendFour(a[i], b[i], b[i] >> 24);
    }
}

void CompositeByPlane(const U32* __restrict a, const U32* __restrict b, const U8* __restrict alpha,
                      U32* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = BlendFour(a[i], b[i], alpha[i]);
    }
}

void WipePixels(const U32* __restrict a, const U32* __restrict b, const U8* __restrict key,
                U32* __restrict out, std::size_t pixels, Ramp ramp) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = BlendFour(a[i], b[i], AlphaOf32640(key[i], ramp));
    }
}

void WipePairs(const U32* __restrict a, const U32* __restrict b, const U8* __restrict key,
               U32* __restrict out, std::size_t pixels, Ramp ramp) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 first = AlphaOf65280(key[2 * i], ramp), second = AlphaOf65280(key[2 * i + 1], ramp);
        const U32 chroma = BlendTwo(a[i] & kEven, b[i] & kEven, first);
        U32 luma0 = ((a[i] >> 8) & 255) * (255 - first) + ((b[i] >> 8) & 255) * first + 128;
        U32 luma1 = (a[i] >> 24) * (255 - second) + (b[i] >> 24) * second + 128;
        luma0 += luma0 >> 8;
        luma1 += luma1 >> 8;
        out[i] = ((chroma >> 8) & kEven) | (luma0 & 0xFF00) | ((luma1 & 0xFF00) << 16);
    }
}

void WipeBytes(const U8* __restrict a, const U8* __restrict b, const U8* __restrict key, U8* __restrict out,
               std::size_t bytes, Ramp ramp) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const U32 alpha = AlphaOf65280(key[i], ramp);
        const U32 t = a[i] * (255 - alpha) + b[i] * alpha + 128;
        out[i] = static_cast<U8>((t + (t >> 8)) >> 8);
    }
}

/// Two samples at once under `share` of 256 of a colour, in the low bytes.
U32 TwoUnder(U32 source, U32 colour, U32 share) {
    return ((source * (256 - share) + colour * share + 0x00800080) >> 8) & kEven;
}

U32 Choose(U32 isB, U32 a, U32 b) {
    return a ^ ((a ^ b) & isB);
}

void BorderPixels(const U32* __restrict a, const U32* __restrict b, const U8* __restrict key,
                  U32* __restrict out, std::size_t pixels, const Border& border) {
    const U32 colour = border.colour;
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 share = border.share[key[i]], source = Choose(border.isB[key[i]], a[i], b[i]);
        out[i] = TwoUnder(source & kEven, colour & kEven, share) |
                 TwoUnder((source >> 8) & kEven, (colour >> 8) & kEven, share) << 8;
    }
}

void BorderPairs(const U32* __restrict a, const U32* __restrict b, const U8* __restrict key,
                 U32* __restrict out, std::size_t pixels, const Border& border) {
    const U32 colour = border.colour;
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 first = border.share[key[2 * i]], second = border.share[key[2 * i + 1]];
        const U32 source0 = Choose(border.isB[key[2 * i]], a[i], b[i]);
        const U32 source1 = Choose(border.isB[key[2 * i + 1]], a[i], b[i]);
        out[i] = TwoUnder(source0 & kEven, colour & kEven, first) |
                 TwoUnder((source0 >> 8) & 255, (colour >> 8) & 255, first) << 8 |
                 TwoUnder(source1 >> 24, colour >> 24, second) << 24;
    }
}

void OverStraight(const U32* __restrict a, const U32* __restrict b, U32* __restrict out, std::size_t pixels,
                  U32 fade) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = BlendFour(b[i], a[i], ((a[i] >> 24) * fade + 128) >> 8);
    }
}

void OverShaping(const U32* __restrict a, const U32* __restrict b, U32* __restrict out, std::size_t pixels,
                 U32 fade) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 alpha = b[i] >> 24;
        const U32 even = (BlendTwo(0, b[i] & kEven, alpha) >> 8) & kEven;
        U32 green = ((b[i] >> 8) & 255) * alpha + 128;
        green = (green + (green >> 8)) & 0xFF00;
        out[i] = BlendFour(even | green | alpha << 24, a[i] | 0xFF000000, ((a[i] >> 24) * fade + 128) >> 8);
    }
}

/// One luma sample without its offset of 16: quotients by 255 are rounded from there on, and go up below.
U32 LumaOver(U32 a, U32 b, U32 alpha) {
    const U32 t = a * alpha + b * (255 - alpha);
    const U32 u = t + (t < 255 * 16 ? 255 : 128);
    return (((u + (u >> 8)) >> 8) - 16) & 255;
}

void OverPairs(const U32* __restrict a, const U32* __restrict b, const U8* __restrict alpha,
               U32* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 first = alpha[2 * i], second = alpha[2 * i + 1];
        // Two chroma samples at once; the highest bit of each half says that it lies above 255 * 128.
        U32 u = (a[i] & kEven) * first + (b[i] & kEven) * (255 - first) + 0x00800080;
        u += ((~u >> 15) & 0x00010001) * 127;
        u += (u >> 8) & kEven;
        out[i] = (((u >> 8) & kEven) ^ 0x00800080) |
                 LumaOver((a[i] >> 8) & 255, (b[i] >> 8) & 255, first) << 8 |
                 LumaOver(a[i] >> 24, b[i] >> 24, second) << 24;
    }
}

void SumOfAbsDiffs(const U8* __restrict a, const U8* __restrict b, U8* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        U16 sum = 0;
        for (std::size_t k = 4 * i; k < 4 * i + 3; ++k) {
            sum = static_cast<U16>(sum + static_cast<U8>(a[k] > b[k] ? a[k] - b[k] : b[k] - a[k]));
        }
        out[i] = static_cast<U8>(sum > 255 ? 255 : sum);
    }
}

void Fill(U32* __restrict out, std::size_t pixels, U32 colour) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = colour;
    }
}

void Copy(const U32* __restrict source, U32* __restrict out, std::size_t words) {
    for (std::size_t i = 0; i < words; ++i) {
        out[i] = source[i];
    }
}

}  // namespace

extern const Blends kBlends;
const Blends kBlends = {
    Dissolve,    CompositeTwoSources, CompositeByPlane, WipePixels, WipePairs,     WipeBytes, BorderPixels,
    BorderPairs, OverStraight,        OverShaping,      OverPairs,  SumOfAbsDiffs, Fill,      Copy};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
