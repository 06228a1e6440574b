// The chroma keyer against a second, plain model, at every pair of chroma samples.

#include <cmath>

#include "key/ChromaCalls.h"

using namespace key_test;

namespace {

/// A picture with every pair of Cb and Cr: in words 256 by 256 pixels, in pairs 512 by 256.
class ChromaPlane {
public:
    explicit ChromaPlane(Zan::AggregateChannelSamplingEnum sampling) : picture(FormatOf(sampling)) {}

    Picture& Get() { return picture; }
    key_model::Word At(std::size_t i) {
        const std::uint8_t* const bytes = picture.ColourMemory().Data() + 4 * i;
        return {bytes[0], bytes[1], bytes[2], bytes[3]};
    }
    void FillWithAllChroma() {
        std::uint8_t* const bytes = picture.ColourMemory().Data();
        for (std::size_t i = 0; i < kWords; ++i) {
            bytes[4 * i] = static_cast<std::uint8_t>(i);
            bytes[4 * i + 2] = static_cast<std::uint8_t>(i / 256);
        }
    }

    static constexpr std::size_t kWords = 65536;

private:
    static Format FormatOf(Zan::AggregateChannelSamplingEnum sampling) {
        Format format = sampling == Zan::k4444 ? Words() : Pairs(sampling);
        format.width = sampling == Zan::k4444 ? 256 : 512;
        format.height = 256;
        return format;
    }

