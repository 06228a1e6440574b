#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/Posterize.h>
#include <TesselU/tone/PosterizeLUT.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <vector>

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

/// Every byte at every place of a pair: pixels 2v and 2v + 1 are v throughout.
struct EveryByte {
    Image image;
    ImageView view{&image};

    EveryByte()
        : image(ImageDescriptor(512, 1, kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                1.0F, kUnshaped),
                1, 1) {
        for (unsigned i = 0; i < 1024; ++i) {
            Bytes()[i] = static_cast<unsigned char>(i / 4);
        }
    }
    unsigned char* Bytes() { return static_cast<unsigned char*>(image.GetMemoryPointer(0)); }
    unsigned char At(unsigned value, unsigned place) { return Bytes()[4 * value + place]; }
};

// 255 levels in fixed point: s is a little less than 1, and S 65535.
TEST(Posterize, FixedPointIsNoIdentity) {
    Posterize effect;
    for (const ProcessingStyleEnum style : {kFP, kInt_MMXorSIMD, kBestAvailable}) {
        EveryByte in, out;
        ASSERT_EQ(effect.Do(in.view, out.view, style), 0);
        EXPECT_EQ(out.At(100, 0), 102);
        EXPECT_EQ(out.At(100, 2), 102);
        EXPECT_EQ(out.At(0, 0), 2);
        EXPECT_EQ(out.At(127, 0), 128);
        EXPECT_EQ(out.At(128, 0), 128);
        EXPECT_EQ(out.At(200, 0), 200);
        EXPECT_EQ(out.At(255, 2), 255);
        EXPECT_EQ(out.At(100, 1), 100);
        EXPECT_EQ(out.At(16, 3), 16);
    }
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kStyle4, kGeneralFormat}) {
        EveryByte in, out;
        ASSERT_EQ(effect.Do(in.view, out.view, style), 0);
        for (unsigned i = 0; i < 1024; ++i) {
            ASSERT_EQ(out.Bytes()[i], i / 4);
        }
    }
}

TEST(Posterize, ChannelsGoByTheirPlaces) {
    Posterize effect;
    effect.SetLevels(Posterize::kChannelCb, 1);
    effect.SetLevels(Posterize::kChannelCr, 2);
    EveryByte in, out;
    ASSERT_EQ(effect.Do(in.view, out.view, kFlp), 0);
    for (unsigned v = 0; v < 256; ++v) {
        // One step of 255 from neutral, which no sample comes half way to but the first: 128 / 255 is above.
        EXPECT_EQ(out.At(v, 0), v == 0 ? 0 : 128) << v;
        EXPECT_EQ(out.At(v, 1), v);
        EXPECT_EQ(out.At(v, 3), v);
        // Steps of 127.5: halves of a step lie 63.75 away.
        EXPECT_EQ(out.At(v, 2), v <= 64 ? 0 : v <= 191 ? 128 : 255) << v;
    }
}

// By an independent program, for levels 1, 1.5 ... 255; chroma, then luma.
TEST(Posterize, TheSameBytesEverywhere) {
    const auto add = [](std::uint64_t& hash, unsigned byte) { hash = (hash ^ byte) * 0x100000001B3U; };
    struct {
        ProcessingStyleEnum style;
        std::uint64_t hash;
    } const kernels[] = {{kFlp, 0x9297E31686098D62U}, {kFP, 0xE194EF77740158D0U}};
    for (const auto& kernel : kernels) {
        std::uint64_t hash = 0xCBF29CE484222325U, ofTables = hash;
        EveryByte in, out;
        for (int halves = 2; halves <= 510; ++halves) {
            Posterize effect;
            PosterizeLUT tables;
            ASSERT_EQ(effect.SetLevels(halves / 2.0), 0);
            ASSERT_EQ(tables.SetLevels(halves / 2.0), 0);
            ASSERT_EQ(effect.Do(in.view, out.view, kernel.style), 0);
            for (const unsigned place : {0U, 1U}) {
                for (unsigned v = 0; v < 256; ++v) {
                    add(hash, out.At(v, place));
                    add(ofTables, tables.GetLUT(place, v));
                    ASSERT_EQ(out.At(v, place), out.At(v, place + 2));
                }
            }
        }
        EXPECT_EQ(hash, kernel.hash) << kernel.style;
        EXPECT_EQ(ofTables, 0x9297E31686098D62U);
    }
}

