// Which rows and columns of its views the keyer touches, with their alpha, and which views it refuses.

#include <TesselU/key/ChromaKeyerYUV.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "key/ChromaWords.h"
#include "support/CountedAllocations.h"

using namespace Zan;
using namespace chroma_test;

namespace {

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

}  // namespace
