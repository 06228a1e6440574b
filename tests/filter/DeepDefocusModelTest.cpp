// The box blur and its threaded front against a second, plain model.

#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/filter/DeepDefocusMT.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <utility>

#include "filter/model/Defocus.h"
#include "tone/ModelScenes.h"

using namespace tone_test;
using filter_model::Box;
using filter_model::Processor;

namespace {

filter_model::Picture Told(Picture& picture, const Zan::ImageView& view) {
    filter_model::Picture told;
    if (view.GetImage() == nullptr) {
        told.isNull = true;
        return told;
    }
    told.width = static_cast<int>(view.GetWidth());
    told.height = static_cast<int>(view.GetHeight());
    told.sampling = picture->GetChannelSampling();
    told.channels = static_cast<int>(picture->GetNumberOfChannels());
    told.isUpwardField = picture->GetOrigin() == Zan::kBottomLeft && view.GetFieldOfInterest() != Zan::kFrame;
    told.words = picture.PlaneOf(view, 0);
    return told;
}

std::string Text(const Box& box, std::uint32_t bits, int style) {
    std::ostringstream text;
    text << "box " << box.horizontal << " x " << box.vertical << " columns " << box.xStart << " to "
         << box.xEnd << " rows " << box.yStart << " to " << box.yEnd << " bits " << bits << " style "
         << style;
    return text.str();
}

Processor RealProcessor() {
    const Zan::CPUcapabilities detected;
    return {detected.IsSIMDsupported(), detected.IsSSE2supported()};
}

/// Runs the filter, or its front with some workers, beside the model.
void ExpectAsModel(Scene& scene, const Box& box, std::uint32_t bits, int style,
                   const Processor& processor = RealProcessor(), Zan::ULong32 workers = 0) {
    const filter_model::Picture source = Told(*scene.pictures[0], scene.views[0]);
    filter_model::Picture destination = Told(*scene.pictures[1], scene.views[1]);
    const int status = filter_model::Defocus(source, destination, box, bits, style, processor);
    SCOPED_TRACE(Text(box, bits, style) + scene.Describe());
    Zan::Long32 returned = 0;
    if (workers == 0) {
        const Zan::DeepDefocus filter(bits);
        returned = filter.Do(scene.views[0], scene.views[1], box.horizontal, box.vertical, box.xStart,
                             box.xEnd, box.yStart, box.yEnd, Style(style));
    } else {
        Zan::DeepDefocusMT filter(workers, bits);
        returned = filter.Do(scene.views[0], scene.views[1], box.horizontal, box.vertical, box.xStart,
                             box.xEnd, box.yStart, box.yEnd, Style(style));
    }
    ASSERT_EQ(returned, status);
    ASSERT_TRUE(SameMemory("source", source.words, scene.pictures[0]->Colour()));
    ASSERT_TRUE(SameMemory("destination", destination.words, scene.pictures[1]->Colour()));
}

/// Of four bytes a pixel, or of more that are taken for it.
Format AnyWords() {
    Format format = AnyOf({Words(), Words(Zan::kYCbCrA), Rgb(), Rgb(), Rgb()});
    if (format.colorSpace == Zan::kRGB && OneIn(4)) {
        format.bits = AnyOf({Zan::k16Bits, Zan::k32Bits});
    }
    return format;
}

Scene AnyScene(int width, int height) {
    Layout layout;
    layout.width = width;
    layout.height = height;
    layout.pitchUnit = AnyOf({1U, 4U, 16U});
    Scene scene;
    const bool exactWidth = OneIn(2), exactHeight = OneIn(2);
    scene.Add(AnyWords(), layout, exactWidth, exactHeight);
    scene.Add(AnyWords(), layout, !exactWidth, !exactHeight);
    if (OneIn(2)) {
        Polarise(scene.pictures[0]->ColourMemory());
    }
    return scene;
}

/// The whole picture.
Box Whole(double horizontal, double vertical) {
    return {horizontal, vertical, 0, 0xFFFFFFFFU, 0, 0xFFFFFFFFU};
}

/// Mostly the whole, or some part of it, or nothing.
Box AnyPart(double horizontal, double vertical, int width, int height) {
    Box box = Whole(horizontal, vertical);
    if (OneIn(2)) {
        box.xStart = RandomFrom<std::uint32_t>(0, width);
        box.xEnd = RandomFrom<std::uint32_t>(0, width + 2);
    }
    if (OneIn(2)) {
        box.yStart = RandomFrom<std::uint32_t>(0, height);
        box.yEnd = RandomFrom<std::uint32_t>(0, height + 2);
    }
    return box;
}

/// An odd number below `size`, which is at least 2.
int OddBelow(int size) {
    return 2 * RandomFrom<int>(0, (size - 2) / 2) + 1;
}

int AnyStyle() {
    return AnyOf({0, 1, 1, 2, 3, 4, 5, 5, 5, 6, 7, -1, 1000});
}

TEST(DeepDefocusModel, EveryWidthOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(1, [](int width) {
            for (int round = 0; round < (kSanitized ? 1 : 8) && !::testing::Test::HasFatalFailure();
                 ++round) {
                const int height = RandomFrom<int>(1, 40);
                Scene scene = AnyScene(width, height);
                const int kw = width < 2 ? 1 : OddBelow(width), kh = height < 2 ? 1 : OddBelow(height);
                ExpectAsModel(scene, AnyPart(kw, kh, width, height), AnyOf({8U, 8U, 8U, 1U, 10U, 12U}),
                              AnyStyle());
            }
        });
    });
}

