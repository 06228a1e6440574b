#include <TesselU/key/ChromaKeyerYUV.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <type_traits>

#include "foundation/CapabilitySeam.h"
#include "key/KeyPictures.h"
#include "key/kernels/ChromaKeyFormulas.h"
#include "simd/Targets.h"
#include "support/CountedAllocations.h"

using namespace Zan;

namespace {

using Word = std::array<int, 4>;

void Put(KeyPicture& picture, std::size_t row, std::size_t word, const Word& value) {
    for (std::size_t i = 0; i < 4; ++i) {
        picture.Byte(row, 4 * word + i) = static_cast<unsigned char>(value[i]);
    }
}

Word Get(KeyPicture& picture, std::size_t row, std::size_t word) {
    Word value;
    for (std::size_t i = 0; i < 4; ++i) {
        value[i] = picture.Byte(row, 4 * word + i);
    }
    return value;
}

struct Made {
    Word word;
    int key;
};

/// What becomes of one word. `background` may be null.
Made MakeWord(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style, AggregateChannelSamplingEnum sampling,
              const Word& word, const Word* background) {
    const ULong32 width = sampling == k4444 ? 1 : 2;
    KeyPicture in(width, 1, kYCrCb, sampling), behind(width, 1, kYCrCb, sampling),
        out(width, 1, kYCrCb, sampling), key(width, 1, kAlphaOnly, k4444);
    Put(in, 0, 0, word);
    if (background != nullptr) {
        Put(behind, 0, 0, *background);
    }
    EXPECT_EQ(keyer.Do(in.view, background != nullptr ? &behind.view : nullptr, out.view, &key.view, style),
              0);
    return {Get(out, 0, 0), key.Byte(0, 0)};
}

int KeyOfChroma(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style, int cb, int cr) {
    return MakeWord(keyer, style, style == kFlp_SIMD ? k422 : k4444, {cb, 90, cr, 90}, nullptr).key;
}

/// All chroma values, each with some luma, keyed over a background of noise: 256 rows of 256 words. Then the
/// keys.
std::vector<unsigned char> AllChroma(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style,
                                     AggregateChannelSamplingEnum sampling = k4444) {
    const ULong32 width = sampling == k4444 ? 256 : 512;
    KeyPicture in(width, 256, kYCrCb, sampling), behind(width, 256, kYCrCb, sampling),
        key(width, 256, kAlphaOnly, k4444);
    std::mt19937 random(5);
    for (unsigned char& byte : behind.colour) {
        byte = static_cast<unsigned char>(random());
    }
    for (int cb = 0; cb < 256; ++cb) {
        for (int cr = 0; cr < 256; ++cr) {
            Put(in, static_cast<std::size_t>(cb), static_cast<std::size_t>(cr),
                {cb, (cb * 7 + cr) % 256, cr, cr ^ 85});
        }
    }
    EXPECT_EQ(keyer.Do(in.view, &behind.view, in.view, &key.view, style), 0);
    in.colour.insert(in.colour.end(), key.colour.begin(), key.colour.end());
    return in.colour;
}

TEST(ChromaKeyerYUV, GreyShowsTheBackgroundAtFirst) {
    static_assert(!std::is_polymorphic_v<ChromaKeyerYUV>);
    const Word background = {40, 50, 60, 70};
    for (const ProcessingStyleEnum style : {kFlp, kFP, kFlp_SIMD}) {
        const Made pixel = MakeWord(ChromaKeyerYUV(), style, k4444, {128, 200, 128, 9}, &background);
        EXPECT_EQ(pixel.word, (Word{40, 50, 60, 255})) << style;
        EXPECT_EQ(pixel.key, 0);
        const Made pair = MakeWord(ChromaKeyerYUV(), style, k422, {128, 200, 128, 201}, &background);
        EXPECT_EQ(pair.word, background) << style;
        EXPECT_EQ(pair.key, 0);
        // Without a background the foreground stays, alpha included.
        EXPECT_EQ(MakeWord(ChromaKeyerYUV(), style, k4444, {128, 200, 128, 9}, nullptr).word,
                  (Word{128, 200, 128, 9}));
    }
}

TEST(ChromaKeyerYUV, KeyOnTheHue) {
    ChromaKeyerYUV keyer;
    // x = 127/128, z = 0: 253.008; in fixed point (16256 + 32) >> 6.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 255, 128), 253);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 255, 128), 253);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 255, 128), 254);
    // Full saturation. Half a turn falls short by 9e-5, of which the slope of the narrowest wedge makes
    // 0.009.
    keyer.SetHueAngle(180);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 128), 255);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 0, 128), 255);
    keyer.SetAcceptanceAngle(1);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 128), 253);
    keyer.SetAcceptanceAngle(20);
    keyer.SetHueAngle(90);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 0), 0);
    // 127/128 less 127/128 * 9e-5/2 * 5.67.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 255), 253);
}