    Picture picture;
};

/// What the model makes of a plane of all chroma.
struct Expected {
    Bytes result, key;
};

template <class Kernel>
Expected ExpectedOf(const Settings& settings, ChromaPlane& foreground, ChromaPlane* background, bool pairs) {
    const Kernel kernel(settings);
    Expected expected;
    for (std::size_t i = 0; i < ChromaPlane::kWords; ++i) {
        const key_model::Word f = foreground.At(i);
        const auto key = kernel.KeyOf(f[0], f[2]);
        key_model::Word word = kernel.Cleaned(f, key);
        if (background != nullptr) {
            const key_model::Word b = background->At(i);
            for (std::size_t j = 0; j < (pairs ? 4U : 3U); ++j) {
                word[j] = Kernel::Mixed(b[j], word[j], key);
            }
            if (!pairs) {
                word[3] = 255;
            }
        }
        expected.result.insert(expected.result.end(), word.begin(), word.end());
        std::uint8_t value = 0;
        if constexpr (std::is_same_v<Kernel, key_model::FloatKernel>) {
            value = key.v;
        } else {
            value = static_cast<std::uint8_t>(key.m);
        }
        expected.key.insert(expected.key.end(), pairs ? 2 : 1, value);
    }
    return expected;
}

/// Where two pictures differ by more than they may, or a negative number.
std::ptrdiff_t Difference(const Bytes& expected, const std::uint8_t* actual, int tolerance) {
    if (std::memcmp(expected.data(), actual, expected.size()) == 0) {
        return -1;
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (std::abs(int{expected[i]} - int{actual[i]}) > tolerance) {
            return static_cast<std::ptrdiff_t>(i);
        }
    }
    return -1;
}

/// Runs all settings on every target, with all chroma.
void ExpectAllChroma(const std::vector<Settings>& all, bool pairs, int style) {
    const auto sampling = pairs ? Zan::k422 : Zan::k4444;
    ChromaPlane foreground(sampling), background(sampling), result(sampling);
    foreground.FillWithAllChroma();
    Polarise(background.Get().ColourMemory());
    Format keyFormat = Grey();
    keyFormat.width = pairs ? 512 : 256;
    keyFormat.height = 256;
    Picture key(keyFormat);
    Zan::ImageView from(foreground.Get()), under(background.Get()), to(result.Get()), keyTo(key);
    const bool single = pairs && ProcessorHasSimd() && (style == 2 || style == 3 || style == 5);
    std::size_t number = 0;
    for (const Settings& settings : all) {
        SCOPED_TRACE(Text(settings));
        const bool composite = ++number % 4 != 0;
        ChromaPlane* const behind = composite ? &background : nullptr;
        const Expected expected =
            style == 1 ? ExpectedOf<key_model::FixedKernel>(settings, foreground, behind, pairs)
                       : ExpectedOf<key_model::FloatKernel>(settings, foreground, behind, pairs);
        Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
        Bytes first;
        OnEveryTarget([&] {
            FillRandom(result.Get().ColourMemory().Data(), 64);
            ASSERT_EQ(keyer.Do(from, composite ? &under : nullptr, to, &keyTo, Style(style)), 0);
            const std::uint8_t* const made = result.Get().ColourMemory().Data();
            const std::uint8_t* const keyed = key.ColourMemory().Data();
            const std::ptrdiff_t colour = Difference(expected.result, made, single ? 1 : 0);
            const std::ptrdiff_t value = Difference(expected.key, keyed, single ? 1 : 0);
            if (single) {
                // Other values than in double, but the same ones everywhere.
                if (first.empty()) {
                    first.assign(made, made + expected.result.size());
                }
                ASSERT_EQ(Difference(first, made, 0), -1);
            }
            if (colour >= 0) {
                const auto at = static_cast<std::size_t>(colour);
                const key_model::Word f = foreground.At(at / 4), b = background.At(at / 4);
                FAIL() << "Cb " << int{f[0]} << " Cr " << int{f[2]} << ", byte " << at % 4 << ": from "
                       << int{f[at % 4]} << " over " << (composite ? int{b[at % 4]} : -1) << " expected "
                       << int{expected.result[at]} << ", is " << int{made[at]} << " (key "
                       << int{expected.key[at / 4 * (pairs ? 2 : 1)]} << ")";
            }
            if (value >= 0) {
                const auto at = static_cast<std::size_t>(value);
                const key_model::Word f = foreground.At(pairs ? at / 2 : at);
                FAIL() << "Cb " << int{f[0]} << " Cr " << int{f[2]} << ": key " << int{expected.key[at]}
                       << " expected, is " << int{keyed[at]};
            }
        });
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

std::vector<Settings> ManySettings() {
    std::vector<Settings> all;
    for (int i = 0; i < Rounds(200); ++i) {
        all.push_back(AnySettings());
    }
    return all;
}

/// All of them, or a few where a sanitizer makes everything slow.
std::vector<Settings> SomeCorners() {
    std::vector<Settings> all;
    for (const Settings& settings : Corners()) {
        if (!kSanitized || OneIn(32)) {
            all.push_back(settings);
        }
    }
    return all;
}

TEST(ChromaKeyerYUVModel, AllChromaInWordsInDouble) {
    ExpectAllChroma(ManySettings(), false, 5);
}
TEST(ChromaKeyerYUVModel, AllChromaInWordsFixed) {
    ExpectAllChroma(ManySettings(), false, 1);
}
TEST(ChromaKeyerYUVModel, AllChromaInPairsInDouble) {
    ExpectAllChroma(ManySettings(), true, 0);
}
TEST(ChromaKeyerYUVModel, AllChromaInPairsFixed) {
    ExpectAllChroma(ManySettings(), true, 1);
}
TEST(ChromaKeyerYUVModel, AllChromaInPairsInSingle) {
    ExpectAllChroma(ManySettings(), true, 5);
}
TEST(ChromaKeyerYUVModel, AllChromaInTheCornersInWords) {
    ExpectAllChroma(SomeCorners(), false, 0);
    ExpectAllChroma(SomeCorners(), false, 1);
}
TEST(ChromaKeyerYUVModel, AllChromaInTheCornersInPairs) {
    ExpectAllChroma(SomeCorners(), true, 0);
    ExpectAllChroma(SomeCorners(), true, 1);
    ExpectAllChroma(SomeCorners(), true, 5);
}

// A minimum that is just the chroma of one value, or the next number above, which only doubles tell apart.
TEST(ChromaKeyerYUVModel, SaturationAtItsMinimum) {
    std::vector<Settings> all;
    while (all.size() < static_cast<std::size_t>(Rounds(40))) {
        Settings settings = AnySettings();
        settings.acceptanceAngle = AnyOf({90.0, 150.0, 179.0});
        settings.keyOffset = 0;
        settings.keyGain = AnyOf({1.0, 256.0});
        const std::uint8_t cb = RandomByte(), cr = RandomByte();
        const double along = key_model::FloatKernel(settings).Along(cb, cr);
        if (along > 0 && along < 1) {
            settings.saturationMinimum = OneIn(2) ? along : std::nextafter(along, 2.0);
            all.push_back(settings);
        }
    }
    ExpectAllChroma(all, true, 5);
    ExpectAllChroma(all, false, 5);
}

// Every sample over every sample, by a few keys.
TEST(ChromaKeyerYUVModel, EveryPairOfSamplesMixed) {
    for (int round = 0; round < Rounds(60); ++round) {
        ChromaPlane foreground(Zan::k4444), background(Zan::k4444), result(Zan::k4444);
        Settings settings;
        settings.spillSuppressionGain = 0;
        settings.invertKeyAfter = OneIn(2);
        std::uint8_t cb = 128, cr = 128;
        if (OneIn(2)) {
            // Grey, of which the key becomes just the gain.
            settings.invertKeyBefore = true;
            settings.keyGain = OneIn(4) ? RandomShare() : RoundShare();
        } else {
            // On the hue 0 it is a multiple of 1 / 128.
            settings.hueAngle = OneIn(2) ? 0.0 : AnyAngle();
            cb = RandomFrom<std::uint8_t>(129, 255);
            cr = OneIn(2) ? std::uint8_t{128} : RandomByte();
        }
        for (std::size_t i = 0; i < ChromaPlane::kWords; ++i) {
            std::uint8_t* const f = foreground.Get().ColourMemory().Data() + 4 * i;
            f[0] = cb;
            f[1] = static_cast<std::uint8_t>(i);
            f[2] = cr;
            background.Get().ColourMemory().Data()[4 * i + 1] = static_cast<std::uint8_t>(i / 256);
        }
        Zan::ImageView from(foreground.Get()), under(background.Get()), to(result.Get());
        for (const int style : {0, 1}) {
            const Expected expected =
                style == 1 ? ExpectedOf<key_model::FixedKernel>(settings, foreground, &background, false)
                           : ExpectedOf<key_model::FloatKernel>(settings, foreground, &background, false);
            OnEveryTarget([&] {
                ASSERT_EQ(KeyerOf(settings).Do(from, &under, to, nullptr, Style(style)), 0);
                ASSERT_EQ(Difference(expected.result, result.Get().ColourMemory().Data(), 0), -1)
                    << "style " << style << " Cb " << int{cb} << " Cr " << int{cr} << " " << Text(settings);
            });
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace
