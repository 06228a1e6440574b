// The chroma keyer against a second, plain model.

#include <TesselU/key/ChromaKeyerYUV.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <type_traits>

#include "key/ModelScenes.h"
#include "key/model/Chroma.h"

using namespace key_test;
using key_model::Settings;

namespace {

Zan::ChromaKeyerYUV KeyerOf(const Settings& settings) {
    Zan::ChromaKeyerYUV keyer;
    keyer.SetHueAngle(settings.hueAngle);
    keyer.SetAcceptanceAngle(settings.acceptanceAngle);
    keyer.SetSaturationMinimum(settings.saturationMinimum);
    keyer.SetSpillSuppressionAngle(settings.spillSuppressionAngle);
    keyer.SetSpillSuppressionGain(settings.spillSuppressionGain);
    keyer.SetKeyOffset(settings.keyOffset);
    keyer.SetKeyGain(settings.keyGain);
    keyer.SetInvertKeyBeforePostProcessing(settings.invertKeyBefore);
    keyer.SetInvertKeyAfterPostProcessing(settings.invertKeyAfter);
    keyer.SetSplitScreenHeight(settings.splitScreenHeight, settings.splitScreenTop);
    return keyer;
}

std::string Text(const Settings& s) {
    std::ostringstream text;
    text << std::hexfloat << "hue " << s.hueAngle << " acceptance " << s.acceptanceAngle << " saturation "
         << s.saturationMinimum << " spill " << s.spillSuppressionAngle << " x " << s.spillSuppressionGain
         << " offset " << s.keyOffset << " gain " << s.keyGain << " invert " << s.invertKeyBefore
         << s.invertKeyAfter << " split " << s.splitScreenHeight << (s.splitScreenTop ? " top" : " bottom");
    return text.str();
}

/// Round numbers, of which sums and products fall on halves, or nearly: what the last bit of a double
/// decides.
double RoundShare() {
    const double denominator =
        AnyOf({1.0, 2.0, 10.0, 16.0, 20.0, 100.0, 128.0, 255.0, 256.0, 510.0, 65280.0});
    return RandomFrom<int>(0, static_cast<int>(denominator)) / denominator;
}

double AnyAngle() {
    return OneIn(2) ? 15.0 * RandomFrom<int>(0, 24) : 360 * RandomShare();
}

double AnyGain() {
    return OneIn(3)   ? AnyOf({0.0, 0.5, 1.0, 1.0, 1.5, 2.0, 4.0, 64 / 255.0, 255.0, 256.0})
           : OneIn(2) ? RoundShare() * AnyOf({1.0, 4.0, 256.0})
                      : RandomShare() * AnyOf({2.0, 16.0, 256.0});
}

Settings AnySettings() {
    Settings s;
    s.hueAngle = OneIn(8) ? 0.0 : AnyAngle();
    s.acceptanceAngle =
        OneIn(2) ? AnyOf({1.0, 20.0, 45.0, 60.0, 90.0, 120.0, 150.0, 179.0}) : 1 + 178 * RandomShare();
    s.saturationMinimum = OneIn(3) ? 0.0 : OneIn(2) ? RoundShare() : RandomShare() * AnyOf({0.2, 1.0});
    s.spillSuppressionAngle = OneIn(3) ? s.hueAngle : AnyAngle();
    s.spillSuppressionGain = AnyGain();
    s.keyOffset = OneIn(3)   ? 0.0
                  : OneIn(2) ? RoundShare() * AnyOf({-1.0, 1.0})
                             : (2 * RandomShare() - 1) * AnyOf({0.1, 1.0});
    s.keyGain = AnyGain();
    s.invertKeyBefore = OneIn(3);
    s.invertKeyAfter = OneIn(3);
    return s;
}

/// Every end of every range.
std::vector<Settings> Corners() {
    std::vector<Settings> all;
    for (unsigned bits = 0; bits < 128; ++bits) {
        const auto end = [bits](unsigned bit, double low, double high) {
            return (bits >> bit & 1U) != 0 ? high : low;
        };
        Settings s;
        s.hueAngle = end(0, 0, 360);
        s.acceptanceAngle = end(1, 1, 179);
        s.saturationMinimum = end(2, 0, 1);
        s.spillSuppressionAngle = end(3, 0, 360);
        s.spillSuppressionGain = end(4, 0, 256);
        s.keyOffset = end(5, -1, 1);
        s.keyGain = end(6, 0, 256);
        // Each inversion in a half of them, whatever the others are.
        s.invertKeyBefore = ((bits ^ bits >> 1U ^ bits >> 4U) & 1U) != 0;
        s.invertKeyAfter = ((bits >> 2U ^ bits >> 3U ^ bits >> 6U) & 1U) != 0;
        all.push_back(s);
    }
    return all;
}

bool ProcessorHasSimd() {
    return Zan::CPUcapabilities().IsSIMDsupported();
}

enum class Alias { kNone, kForeground, kBackground };

/// One call: foreground, background, result and key, of which the second and the last may be left out.
struct Call {
    Scene scene;
    bool hasBackground = true, hasKey = true;
    Alias alias = Alias::kNone;
    bool overItself = false;  ///< the foreground is the background, too

