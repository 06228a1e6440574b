// The chroma keyer: key, suppression and mix of a picture in one pass.

#include "key/kernels/ChromaKey.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "key/kernels/ChromaKey.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

constexpr std::size_t kForeground = 0, kBackground = 1, kAlpha = 2;
constexpr std::size_t kResult = 0, kKey = 1;

// ---- One word ---------------------------------------------------------------------------------------------

/// The planes: words of one pixel, or of two that share their chroma.
template <std::size_t PixelsOfWord>
struct KeyPlanes {
    using Place = simd::Place<3, 2>;
    static constexpr std::size_t kUnit = PixelsOfWord;
    static constexpr bool kIsPairs = PixelsOfWord == 2;
    static constexpr PlaneUse Words(std::size_t index, bool mayBeMissing) {
        return {.index = index,
                .bytesPer16 = 64 / PixelsOfWord,
                .columns = PixelsOfWord,
                .mayBeMissing = mayBeMissing};
    }
    static constexpr PlaneUse kSources[] = {Words(kForeground, false),
                                            Words(kBackground, true),
                                            {.index = kAlpha, .columns = PixelsOfWord, .mayBeMissing = true}};
};

template <class Arithmetic, std::size_t PixelsOfWord>
struct KeyedWords : KeyPlanes<PixelsOfWord> {
    using Base = KeyPlanes<PixelsOfWord>;
    using typename Base::Place;
    static constexpr bool kTakesAlpha = Base::kIsPairs && !std::is_same_v<Arithmetic, FixedKey>;

    explicit KeyedWords(const ChromaKeySettings& s) : settings(s), arithmetic(s) {}

    /// Makes a word and the keys of its pixels.
    void Word(const std::uint8_t* in, const std::uint8_t* background, const std::uint8_t* alpha,
              std::uint8_t* out, std::uint8_t* keys) const {
        const auto key = arithmetic(in[0], in[2]);
        const std::uint8_t made[4] = {key.cb, in[1], key.cr, in[3]};
        for (std::size_t i = 0; i < PixelsOfWord; ++i) {
            keys[i] = arithmetic.Full(key.m);
            if constexpr (kTakesAlpha) {
                if (alpha != nullptr) {
                    keys[i] = settings.showsKey ? arithmetic.Truncated(alpha[i], key.m)
                                                : arithmetic.Nearest(alpha[i], key.m);
                }
            }
        }
        if (settings.showsKey) {
            out[0] = 128;
            out[1] = keys[0];
            out[2] = 128;
            out[3] = Base::kIsPairs ? keys[PixelsOfWord - 1] : in[3];
        } else if (background == nullptr) {
            std::copy_n(made, 4, out);
        } else {
            for (std::size_t i = 0; i < 4; ++i) {
                if (!Base::kIsPairs && i == 3) {
                    out[i] = 255;
                } else if (kTakesAlpha && alpha != nullptr) {
                    out[i] = MixBy255(made[i], background[i], keys[i / 3]);
                } else {
                    out[i] = arithmetic.Mix(made[i], background[i], key.m);
                }
            }
        }
        if (settings.showsKey && settings.keyIsFull) {
            std::fill_n(keys, PixelsOfWord, std::uint8_t{255});
        }
    }

    const ChromaKeySettings& settings;
    Arithmetic arithmetic;
};

/// The kernel, with or without a plane for the key.
template <class Arithmetic, std::size_t PixelsOfWord, bool WritesKey>
struct KeyWords : KeyedWords<Arithmetic, PixelsOfWord> {
    using Base = KeyedWords<Arithmetic, PixelsOfWord>;
    using typename Base::Place;
    static constexpr PlaneUse kDestinations[] = {Base::Words(kResult, false),
                                                 {.index = kKey, .columns = PixelsOfWord}};

    using Base::Base;

    void Unit(const Place& at, std::size_t x) const {
        constexpr std::size_t kBytes = 4 / PixelsOfWord;
        const auto behind = [](const std::uint8_t* row, std::size_t bytes) {
            return row != nullptr ? row + bytes : nullptr;
        };
        std::uint8_t keys[PixelsOfWord];
        Base::Word(at.in[kForeground][0] + kBytes * x, behind(at.in[kBackground][0], kBytes * x),
                   behind(at.in[kAlpha][0], x), at.out[kResult][0] + kBytes * x, keys);
        std::copy_n(keys, PixelsOfWord, at.out[kKey][0] + x);
    }
};

template <class Arithmetic, std::size_t PixelsOfWord>
struct KeyWords<Arithmetic, PixelsOfWord, false> : KeyedWords<Arithmetic, PixelsOfWord> {
    using Base = KeyedWords<Arithmetic, PixelsOfWord>;
    using typename Base::Place;
    static constexpr PlaneUse kDestinations[] = {Base::Words(kResult, false)};

    using Base::Base;

    void Unit(const Place& at, std::size_t x) const {
        constexpr std::size_t kBytes = 4 / PixelsOfWord;
        const auto behind = [](const std::uint8_t* row, std::size_t bytes) {
            return row != nullptr ? row + bytes : nullptr;
        };
        std::uint8_t keys[PixelsOfWord];
        Base::Word(at.in[kForeground][0] + kBytes * x, behind(at.in[kBackground][0], kBytes * x),
                   behind(at.in[kAlpha][0], x), at.out[kResult][0] + kBytes * x, keys);
    }
};

// ---- Kernels ----------------------------------------------------------------------------------------------

template <class Arithmetic, std::size_t PixelsOfWord>
void RunKey(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    if (job.destination[kKey].first != nullptr) {
        Walk(KeyWords<Arithmetic, PixelsOfWord, true>(settings), job);
    } else {
        Walk(KeyWords<Arithmetic, PixelsOfWord, false>(settings), job);
    }
}

void PixelsDouble(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    RunKey<DoubleKey, 1>(job, settings);
}
void PixelsFixed(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    RunKey<FixedKey, 1>(job, settings);
}
void PairsDouble(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    RunKey<DoubleKey, 2>(job, settings);
}
void PairsSingle(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    RunKey<SingleKey, 2>(job, settings);
}
void PairsFixed(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
    RunKey<FixedKey, 2>(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ChromaKeyKernel, kKeyPixelsDouble, PixelsDouble);
TESSELU_KERNEL(ChromaKeyKernel, kKeyPixelsFixed, PixelsFixed);
TESSELU_KERNEL(ChromaKeyKernel, kKeyPairsDouble, PairsDouble);
TESSELU_KERNEL(ChromaKeyKernel, kKeyPairsSingle, PairsSingle);
TESSELU_KERNEL(ChromaKeyKernel, kKeyPairsFixed, PairsFixed);

}  // namespace Zan

#endif  // HWY_ONCE
