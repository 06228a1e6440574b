#include <TesselU/filter/NoiseReduction.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <string>

#include "filter/WordPictures.h"
#include "filter/model/Reduction.h"

// Denoisers against their model.

namespace {

using namespace filter_test;
using filter_model::Reduction;
using Zan::NoiseReduction;

/// Flat, flat with a little noise, a slope with noise, or any bytes.
void Paint(WordPicture& picture, std::size_t width, std::size_t height, int kind, int base) {
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < 4 * width; ++i) {
            std::uint8_t& byte = picture.Line(y)[i];
            switch (kind) {
                case 0:
                    byte = static_cast<std::uint8_t>(base);
                    break;
                case 1:
                    byte = static_cast<std::uint8_t>(std::clamp(base + byte % 7 - 3, 0, 255));
                    break;
                case 2:
                    byte = static_cast<std::uint8_t>((base + static_cast<int>(i + y) + byte % 16) & 255);
                    break;
                case 3:
                    byte = (byte & 0x11) == 0x11 ? 255 : (byte & 0x11) == 0x01 ? 0 : byte;
                    break;
                default:
                    break;
            }
        }
    }
}

/// The pictures of one call.
struct Frames {
    std::size_t width, height, pitch;
    std::vector<std::unique_ptr<WordPicture>> pictures;

    /// `columns` words a line.
    Frames(std::size_t columns, std::size_t lines, std::size_t count)
        : width(columns), height(lines), pitch(WordPicture::AnyPitch(columns)) {
        const int kind = RandomFrom<int>(0, 5), base = RandomByte();
        for (std::size_t i = 0; i < count; ++i) {
            pictures.push_back(std::make_unique<WordPicture>(width, height, pitch));
            Paint(*pictures.back(), width, height, kind, base);
        }
    }
    std::vector<Zan::ULong32*> Words() const {
        std::vector<Zan::ULong32*> all;
        for (const auto& picture : pictures) {
            all.push_back(picture->Words());
        }
        return all;
    }
    std::vector<const std::uint8_t*> First() const {
        std::vector<const std::uint8_t*> all;
        for (const auto& picture : pictures) {
            all.push_back(picture->Line(0));
        }
        return all;
    }
    std::vector<Bytes> Snapshot() const {
        std::vector<Bytes> all;
        for (const auto& picture : pictures) {
            all.push_back(picture->memory);
        }
        return all;
    }
};

std::size_t WordsOf(std::size_t width, unsigned format) {
    return format == 0 ? width : (width + 1) / 2;
}

/// A denoiser beside its model.
struct Both {
    NoiseReduction reduction;
    Reduction model;