TEST(ChromaKeyerYUV, FixedPointTakesAnotherTangentAndAnotherScale) {
    ChromaKeyerYUV keyer;
    // 0.5625 - 0.09375 * 5.67 = 0.0309; (9216 - 1536 + 32) >> 6.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 200, 140), 8);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 200, 140), 8);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 200, 140), 120);
    // 16320 is more than 16256, the most that there is on this hue.
    keyer.SetSaturationMinimum(0.5);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 255, 128), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 255, 128), 253);
    // 0.5 is not below 0.5: 127.5 + 0.5.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 128), 128);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 192, 128), 128);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 191, 128), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 191, 128), 0);
}

TEST(ChromaKeyerYUV, GainsAtTheirEnds) {
    ChromaKeyerYUV keyer;
    keyer.SetHueAngle(135);
    keyer.SetAcceptanceAngle(179);
    // The key is 255 in fixed point, where cosine and sine are -91 and 91. 255 * -64 is -128 after the shift.
    keyer.SetSpillSuppressionAngle(180);
    EXPECT_EQ(MakeWord(keyer, kFP, k4444, {0, 9, 255, 0}, nullptr).word, (Word{128, 9, 255, 0}));
    // Factors of 32768 and 16384; chroma moves out of 16 bits and is limited.
    keyer.SetSpillSuppressionGain(256);
    keyer.SetKeyGain(256);
    for (const ProcessingStyleEnum style : {kFP, kFlp, kFlp_SIMD}) {
        const AggregateChannelSamplingEnum sampling = style == kFlp_SIMD ? k422 : k4444;
        keyer.SetSpillSuppressionAngle(180);
        const Made up = MakeWord(keyer, style, sampling, {0, 9, 255, 9}, nullptr);
        EXPECT_EQ(up.word[0], 255) << style;
        EXPECT_EQ(up.key, 255);
        keyer.SetSpillSuppressionAngle(0);
        EXPECT_EQ(MakeWord(keyer, style, sampling, {0, 9, 255, 9}, nullptr).word[0], 0) << style;
    }
    // (1 - 1) * 256, and what is below 0 stays there.
    keyer.SetKeyOffset(-1);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 255), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 0, 255), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 128, 128), 0);
}

TEST(ChromaKeyerYUV, OffsetGainAndInversions) {
    // k is 0.5 at Cb 192. The fixed form has (8192 + 32) >> 6 = 128 of 255.
    const auto key = [](double offset, double gain, bool before, bool after, ProcessingStyleEnum style) {
        ChromaKeyerYUV keyer;
        keyer.SetKeyOffset(offset);
        keyer.SetKeyGain(gain);
        keyer.SetInvertKeyBeforePostProcessing(before);
        keyer.SetInvertKeyAfterPostProcessing(after);
        return KeyOfChroma(keyer, style, 192, 128);
    };
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        EXPECT_EQ(key(0, 1, false, false, style), 128) << style;  // 127.5, halves up
        EXPECT_EQ(key(0.25, 1, false, false, style), 191);        // 191.25
        EXPECT_EQ(key(-0.25, 2, false, false, style), 128);       // 127.5
        EXPECT_EQ(key(-0.25, 2.5, false, false, style), 159);     // 159.375
        EXPECT_EQ(key(0.125, 1.5, false, true, style), 16);       // 1 - 0.9375: 15.9375
        EXPECT_EQ(key(0.125, 0.5, true, false, style), 80);       // 79.6875
        EXPECT_EQ(key(-0.5, 256, true, true, style), 255);
        EXPECT_EQ(key(1, 256, false, false, style), 255);
    }
    EXPECT_EQ(key(0, 1, false, false, kFP), 128);
    EXPECT_EQ(key(0.25, 1, false, false, kFP), 192);     // 128 + 64
    EXPECT_EQ(key(-0.25, 2.5, false, false, kFP), 160);  // (64 * 320) >> 7
    EXPECT_EQ(key(0.125, 1.5, false, true, kFP), 15);    // 255 - ((160 * 192) >> 7)
    EXPECT_EQ(key(0.125, 0.5, true, false, kFP), 79);    // (127 + 32) * 64 >> 7
    EXPECT_EQ(key(0, 256, true, false, kFP), 255);
}

TEST(ChromaKeyerYUV, SpillFollowsTheKeyBeforeInversion) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
        const AggregateChannelSamplingEnum sampling = style == kFlp_SIMD ? k422 : k4444;
        ChromaKeyerYUV keyer;
        keyer.SetSpillSuppressionAngle(0);
        keyer.SetSpillSuppressionGain(0.5);
        // k = 0.5 of 64 code values; in fixed point (128 * 32) >> 7.
        const Made plain = MakeWord(keyer, style, sampling, {192, 77, 128, 5}, nullptr);
        EXPECT_EQ(plain.word, (Word{160, 77, 128, 5})) << style;
        EXPECT_EQ(plain.key, 128);
        keyer.SetKeyGain(0.5);
        keyer.SetKeyOffset(0.2);
        keyer.SetInvertKeyBeforePostProcessing(true);
        keyer.SetInvertKeyAfterPostProcessing(true);
        const Made inverted = MakeWord(keyer, style, sampling, {192, 77, 128, 5}, nullptr);
        EXPECT_EQ(inverted.word, plain.word) << style;
        EXPECT_NE(inverted.key, plain.key);
        // The angle is that of the plane of chroma, whatever the hue.
        keyer.SetHueAngle(90);
        EXPECT_EQ(MakeWord(keyer, style, sampling, {128, 77, 192, 5}, nullptr).word[0], 96) << style;
    }
}

