// Counts against a second, plain model.

#include <TesselU/tone/Histogram.h>

#include "tone/ModelScenes.h"
#include "tone/model/Tables.h"

using namespace tone_test;

namespace {

struct Counted {
    Zan::Histogram histogram;
    std::vector<std::vector<std::uint32_t>> model;

    Counted(Zan::ULong32 tables, Zan::ULong32 entries)
        : histogram(tables, entries), model(tables, std::vector<std::uint32_t>(entries)) {}

    void Expect() const {
        for (std::size_t i = 0; i < model.size(); ++i) {
            for (std::size_t entry = 0; entry < model[i].size(); ++entry) {
                ASSERT_EQ(histogram.Get(static_cast<Zan::ULong32>(i), static_cast<Zan::ULong32>(entry)),
                          model[i][entry])
                    << "table " << i << ", entry " << entry;
            }
        }
    }

    void Add(Scene& scene, int style) {
        Operand operand = OperandOf(*scene.pictures[0], scene.views[0]);
        const int status = tone_model::Count(operand, model);
        ASSERT_EQ(histogram.Do(scene.views[0], Style(style)), status) << scene.Describe();
        Expect();
        ASSERT_EQ(scene.pictures[0]->Colour(),
                  operand.colour.isThere ? operand.colour.memory : scene.pictures[0]->Colour());
    }
};

Format AnyWords() {
    return AnyOf({Rgb(), Words(), Words(Zan::kYCbCrA)});
}

Scene MakePicture(const Format& format, int width, int height) {
    Scene scene;
    Layout layout;
    layout.width = width;
    layout.height = height;
    scene.Add(format, layout, true, true);
    return scene;
}

// Flat pictures, ramps and few values, where counters meet, besides noise.
void Paint(Picture& picture) {
    FencedMemory& memory = picture.ColourMemory();
    const int kind = RandomFrom<int>(0, 4);
    const std::uint8_t flat[4] = {RandomByte(), RandomByte(), RandomByte(), RandomByte()};
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        std::uint8_t& byte = memory.Data()[i];
        if (kind == 1) {
            byte = flat[i % 4];
        } else if (kind == 2) {
            byte = static_cast<std::uint8_t>(i / 8);
        } else if (kind == 3) {
            byte &= 0x81;
        }
    }
}

TEST(HistogramModel, CountsAddUpOverCalls) {
    for (const Zan::ULong32 tables : {3U, 4U}) {
        for (const Zan::ULong32 entries : {256U, 300U, 1000U}) {
            Counted counted(tables, entries);
            ForWidths(0, [&](int width) {
                Scene scene = MakePicture(AnyWords(), width, RandomFrom<int>(0, 7));
                Paint(*scene.pictures[0]);
                counted.Add(scene, AnyOf({0, 1, 2, 3, 4, 5, 6, -1, 99}));
            });
        }
    }
}