// Every odd box below the picture.
TEST(DeepDefocusModel, EveryBox) {
    for (int height = 2; height <= 40; ++height) {
        if (kSanitized && !OneIn(10)) {
            continue;
        }
        const int width = RandomFrom<int>(2, 70);
        for (const int style : {1, 5}) {
            for (int kh = 1; kh < height; kh += 2) {
                Scene scene = AnyScene(width, height);
                ExpectAsModel(scene, Whole(OddBelow(width), kh), 8, style);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
    for (int width = 2; width <= 70; ++width) {
        if (kSanitized && !OneIn(10)) {
            continue;
        }
        const int height = RandomFrom<int>(2, 40);
        for (const int style : {1, 5}) {
            for (int kw = 1; kw < width; kw += 2) {
                Scene scene = AnyScene(width, height);
                ExpectAsModel(scene, Whole(kw, OddBelow(height)), 8, style);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(DeepDefocusModel, RowsBeyondTheColumnStore) {
    OnEveryTarget([] {
        for (const int width : {2079, 2080, 2081}) {
            for (int round = 0; round < (kSanitized ? 1 : 3); ++round) {
                const int height = RandomFrom<int>(2, 12);
                Scene scene = AnyScene(width, height);
                const int kw = AnyOf({1, 3, 31, 257, 259, OddBelow(width)});
                ExpectAsModel(scene, AnyPart(kw, OddBelow(height), width, height), 8, AnyOf({1, 5, 5, 3}));
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

// Sums of a column, and of a box, that leave 16 and 24 bits.
TEST(DeepDefocusModel, TallAndLargeBoxes) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 1 : 6); ++round) {
            const int width = RandomFrom<int>(100, 420), height = RandomFrom<int>(250, 320);
            Scene scene = AnyScene(width, height);
            if (OneIn(4)) {
                FencedMemory& memory = scene.pictures[0]->ColourMemory();
                std::fill(memory.Data(), memory.Data() + memory.Length(), std::uint8_t{255});
            }
            // Large enough that means come closer to halves than the error of single precision.
            const auto odd = [](int size) { return OneIn(2) ? OddBelow(size) : (size - 2) / 2 * 2 + 1; };
            const int kw = odd(width), kh = odd(height);
            ExpectAsModel(scene, Whole(kw, kh), 8, AnyOf({1, 5, 5}));
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// 257 samples of 255 are the most that 16 bits hold, of a column as of a box.
TEST(DeepDefocusModel, SumsAtTheLimitOf16Bits) {
    OnEveryTarget([] {
        for (const auto& [kw, kh] : {std::pair(257, 1),
                                     {1, 257},
                                     {259, 1},
                                     {1, 259},
                                     {15, 17},
                                     {17, 15},
                                     {3, 85},
                                     {85, 3},
                                     {3, 87},
                                     {87, 3},
                                     {5, 51},
                                     {5, 53},
                                     {257, 3},
                                     {3, 255},
                                     {3, 257},
                                     {3, 259},
                                     {129, 3},
                                     {13, 19},
                                     {43, 7}}) {
            if (kSanitized && !OneIn(8)) {
                continue;
            }
            Scene scene =
                AnyScene(std::max(40, kw + RandomFrom<int>(1, 30)), std::max(8, kh + RandomFrom<int>(1, 12)));
            FencedMemory& memory = scene.pictures[0]->ColourMemory();
            if (OneIn(2)) {
                std::fill(memory.Data(), memory.Data() + memory.Length(), std::uint8_t{255});
            } else {
                Polarise(memory);
            }
            ExpectAsModel(scene, Whole(kw, kh), 8, AnyOf({1, 5, 5, 5}));
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(DeepDefocusModel, EveryStyleAndMachine) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        const Zan::ScopedInstructionSet scope(set);
        for (const int style : AllStyles()) {
            for (int round = 0; round < 12 && !HasFatalFailure(); ++round) {
                const int width = RandomFrom<int>(2, 40), height = RandomFrom<int>(2, 20);
                Scene scene = AnyScene(width, height);
                const double horizontal = OddBelow(width) + AnyOf({0.0, 0.25, 0.75, 1.0});
                ExpectAsModel(scene, AnyPart(horizontal, OddBelow(height), width, height), 8, style,
                              {set >= Zan::kSIMD, set >= Zan::kSSE2});
            }
        }
    }
}

// Every kind of double, before and after the picture's size.
TEST(DeepDefocusModel, SizesAndStatuses) {
    int counts[11] = {};
    for (int round = 0; round < (kSanitized ? 400 : 8000); ++round) {
        const int width = RandomFrom<int>(0, 12), height = RandomFrom<int>(0, 12);
        Scene scene = AnyScene(width, height);
        const auto any = [](int size) {
            const double infinity = std::numeric_limits<double>::infinity();
            switch (RandomFrom<int>(0, 3)) {
                case 0:
                    return AnyOf({-infinity, infinity, std::numeric_limits<double>::quiet_NaN(), -1e300,
                                  1e300, -1.0, -0.5, -0.0, 0.0, 1e-300, 4103.5, 65537.0, 4294967295.0,
                                  4294967296.0, 16843009.0, 16843010.0});
                case 1:
                    return size + AnyOf({-2.0, -1.5, -1.0, -0.75, -0.5, -0.25, 0.0, 0.5, 1.0, 2.0});
                case 2:
                    return static_cast<double>(RandomFrom<int>(0, size));
                default:
                    return RandomFrom<int>(0, 8 * (size + 1)) / 8.0;
            }
        };
        const double horizontal = any(width), vertical = any(height);
        const auto bits = AnyOf({8U, 8U, 8U, 8U, 0U, 1U, 7U, 16U, 24U, 31U, 32U, 33U, 64U, 1100U});
        const int style = AnyStyle();
        const Processor processor = RealProcessor();
        filter_model::Picture source = Told(*scene.pictures[0], scene.views[0]), copy = source;
        filter_model::Picture destination = Told(*scene.pictures[1], scene.views[1]);
        const Box box = AnyPart(horizontal, vertical, width, height);
        const int status = filter_model::Defocus(source, destination, box, bits, style, processor);
        ++counts[status <= 0 ? -status : 9];
        ExpectAsModel(scene, box, bits, style);
        if (HasFatalFailure()) {
            return;
        }
    }
    for (const std::size_t status : {0U, 1U, 2U, 3U, 10U}) {
        EXPECT_GT(counts[status], 10) << "status " << status;
    }
}

// All depths and areas that have a scale, on a few pixels; without vectors the rounding styles use it, too.
TEST(DeepDefocusModel, IntegerScales) {
    const Zan::ScopedInstructionSet scope(Zan::kSSE_MMX);
    for (std::uint32_t bits = 0; bits <= 70; ++bits) {
        for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
            const int width = RandomFrom<int>(2, 60), height = RandomFrom<int>(2, 60);
            Scene scene = AnyScene(width, height);
            // Below 1 becomes 1, but keeps a large sum of bits in range.
            const double tiny = OneIn(2) ? 1e-30 : OddBelow(width);
            Box box = Whole(tiny, OneIn(3) ? 1e-30 : OddBelow(height));
            ExpectAsModel(scene, box, bits, AnyOf({0, 1, 2, 3, 5}), {false, false});
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(DeepDefocusModel, AreasWithoutScale) {
    Format format = Rgb();
    format.width = format.height = 260;
    Scene scene;
    for (int i = 0; i < 2; ++i) {
        scene.pictures.push_back(std::make_unique<Picture>(format));
        scene.views.emplace_back(*scene.pictures.back());
    }
    ExpectAsModel(scene, Whole(257, 257), 8, 1);  // 66049
    ExpectAsModel(scene, Whole(257, 255), 8, 1);  // 65535
    ExpectAsModel(scene, Whole(257, 257), 8, 5);
    ExpectAsModel(scene, {257, 257, 258, 300, 0, 2}, 8, 4);
    const Zan::DeepDefocus filter;
    EXPECT_EQ(filter.Do(scene.views[0], scene.views[1], 257, 257, 0, 1, 0, 1, Zan::kFP), -5);
}

// Formats, missing images and missing memory, upward fields, any of them wrong at once.
TEST(DeepDefocusModel, OrderOfRefusals) {
    for (int round = 0; round < (kSanitized ? 200 : 4000); ++round) {
        Layout layout;
        layout.width = RandomFrom<int>(1, 12);
        layout.height = RandomFrom<int>(2, 8);
        Scene scene;
        for (std::size_t i = 0; i < 2; ++i) {
            scene.Add(OneIn(8)
                          ? AnyOf({Pairs(), Pairs(Zan::k4224), Rgb(Zan::k444), Grey(), Planar(Zan::k420)})
                          : AnyWords(),
                      layout, true, true);
            Picture& picture = *scene.pictures[i];
            if (OneIn(10)) {
                picture->SetOrigin(Zan::kBottomLeft);
                scene.views[i] = Zan::ImageView(picture, Zan::Rectangle(0, 0, 16, 4), Zan::kUpperField);
            }
            if (OneIn(12)) {
                picture.Drop(0);
            }
            if (OneIn(12)) {
                scene.views[i] = Zan::ImageView();
            }
        }
        const double size = AnyOf({1.0, 1.0, 3.0, 0.0, 2.0, 1e10});
        ExpectAsModel(scene, Whole(size, 1), 8, AnyStyle());
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Bands on threads, whatever the number of them.
TEST(DeepDefocusModel, EveryNumberOfWorkers) {
    for (int round = 0; round < (kSanitized ? 20 : 300); ++round) {
        const int width = RandomFrom<int>(2, 70), height = RandomFrom<int>(2, 60);
        Scene scene = AnyScene(width, height);
        const int kw = OddBelow(width), kh = OddBelow(height);
        ExpectAsModel(scene, AnyPart(kw, kh, width, height), 8, AnyStyle(), RealProcessor(),
                      RandomFrom<Zan::ULong32>(1, 8));
        if (HasFatalFailure()) {
            return;
        }
    }
}

// The front refuses as its first worker does.
TEST(DeepDefocusModel, WorkersRefuse) {
    for (int round = 0; round < (kSanitized ? 20 : 200); ++round) {
        const int width = RandomFrom<int>(0, 9), height = RandomFrom<int>(0, 9);
        Scene scene = AnyScene(width, height);
        const double size = AnyOf({0.0, 0.5, 1.0, 2.0, 3.0, 4.0, 9.0, 1e6, -1.0});
        ExpectAsModel(scene, AnyPart(size, AnyOf({0.0, 1.0, 2.0, 3.0, 1e6}), width, height),
                      AnyOf({8U, 16U, 32U}), AnyStyle(), RealProcessor(), RandomFrom<Zan::ULong32>(1, 4));
        if (HasFatalFailure()) {
            return;
        }
    }
}

// In place nothing is defined but what stays as it was.
TEST(DeepDefocusModel, InPlaceKeepsWhatIsAround) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
            const int width = RandomFrom<int>(2, 90), height = RandomFrom<int>(2, 30);
            Scene scene = AnyScene(width, height);
            filter_model::Plane before = scene.pictures[0]->PlaneOf(scene.views[0], 0);
            const Zan::DeepDefocus filter;
            ASSERT_EQ(filter.Do(scene.views[0], scene.views[0], OddBelow(width), OddBelow(height), 0, 100, 0,
                                100, Style(AnyOf({1, 4, 5}))),
                      0);
            const Bytes after = scene.pictures[0]->Colour();
            for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(after.size()); ++i) {
                const auto at = static_cast<std::size_t>(i);
                if (!before.Holds(i)) {
                    ASSERT_EQ(after[at], before.memory[at]) << i - before.first << scene.Describe();
                }
            }
        }
    });
}

/// A row of pixels whose four bytes are alike, blurred three wide.
std::vector<int> Blurred(const std::vector<std::uint8_t>& row, int style, double size = 3) {
    Format format = Rgb();
    format.width = static_cast<Zan::ULong32>(row.size());
    format.height = 2;
    Picture source(format), destination(format);
    for (std::size_t i = 0; i < 8 * row.size(); ++i) {
        source.ColourMemory().Data()[i] = row[i / 4 % row.size()];
    }
    Zan::ImageView from(source), to(destination);
    const Zan::DeepDefocus filter;
    EXPECT_EQ(filter.Do(from, to, size, 1, 0, 100, 0, 100, Style(style)), 0);
    std::vector<int> made;
    for (std::size_t i = 0; i < row.size(); ++i) {
        made.push_back(destination.ColourMemory().Data()[4 * i]);
    }
    return made;
}

// By the words alone.
TEST(DeepDefocusModel, WorkedValues) {
    // (20 + 10 + 20) / 3 is 16.67, (20 + 30 + 40) / 3 is 30, (30 + 40 + 30) / 3 is 33.33; in the integer form
    // 1 / 3 is 43691 / 2^17, too much by a little, and truncated.
    const std::vector<std::uint8_t> row = {10, 20, 30, 40};
    EXPECT_EQ(Blurred(row, 5), (std::vector<int>{17, 20, 30, 33}));
    EXPECT_EQ(Blurred(row, 4), (std::vector<int>{17, 20, 30, 33}));
    EXPECT_EQ(Blurred(row, 1), (std::vector<int>{16, 20, 30, 33}));
    const std::vector<std::uint8_t> line = {0, 1, 127, 128, 254, 255};
    EXPECT_EQ(Blurred(line, 1, 1), (std::vector<int>{0, 1, 127, 128, 254, 255}));
    EXPECT_EQ(Blurred(line, 5, 0.3), (std::vector<int>{0, 1, 127, 128, 254, 255}));
}

// A sum beyond 32 bits: 255 * 4105^2. The box is widened after the test that it passes.
TEST(DeepDefocusModel, SumsBeyond32Bits) {
    Format format = Rgb();
    format.width = format.height = 4106;
    Picture source(format);
    format.height = 4106;
    Picture destination(format);
    FencedMemory& memory = source.ColourMemory();
    std::fill(memory.Data(), memory.Data() + memory.Length(), std::uint8_t{255});
    Zan::ImageView from(source), to(destination);
    const Zan::DeepDefocus filter;
    std::fill(destination.ColourMemory().Data(), destination.ColourMemory().Data() + 16, std::uint8_t{7});
    ASSERT_EQ(filter.Do(from, to, 4103.5, 4103.5, 0, 2, 0, 1, Zan::kBestAvailable), 0);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(destination.ColourMemory().Data()[i], 255);
    }
    EXPECT_EQ(destination.ColourMemory().Data()[8], 7);
    EXPECT_EQ(filter.Do(from, to, 4105, 4105, 0, 2, 0, 1, Zan::kBestAvailable), -10);
}

}  // namespace
