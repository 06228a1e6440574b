// Compiled with -ffast-math: what one writes for speed.

#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U32 = std::uint32_t;

template <class Real>
inline Real Limited(Real value, Real most) {
    value = value < 0 ? 0 : value;
    return value > most ? most : value;
}

/// One chroma value.
template <class Real>
struct Keyed {
    Real m, cb, cr;

    Keyed(U32 word, const FloatKey& key) {
        const Real b = static_cast<Real>(static_cast<int>(word & 255) - 128) * static_cast<Real>(1.0 / 128),
                   r = static_cast<Real>(static_cast<int>(word >> 16 & 255) - 128) *
                       static_cast<Real>(1.0 / 128);
        const auto c = static_cast<Real>(key.cosine), s = static_cast<Real>(key.sine);
        const Real x = c * b + s * r, z = c * r - s * b;
        Real k = Limited<Real>(x - (z < 0 ? -z : z) * static_cast<Real>(key.slope), 1);
        k = x < static_cast<Real>(key.minimum) ? 0 : k;
        m = 1 - Limited<Real>((k + static_cast<Real>(key.offset)) * static_cast<Real>(key.gain), 1);
        cb = Limited<Real>((b - static_cast<Real>(key.spillB) * k) * 128 + static_cast<Real>(128.5), 255);
        cr = Limited<Real>((r - static_cast<Real>(key.spillR) * k) * 128 + static_cast<Real>(128.5), 255);
    }
};

template <class Real>
inline U32 Mixed(U32 back, int shift, Real front, Real m) {
    const Real b = static_cast<Real>(static_cast<int>(back >> shift & 255));
    return static_cast<U32>(static_cast<int>(b + (front - b) * m + static_cast<Real>(0.5))) << shift;
}
template <class Real>
inline Real Sample(U32 word, int shift) {
    return static_cast<Real>(static_cast<int>(word >> shift & 255));
}
template <class Real>
inline Real Whole(Real value) {
    return static_cast<Real>(static_cast<int>(value));
}

void KeyPairs(const U32* __restrict front, const U32* __restrict back, U32* __restrict out,
              std::uint16_t* __restrict keys, std::size_t pixels, FloatKey key) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const U32 f = front[i], b = back[i];
        const Keyed<float> at(f, key);
        out[i] = Mixed(b, 0, Whole(at.cb), at.m) | Mixed(b, 8, Sample<float>(f, 8), at.m) |
                 Mixed(b, 16, Whole(at.cr), at.m) | Mixed(b, 24, Sample<float>(f, 24), at.m);
        keys[i] = static_cast<std::uint16_t>(0x101 * static_cast<int>(at.m * 255 + 0.5F));
    }
}

void KeyPixels(const U32* __restrict front, const U32* __restrict back, U32* __restrict out,
               U8* __restrict keys, std::size_t pixels, FloatKey key) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const U32 f = front[i], b = back[i];
        const Keyed<double> at(f, key);
        out[i] = Mixed(b, 0, Whole(at.cb), at.m) | Mixed(b, 8, Sample<double>(f, 8), at.m) |
                 Mixed(b, 16, Whole(at.cr), at.m) | 0xFF000000U;
        keys[i] = static_cast<U8>(static_cast<int>(at.m * 255 + 0.5));
    }
}

struct FixedKeyed {
    int m;
    U32 front;

    FixedKeyed(U32 word, const FixedKey& key) {
        const int b = static_cast<int>(word & 255) - 128, r = static_cast<int>(word >> 16 & 255) - 128;
        const int x = r * key.sine + b * key.cosine, z = r * key.cosine - b * key.sine;
        const int along = x - (((z < 0 ? -z : z) * key.slope) >> 7);
        int k = (along + 32) >> 6;
        k = k > 255 ? 255 : k;
        k = x >= key.minimum && along >= 0 ? k : 0;
        m = 255 - Limited(((k + key.offset) * key.gain) >> 7, 255);
        front = (word & 0xFF00FF00U) | static_cast<U32>(Limited(128 - ((k * key.spillB) >> 7) + b, 255)) |
                static_cast<U32>(Limited(128 - ((k * key.spillR) >> 7) + r, 255)) << 16;
    }
};

inline U32 MixedFixed(U32 back, U32 front, int shift, int m) {
    const U32 t = static_cast<U32>(255 - m) * (back >> shift & 255) +
                  static_cast<U32>(m) * (front >> shift & 255) + 128;
    return ((t + (t >> 8)) >> 8) << shift;
}

void KeyPairsFixed(const U32* __restrict front, const U32* __restrict back, U32* __restrict out,
                   std::uint16_t* __restrict keys, std::size_t pixels, FixedKey key) {
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        const FixedKeyed at(front[i], key);
        const U32 b = back[i];
        out[i] = MixedFixed(b, at.front, 0, at.m) | MixedFixed(b, at.front, 8, at.m) |
                 MixedFixed(b, at.front, 16, at.m) | MixedFixed(b, at.front, 24, at.m);
        keys[i] = static_cast<std::uint16_t>(0x101 * at.m);
    }
}

void KeyPixelsFixed(const U32* __restrict front, const U32* __restrict back, U32* __restrict out,
                    U8* __restrict keys, std::size_t pixels, FixedKey key) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const FixedKeyed at(front[i], key);
        const U32 b = back[i];
        out[i] = MixedFixed(b, at.front, 0, at.m) | MixedFixed(b, at.front, 8, at.m) |
                 MixedFixed(b, at.front, 16, at.m) | 0xFF000000U;
        keys[i] = static_cast<U8>(at.m);
    }
}

void TableOfLuma(const U8* __restrict uyvy, U8* __restrict out, std::size_t pixels, const U8* table) {
    for (std::size_t i = 0; i < pixels; ++i) {
        out[i] = table[uyvy[2 * i + 1]];
    }
}

}  // namespace

extern const Keys kKeys;
const Keys kKeys = {KeyPairs, KeyPixels, KeyPairsFixed, KeyPixelsFixed, TableOfLuma};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