    static constexpr std::size_t kForeground = 0, kBackground = 1, kResult = 2, kKey = 3;

    std::size_t ResultIndex() const {
        return alias == Alias::kForeground   ? kForeground
               : alias == Alias::kBackground ? kBackground
                                             : kResult;
    }
    std::size_t BackgroundIndex() const { return overItself ? kForeground : kBackground; }
    Zan::Long32 Do(Zan::ChromaKeyerYUV keyer, int style) {
        return keyer.Do(scene.views[kForeground], hasBackground ? &scene.views[BackgroundIndex()] : nullptr,
                        scene.views[ResultIndex()], hasKey ? &scene.views[kKey] : nullptr, Style(style));
    }
    std::vector<key_model::Operand> Operands() {
        std::vector<key_model::Operand> operands;
        for (std::size_t i = 0; i < 4; ++i) {
            operands.push_back(AsOperand(*scene.pictures[i], scene.views[i]));
        }
        return operands;
    }
    key_model::Views ViewsOf(std::vector<key_model::Operand>& operands) const {
        return {&operands[kForeground], hasBackground ? &operands[BackgroundIndex()] : nullptr,
                &operands[ResultIndex()], hasKey ? &operands[kKey] : nullptr};
    }
    std::string Describe() {
        return std::string(!hasBackground ? " no background"
                           : overItself   ? " over itself"
                                          : "") +
               (hasKey ? "" : " no key") +
               (alias == Alias::kForeground   ? " in the foreground"
                : alias == Alias::kBackground ? " in the background"
                                              : "") +
               scene.Describe();
    }
};

/// Stretches of one chroma, as backings and persons are, some of them grey.
void FlattenChroma(FencedMemory& memory) {
    std::uint8_t colours[4][2] = {{128, 128}, {128, 129}, {0, 0}, {0, 0}};
    FillRandom(colours[2], 4);
    std::size_t end = 0, colour = 0;
    for (std::size_t i = 0; i + 4 <= memory.Length(); i += 4) {
        if (i >= end) {
            end = i + 4 * RandomFrom<std::size_t>(1, OneIn(2) ? 5 : 80);
            colour = RandomFrom<std::size_t>(0, 3);
        }
        memory.Data()[i] = colours[colour][0];
        memory.Data()[i + 2] = colours[colour][1];
    }
}

/// Stretches of no alpha and of all.
void FlattenAlpha(FencedMemory& memory) {
    for (std::size_t i = 0; i < memory.Length();) {
        const std::size_t end = std::min(memory.Length(), i + RandomFrom<std::size_t>(1, 80));
        const int kind = RandomFrom<int>(0, 2);
        for (; i < end; ++i) {
            memory.Data()[i] = kind == 0 ? std::uint8_t{0} : kind == 1 ? std::uint8_t{255} : memory.Data()[i];
        }
    }
}

Call MakeCall(const Format (&formats)[4], const Layout& layout) {
    Call call;
    call.hasBackground = !OneIn(4);
    call.hasKey = !OneIn(4);
    const int exactWidth = RandomFrom<int>(0, 3), exactHeight = RandomFrom<int>(0, 3);
    for (int i = 0; i < 4; ++i) {
        Layout own = layout;
        if (i == 3) {
            own.pitchUnit = 1;
        }
        call.scene.Add(formats[i], own, i == exactWidth, i == exactHeight);
        Picture& picture = *call.scene.pictures.back();
        Polarise(picture.ColourMemory());
        if (i == 0 && OneIn(2)) {
            FlattenChroma(picture.ColourMemory());
        }
        if (OneIn(2)) {
            FlattenAlpha(picture.AlphaMemory());
        }
        if (picture->GetChannelSampling() == Zan::k4224) {
            Polarise(picture.AlphaMemory());
            picture->SetAlphaChannelDescription(AnyOf({Zan::kAlphaVarying, Zan::kAlphaVarying, Zan::kNoAlpha,
                                                       Zan::kAlphaOpaque, Zan::kAlphaTransparent}));
        }
    }
    call.overItself = OneIn(10);
    call.alias = AnyOf({Alias::kNone, Alias::kNone, Alias::kForeground,
                        call.hasBackground ? Alias::kBackground : Alias::kForeground});
    return call;
}

Format AnyWords() {
    return Words(AnyOf({Zan::kCbYCrA, Zan::kCbYCrA, Zan::kYCbCrA}));
}
Format AnyPairs() {
    return OneIn(5) ? Pairs(Zan::k422, Zan::kYCbYCr) : Pairs(AnyOf({Zan::k422, Zan::k4224}));
}

Call AnyCall(bool pairs, const Layout& layout) {
    const auto format = [pairs] { return pairs ? AnyPairs() : AnyWords(); };
    const Format foreground = format(), background = format(), result = format();
    Call call = MakeCall({foreground, background, result, AnyKeyFormat()}, layout);
    for (auto& picture : call.scene.pictures) {
        if ((*picture)->GetChannelSampling() == Zan::k4224 && OneIn(8)) {
            picture->Drop(3);
        }
    }
    return call;
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 5);
    layout.pitchUnit = 4;
    return layout;
}