    void SetBase(std::array<float, 3> levels) {
        reduction.SetBaseNoiseLevel(levels.data());
        model.SetBase(levels.data());
    }
    void SetAutomatic(bool enable) {
        reduction.AutomaticNoiseLevelAdjustment(enable);
        model.automatic = enable;
    }
    void ExpectLevels() {
        float levels[4] = {-1, -1, -1, -1};
        reduction.GetMeasuredNoiseLevel(levels);
        for (std::size_t i = 0; i < 4; ++i) {
            ASSERT_EQ(levels[i], model.measured.at(i)) << "measured level " << i;
        }
    }
    void Expect(std::size_t width, std::size_t height, const Reduction::Window& window,
                const Reduction::Settings& settings) {
        const Frames frames(WordsOf(width, settings.format), height, window.frames);
        WordPicture destination(WordsOf(width, settings.format), height);
        Bytes expected = destination.memory;
        const std::vector<Bytes> before = frames.Snapshot();
        const int status = model.Filter(frames.First(), expected.data() + destination.offset,
                                        {width, height, frames.pitch, destination.pitch}, window, settings);
        std::vector<Zan::ULong32*> words = frames.Words();
        double weights[3] = {};
        for (std::size_t i = 0; settings.weights != nullptr && i < 3; ++i) {
            weights[i] = settings.weights[i];
        }
        std::string text = "format " + std::to_string(settings.format);
        const auto add = [&text](const char* name, long long value) {
            text += name;
            text += std::to_string(value);
        };
        add(", implementation ", settings.implementation);
        add(", control ", settings.control);
        add(", limit ", settings.limit ? 1 : 0);
        add(", weights ", settings.weights != nullptr ? 1 : 0);
        add(", strength * 1000 ", static_cast<long long>(settings.strength * 1000));
        add(", window ", static_cast<long long>(window.width));
        add("x", static_cast<long long>(window.height));
        add("x", static_cast<long long>(window.frames));
        add(", ", static_cast<long long>(width));
        add("x", static_cast<long long>(height));
        ASSERT_EQ(
            reduction.DoFilterSSF(
                words.data(), destination.Words(), static_cast<Zan::ULong32>(width),
                static_cast<Zan::ULong32>(height), static_cast<Zan::ULong32>(frames.pitch),
                static_cast<Zan::ULong32>(destination.pitch), settings.weights != nullptr ? weights : nullptr,
                static_cast<Zan::ULong32>(window.width), static_cast<Zan::ULong32>(window.height),
                static_cast<Zan::ULong32>(window.frames),
                static_cast<NoiseReduction::AlphaControlEnum>(settings.control), settings.limit,
                settings.strength, settings.format, settings.implementation),
            status)
            << text;
        ASSERT_TRUE(SameBytes(expected, destination)) << text;
        ASSERT_EQ(frames.Snapshot(), before) << text;
        ASSERT_NO_FATAL_FAILURE(ExpectLevels()) << text;
    }
};

float AnyLevel() {
    return AnyOf<float>({0.0F, 1.0F, 2.5F, 3.0F, 5.0F, 10.4F, 10.6F, 40.0F, 254.99F, 255.0F, 300.0F, -4.0F,
                         0.49F, 0.5F, std::numeric_limits<float>::quiet_NaN(),
                         static_cast<float>(RandomByte()) / 8.0F});
}

std::array<float, 3> AnyLevels() {
    std::array<float, 3> levels{};
    for (float& level : levels) {
        level = AnyLevel();
    }
    return levels;
}

std::size_t AnyOdd() {
    return AnyOf<std::size_t>({1, 1, 3, 3, 5});
}

struct AnySettings : Reduction::Settings {
    std::array<double, 3> own{};

    AnySettings(unsigned pixelFormat, unsigned which) {
        format = pixelFormat;
        implementation = which;
        control = AnyOf({0, 1, 2, 3, -1, 1000});
        limit = OneIn(2);
        strength = AnyOf({1.0, 0.0, 0.5, 0.9, 2.0, 7.3, -0.4, 1.0 / 3, 1e6});
        for (double& weight : own) {
            weight = AnyOf({1.0, 0.0, 0.4, 0.2, 1.0 / 3, 2.5, -0.3, 0.7});
        }
        if (OneIn(2)) {
            weights = own.data();
        }
    }
    AnySettings(const AnySettings&) = delete;
    AnySettings& operator=(const AnySettings&) = delete;
};