// Without its two low bits a negative pitch is longer: rows that leave the image are left out.
TEST(Posterize, UpwardPitchesThatAreNoWords) {
    constexpr ULong32 kHeight = 9, kPitch = 10;
    std::vector<unsigned char> memory(kPitch * kHeight, 100), before;
    Image image(memory.data(), kPitch,
                ImageDescriptor(4, kHeight, kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kNoFields,
                                kBottomLeft, 1.0F, kUnshaped),
                1, 1);
    ImageView view(&image);
    ASSERT_EQ(view.GetPitch(0), -10);
    before = memory;
    Posterize effect;
    ASSERT_EQ(effect.SetLevels(1), 0);
    ASSERT_EQ(effect.Do(view, view, kFlp), 0);
    // Rows start at byte 80 and go down by 12: 80, 68, 56, 44, 32, 20, 8.
    for (std::size_t row = 80; row < 100; row -= 12) {
        for (std::size_t i = 0; i < 8; ++i) {
            before[row + i] = i % 2 == 0 ? 128 : 16;
        }
    }
    EXPECT_EQ(memory, before);
}

TEST(Posterize, FormatsAndAlpha) {
    const auto picture = [](AggregateChannelSamplingEnum sampling, PixelPackingEnum packing = kPacked) {
        return std::make_unique<Image>(
            ImageDescriptor(16, 2, kYCrCb, sampling, packing == kPlanar ? kYCbCrPlanes : kCbYCrA, packing,
                            kProgressive, kNoFields, kTopLeft, 1.0F, kUnshaped),
            1, 1);
    };
    const auto pairs = picture(k422), withAlpha = picture(k4224), another = picture(k4224),
               full = picture(k444), planar = picture(k422, kPlanar);
    ASSERT_NE(planar->GetMemoryPointer(0), nullptr);
    ImageView good(pairs.get()), alpha(withAlpha.get()), other(another.get()), nothing;
    std::fill_n(static_cast<unsigned char*>(withAlpha->GetMemoryPointer(3)), 32, 7);
    std::fill_n(static_cast<unsigned char*>(another->GetMemoryPointer(3)), 32, 9);
    const InvertLUT invert;
    const PosterizeLUT tables;
    const Posterize effect;
    const auto all = [&](ImageView from, ImageView to) {
        std::set<Long32> statuses = {invert.Do(from, to, kFlp), tables.Do(from, to, kFlp),
                                     effect.Do(from, to, kFlp), effect.Do(from, to, kFP)};
        return statuses;
    };
    for (const Image* refused : {full.get(), planar.get()}) {
        EXPECT_EQ(all(good, const_cast<Image*>(refused)), std::set<Long32>{4});
        EXPECT_EQ(all(const_cast<Image*>(refused), good), std::set<Long32>{4});
    }
    EXPECT_EQ(all(good, nothing), std::set<Long32>{1});
    EXPECT_EQ(all(nothing, good), std::set<Long32>{1});
    EXPECT_EQ(all(good, ImageView(pairs.get(), Rectangle(-1, 0, 8, 1), kFrame)), std::set<Long32>{98});

    // The kernel leaves alpha alone, the tables carry it over.
    const auto* carried = static_cast<const unsigned char*>(another->GetMemoryPointer(3));
    ASSERT_EQ(effect.Do(alpha, other, kBestAvailable), 0);
    EXPECT_EQ(carried[31], 9);
    ASSERT_EQ(tables.Do(alpha, other, kBestAvailable), 0);
    EXPECT_EQ(carried[0], 7);
    EXPECT_EQ(carried[31], 7);
    ASSERT_EQ(invert.Do(good, other, kBestAvailable), 0);
    EXPECT_EQ(carried[31], 7);
}

// A host may make other tables of an object that is derived: what does not fit is left out.
TEST(PosterizeLUT, TablesOfAnotherSize) {
    PosterizeLUT effect;
    effect.Init(2, 1000, 16);
    ASSERT_EQ(effect.SetLevels(255), 0);
    EXPECT_EQ(effect.GetLUT(1, 255), 255U);
    EXPECT_EQ(effect.GetLUT(1, 999), 255U);
    InvertLUT invert;
    invert.Init(3, 100, 8);
    invert.SetInvert(InvertLUT::kChannelY, true);
    invert.SetInvert(InvertLUT::kChannelAlpha, true);
    EXPECT_EQ(invert.GetLUT(1, 99), 151U);
}

}  // namespace