Settings WithAnySplit(Settings settings) {
    if (OneIn(2)) {
        settings.splitScreenHeight = RandomFrom<std::uint32_t>(0, 6);
        settings.splitScreenTop = OneIn(2);
    }
    return settings;
}

void ExpectAsModel(Call& call, const Settings& settings, int style, bool hasSimd, bool mmxOnly = false) {
    std::vector<key_model::Operand> operands = call.Operands();
    const key_model::Views views = call.ViewsOf(operands);
    const int status = key_model::KeyChroma(settings, views, style);
    const int tolerance = key_model::IsSingle(views, style, hasSimd) ? 1 : 0;
    Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
    keyer.SetMMXonlyStyle(mmxOnly);
    SCOPED_TRACE(::testing::Message() << "style " << style << " " << Text(settings) << call.Describe());
    ASSERT_EQ(call.Do(keyer, style), status);
    for (std::size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(SameBytes(operands[i], *call.scene.pictures[i], tolerance)) << "operand " << i;
    }
}

int AnyStyle() {
    return AnyOf({0, 1, 1, 2, 3, 4, 5, 5, 6, 7, -1, 1000});
}

TEST(ChromaKeyerYUVModel, EveryWidthOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            for (int round = 0; round < (kSanitized ? 2 : 12) && !::testing::Test::HasFatalFailure();
                 ++round) {
                Call call = AnyCall(OneIn(2), AnyLayout(width));
                ExpectAsModel(call, WithAnySplit(AnySettings()), AnyStyle(), ProcessorHasSimd());
            }
        });
    });
}