TEST(ChromaKeyerYUV, MixesWithTheBackground) {
    ChromaKeyerYUV keyer;
    keyer.SetSpillSuppressionGain(0);
    const Word background = {0, 201, 255, 10};
    // m = 0.5: 96, 145.5, 191.5 up.
    EXPECT_EQ(MakeWord(keyer, kFlp, k4444, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 255}));
    // Of pairs the fourth sample is mixed as well: 7.5 up.
    EXPECT_EQ(MakeWord(keyer, kFlp, k422, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 8}));
    EXPECT_EQ(MakeWord(keyer, kFlp_SIMD, k422, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 8}));
    // m = 128 of 255: 96.38, 145.28, 191.25, 7.49.
    EXPECT_EQ(MakeWord(keyer, kFP, k4444, {192, 90, 128, 5}, &background).word, (Word{96, 145, 191, 255}));
    EXPECT_EQ(MakeWord(keyer, kFP, k422, {192, 90, 128, 5}, &background).word, (Word{96, 145, 191, 7}));
}

TEST(ChromaKeyerYUV, SettingsStopAtTheirEnds) {
    using Set = std::function<void(ChromaKeyerYUV&, double)>;
    const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = HUGE_VAL;
    struct {
        const char* name;
        Set set;
        double low, high, inside;
    } const settings[] = {
        {"hue", [](ChromaKeyerYUV& k, double v) { k.SetHueAngle(v); }, 0, 360, 100},
        {"acceptance", [](ChromaKeyerYUV& k, double v) { k.SetAcceptanceAngle(v); }, 1, 179, 130},
        {"saturation", [](ChromaKeyerYUV& k, double v) { k.SetSaturationMinimum(v); }, 0, 1, 0.4},
        {"spill angle", [](ChromaKeyerYUV& k, double v) { k.SetSpillSuppressionAngle(v); }, 0, 360, 200},
        {"spill gain", [](ChromaKeyerYUV& k, double v) { k.SetSpillSuppressionGain(v); }, 0, 256, 3},
        {"offset", [](ChromaKeyerYUV& k, double v) { k.SetKeyOffset(v); }, -1, 1, 0.3},
        {"gain", [](ChromaKeyerYUV& k, double v) { k.SetKeyGain(v); }, 0, 256, 5},
    };
    for (const auto& setting : settings) {
        const auto made = [&](double value, ProcessingStyleEnum style) {
            ChromaKeyerYUV keyer;
            keyer.SetAcceptanceAngle(120);
            setting.set(keyer, value);
            return AllChroma(keyer, style);
        };
        for (const ProcessingStyleEnum style : {kFlp, kFP}) {
            const auto low = made(setting.low, style), high = made(setting.high, style);
            EXPECT_EQ(made(setting.low - 0.5, style), low) << setting.name;
            EXPECT_EQ(made(-infinity, style), low) << setting.name;
            EXPECT_EQ(made(nan, style), low) << setting.name;
            EXPECT_EQ(made(setting.high + 0.5, style), high) << setting.name;
            EXPECT_EQ(made(infinity, style), high) << setting.name;
            EXPECT_NE(made(setting.inside, style), low) << setting.name;
            EXPECT_NE(made(setting.inside, style), high) << setting.name;
        }
    }
}

TEST(ChromaKeyerYUV, TheWidestWedgeIsHalfThePlane) {
    ChromaKeyerYUV keyer;
    keyer.SetAcceptanceAngle(180);
    // 0.5 - 0.0087 * 127/128: 125.29.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 255), 125);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 1), 125);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 255), 0);
}

TEST(ChromaKeyerYUV, CopiesCarryEverySetting) {
    ChromaKeyerYUV keyer, other;
    keyer.SetHueAngle(100);
    keyer.SetAcceptanceAngle(150);
    keyer.SetSaturationMinimum(0.1);
    keyer.SetSpillSuppressionAngle(80);
    keyer.SetSpillSuppressionGain(2);
    keyer.SetKeyOffset(0.1);
    keyer.SetKeyGain(3);
    keyer.SetInvertKeyBeforePostProcessing(true);
    keyer.SetInvertKeyAfterPostProcessing(true);
    keyer.SetSplitScreenHeight(100, false);
    keyer.SetMMXonlyStyle(true);
    for (const ProcessingStyleEnum style : {kFlp, kFP}) {
        const auto expected = AllChroma(keyer, style);
        EXPECT_EQ(AllChroma(ChromaKeyerYUV(keyer), style), expected);
        EXPECT_NE(AllChroma(ChromaKeyerYUV(), style), expected);
        other = keyer;
        EXPECT_EQ(AllChroma(other, style), expected);
        // A call leaves no trace.
        EXPECT_EQ(AllChroma(keyer, style), expected);
    }
}