TEST(HistogramModel, LargerPicturesOfEveryKind) {
    for (int round = 0; round < (kSanitized ? 4 : 60); ++round) {
        Counted counted(RandomFrom<Zan::ULong32>(3, 4), 256);
        for (int calls = 0; calls < 3; ++calls) {
            Scene scene = MakePicture(AnyWords(), RandomFrom<int>(1, 900), RandomFrom<int>(1, 40));
            Paint(*scene.pictures[0]);
            counted.Add(scene, 5);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// Large enough for whatever way of counting pays then; calm lines above and noise below, or the other way
// round.
TEST(HistogramModel, FullPictures) {
    OnEveryTarget([] {
        for (int kind = 0; kind < 5; ++kind) {
            Counted counted(OneIn(2) ? 3 : 4, 256);
            Scene scene = MakePicture(AnyWords(), RandomFrom<int>(900, 1200), kSanitized ? 60 : 500);
            FencedMemory& memory = scene.pictures[0]->ColourMemory();
            const std::size_t half = memory.Length() / 2;
            for (std::size_t i = 0; i < memory.Length(); ++i) {
                const bool calm =
                    kind == 0 || kind == 4 || (kind == 1 && i < half) || (kind == 2 && i >= half);
                if (calm) {
                    memory.Data()[i] = static_cast<std::uint8_t>(i % 4 * 60 + (kind == 4 ? 0 : i >> 14));
                }
            }
            counted.Add(scene, 5);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(HistogramModel, EveryMachineAndTarget) {
    OnEveryMachine([](bool mmxOnly) {
        OnEveryTarget([&] {
            Counted counted(4, 256);
            counted.histogram.SetMMXonlyStyle(mmxOnly);
            for (const int style : AllStyles()) {
                Scene scene = MakePicture(AnyWords(), RandomFrom<int>(1, 70), RandomFrom<int>(1, 7));
                counted.Add(scene, style);
            }
        });
    });
}

TEST(HistogramModel, WorkedPicture) {
    Format format = Rgb();
    format.width = 19;
    format.height = 5;
    Picture picture(format);
    std::fill_n(picture.ColourMemory().Data(), picture.ColourMemory().Length(), std::uint8_t{0});
    Zan::Histogram histogram(3, 256);
    Zan::ImageView view(picture);
    EXPECT_EQ(histogram.Do(view, Zan::kBestAvailable), 0);
    for (Zan::ULong32 table = 0; table < 3; ++table) {
        EXPECT_EQ(histogram.Get(table, 0), 95U);
        EXPECT_EQ(histogram.Get(table, 1), 0U);
    }
    EXPECT_EQ(histogram.Do(view, Zan::kBestAvailable), 0);
    EXPECT_EQ(histogram.Get(0, 0), 190U);
    histogram.Clear(5);
    EXPECT_EQ(histogram.Get(0, 0), 190U);
    histogram.Clear(0);
    EXPECT_EQ(histogram.Get(0, 0), 0U);
    EXPECT_EQ(histogram.Get(1, 0), 190U);
    histogram.Clear();
    EXPECT_EQ(histogram.Get(1, 0), 0U);
    EXPECT_EQ(histogram.Get(5, 0), 0U);
}

TEST(HistogramModel, CountsWrap) {
    Counted counted(4, 256);
    for (Zan::ULong32 table = 0; table < 4; ++table) {
        for (Zan::ULong32 entry = 0; entry < 256; ++entry) {
            counted.histogram.Set(table, entry, 0xFFFFFFFEU);
            counted.model[table][entry] = 0xFFFFFFFEU;
        }
    }
    Scene scene = MakePicture(Rgb(), 60, 7);
    counted.Add(scene, 2);
}

TEST(HistogramModel, Refusals) {
    Format deep = Rgb(), deeper = Rgb();
    deep.bits = Zan::k16Bits;
    deeper.bits = Zan::k32Bits;
    const Format refused[] = {
        Rgb(Zan::k444), Pairs(), Pairs(Zan::k4224), Grey(), Planar(Zan::k420), Planar(Zan::k422),
        deep,           deeper};
    for (const Zan::ULong32 tables : {0U, 1U, 2U, 3U, 4U, 5U}) {
        for (const Zan::ULong32 entries : {1U, 255U, 256U}) {
            SCOPED_TRACE(::testing::Message() << tables << " tables of " << entries);
            Counted counted(tables, entries);
            for (const Format& format : refused) {
                Scene scene = MakePicture(format, 9, 3);
                counted.Add(scene, 5);
            }
            Scene scene = MakePicture(Rgb(), 9, 3);
            counted.Add(scene, 5);
            scene.pictures[0]->Drop(0);
            EXPECT_EQ(counted.histogram.Do(scene.views[0], Zan::kFlp), 1);
            Zan::ImageView nothing;
            EXPECT_EQ(counted.histogram.Do(nothing, Zan::kFlp), 1);
            Format upward = Rgb();
            upward.origin = Zan::kBottomLeft;
            Picture picture(upward);
            Zan::ImageView field(picture, Zan::Rectangle(0, 0, 16, 4), Zan::kUpperField);
            EXPECT_EQ(counted.histogram.Do(field, Zan::kFlp), 98);
            counted.Expect();
        }
    }
    Zan::Histogram plain;
    Scene scene = MakePicture(Rgb(), 9, 3);
    EXPECT_EQ(plain.Do(scene.views[0], Zan::kFlp), -1);
    EXPECT_EQ(plain.GetNumberOfTables(), 1U);
    EXPECT_EQ(plain.GetNumberOfTableEntries(), 256U);
}

TEST(HistogramModel, CopiesShare) {
    Zan::Histogram one(3, 256);
    Zan::Histogram two(one);
    one.Set(2, 9, 5);
    EXPECT_EQ(two.Get(2, 9), 5U);
    two.Clear();
    EXPECT_EQ(one.Get(2, 9), 0U);
    one.Set(3, 0, 1);
    one.Set(0, 256, 1);
    EXPECT_EQ(one.GetPointerToTable(3), nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(one.GetPointerToTable(2)) % 128, 0U);
}

}  // namespace
