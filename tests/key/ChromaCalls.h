#ifndef TESSELU_TESTS_KEY_CHROMACALLS_H
#define TESSELU_TESTS_KEY_CHROMACALLS_H

// Settings of the chroma keyer and calls of it, at random, held against the model.

#include <TesselU/key/ChromaKeyerYUV.h>

#include <cstring>
#include <limits>
#include <sstream>

#include "key/ModelScenes.h"
#include "key/model/Chroma.h"

namespace key_test {

using key_model::Settings;

inline Zan::ChromaKeyerYUV KeyerOf(const Settings& settings) {
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

inline std::string Text(const Settings& s) {
    std::ostringstream text;
    text << std::hexfloat << "hue " << s.hueAngle << " acceptance " << s.acceptanceAngle << " saturation "
         << s.saturationMinimum << " spill " << s.spillSuppressionAngle << " x " << s.spillSuppressionGain
         << " offset " << s.keyOffset << " gain " << s.keyGain << " invert " << s.invertKeyBefore
         << s.invertKeyAfter << " split " << s.splitScreenHeight << (s.splitScreenTop ? " top" : " bottom");
    return text.str();
}

/// Round numbers, of which sums and products fall on halves, or nearly: what the last bit of a double
/// decides.
inline double RoundShare() {
    const double denominator =
        AnyOf({1.0, 2.0, 10.0, 16.0, 20.0, 100.0, 128.0, 255.0, 256.0, 510.0, 65280.0});
    return RandomFrom<int>(0, static_cast<int>(denominator)) / denominator;
}

inline double AnyAngle() {
    return OneIn(2) ? 15.0 * RandomFrom<int>(0, 24) : 360 * RandomShare();
}

inline double AnyGain() {
    return OneIn(3)   ? AnyOf({0.0, 0.5, 1.0, 1.0, 1.5, 2.0, 4.0, 64 / 255.0, 255.0, 256.0})
           : OneIn(2) ? RoundShare() * AnyOf({1.0, 4.0, 256.0})
                      : RandomShare() * AnyOf({2.0, 16.0, 256.0});
}

inline Settings AnySettings() {
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
inline std::vector<Settings> Corners() {
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

inline bool ProcessorHasSimd() {
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
inline void FlattenChroma(FencedMemory& memory) {
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
inline void FlattenAlpha(FencedMemory& memory) {
    for (std::size_t i = 0; i < memory.Length();) {
        const std::size_t end = std::min(memory.Length(), i + RandomFrom<std::size_t>(1, 80));
        const int kind = RandomFrom<int>(0, 2);
        for (; i < end; ++i) {
            memory.Data()[i] = kind == 0 ? std::uint8_t{0} : kind == 1 ? std::uint8_t{255} : memory.Data()[i];
        }
    }
}

inline Call MakeCall(const Format (&formats)[4], const Layout& layout) {
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

inline Format AnyWords() {
    return Words(AnyOf({Zan::kCbYCrA, Zan::kCbYCrA, Zan::kYCbCrA}));
}
inline Format AnyPairs() {
    return OneIn(5) ? Pairs(Zan::k422, Zan::kYCbYCr) : Pairs(AnyOf({Zan::k422, Zan::k4224}));
}

inline Call AnyCall(bool pairs, const Layout& layout) {
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

inline Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 5);
    layout.pitchUnit = 4;
    return layout;
}

inline Settings WithAnySplit(Settings settings) {
    if (OneIn(2)) {
        settings.splitScreenHeight = RandomFrom<std::uint32_t>(0, 6);
        settings.splitScreenTop = OneIn(2);
    }
    return settings;
}

inline void ExpectAsModel(Call& call, const Settings& settings, int style, bool hasSimd,
                          bool mmxOnly = false) {
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

inline int AnyStyle() {
    return AnyOf({0, 1, 1, 2, 3, 4, 5, 5, 6, 7, -1, 1000});
}

}  // namespace key_test

#endif  // TESSELU_TESTS_KEY_CHROMACALLS_H