TEST(ChromaKeyerYUV, SplitScreen) {
    // Rows that are processed with a key of 8 show that as the key, others as a picture.
    const auto rows = [](ULong32 split, bool top, ProcessingStyleEnum style, WhichFieldEnum field) {
        KeyPicture in(3, 10, kYCrCb, k4444), out(3, 10, kYCrCb, k4444, 1), key(3, 10, kAlphaOnly, k4444, 1);
        for (std::size_t row = 0; row < 10; ++row) {
            for (std::size_t x = 0; x < 3; ++x) {
                Put(in, row, x, {200, 90, 140, 33});
            }
        }
        ChromaKeyerYUV keyer;
        keyer.SetSpillSuppressionGain(0);
        keyer.SetSplitScreenHeight(split, top);
        ImageView from = in.Part(0, 2, 3, 8, field), to = out.Part(0, 2, 3, 8, field),
                  keys = key.Part(0, 2, 3, 8, field);
        EXPECT_EQ(keyer.Do(from, nullptr, to, &keys, style), 0);
        const int v = style == kFP ? 120 : 8;
        std::string kinds;
        for (std::size_t row = 0; row < 10; ++row) {
            const Word word = Get(out, row, 2);
            const int value = key.Byte(row, 2);
            kinds += word == Word{200, 90, 140, 33} && value == v    ? 'p'
                     : word == Word{128, v, 128, 33} && value == 255 ? 'k'
                     : word == Word{1, 1, 1, 1} && value == 1        ? '-'
                                                                     : '?';
        }
        return kinds;
    };
    for (const ProcessingStyleEnum style : {kFlp, kFP}) {
        EXPECT_EQ(rows(0xFFFFFFFF, true, style, kFrame), "--pppppppp");
        EXPECT_EQ(rows(0xFFFFFFFF, false, style, kFrame), "--kkkkkkkk");
        EXPECT_EQ(rows(0, true, style, kFrame), "--kkkkkkkk");
        EXPECT_EQ(rows(0, false, style, kFrame), "--pppppppp");
        EXPECT_EQ(rows(3, true, style, kFrame), "--pppkkkkk");
        EXPECT_EQ(rows(3, false, style, kFrame), "--kkkppppp");
        EXPECT_EQ(rows(8, true, style, kFrame), "--pppppppp");
        EXPECT_EQ(rows(1, true, style, kUpperField), "--p-k-k-k-");
        EXPECT_EQ(rows(3, false, style, kLowerField), "---k-k-k-p");
    }
}

TEST(ChromaKeyerYUV, RowsThatShowTheKey) {
    ChromaKeyerYUV keyer;
    keyer.SetSplitScreenHeight(0, true);
    const Word background = {1, 2, 3, 4};
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
        const int v = style == kFP ? 120 : 8;
        // With a background the key is written as it is, else as 255.
        const Made pair = MakeWord(keyer, style, k422, {200, 90, 140, 33}, &background);
        EXPECT_EQ(pair.word, (Word{128, v, 128, v})) << style;
        EXPECT_EQ(pair.key, v);
        EXPECT_EQ(MakeWord(keyer, style, k422, {200, 90, 140, 33}, nullptr).key, 255);
        const Made pixel = MakeWord(keyer, style, k4444, {200, 90, 140, 33}, &background);
        EXPECT_EQ(pixel.word, (Word{128, v, 128, 33})) << style;
        EXPECT_EQ(pixel.key, v);
    }
}

/// Pictures of one pair with alpha, in front of another. The key is 0.5, and chroma is left alone.
struct PairWithAlpha {
    PairWithAlpha(AlphaDescriptionEnum description, int first, int second)
        : in(2, 1, kYCrCb, k4224),
          behind(2, 1, kYCrCb, k422),
          out(2, 1, kYCrCb, k422),
          key(2, 1, kAlphaOnly, k4444) {
        in.image.SetAlphaChannelDescription(description);
        Put(in, 0, 0, {192, 200, 128, 100});
        Put(behind, 0, 0, {0, 0, 0, 0});
        in.Alpha(0, 0) = static_cast<unsigned char>(first);
        in.Alpha(0, 1) = static_cast<unsigned char>(second);
        keyer.SetSpillSuppressionGain(0);
    }
    Word Make(ProcessingStyleEnum style, bool hasBackground = true) {
        EXPECT_EQ(keyer.Do(in.view, hasBackground ? &behind.view : nullptr, out.view, &key.view, style), 0);
        return Get(out, 0, 0);
    }
    std::array<int, 2> Keys() { return {key.Byte(0, 0), key.Byte(0, 1)}; }

