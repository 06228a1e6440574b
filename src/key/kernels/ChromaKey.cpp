// The chroma keyer: key, suppression and mix of a picture in one pass.

#include "key/kernels/ChromaKey.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "key/kernels/ChromaKey.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "key/kernels/ChromaKeyLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

constexpr std::size_t kForeground = 0, kBackground = 1, kAlpha = 2;
constexpr std::size_t kResult = 0, kKey = 1;

// ---- Words ------------------------------------------------------------------------------------------------

/// Words of one pixel, or of two that share their chroma.
template <std::size_t PixelsOfWord>
constexpr PlaneUse WordPlane(std::size_t index, bool mayBeMissing = false) {
    return {.index = index,
            .bytesPer16 = 64 / PixelsOfWord,
            .columns = PixelsOfWord,
            .mayBeMissing = mayBeMissing};
}

template <std::size_t PixelsOfWord, bool WritesKey>
struct KeyPlanes {
    using Place = simd::Place<3, 2>;
    static constexpr PlaneUse kSources[] = {WordPlane<PixelsOfWord>(kForeground),
                                            WordPlane<PixelsOfWord>(kBackground, true),
                                            {.index = kAlpha, .columns = PixelsOfWord, .mayBeMissing = true}};
    static constexpr PlaneUse kDestinations[] = {WordPlane<PixelsOfWord>(kResult),
                                                 {.index = kKey, .columns = PixelsOfWord}};
};

template <std::size_t PixelsOfWord>
struct KeyPlanes<PixelsOfWord, false> : KeyPlanes<PixelsOfWord, true> {
    static constexpr PlaneUse kDestinations[] = {WordPlane<PixelsOfWord>(kResult)};
};

/// The kernel: `Arithmetic` on words.
template <class Arithmetic, std::size_t PixelsOfWord, bool WritesKey>
struct KeyWords : KeyPlanes<PixelsOfWord, WritesKey> {
    using Place = simd::Place<3, 2>;
    static constexpr std::size_t kUnit = PixelsOfWord, kBytes = 4 / PixelsOfWord;  // of a pixel
    static constexpr bool kIsPairs = PixelsOfWord == 2;
    static constexpr bool kTakesAlpha = kIsPairs && !std::is_same_v<Arithmetic, FixedKey>;

    HWY_ATTR explicit KeyWords(const ChromaKeySettings& s)
        : settings(s),
          arithmetic(s),
#if HWY_TARGET != HWY_SCALAR
          lanes(s),
#endif
          showsKey(s.showsKey),
          keyIsFull(s.showsKey && s.keyIsFull) {
        const auto neutral = arithmetic(128, 128);
        unkeyedKey = arithmetic.Full(neutral.m);
        // Neither, where foreground and background mix, however little.
        unkeyed = neutral.m == Arithmetic::kOpaque ? 255 : neutral.m == 0 ? 0 : 128;
    }

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* in = at.in[kForeground][0] + kBytes * x;
        const std::uint8_t* background = Behind(at.in[kBackground][0], kBytes * x);
        const std::uint8_t* alpha = kTakesAlpha ? Behind(at.in[kAlpha][0], x) : nullptr;
        const auto key = arithmetic(in[0], in[2]);
        const std::uint8_t made[4] = {key.cb, in[1], key.cr, in[3]};
        std::uint8_t keys[PixelsOfWord];
        for (std::size_t i = 0; i < PixelsOfWord; ++i) {
            keys[i] = arithmetic.Full(key.m);
            if constexpr (kTakesAlpha) {
                if (alpha != nullptr) {
                    keys[i] = showsKey ? arithmetic.Truncated(alpha[i], key.m)
                                       : arithmetic.Nearest(alpha[i], key.m);
                }
            }
        }

