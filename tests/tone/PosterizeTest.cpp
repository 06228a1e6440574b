#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/Posterize.h>
#include <TesselU/tone/PosterizeLUT.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Zan;

namespace {

TEST(InvertLUT, BeginsWithTheThreeColourChannelsInverted) {
    const InvertLUT invert;
    EXPECT_EQ(invert.GetNumberOfLUTs(), 4U);
    for (const ULong32 chroma : {0U, 2U}) {
        EXPECT_EQ(invert.GetLUT(chroma, 0), 255U);
        EXPECT_EQ(invert.GetLUT(chroma, 1), 255U);
        EXPECT_EQ(invert.GetLUT(chroma, 2), 254U);
        EXPECT_EQ(invert.GetLUT(chroma, 128), 128U);
        EXPECT_EQ(invert.GetLUT(chroma, 255), 1U);
    }
    EXPECT_EQ(invert.GetLUT(1, 0), 250U);
    EXPECT_EQ(invert.GetLUT(1, 16), 234U);
    EXPECT_EQ(invert.GetLUT(1, 235), 15U);
    EXPECT_EQ(invert.GetLUT(1, 250), 0U);
    EXPECT_EQ(invert.GetLUT(1, 251), 0U);
    EXPECT_EQ(invert.GetLUT(1, 255), 0U);
    for (ULong32 v = 0; v < 256; ++v) {
        EXPECT_EQ(invert.GetLUT(3, v), v);
    }
}

TEST(InvertLUT, ChannelsAreSetOneByOne) {
    InvertLUT invert;
    invert.SetInvert(InvertLUT::kChannelY, false);
    invert.SetInvert(InvertLUT::kChannelAlpha, true);
    invert.SetInvert(static_cast<InvertLUT::WhichChannelEnum>(4), true);
    for (ULong32 v = 0; v < 256; ++v) {
        EXPECT_EQ(invert.GetLUT(1, v), v);
        EXPECT_EQ(invert.GetLUT(3, v), 255 - v);
        EXPECT_EQ(invert.GetLUT(0, v), v == 0 ? 255U : 256 - v);
    }
}

TEST(InvertLUT, LumaTwiceIsIdentityUpTo250) {
    const InvertLUT invert;
    for (ULong32 v = 0; v < 256; ++v) {
        EXPECT_EQ(invert.GetLUT(1, invert.GetLUT(1, v)), v <= 250 ? v : 250U);
    }
}

template <class Effect>
void ExpectLevels(const Effect& effect, double levels) {
    for (const auto channel : {Effect::kChannelCb, Effect::kChannelY, Effect::kChannelCr}) {
        EXPECT_EQ(effect.GetLevels(channel), levels);
    }
}

template <class Effect>
void LevelsAreLimited() {
    Effect effect;
    ExpectLevels(effect, 255.0);
    EXPECT_EQ(effect.SetLevels(1.0), 0);
    ExpectLevels(effect, 1.0);
    EXPECT_EQ(effect.SetLevels(255.0), 0);
    EXPECT_EQ(effect.SetLevels(0.5), -1);
    ExpectLevels(effect, 1.0);
    EXPECT_EQ(effect.SetLevels(300), -1);
    ExpectLevels(effect, 255.0);
    EXPECT_EQ(effect.SetLevels(std::numeric_limits<double>::quiet_NaN()), -1);
    ExpectLevels(effect, 1.0);
    EXPECT_EQ(effect.SetLevels(std::numeric_limits<double>::infinity()), -1);
    ExpectLevels(effect, 255.0);
    EXPECT_EQ(effect.SetLevels(Effect::kChannelY, 7.5), 0);
    EXPECT_EQ(effect.SetLevels(Effect::kChannelCr, -3), -1);
    EXPECT_EQ(effect.GetLevels(Effect::kChannelCb), 255.0);
    EXPECT_EQ(effect.GetLevels(Effect::kChannelY), 7.5);
    EXPECT_EQ(effect.GetLevels(Effect::kChannelCr), 1.0);
}

TEST(Posterize, LevelsAreLimited) {
    LevelsAreLimited<Posterize>();
    Posterize effect;
    const auto none = static_cast<Posterize::WhichChannelEnum>(3);
    EXPECT_EQ(effect.SetLevels(none, 5), -1);
    EXPECT_EQ(effect.GetLevels(none), -1.0);
    EXPECT_EQ(effect.GetLevels(static_cast<Posterize::WhichChannelEnum>(-1)), -1.0);
    ExpectLevels(effect, 255.0);
}

TEST(PosterizeLUT, LevelsAreLimited) {
    LevelsAreLimited<PosterizeLUT>();
    PosterizeLUT effect;
    EXPECT_EQ(effect.GetLevels(PosterizeLUT::kChannelAlpha), 255.0);
    effect.SetLevels(9);
    EXPECT_EQ(effect.GetLevels(PosterizeLUT::kChannelAlpha), 255.0);
    EXPECT_EQ(effect.SetLevels(PosterizeLUT::kChannelAlpha, 4), 0);
    EXPECT_EQ(effect.GetLevels(PosterizeLUT::kChannelAlpha), 4.0);
    const auto none = static_cast<PosterizeLUT::WhichChannelEnum>(4);
    EXPECT_EQ(effect.SetLevels(none, 5), -1);
    EXPECT_EQ(effect.GetLevels(none), -1.0);
}

TEST(PosterizeLUT, OneLevel) {
    PosterizeLUT effect;
    ASSERT_EQ(effect.SetLevels(1), 0);
    for (ULong32 v = 0; v < 256; ++v) {
        EXPECT_EQ(effect.GetLUT(1, v), v <= 143 ? 16U : 255U) << v;
        EXPECT_EQ(effect.GetLUT(3, v), v);
    }
}

TEST(PosterizeLUT, AllLevelsChangeNothing) {
    PosterizeLUT effect;
    effect.SetLevels(3);
    ASSERT_EQ(effect.SetLevels(255), 0);
    for (ULong32 lut = 0; lut < 4; ++lut) {
        for (ULong32 v = 0; v < 256; ++v) {
            EXPECT_EQ(effect.GetLUT(lut, v), v);
        }
    }
}

}  // namespace