    KeyPicture in, behind, out, key;
    ChromaKeyerYUV keyer;
};

using Keys = std::array<int, 2>;

TEST(ChromaKeyerYUV, AlphaOfTheForegroundHoldsOut) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        for (const AlphaDescriptionEnum description : {kAlphaVarying, kAlphaTransparent}) {
            // 50.5 up, and 25: 192 * 51 / 255 = 38.4, 40, 25.6; 100 * 25 / 255 = 9.8.
            PairWithAlpha pair(description, 101, 50);
            EXPECT_EQ(pair.Make(style), (Word{38, 40, 26, 10})) << style;
            EXPECT_EQ(pair.Keys(), (Keys{51, 25}));
            // Without a background alpha reaches the key alone.
            EXPECT_EQ(pair.Make(style, false), (Word{192, 200, 128, 100}));
            EXPECT_EQ(pair.Keys(), (Keys{51, 25}));
            // Truncated where the key is shown.
            pair.keyer.SetSplitScreenHeight(0, true);
            EXPECT_EQ(pair.Make(style), (Word{128, 50, 128, 25}));
            EXPECT_EQ(pair.Keys(), (Keys{50, 25}));
            EXPECT_EQ(pair.Make(style, false), (Word{128, 50, 128, 25}));
            EXPECT_EQ(pair.Keys(), (Keys{255, 255}));
        }
        PairWithAlpha opaque(kAlphaOpaque, 101, 50);
        EXPECT_EQ(opaque.Make(style), (Word{96, 100, 64, 50})) << style;
        EXPECT_EQ(opaque.Keys(), (Keys{128, 128}));
    }
    // 128 of 255.
    PairWithAlpha fixed(kAlphaVarying, 101, 50);
    EXPECT_EQ(fixed.Make(kFP), (Word{96, 100, 64, 50}));
    EXPECT_EQ(fixed.Keys(), (Keys{128, 128}));
}

TEST(ChromaKeyerYUV, AlphaOfTheResultBecomesOpaque) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
        KeyPicture in(8, 4, kYCrCb, k422, 128), behind(8, 4, kYCrCb, k422, 40),
            out(8, 4, kYCrCb, k4224, 7, 4);
        ImageView to = out.Part(2, 1, 5, 2);
        ASSERT_EQ(ChromaKeyerYUV().Do(in.view, nullptr, to, nullptr, style), 0);
        EXPECT_EQ(out.alpha, std::vector<unsigned char>(out.alpha.size(), 7));
        ASSERT_EQ(ChromaKeyerYUV().Do(in.view, &behind.view, to, nullptr, style), 0);
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t x = 0; x < 12; ++x) {
                const bool inside = (row == 1 || row == 2) && x >= 2;
                EXPECT_EQ(out.Alpha(row, x), inside && x < 7 ? 255 : 7) << row << ", " << x;
                // An odd last column of colours stays.
                EXPECT_EQ(out.Byte(row, 2 * x > 18 ? 18 : 2 * x), inside && x < 6 ? 40 : 7)
                    << row << ", " << x;
            }
        }
    }
}

/// Takes the memory of a channel away.
void Rob(Image& image, std::size_t channel) {
    image.GetImageDescriptor()->channels[channel].memory = Tuk::RCPtr<AlignedMemoryBuffer>();
}

TEST(ChromaKeyerYUV, AResultWithoutMemoryForItsAlpha) {
    KeyPicture in(4, 2, kYCrCb, k422, 128), behind(4, 2, kYCrCb, k422, 40), out(4, 2, kYCrCb, k4224, 7);
    Rob(out.image, 3);
    const ChromaKeyerYUV keyer;
    EXPECT_EQ(keyer.Do(in.view, nullptr, out.view, nullptr, kFlp), 0);
    EXPECT_EQ(out.colour, std::vector<unsigned char>(16, 128));
    EXPECT_EQ(keyer.Do(in.view, &behind.view, out.view, nullptr, kFlp), 1);
    EXPECT_EQ(out.colour, std::vector<unsigned char>(16, 40));
    // Where there is nothing to do nothing is missed.
    ImageView nothing = out.Part(0, 0, 4, 0);
    EXPECT_EQ(keyer.Do(in.view, &behind.view, nothing, nullptr, kFlp), 0);
    // A foreground without it has no alpha.
    KeyPicture front(4, 2, kYCrCb, k4224, 30), back(4, 2, kYCrCb, k422, 40), key(4, 2, kAlphaOnly, k4444, 1);
    front.image.SetAlphaChannelDescription(kAlphaVarying);
    ChromaKeyerYUV inverted;
    inverted.SetInvertKeyAfterPostProcessing(true);
    EXPECT_EQ(inverted.Do(front.view, &back.view, back.view, &key.view, kFlp), 0);
    EXPECT_EQ(key.Byte(0, 0), 30);
    Rob(front.image, 3);
    EXPECT_EQ(inverted.Do(front.view, &back.view, back.view, &key.view, kFlp), 0);
    EXPECT_EQ(key.Byte(0, 0), 255);
}