template <class Body>
void ForAllImplementations(Body body) {
    for (const unsigned format : {0U, 2U}) {
        for (unsigned implementation = 0; implementation < 4; ++implementation) {
            SCOPED_TRACE(::testing::Message() << "format " << format << " implementation " << implementation);
            body(format, implementation);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(NoiseReductionModel, EveryWidth) {
    OnEveryTarget([] {
        ForAllImplementations([](unsigned format, unsigned implementation) {
            Both both;
            for (std::size_t width = 1; width <= 70; ++width) {
                if (!OneIn(kSanitized ? 20 : 2)) {
                    continue;
                }
                both.SetBase(AnyLevels());
                const std::size_t height = RandomFrom<std::size_t>(1, 9);
                const std::size_t windowWidth = AnyOdd(), windowHeight = AnyOdd(), count = AnyOdd();
                const AnySettings settings(format, implementation);
                ASSERT_NO_FATAL_FAILURE(
                    both.Expect(width, height, {windowWidth, windowHeight, count}, settings));
            }
        });
    });
}

TEST(NoiseReductionModel, EveryWindow) {
    ForAllImplementations([](unsigned format, unsigned implementation) {
        Both both;
        for (const std::size_t windowWidth : {1U, 3U, 5U}) {
            for (const std::size_t windowHeight : {1U, 3U, 5U}) {
                for (const std::size_t count : {1U, 3U, 5U}) {
                    for (int i = 0; i < (kSanitized ? 1 : 6); ++i) {
                        both.SetBase(AnyLevels());
                        const std::size_t width = RandomFrom<std::size_t>(1, 40);
                        const std::size_t height = RandomFrom<std::size_t>(1, 14);
                        const AnySettings settings(format, implementation);
                        ASSERT_NO_FATAL_FAILURE(
                            both.Expect(width, height, {windowWidth, windowHeight, count}, settings));
                    }
                }
            }
        }
    });
}

TEST(NoiseReductionModel, EveryHeightAndLongLines) {
    ForAllImplementations([](unsigned format, unsigned implementation) {
        Both both;
        for (std::size_t height = 1; height <= 40; ++height) {
            if (kSanitized && !OneIn(10)) {
                continue;
            }
            both.SetBase(AnyLevels());
            const AnySettings settings(format, implementation);
            ASSERT_NO_FATAL_FAILURE(both.Expect(RandomFrom<std::size_t>(1, 20), height, {3, 3, 1}, settings));
        }
        for (const std::size_t width : {2079U, 2080U, 2081U}) {
            both.SetBase(AnyLevels());
            const AnySettings settings(format, implementation);
            ASSERT_NO_FATAL_FAILURE(both.Expect(width, 2, {3, 1, 1}, settings));
        }
    });
}

// Long, wide and tall ones, more than 257 samples, and more than the picture has.
TEST(NoiseReductionModel, LargeWindows) {
    ForAllImplementations([](unsigned format, unsigned implementation) {
        Both both;
        const Reduction::Window windows[] = {{1, 1, 9},  {1, 9, 1},   {9, 1, 1},   {3, 9, 1},   {7, 7, 1},
                                             {7, 7, 3},  {17, 15, 1}, {257, 1, 1}, {17, 17, 1}, {19, 19, 1},
                                             {1, 31, 3}, {41, 3, 1},  {3, 3, 29},  {9, 9, 9}};
        for (const Reduction::Window& window : windows) {
            for (int i = 0; i < (kSanitized ? 1 : 3); ++i) {
                both.SetBase(AnyLevels());
                const std::size_t width = RandomFrom<std::size_t>(1, 34);
                const std::size_t height = RandomFrom<std::size_t>(1, 9);
                const AnySettings settings(format, implementation);
                ASSERT_NO_FATAL_FAILURE(both.Expect(width, height, window, settings));
            }
        }
    });
}

// Levels that follow the pictures, over calls of all kinds, refused ones among them.
TEST(NoiseReductionModel, LevelsFromCallToCall) {
    OnEveryTarget([] {
        Both both;
        for (int i = 0; i < (kSanitized ? 40 : 300); ++i) {
            if (OneIn(12)) {
                both.SetBase(AnyLevels());
            }
            if (OneIn(6)) {
                both.SetAutomatic(!both.model.automatic);
            }
            const unsigned format = AnyOf({2U, 2U, 2U, 0U, 1U, 3U});
            const unsigned implementation = AnyOf({3U, 3U, 3U, 0U, 2U, 4U, 0xFFFFFFFFU});
            const std::size_t width = RandomFrom<std::size_t>(1, 24), height = RandomFrom<std::size_t>(1, 16);
            const std::size_t windowWidth = AnyOf<std::size_t>({1, 3, 3, 3, 3, 2});
            const AnySettings settings(format, implementation);
            ASSERT_NO_FATAL_FAILURE(
                both.Expect(width, height, {windowWidth, 3, AnyOf<std::size_t>({1, 1, 3})}, settings));
        }
    });
}

TEST(NoiseReductionModel, Refusals) {
    Both both;
    both.SetAutomatic(true);
    Zan::ULong32 pixels[16] = {};
    Zan::ULong32* frames[] = {pixels};
    const auto control = NoiseReduction::kAlphaMinimum;
    NoiseReduction& reduction = both.reduction;
    EXPECT_EQ(reduction.DoFilterSSF(nullptr, pixels, 4, 4, 16, 16, nullptr, 1, 1, 1, control, false, 1, 2, 3),
              -1);
    EXPECT_EQ(reduction.DoFilterSSF(frames, nullptr, 4, 4, 16, 16, nullptr, 1, 1, 1, control, false, 1, 2, 3),
              -1);
    EXPECT_EQ(reduction.DoFilterSSF(frames, pixels, 4, 4, 16, 16, nullptr, 2, 1, 1, control, false, 1, 1, 3),
              -1);
    EXPECT_EQ(reduction.DoFilterSSF(frames, pixels, 4, 4, 16, 16, nullptr, 2, 1, 1, control, false, 1, 2, 9),
              -2);
    EXPECT_EQ(reduction.DoFilterSSF(frames, pixels, 4, 4, 16, 16, nullptr, 1, 0, 1, control, false, 1, 2, 9),
              -2);
    EXPECT_EQ(reduction.DoFilterSSF(frames, pixels, 4, 4, 16, 16, nullptr, 1, 1, 4, control, false, 1, 2, 9),
              -2);
    EXPECT_EQ(reduction.DoFilterSSF(frames, pixels, 4, 4, 16, 16, nullptr, 1, 1, 1, control, false, 1, 2, 4),
              100);
    EXPECT_EQ(reduction.DoFilterPureMedian(pixels, pixels, 4, 4, 16, 16, 1, 1, 1), 0);
    for (const Zan::ULong32 pixel : pixels) {
        EXPECT_EQ(pixel, 0U);
    }
}

/// Runs the temporal filter and its model; `over` is the frame that it writes over, or 3 for none.
void ExpectTemporal(std::size_t width, std::size_t height, int low, int high, const double* frameWeights,
                    const double* channelWeights, std::size_t over) {
    const Frames frames((width + 1) / 2, height, 3);
    if (OneIn(2)) {
        // Frames that agree but for some noise.
        for (std::size_t i = 1; i < 3; ++i) {
            for (std::size_t y = 0; y < height; ++y) {
                for (std::size_t x = 0; x < (width + 1) / 2 * 4; ++x) {
                    const int byte = frames.pictures[0]->Line(y)[x];
                    frames.pictures[i]->Line(y)[x] =
                        static_cast<std::uint8_t>(std::clamp(byte + RandomFrom<int>(-20, 20), 0, 255));
                }
            }
        }
    }
    WordPicture destination((width + 1) / 2, height);
    WordPicture& written = over < 3 ? *frames.pictures[over] : destination;
    Bytes expected = written.memory;
    const std::vector<Bytes> before = frames.Snapshot();
    const std::vector<const std::uint8_t*> first = frames.First();
    ASSERT_EQ(
        filter_model::Temporal(
            before[0].data() + frames.pictures[0]->offset, before[1].data() + frames.pictures[1]->offset,
            before[2].data() + frames.pictures[2]->offset, expected.data() + written.offset,
            {width, height, frames.pitch, written.pitch}, low, high, frameWeights, channelWeights),
        0);
    double ownFrames[3] = {}, ownChannels[3] = {};
    for (std::size_t i = 0; i < 3; ++i) {
        ownFrames[i] = frameWeights != nullptr ? frameWeights[i] : 0;
        ownChannels[i] = channelWeights != nullptr ? channelWeights[i] : 0;
    }
    NoiseReduction reduction;
    ASSERT_EQ(
        reduction.DoFilterSAT(frames.pictures[0]->Words(), frames.pictures[1]->Words(),
                              frames.pictures[2]->Words(), written.Words(), static_cast<Zan::ULong32>(width),
                              static_cast<Zan::ULong32>(height), static_cast<Zan::ULong32>(frames.pitch),
                              static_cast<Zan::ULong32>(written.pitch), static_cast<unsigned char>(low),
                              static_cast<unsigned char>(high), frameWeights != nullptr ? ownFrames : nullptr,
                              channelWeights != nullptr ? ownChannels : nullptr, RandomByte()),
        0);
    ASSERT_TRUE(SameBytes(expected, written)) << width << "x" << height << ", " << low << " to " << high;
    for (std::size_t i = 0; i < 3; ++i) {
        if (i != over) {
            ASSERT_EQ(frames.pictures[i]->memory, before[i]);
        }
    }
}

TEST(NoiseReductionModel, TemporalAtEveryWidth) {
    OnEveryTarget([] {
        for (std::size_t width = 0; width <= 140; ++width) {
            if (kSanitized && !OneIn(8)) {
                continue;
            }
            for (int i = 0; i < 4; ++i) {
                const int low = AnyOf({0, 5, 10, 20, 100, 255, int{RandomByte()}});
                const int high =
                    OneIn(4) ? RandomFrom<int>(0, 255) : std::min(255, low + RandomFrom<int>(0, 60));
                double frame[3], channel[3];
                for (std::size_t k = 0; k < 3; ++k) {
                    frame[k] = AnyOf({0.25, 0.5, 1.0 / 3, 0.0, 1.0, -0.2, 1.7, 0.6});
                    channel[k] = AnyOf({1.0, 0.5, 2.0, 0.0, 0.3, 7.1, -1.0});
                }
                const bool ownFrames = OneIn(2), ownChannels = OneIn(2);
                ASSERT_NO_FATAL_FAILURE(ExpectTemporal(
                    width, RandomFrom<std::size_t>(0, 4), low, high, ownFrames ? frame : nullptr,
                    ownChannels ? channel : nullptr, RandomFrom<std::size_t>(0, 3)));
            }
        }
    });
}

// Values that hang on the last bit of a double: all of the fade's steps between all thresholds.
TEST(NoiseReductionModel, TemporalThresholds) {
    for (int low = 0; low < 256; low += kSanitized ? 37 : 3) {
        for (const int span : {1, 2, 3, 4, 7, 10, 16, 51, 100, 255}) {
            ASSERT_NO_FATAL_FAILURE(
                ExpectTemporal(128, 6, low, std::min(low + span, 255), nullptr, nullptr, 3));
        }
    }
}

TEST(NoiseReductionModel, TemporalRefusals) {
    Zan::ULong32 pixels[4] = {};
    NoiseReduction reduction;
    EXPECT_EQ(reduction.DoFilterSAT(nullptr, pixels, pixels, pixels, 4, 1, 8, 8, 1, 2, nullptr, nullptr, 0),
              -1);
    EXPECT_EQ(reduction.DoFilterSAT(pixels, nullptr, pixels, pixels, 4, 1, 8, 8, 1, 2, nullptr, nullptr, 0),
              -1);
    EXPECT_EQ(reduction.DoFilterSAT(pixels, pixels, nullptr, pixels, 4, 1, 8, 8, 1, 2, nullptr, nullptr, 0),
              -1);
    EXPECT_EQ(reduction.DoFilterSAT(pixels, pixels, pixels, nullptr, 4, 1, 8, 8, 1, 2, nullptr, nullptr, 0),
              -1);
    EXPECT_EQ(reduction.DoFilterSAT(pixels, pixels, pixels, pixels, 4, 0, 8, 8, 1, 2, nullptr, nullptr, 0),
              0);
}

}  // namespace