TEST(ChromaKeyerYUVModel, RowsWideEnoughForEveryStep) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(40); ++round) {
            Call call = AnyCall(OneIn(2), AnyLayout(RandomFrom<int>(100, 900)));
            ExpectAsModel(call, WithAnySplit(AnySettings()), AnyStyle(), ProcessorHasSimd());
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(ChromaKeyerYUVModel, EveryStyleAndMachine) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        const Zan::ScopedInstructionSet scope(set);
        for (const bool mmxOnly : {false, true}) {
            for (const int style : AllStyles()) {
                for (const bool pairs : {false, true}) {
                    for (int round = 0; round < 6; ++round) {
                        SCOPED_TRACE(::testing::Message()
                                     << "instruction set " << set << ", MMX only " << mmxOnly);
                        Call call = AnyCall(pairs, AnyLayout(RandomFrom<int>(1, 70)));
                        ExpectAsModel(call, WithAnySplit(AnySettings()), style, set >= Zan::kSIMD, mmxOnly);
                        if (HasFatalFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    }
}

// Single precision may be one off, but in the same places everywhere.
TEST(ChromaKeyerYUVModel, SinglePrecisionIsTheSameOnEveryTarget) {
    for (int round = 0; round < Rounds(150); ++round) {
        Call call = AnyCall(true, AnyLayout(RandomFrom<int>(2, 400)));
        const Settings settings = WithAnySplit(AnySettings());
        SCOPED_TRACE(Text(settings) + call.Describe());
        Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
        std::vector<Bytes> before, expected;
        for (auto& picture : call.scene.pictures) {
            for (FencedMemory* memory : {&picture->ColourMemory(), &picture->AlphaMemory()}) {
                before.emplace_back(memory->Data(), memory->Data() + memory->Length());
            }
        }
        OnEveryTarget([&] {
            std::size_t i = 0;
            for (auto& picture : call.scene.pictures) {
                for (FencedMemory* memory : {&picture->ColourMemory(), &picture->AlphaMemory()}) {
                    std::copy(before[i].begin(), before[i].end(), memory->Data());
                    ++i;
                }
            }
            call.Do(keyer, AnyOf({2, 3, 5}));
            std::vector<Bytes> after;
            for (auto& picture : call.scene.pictures) {
                after.push_back(picture->Colour());
                after.push_back(picture->Alpha());
            }
            if (expected.empty()) {
                expected = after;
            }
            ASSERT_TRUE(after == expected);
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

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

// Formats, missing images, missing memory, pitches and selections, any of them wrong at once.
TEST(ChromaKeyerYUVModel, OrderOfRefusals) {
    const auto anyFormat = [] {
        return AnyOf({Words(), Words(Zan::kYCbCrA), Pairs(), Pairs(Zan::k4224),
                      Pairs(Zan::k422, Zan::kYCbYCr), Rgb(), Rgb(Zan::k444), Grey(),
                      Format{Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}});
    };
    int counts[100] = {};
    for (int round = 0; round < (kSanitized ? 300 : 6000); ++round) {
        const bool pairs = OneIn(2);
        Layout layout = AnyLayout(RandomFrom<int>(0, 20));
        layout.pitchUnit = AnyOf({4U, 4U, 4U, 2U, 1U});
        const auto format = [&] { return OneIn(20) ? anyFormat() : pairs ? AnyPairs() : AnyWords(); };
        const Format foreground = format(), background = format(), result = format();
        const Format key = OneIn(20) ? anyFormat() : AnyKeyFormat();
        Call call = MakeCall({foreground, background, result, key}, layout);
        for (std::size_t i = 0; i < 4; ++i) {
            Picture& picture = *call.scene.pictures[i];
            Zan::ImageView& view = call.scene.views[i];
            if (OneIn(12)) {
                const bool upward = OneIn(2);
                picture->SetOrigin(upward ? Zan::kBottomLeft : Zan::kTopLeft);
                // A field of an upward picture, and a left edge outside, which only pairs keep.
                view = Zan::ImageView(picture, Zan::Rectangle(upward ? 0 : -3, 0, 16, 4),
                                      upward ? Zan::kUpperField : Zan::kFrame);
            }
            if (OneIn(40)) {
                picture.Drop(0);
            }
            if (picture->GetChannelSampling() == Zan::k4224 && OneIn(10)) {
                picture.Drop(3);
            }
            if (OneIn(40)) {
                view = Zan::ImageView();
            }
        }
        ExpectAsModel(call, AnySettings(), AnyStyle(), ProcessorHasSimd());
        if (HasFatalFailure()) {
            return;
        }
        std::vector<key_model::Operand> operands = call.Operands();
        const int status = key_model::KeyChroma(Settings(), call.ViewsOf(operands), 0);
        ++counts[status];
    }
    for (const int status : {0, 1, 2, 4, 98}) {
        EXPECT_GT(counts[status], 10) << "status " << status;
    }
}

// Planes of planar pictures are shorter than the rows that are taken from them. The upper lines have enough
// bytes below them; else nothing outside may change.
TEST(ChromaKeyerYUVModel, PlanarPictures) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(80); ++round) {
            Layout layout = AnyLayout(RandomFrom<int>(1, 40));
            layout.fields = layout.bottomLeft = false;
            Format planar = Planar(Zan::k422, AnyOf({Zan::kYCbCrPlanes, Zan::kYPlaneCbCrPlane}));
            Call call = MakeCall({OneIn(2) ? planar : AnyPairs(), OneIn(2) ? planar : AnyPairs(),
                                  OneIn(3) ? planar : AnyPairs(), AnyKeyFormat()},
                                 layout);
            const auto isPlanar = [&](std::size_t i) {
                return (*call.scene.pictures[i])->GetPixelPacking() == Zan::kPlanar;
            };
            for (std::size_t i = 0; i < 3; ++i) {
                // Here nothing leaves its plane.
                if (isPlanar(i) && i != call.ResultIndex()) {
                    Picture& picture = *call.scene.pictures[i];
                    call.scene.views[i] =
                        Zan::ImageView(picture,
                                       Zan::Rectangle(0, 0, static_cast<Zan::Long32>(picture->GetWidth()),
                                                      static_cast<Zan::Long32>(picture->GetHeight() / 2)),
                                       Zan::kFrame);
                }
            }
            const Settings settings = WithAnySplit(AnySettings());
            const int style = AnyStyle();
            if (!isPlanar(call.ResultIndex())) {
                ExpectAsModel(call, settings, style, ProcessorHasSimd());
            } else {
                std::vector<key_model::Operand> operands = call.Operands();
                EXPECT_EQ(call.Do(KeyerOf(settings), style), 0) << call.Describe();
                for (std::size_t i = 0; i < 3; ++i) {
                    key_model::Plane plane = operands[i].colour;
                    if (i == call.ResultIndex()) {
                        plane.written.resize(plane.memory.size());
                        std::fill(plane.written.begin() + plane.begin, plane.written.begin() + plane.end,
                                  std::uint8_t{1});
                    }
                    ASSERT_TRUE(SameBytes("colour", plane, call.scene.pictures[i]->Colour(), 255))
                        << "operand " << i << call.Describe();
                }
            }
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Setters limit; what is no number becomes the least value.
TEST(ChromaKeyerYUVModel, SettersLimit) {
    const double values[] = {-std::numeric_limits<double>::infinity(),
                             -1e300,
                             -360.5,
                             -1.0000001,
                             -0.0,
                             0.999999,
                             1.0000001,
                             179.5,
                             180,
                             256.5,
                             360.25,
                             1e300,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
    double Settings::*const fields[] = {&Settings::hueAngle,
                                        &Settings::acceptanceAngle,
                                        &Settings::saturationMinimum,
                                        &Settings::spillSuppressionAngle,
                                        &Settings::spillSuppressionGain,
                                        &Settings::keyOffset,
                                        &Settings::keyGain};
    for (double Settings::*const field : fields) {
        for (const double value : values) {
            for (const int style : {0, 1}) {
                Settings settings;
                settings.hueAngle = 100;  // so that all others matter
                settings.acceptanceAngle = 100;
                settings.saturationMinimum = 0.1;
                // So little that gains of 256 and a bit more can be told apart.
                settings.keyOffset = field == &Settings::keyGain ? 0.002 : 0.2;
                settings.*field = value;
                Call call = AnyCall(OneIn(2), AnyLayout(50));
                ExpectAsModel(call, settings, style, ProcessorHasSimd());
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(ChromaKeyerYUVModel, CopiesCarryEverySetting) {
    for (int round = 0; round < 20; ++round) {
        Layout layout = AnyLayout(60);
        layout.height = 5;
        Call call = AnyCall(OneIn(2), layout);
        Settings settings = AnySettings();
        settings.splitScreenHeight = RandomFrom<std::uint32_t>(0, 5);
        settings.splitScreenTop = OneIn(2);
        const Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
        Zan::ChromaKeyerYUV assigned = KeyerOf(AnySettings());
        assigned = keyer;
        const Zan::ChromaKeyerYUV copied(keyer);
        call.alias = Alias::kNone;  // the second call does the same again
        std::vector<key_model::Operand> operands = call.Operands();
        const int style = AnyOf({0, 1});
        const int status = key_model::KeyChroma(settings, call.ViewsOf(operands), style);
        for (const Zan::ChromaKeyerYUV& each : {assigned, copied}) {
            ASSERT_EQ(call.Do(each, style), status);
            for (std::size_t i = 0; i < 4; ++i) {
                ASSERT_TRUE(SameBytes(operands[i], *call.scene.pictures[i]))
                    << Text(settings) << call.Describe();
            }
        }
    }
}

/// The key of one chroma value, with default settings but for those given.
int KeyByte(const Settings& settings, std::uint8_t cb, std::uint8_t cr, int style) {
    Format format = Words();
    format.width = format.height = 1;
    Format grey = Grey();
    grey.width = grey.height = 1;
    Picture foreground(format), background(format), result(format), key(grey);
    foreground.ColourMemory().Data()[0] = cb;
    foreground.ColourMemory().Data()[2] = cr;
    Zan::ImageView from(foreground), under(background), to(result), keyTo(key);
    EXPECT_EQ(KeyerOf(settings).Do(from, &under, to, &keyTo, Style(style)), 0);
    return key.ColourMemory().Data()[0];
}

// By the words alone.
TEST(ChromaKeyerYUVModel, WorkedValues) {
    Settings settings;
    // X 0.5625, Z 0.09375, t tan 80 degrees = 5.671: k 0.0308, 7.87 as a byte. Fixed, where t is limited to
    // 1: X 9216, W 1536, (7680 + 32) >> 6.
    EXPECT_EQ(KeyByte(settings, 200, 140, 0), 8);
    EXPECT_EQ(KeyByte(settings, 200, 140, 1), 120);
    // On the hue: 127 / 128 of 255 is 253.0; fixed (16256 + 32) >> 6.
    EXPECT_EQ(KeyByte(settings, 255, 128, 0), 253);
    EXPECT_EQ(KeyByte(settings, 255, 128, 1), 254);
    EXPECT_EQ(KeyByte(settings, 128, 128, 0), 0);
    EXPECT_EQ(KeyByte(settings, 128, 128, 1), 0);
    // At the other end of the axis chroma is full, but for the keyer's pi: Z is 9e-5, t 5.67.
    settings.hueAngle = 180;
    EXPECT_EQ(KeyByte(settings, 0, 128, 0), 255);
    EXPECT_EQ(KeyByte(settings, 0, 128, 1), 255);
    settings.hueAngle = 0;
    settings.saturationMinimum = 0.5;  // fixed: 16320, which 127 * 128 does not reach
    EXPECT_EQ(KeyByte(settings, 255, 128, 0), 253);
    EXPECT_EQ(KeyByte(settings, 255, 128, 1), 0);
    EXPECT_EQ(KeyByte(settings, 191, 128, 0), 0);    // X is 63 / 128
    EXPECT_EQ(KeyByte(settings, 192, 128, 0), 128);  // 64 / 128: 127.5 + 0.5
    settings.invertKeyBefore = true;
    EXPECT_EQ(KeyByte(settings, 192, 128, 0), 128);
    EXPECT_EQ(KeyByte(settings, 128, 128, 0), 255);
}

// The spill of a full key: Cb falls by 255 times the gain of -64 / 64, shifted downwards.
TEST(ChromaKeyerYUVModel, SpillOfAFullKeyIsShiftedDownwards) {
    Settings settings;
    settings.hueAngle = 180;
    settings.spillSuppressionAngle = 180;
    Format format = Words();
    format.width = format.height = 1;
    Picture foreground(format), result(format);
    std::uint8_t* const pixel = foreground.ColourMemory().Data();
    pixel[0] = 0;
    pixel[2] = 128;
    Zan::ImageView from(foreground), to(result);
    ASSERT_EQ(KeyerOf(settings).Do(from, nullptr, to, nullptr, Zan::kFP), 0);
    // 128 - (255 * -64 >> 7) - 128 = 128; Cr: sine of the keyer's 180 degrees is 9e-5, 0 in 64ths.
    EXPECT_EQ(result.ColourMemory().Data()[0], 128);
    EXPECT_EQ(result.ColourMemory().Data()[1], pixel[1]);
    EXPECT_EQ(result.ColourMemory().Data()[2], 128);
    EXPECT_EQ(result.ColourMemory().Data()[3], pixel[3]);
}

}  // namespace