TEST(ChromaKeyerYUV, SmallestSizeOfAllViews) {
    for (const ProcessingStyleEnum style : {kFlp, kFP}) {
        KeyPicture in(9, 6, kYCrCb, k4444, 128), behind(7, 9, kYCrCb, k4444, 30), out(8, 8, kYCrCb, k4444, 1),
            key(9, 4, kAlphaOnly, k4444, 1);
        ImageView keys = key.Part(3, 1, 6, 9);
        ASSERT_EQ(keys.GetHeight(), 3U);
        ASSERT_EQ(ChromaKeyerYUV().Do(in.view, &behind.view, out.view, &keys, style), 0);
        for (std::size_t row = 0; row < 8; ++row) {
            for (std::size_t x = 0; x < 8; ++x) {
                EXPECT_EQ(out.Byte(row, 4 * x), row < 3 && x < 6 ? 30 : 1) << row << ", " << x;
            }
        }
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t x = 0; x < 9; ++x) {
                EXPECT_EQ(key.Byte(row, x), row >= 1 && x >= 3 ? 0 : 1) << row << ", " << x;
            }
        }
        // No row, no column: nothing.
        const auto before = out.colour;
        for (ImageView empty : {key.Part(0, 0, 9, 0), key.Part(0, 0, 0, 4)}) {
            EXPECT_EQ(ChromaKeyerYUV().Do(in.view, nullptr, out.view, &empty, style), 0);
            EXPECT_EQ(out.colour, before);
        }
    }
}

TEST(ChromaKeyerYUV, InPlaceOfEither) {
    for (const AggregateChannelSamplingEnum sampling : {k4444, k422}) {
        for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
            KeyPicture a(150, 3, kYCrCb, sampling), b(150, 3, kYCrCb, sampling),
                out(150, 3, kYCrCb, sampling);
            std::mt19937 random(3);
            for (std::size_t i = 0; i < a.colour.size(); ++i) {
                a.colour[i] = static_cast<unsigned char>(random());
                b.colour[i] = static_cast<unsigned char>(random());
            }
            ChromaKeyerYUV keyer;
            keyer.SetAcceptanceAngle(150);
            const auto foreground = a.colour, background = b.colour;
            ASSERT_EQ(keyer.Do(a.view, &b.view, out.view, nullptr, style), 0);
            ASSERT_EQ(keyer.Do(a.view, &b.view, a.view, nullptr, style), 0);
            EXPECT_EQ(a.colour, out.colour);
            std::copy(foreground.begin(), foreground.end(), a.colour.begin());
            ASSERT_EQ(keyer.Do(a.view, &b.view, b.view, nullptr, style), 0);
            EXPECT_EQ(b.colour, out.colour);
            EXPECT_NE(b.colour, background);
        }
    }
}

TEST(ChromaKeyerYUV, StylesAndProcessors) {
    // Fixed point gives 120, the others 8. Single precision is known by m = 1/510: 0.5 in doubles, but its
    // 64.25 parts of 32768 are 64.
    const auto form = [](ProcessingStyleEnum style, AggregateChannelSamplingEnum sampling, bool mmxOnly) {
        ChromaKeyerYUV keyer;
        keyer.SetMMXonlyStyle(mmxOnly);
        if (KeyOfChroma(keyer, style, 200, 140) == 120) {
            return std::string("fixed");
        }
        keyer.SetKeyOffset(1.0 / 510 + 1e-12);
        const int key = MakeWord(keyer, style, sampling, {128, 0, 128, 0}, nullptr).key;
        return std::string(key == 1 ? "double" : "single");
    };
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet believing(set);
        for (const bool mmxOnly : {false, true}) {
            for (const int style : {0, 1, 2, 3, 4, 5, 6, 99, -1}) {
                const auto asked = static_cast<ProcessingStyleEnum>(style);
                EXPECT_EQ(form(asked, k4444, mmxOnly), style == kFP ? "fixed" : "double") << set << style;
                const bool isVector =
                    style == kInt_MMXorSIMD || style == kFlp_SIMD || style == kBestAvailable;
                EXPECT_EQ(form(asked, k422, mmxOnly), style == kFP               ? "fixed"
                                                      : isVector && set >= kSIMD ? "single"
                                                                                 : "double")
                    << set << ", " << style;
            }
        }
    }
}