        std::uint8_t* out = at.out[kResult][0] + kBytes * x;
        if (showsKey) {
            out[0] = 128;
            out[1] = keys[0];
            out[2] = 128;
            out[3] = kIsPairs ? keys[PixelsOfWord - 1] : made[3];
        } else if (background == nullptr) {
            std::copy_n(made, 4, out);
        } else {
            for (std::size_t i = 0; i < 4; ++i) {
                if (!kIsPairs && i == 3) {
                    out[i] = 255;
                } else if (alpha != nullptr) {
                    out[i] = MixBy255(made[i], background[i], keys[i / 3 % PixelsOfWord]);
                } else {
                    out[i] = arithmetic.Mix(made[i], background[i], key.m);
                }
            }
        }
        if constexpr (WritesKey) {
            for (std::size_t i = 0; i < PixelsOfWord; ++i) {
                at.out[kKey][0][x + i] = keyIsFull ? std::uint8_t{255} : keys[i];
            }
        }
    }

    static const std::uint8_t* Behind(const std::uint8_t* row, std::size_t bytes) {
        return row != nullptr ? row + bytes : nullptr;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes * PixelsOfWord;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        [[maybe_unused]] VU8 keyBytes[2];
        for (std::size_t i = 0; i < 2; ++i) {
            const std::size_t bytes = kBytes * x + 2 * i * kVectorBytes;
            const std::uint8_t* alpha =
                kTakesAlpha ? Behind(at.in[kAlpha][0], x + i * kVectorBytes) : nullptr;
            VU8 made[2];
            VI16 keys[2] = {hn::Zero(DI16()), hn::Zero(DI16())};
            Two(at.in[kForeground][0] + bytes, Behind(at.in[kBackground][0], bytes), alpha, made, keys);
            put(d, made[0], at.out[kResult][0] + bytes);
            put(d, made[1], at.out[kResult][0] + bytes + kVectorBytes);
            if constexpr (WritesKey) {
                keyBytes[i] = keyIsFull ? hn::Set(d, 255) : PackToBytes(keys[0], keys[1]);
            }
        }
        if constexpr (WritesKey) {
            PutKeys<PixelsOfWord>(keyBytes[0], keyBytes[1], at.out[kKey][0] + x, put);
        }
    }

    /// Two vectors of words and their keys.
    HWY_INLINE HWY_ATTR void Two(const std::uint8_t* in, const std::uint8_t* background,
                                 const std::uint8_t* alpha, VU8 (&made)[2], VI16 (&keys)[2]) const {
        const DU8 d;
        if constexpr (std::is_same_v<Arithmetic, DoubleKey>) {
            VI16 doubt[2];
            if (showsKey || alpha != nullptr) {
                doubt[0] = doubt[1] = hn::Set(DI16(), -1);
                made[0] = made[1] = hn::Zero(d);
            } else {
                TwoWithDoubt(in, background, made, keys, doubt);
            }
            for (std::size_t i = 0; i < 2; ++i) {
                if (!hn::AllTrue(DI16(), hn::Eq(doubt[i], hn::Zero(DI16())))) [[unlikely]] {
                    MadeWords exact;
                    ExactWords<PixelsOfWord>(settings, in + i * kVectorBytes,
                                             Behind(background, i * kVectorBytes),
                                             Behind(alpha, i * kVectorBytes / 2), exact);
                    made[i] = hn::BitCast(d, hn::Load(DI32(), exact.words));
                    keys[i] = hn::BitCast(DI16(), hn::Load(DI32(), exact.keys));
                }
            }
        } else {
            const VU8 words[2] = {hn::LoadU(d, in), hn::LoadU(d, in + kVectorBytes)};
            VI16 chroma[2] = {ChromaOf(words[0]), ChromaOf(words[1])};
            typename Lanes::K k[2];
            typename Lanes::M m[2];
            const bool hasKey = lanes.Start(chroma, k);
            if (!hasKey && !showsKey && alpha == nullptr && MakeUnkeyed(words, background, made, keys)) {
                return;
            }
            lanes.Weigh(k, m);
            if (background != nullptr && MakeBackground(lanes.AnyOf(m), background, made, keys)) {
                return;
            }
            if (!showsKey) {
                lanes.Clean(k, chroma);
            }
            for (std::size_t i = 0; i < 2; ++i) {
                VI16 luma = LumaOf(words[i]);
                keys[i] = lanes.Full(m[i]);
                if constexpr (kTakesAlpha) {
                    if (alpha != nullptr) {
                        const hn::Half<DU8> half;
                        const VI16 scale =
                            hn::PromoteTo(DI16(), hn::LoadU(half, alpha + i * kVectorBytes / 2));
                        keys[i] = showsKey ? lanes.TruncatedKey(scale, m[i]) : lanes.Nearest(scale, m[i]);
                    }
                }
                if (showsKey) {
                    const VI16 last = kIsPairs ? keys[i] : luma;
                    made[i] = WordsOf(hn::Set(DI16(), 128), MergeEvenOdd(keys[i], last));
                    continue;
                }
                if (background == nullptr) {
                    made[i] = WordsOf(chroma[i], luma);
                    continue;
                }
                const VU8 behind = hn::LoadU(d, background + i * kVectorBytes);
                if (alpha != nullptr) {
                    const VI16 most = hn::Set(DI16(), 255);
                    alignas(16) static constexpr std::uint8_t kFirst[16] = {0, 1, 0, 1, 4,  5,  4,  5,
                                                                            8, 9, 8, 9, 12, 13, 12, 13};
                    const VI16 first = hn::BitCast(
                        DI16(), hn::TableLookupBytes(hn::BitCast(d, keys[i]), InEveryBlock(kFirst)));
                    chroma[i] = MixLanesBy255(chroma[i], ChromaOf(behind), first, hn::Xor(first, most));
                    luma = MixLanesBy255(luma, LumaOf(behind), keys[i], hn::Xor(keys[i], most));
                } else {
                    chroma[i] = lanes.Mix(chroma[i], ChromaOf(behind), m[i]);
                    luma = lanes.Mix(luma, LumaOf(behind), m[i]);
                }
                made[i] = Opaque(WordsOf(chroma[i], luma));
            }
        }
    }

    /// The same in processed rows without alpha, where single precision is in no doubt.
    HWY_INLINE HWY_ATTR void TwoWithDoubt(const std::uint8_t* in, const std::uint8_t* background,
                                          VU8 (&made)[2], VI16 (&keys)[2], VI16 (&doubt)[2]) const {
        const DU8 d;
        const DI16 d16;
        const VU8 words[2] = {hn::LoadU(d, in), hn::LoadU(d, in + kVectorBytes)};
        VI16 chroma[2] = {ChromaOf(words[0]), ChromaOf(words[1])};
        DoubleKeyLanes::K k[2];
        DoubleKeyLanes::M m[2];
        if (!lanes.Start(chroma, k, doubt) && MakeUnkeyed(words, background, made, keys)) {
            return;
        }
        lanes.Weigh(k, m);
        if (background != nullptr && MakeBackground(lanes.AnyOf(m), background, made, keys)) {
            return;
        }
        lanes.Clean(k, chroma, doubt);
        for (std::size_t i = 0; i < 2; ++i) {
            VI16 luma = LumaOf(words[i]);
            if (kIsPairs || background == nullptr) {
                if constexpr (WritesKey) {
                    keys[i] = lanes.Mix(hn::Set(d16, 255), hn::Zero(d16), m[i], doubt[i]);
                }
            }
            if (background == nullptr) {
                made[i] = WordsOf(chroma[i], luma);
                continue;
            }
            const VU8 behind = hn::LoadU(d, background + i * kVectorBytes);
            VI16 lumaBehind = LumaOf(behind);
            if constexpr (!kIsPairs) {
                // In place of alpha 255 over 0, which becomes the key.
                luma = hn::Or(luma, InTurn(0, 255));
                lumaBehind = hn::And(lumaBehind, InTurn(255, 0));
            }
            chroma[i] = lanes.Mix(chroma[i], ChromaOf(behind), m[i], doubt[i]);
            luma = lanes.Mix(luma, lumaBehind, m[i], doubt[i]);
            made[i] = Opaque(WordsOf(chroma[i], luma));
            if constexpr (!kIsPairs) {
                keys[i] = hn::BitCast(d16, hn::ShiftRight<16>(hn::BitCast(DU32(), luma)));
            }
        }
    }

    static HWY_INLINE HWY_ATTR VU8 Opaque(VU8 words) {
        return kIsPairs ? words : hn::Or(words, hn::BitCast(DU8(), hn::Set(DU32(), 0xFF000000U)));
    }

    /// Where nothing is keyed; false if foreground and background mix there.
    HWY_INLINE HWY_ATTR bool MakeUnkeyed(const VU8 (&words)[2], const std::uint8_t* background,
                                         VU8 (&made)[2], VI16 (&keys)[2]) const {
        // What single precision takes for 0 may be more by a little, which 0 and 255 do not show.
        constexpr bool kIsRounded = std::is_same_v<Arithmetic, DoubleKey>;
        if ((background != nullptr || kIsRounded) && unkeyed != 0 && unkeyed != 255) {
            return false;
        }
        for (std::size_t i = 0; i < 2; ++i) {
            made[i] = background == nullptr ? words[i]
                      : unkeyed == 255      ? Opaque(words[i])
                                            : Opaque(hn::LoadU(DU8(), background + i * kVectorBytes));
            keys[i] = hn::Set(DI16(), unkeyedKey);
        }
        return true;
    }

    /// Where the background alone shows, which no key says.
    static HWY_INLINE HWY_ATTR bool MakeBackground(VI16 any, const std::uint8_t* background, VU8 (&made)[2],
                                                   VI16 (&keys)[2]) {
        const VI16 none = hn::Zero(DI16());
        if (!hn::AllTrue(DI16(), hn::Eq(any, none))) {
            return false;
        }
        for (std::size_t i = 0; i < 2; ++i) {
            made[i] = Opaque(hn::LoadU(DU8(), background + i * kVectorBytes));
            keys[i] = none;
        }
        return true;
    }
#endif

    const ChromaKeySettings& settings;
    Arithmetic arithmetic;
#if HWY_TARGET != HWY_SCALAR
    using Lanes = std::conditional_t<
        std::is_same_v<Arithmetic, DoubleKey>, DoubleKeyLanes,
        std::conditional_t<std::is_same_v<Arithmetic, FixedKey>, FixedKeyLanes, SingleKeyLanes>>;
    Lanes lanes;
#endif
    bool showsKey, keyIsFull;
    // Where k is 0.
    std::uint8_t unkeyedKey, unkeyed;
};

// ---- Kernels ----------------------------------------------------------------------------------------------

template <class Arithmetic, std::size_t PixelsOfWord>
HWY_ATTR void RunKey(const ChromaKeyJob& job, const ChromaKeySettings& settings) {
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
