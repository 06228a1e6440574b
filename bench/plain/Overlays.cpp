#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U32 = std::uint32_t;

/// Out of 255, to the nearest, also below 0.
inline int Divided(int t) {
    t += 128;
    return (t + (t >> 8)) >> 8;
}
inline int Sample(U32 word, int shift) {
    return static_cast<int>(word >> shift & 255);
}
inline U32 Placed(int value, int shift) {
    return static_cast<U32>(value & 255) << shift;
}

void Shaped(const U32* __restrict front, const U32* __restrict back, U32* __restrict out,
            std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 f = front[i], b = back[i];
        const int rest = 255 - Sample(f, 24);
        U32 word = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            word |= Placed(Sample(f, shift) + Divided(rest * Sample(b, shift)), shift);
        }
        out[i] = word;
    }
}

void Straight24(const U8* __restrict front, const U8* __restrict back, U8* __restrict out,
                std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const int a = front[4 * i + 3];
        for (std::size_t c = 0; c < 3; ++c) {
            out[3 * i + c] = static_cast<U8>(Divided((255 - a) * back[3 * i + c] + a * front[4 * i + c]));
        }
    }
}

void Union(const U32* __restrict front, const U32* __restrict back, U32* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 f = front[i], b = back[i];
        const int a = Sample(f, 24), ab = Sample(b, 24), alpha = a + ab - Divided(a * ab);
        const int w = alpha == 0 ? 0 : a * 255 / alpha;
        U32 word = Placed(alpha, 24);
        for (int shift = 0; shift < 24; shift += 8) {
            word |= Placed(Divided((255 - w) * Sample(b, shift) + w * Sample(f, shift)), shift);
        }
        out[i] = word;
    }
}

constexpr int kBlack[4] = {128, 16, 128, 16};

void Pairs(const U8* __restrict front, const U8* __restrict alpha, const U8* __restrict back,
           U8* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; i += 2) {
        for (std::size_t c = 0; c < 4; ++c) {
            const std::size_t at = 2 * i + c;
            const int a = alpha[i + c / 3], black = kBlack[c];
            out[at] =
                static_cast<U8>(Divided((255 - a) * (back[at] - black) + a * (front[at] - black)) + black);
        }
    }
}

void PairsShaped(const U8* __restrict front, const U8* __restrict alpha, const U8* __restrict back,
                 U8* __restrict out, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; i += 2) {
        for (std::size_t c = 0; c < 4; ++c) {
            const std::size_t at = 2 * i + c;
            const int a = alpha[i + c / 3], black = kBlack[c];
            out[at] = static_cast<U8>(Divided((255 - a) * (back[at] - black)) + front[at]);
        }
    }
}

void PairsUnion(const U8* __restrict front, const U8* __restrict alpha, const U8* __restrict back,
                const U8* __restrict backAlpha, U8* __restrict out, U8* __restrict outAlpha,
                std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; i += 2) {
        int w[2];
        for (std::size_t k = 0; k < 2; ++k) {
            const int a = alpha[i + k], ab = backAlpha[i + k], both = a + ab - Divided(a * ab);
            w[k] = both == 0 ? 0 : a * 255 / both;
            outAlpha[i + k] = static_cast<U8>(both);
        }
        for (std::size_t c = 0; c < 4; ++c) {
            const std::size_t at = 2 * i + c;
            out[at] = static_cast<U8>(back[at] + Divided(w[c / 3] * (front[at] - back[at])));
        }
    }
}

}  // namespace

extern const Overlays kOverlays;
const Overlays kOverlays = {Shaped, Straight24, Union, Pairs, PairsShaped, PairsUnion};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