TEST(ChromaKeyerYUV, Refusals) {
    KeyPicture pixels(8, 4, kYCrCb, k4444, 5), pairs(8, 4, kYCrCb, k422, 5),
        withAlpha(8, 4, kYCrCb, k4224, 5), rgb(8, 4, kRGB, k4444, 5), full(8, 4, kYCrCb, k444, 5),
        key(8, 4, kAlphaOnly, k4444, 5), upwards(8, 4, kYCrCb, k4444, 5, 0, kBottomLeft),
        odd(8, 4, kYCrCb, k4444, 5, 2), oddKey(8, 4, kAlphaOnly, k4444, 5, 1);
    const auto make = [](ImageView a, const ImageView* b, ImageView out, const ImageView* keys,
                         ProcessingStyleEnum style = kFlp) {
        ImageView background = b != nullptr ? *b : ImageView(),
                  keyOut = keys != nullptr ? *keys : ImageView();
        return ChromaKeyerYUV().Do(a, b != nullptr ? &background : nullptr, out,
                                   keys != nullptr ? &keyOut : nullptr, style);
    };
    const ImageView none;
    // No image comes before formats.
    EXPECT_EQ(make(none, nullptr, rgb.view, nullptr), 1);
    EXPECT_EQ(make(rgb.view, nullptr, none, nullptr), 1);
    EXPECT_EQ(make(pixels.view, &none, rgb.view, nullptr), 1);
    EXPECT_EQ(make(pixels.view, nullptr, rgb.view, &none), 1);
    // Formats.
    EXPECT_EQ(make(rgb.view, nullptr, rgb.view, nullptr), 4);
    EXPECT_EQ(make(full.view, nullptr, full.view, nullptr), 4);
    EXPECT_EQ(make(key.view, nullptr, key.view, nullptr), 4);
    EXPECT_EQ(make(pixels.view, nullptr, pairs.view, nullptr), 4);
    EXPECT_EQ(make(pixels.view, &pairs.view, pixels.view, nullptr), 4);
    EXPECT_EQ(make(pairs.view, &rgb.view, pairs.view, nullptr), 4);
    EXPECT_EQ(make(pixels.view, nullptr, pixels.view, &pixels.view), 4);
    EXPECT_EQ(make(pairs.view, &withAlpha.view, withAlpha.view, &key.view), 0);
    // Formats come before memory, that before pitches.
    KeyPicture robbed(8, 4, kYCrCb, k4444, 5), robbedKey(8, 4, kAlphaOnly, k4444, 5);
    Rob(robbed.image, 0);
    Rob(robbedKey.image, 0);
    const ImageView noPixels = robbed.view, noKey = robbedKey.view;
    EXPECT_EQ(make(noPixels, nullptr, pairs.view, nullptr), 4);
    EXPECT_EQ(make(noPixels, nullptr, odd.view, nullptr), 1);
    EXPECT_EQ(make(odd.view, nullptr, noPixels, nullptr), 1);
    EXPECT_EQ(make(odd.view, &noPixels, pixels.view, nullptr), 1);
    EXPECT_EQ(make(odd.view, nullptr, pixels.view, &noKey), 1);
    // A pitch of 34 bytes, which in a field is 68. Pitches come before selections, and before an empty area.
    const ImageView beyond = pairs.Part(-2, 0, 8, 4), field = odd.Part(0, 0, 8, 4, kUpperField);
    EXPECT_EQ(make(odd.view, nullptr, pixels.view, nullptr), 2);
    EXPECT_EQ(make(pixels.view, &odd.view, pixels.view, nullptr), 2);
    EXPECT_EQ(make(pixels.view, nullptr, odd.view, nullptr), 2);
    EXPECT_EQ(make(pixels.Part(0, 0, 8, 0), nullptr, odd.view, nullptr), 2);
    EXPECT_EQ(make(upwards.Part(0, 0, 8, 4, kUpperField), nullptr, odd.view, nullptr), 2);
    const auto before = pixels.colour;
    // An empty area comes before selections.
    EXPECT_EQ(make(beyond, nullptr, pairs.view, nullptr), 98);
    EXPECT_EQ(make(pairs.Part(-2, 0, 8, 0), nullptr, pairs.view, nullptr), 0);
    EXPECT_EQ(make(pairs.view, &beyond, pairs.view, nullptr), 98);
    EXPECT_EQ(make(pairs.view, nullptr, beyond, nullptr), 98);
    EXPECT_EQ(make(upwards.Part(0, 0, 8, 4, kUpperField), nullptr, pixels.view, nullptr), 98);
    EXPECT_EQ(make(pixels.view, nullptr, upwards.Part(0, 0, 8, 4, kLowerField), nullptr), 98);
    KeyPicture upwardKey(8, 4, kAlphaOnly, k4444, 5, 0, kBottomLeft);
    const ImageView keyBeyond = upwardKey.Part(0, 0, 8, 4, kUpperField);
    EXPECT_EQ(make(pixels.view, nullptr, pixels.view, &keyBeyond), 98);
    KeyPicture upwardPairs(8, 4, kYCrCb, k4224, 5, 0, kBottomLeft);
    EXPECT_EQ(make(upwardPairs.Part(0, 0, 8, 4, kUpperField), nullptr, withAlpha.view, nullptr), 98);
    EXPECT_EQ(pixels.colour, before);
    // The key takes any pitch, and a field of pictures as here has one that is a multiple of 4.
    EXPECT_EQ(make(field, nullptr, pixels.view, &oddKey.view), 0);
}

TEST(ChromaKeyerYUV, AllocatesNothing) {
    KeyPicture in(64, 4, kYCrCb, k4224, 30), behind(64, 4, kYCrCb, k422), out(64, 4, kYCrCb, k4224),
        pixels(64, 4, kYCrCb, k4444, 40), key(64, 4, kAlphaOnly, k4444);
    ChromaKeyerYUV keyer;
    keyer.SetSplitScreenHeight(2, true);
    keyer.Do(in.view, &behind.view, out.view, &key.view, kBestAvailable);
    const long before = test_support::Allocations();
    for (const ProcessingStyleEnum style : {kFlp, kFP, kBestAvailable}) {
        EXPECT_EQ(keyer.Do(in.view, &behind.view, out.view, &key.view, style), 0);
        EXPECT_EQ(keyer.Do(pixels.view, &pixels.view, pixels.view, &key.view, style), 0);
    }
    EXPECT_EQ(test_support::Allocations(), before);
}

/// Settings of all kinds; the first ones are the corners of all ranges.
ChromaKeyerYUV AnyKeyer(unsigned number, std::mt19937& random) {
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const bool isCorner = number < 32;
    unsigned bit = 0;
    const auto either = [&](double low, double high, double a, double b) {
        const bool isHigh = (number >> bit++ % 5 & 1) != 0;
        return isCorner ? isHigh ? high : low : between(a, b);
    };
    ChromaKeyerYUV keyer;
    const double hue = between(0, 360);
    keyer.SetHueAngle(number % 3 == 0 ? 45.0 * (number % 8) : hue);
    keyer.SetAcceptanceAngle(either(1, 179, 30, 179));
    keyer.SetSpillSuppressionGain(either(0, 256, 0, 2));
    keyer.SetKeyGain(either(0, 256, 0, 6));
    keyer.SetKeyOffset(either(-1, 1, -0.5, 0.5));
    keyer.SetSaturationMinimum(either(0, 0.25, 0, 0.2));
    const double angle = between(0, 360);
    keyer.SetSpillSuppressionAngle(number % 4 == 0 ? 90.0 * (number % 5) : angle);
    keyer.SetInvertKeyBeforePostProcessing(number % 7 > 3);
    keyer.SetInvertKeyAfterPostProcessing(number % 5 > 2);
    return keyer;
}

TEST(ChromaKeyerYUV, ChromaNearTheLeastSaturationIsFound) {
    constexpr double kDistance = 1e-6;
    std::mt19937 random(17);
    int found = 0;
    for (int number = 0; number < 400; ++number) {
        ChromaKeySettings settings;
        const double hue = number % 4 == 0 ? number % 8 * 0.7853981633974483
                                           : std::uniform_real_distribution<double>(0, 6.28)(random);
        settings.cosine = std::cos(hue);
        settings.sine = std::sin(hue);
        // That of some chroma, or a little off.
        const unsigned cb = random() % 256, cr = random() % 256;
        settings.leastSaturation = AlongHue(settings, cb, cr) + (number % 5 - 2) * 0.6e-6;
        bool isNear = false;
        for (unsigned i = 0; i < 65536; ++i) {
            const double x = AlongHue(settings, i / 256, i % 256);
            isNear = isNear || std::abs(x - settings.leastSaturation) <= kDistance;
        }
        EXPECT_EQ(HasChromaNearLeast(settings, kDistance), isNear) << number;
        found += isNear ? 1 : 0;
    }
    EXPECT_GT(found, 200);
    EXPECT_LT(found, 399);
}

TEST(ChromaKeyerYUV, VectorsGiveWhatTheFormulasGiveForEveryChroma) {
    std::mt19937 random(11);
    for (unsigned number = 0; number < 80; ++number) {
        const ChromaKeyerYUV keyer = AnyKeyer(number, random);
        for (const auto& [style, sampling] : {std::pair{kFlp, k4444}, std::pair{kFP, k4444},
                                              std::pair{kFlp, k422}, std::pair{kFlp_SIMD, k422}}) {
            std::vector<unsigned char> expected;
            for (std::size_t t = simd::kPortable; t < simd::kTargetCount; ++t) {
                const auto target = static_cast<simd::Target>(t);
                if (!simd::IsTargetAvailable(target)) {
                    continue;
                }
                const simd::ScopedTarget scoped(target);
                const auto made = AllChroma(keyer, style, sampling);
                if (expected.empty()) {
                    expected = made;
                }
                ASSERT_TRUE(made == expected)
                    << simd::TargetName(target) << ", style " << style << ", setting " << number;
            }
        }
    }
}

}  // namespace
