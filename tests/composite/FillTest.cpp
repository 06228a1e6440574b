#include "composite/FillModel.h"

using namespace composite_test;

namespace {

struct Selection {
    Zan::Long32 left;
    Zan::Long32 top;
    Zan::Long32 width;
    Zan::Long32 height;
    Zan::WhichFieldEnum field = Zan::kFrame;
};

void CheckFill(Zan::ZanCompositor& compositor, const Machine& machine, const Format& format,
               const Selection& selection, int style, Zan::ULong32 colour, Zan::ULong32 mask) {
    Picture picture(format);
    Zan::ImageView view =
        Part(picture, selection.left, selection.top, selection.width, selection.height, selection.field);
    SCOPED_TRACE(::testing::Message()
                 << "space " << format.colorSpace << " sampling " << format.sampling << " bits "
                 << format.bits << ", " << format.width << "x" << format.height << " pitch "
                 << view.GetPitch(0) << ", left " << selection.left << " top " << selection.top << " "
                 << view.GetWidth() << "x" << view.GetHeight() << " field " << selection.field << ", style "
                 << style << ", mask " << mask << ", address "
                 << reinterpret_cast<std::uintptr_t>(view.GetMemoryPointer(0)) % 64);
    PlaneModel expected = picture.Model(view);
    const Bytes alphaBefore = picture.Alpha();
    Paint paint(expected, picture.Begin(), picture.End(),
                reinterpret_cast<std::uintptr_t>(view.GetMemoryPointer(0)));
    ExpectFill(view, paint, colour, mask, style, machine);
    ASSERT_EQ(compositor.Fill(view, colour, mask, Style(style)), 0);
    ASSERT_TRUE(Matches(expected, picture.Colour()));
    ASSERT_EQ(alphaBefore, picture.Alpha()) << "the alpha plane changed";
}

constexpr Zan::ULong32 kColour = 0x7BC35A81U;

TEST(Fill, WordPlanesOfEveryWidth) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (Zan::ULong32 width = 1; width <= 41; ++width) {
                const auto w = static_cast<Zan::Long32>(width);
                for (const Format& format :
                     {Format::Rgb(width, 3), Format::YCrCb(width, 3, Zan::k4444).Padded(20)}) {
                    ASSERT_NO_FATAL_FAILURE(
                        CheckFill(compositor, machine, format, {0, 0, w, 3}, style, kColour, kPlain));
                }
                for (const auto sampling : {Zan::k422, Zan::k4224}) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine,
                                                      Format::YCrCb(width, 3, sampling).Padded(12),
                                                      {0, 0, 2 * (w / 2) + 2, 3}, style, kColour, kPlain));
                }
            }
        }
    });
}

TEST(Fill, WordPlanesAtEveryAddress) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 2, 3, 5}) {
            for (Zan::Long32 left = 0; left < 16; ++left) {
                for (Zan::Long32 width = 1; width <= 13; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Rgb(32, 5),
                                                      {left, 1, width, 3}, style, kColour, kPlain));
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::YCrCb(64, 5, Zan::k422),
                                                      {2 * left, 1, 2 * width, 3}, style, kColour, kPlain));
                }
            }
        }
    });
}

TEST(Fill, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 2, 3, 5}) {
            for (std::size_t slack = 0; slack < 64; slack += slack < 9 ? 1 : 7) {
                const auto odd = static_cast<Zan::ULong32>(slack % 5);
                for (const Format& format :
                     {Format::Rgb(133, 3), Format::YCrCb(266, 3, Zan::k422), Format::Grey(531, 3)}) {
                    const auto width = static_cast<Zan::Long32>(format.width);
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, format.Padded(odd).Slack(slack),
                                                      {0, 0, width, 3}, style, kColour, kPlain));
                }
            }
        }
    });
}

// The last row of the plane: what the alignment step writes beyond it is clipped.
TEST(Fill, AlignmentStepEndsWithThePlane) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {2, 3, 5}) {
            for (std::size_t slack = 0; slack < 64; slack += 4) {
                for (Zan::Long32 width = 1; width <= 6; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Rgb(7, 3).Slack(slack),
                                                      {7 - width, 0, width, 3}, style, kColour, kPlain));
                    ASSERT_NO_FATAL_FAILURE(
                        CheckFill(compositor, machine, Format::YCrCb(14, 3, Zan::k422).Slack(slack),
                                  {14 - 2 * width, 0, 2 * width, 3}, style, kColour, kPlain));
                }
            }
        }
        for (const int style : {2, 3, 5}) {
            for (std::size_t slack = 0; slack < 64; ++slack) {
                for (Zan::Long32 width = 1; width <= 5; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Grey(23, 3).Slack(slack),
                                                      {23 - width, 0, width, 3}, style, 0x5A, kPlain));
                }
            }
        }
    });
}

// From an odd address steps of a word never meet the boundary: there is nothing to write on to.
TEST(Fill, ShortRowsOfWordsAtOddAddressesEndWithTheRow) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 2, 3, 5}) {
            for (std::size_t slack = 0; slack < 32; ++slack) {
                for (Zan::Long32 width = 1; width <= 5; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Rgb(8, 3).Slack(slack),
                                                      {1, 0, width, 3}, style, kColour, kPlain));
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine,
                                                      Format::YCrCb(16, 3, Zan::k422).Slack(slack),
                                                      {2, 0, 2 * width, 3}, style, kColour, kPlain));
                }
            }
        }
    });
}

TEST(Fill, BytePlanes) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (Zan::ULong32 width = 1; width <= 75; ++width) {
                for (const Zan::ULong32 mask : {kPlain, Zan::ULong32{255}}) {
                    ASSERT_NO_FATAL_FAILURE(
                        CheckFill(compositor, machine, Format::Grey(width, 3).Padded(width % 5),
                                  {0, 0, static_cast<Zan::Long32>(width), 3}, style, kColour, mask));
                }
            }
        }
    });
}

TEST(Fill, BytePlanesAtEveryAddress) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 2, 3, 5}) {
            for (Zan::Long32 left = 0; left < 32; ++left) {
                for (const Zan::Long32 width : {1, 2, 5, 7, 8, 15, 16, 17, 21, 22, 31, 32, 33, 60}) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Grey(97, 5),
                                                      {left, 1, width, 3}, style, kColour, kPlain));
                }
            }
        }
    });
}

TEST(Fill, PairFillOfOddWidths) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (const auto sampling : {Zan::k422, Zan::k4224}) {
                for (Zan::Long32 width = 1; width <= 19; width += 2) {
                    for (const Zan::ULong32 imageWidth : {20U, 48U}) {
                        ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine,
                                                          Format::YCrCb(imageWidth, 4, sampling).Padded(8),
                                                          {0, 1, width, 3}, style, kColour, kPlain));
                    }
                }
            }
        }
    });
}

TEST(Fill, PairFillWritesEverySecondWordAndThreeBytes) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        Picture picture(Format::YCrCb(16, 1, Zan::k422));
        Zan::ImageView view = Part(picture, 0, 0, 5, 1);
        std::uint8_t* row = picture.ColourMemory().Data();
        std::memset(row, 0, 32);
        ASSERT_EQ(compositor.Fill(view, 0x44332211U, kPlain, Zan::kInt_MMXorSIMD), 0);
        const std::uint8_t expected[32] = {0x11, 0x22, 0x33, 0x44, 0, 0, 0,    0,    0x11, 0x22,
                                           0x33, 0x44, 0,    0,    0, 0, 0x11, 0x22, 0x33};
        for (int i = 0; i < 32; ++i) {
            EXPECT_EQ(row[i], expected[i]) << i;
        }
        std::memset(row, 0, 32);
        Zan::ImageView single = Part(picture, 0, 0, 1, 1);
        ASSERT_EQ(compositor.Fill(single, 0x44332211U, kPlain, Zan::kBestAvailable), 0);
        for (int i = 0; i < 32; ++i) {
            EXPECT_EQ(row[i], i < 3 ? 0x11 * (i + 1) : 0) << i;
        }
    });
}

TEST(Fill, GreyOfSeveralBytesTakesThePairFill) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (const auto bits : {Zan::k16Bits, Zan::k32Bits}) {
                for (Zan::ULong32 width = 1; width <= 12; ++width) {
                    for (const Zan::ULong32 padding : {Zan::ULong32{0}, 4 * width + 4}) {
                        // Four bytes to each row, so that rows start on words.
                        ASSERT_NO_FATAL_FAILURE(CheckFill(
                            compositor, machine, Format::Grey(2 * width, 4).Bits(bits).Padded(padding),
                            {0, 1, static_cast<Zan::Long32>(width), 3}, style, kColour, kPlain));
                    }
                }
            }
        }
    });
}

TEST(Fill, MasksOnWords) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (const Zan::ULong32 mask : {0U, 255U, 0x1FFU, 0xFF00FF00U, 0xFFFFFFFEU, 0x80000001U}) {
                for (Zan::Long32 width = 1; width <= 11; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Rgb(12, 3),
                                                      {1, 0, width, 3}, style, kColour, mask));
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::YCrCb(14, 3, Zan::k4224),
                                                      {2, 0, width, 3}, style, kColour, mask));
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine,
                                                      Format::Grey(12, 3).Bits(Zan::k16Bits),
                                                      {0, 0, width, 3}, style, kColour, mask));
                }
            }
        }
    });
}

TEST(Fill, MaskOfNothingLeavesEverything) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const Format& format :
             {Format::Rgb(9, 3), Format::YCrCb(10, 3, Zan::k422), Format::Grey(9, 3)}) {
            Picture picture(format);
            Zan::ImageView view(picture);
            const Bytes before = picture.Colour();
            EXPECT_EQ(compositor.Fill(view, 0x12345678U, 0, Zan::kBestAvailable), 0);
            EXPECT_EQ(picture.Colour(), before);
        }
    });
}

TEST(Fill, MasksOnBytes) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            // 0x1FF is a mask in force, of 255: nothing is written beyond the row.
            for (const Zan::ULong32 mask : {0U, 1U, 0x0FU, 254U, 256U, 0x1FFU, 0xFFFFFF00U, 0xFFFFFF0FU}) {
                for (Zan::Long32 width = 1; width <= 20; ++width) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, Format::Grey(23, 3).Padded(2),
                                                      {3, 0, width, 3}, style, kColour, mask));
                }
            }
        }
    });
}

TEST(Fill, BottomLeftPicturesAndFields) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {1, 2, 3, 5}) {
            for (const Format& format : {Format::Rgb(19, 7), Format::YCrCb(20, 7, Zan::k422),
                                         Format::YCrCb(20, 7, Zan::k4224).Padded(8), Format::Grey(37, 7),
                                         Format::Grey(36, 7).Padded(4)}) {
                for (const Zan::Long32 width : {18, 17, 3}) {
                    ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine, format.BottomLeft(),
                                                      {0, 2, width, 4}, style, kColour, kPlain));
                    for (const auto scan : {Zan::kUpperFieldFirst, Zan::kLowerFieldFirst}) {
                        for (const auto field :
                             {Zan::kFirstField, Zan::kSecondField, Zan::kUpperField, Zan::kLowerField}) {
                            for (const Zan::Long32 top : {0, 1}) {
                                ASSERT_NO_FATAL_FAILURE(
                                    CheckFill(compositor, machine, format.Interlaced(scan),
                                              {0, top, width, 5, field}, style, kColour, kPlain));
                            }
                        }
                    }
                }
            }
        }
    });
}

// A negative pitch grows in size; a line below the region leaves it room.
TEST(Fill, WordKernelsClearTheLowBitsOfThePitch) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 1, 2, 4, 5}) {
            for (const Zan::ULong32 padding : {1U, 2U, 3U, 6U, 13U}) {
                for (const bool bottomLeft : {false, true}) {
                    for (const Zan::ULong32 mask : {kPlain, Zan::ULong32{0xFF00FF00U}}) {
                        Format words =
                            Format::Rgb(9, 4).Padded(padding).Slack((64 - (36 + padding) * 4 % 64) % 64);
                        Format pairs = Format::YCrCb(18, 4, Zan::k422)
                                           .Padded(padding)
                                           .Slack((64 - (36 + padding) * 4 % 64) % 64);
                        if (bottomLeft) {
                            words = words.BottomLeft();
                            pairs = pairs.BottomLeft();
                        }
                        ASSERT_NO_FATAL_FAILURE(
                            CheckFill(compositor, machine, words, {0, 0, 9, 3}, style, kColour, mask));
                        ASSERT_NO_FATAL_FAILURE(
                            CheckFill(compositor, machine, pairs, {0, 0, 17, 3}, style, kColour, mask));
                    }
                }
            }
        }
    });
}

// A field has twice the pitch, of which the low bits are cleared: 37 doubled is walked as 72.
TEST(Fill, WordKernelsClearTheLowBitsOfTheDoubledPitch) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 1, 2, 4, 5}) {
            for (const Zan::ULong32 padding : {1U, 2U, 3U, 7U}) {
                for (const auto field : {Zan::kUpperField, Zan::kLowerField}) {
                    for (const Zan::ULong32 mask : {kPlain, Zan::ULong32{0xFF00FF00U}}) {
                        ASSERT_NO_FATAL_FAILURE(CheckFill(compositor, machine,
                                                          Format::Rgb(9, 7).Padded(padding).Interlaced(),
                                                          {0, 0, 9, 7, field}, style, kColour, mask));
                        ASSERT_NO_FATAL_FAILURE(CheckFill(
                            compositor, machine, Format::YCrCb(18, 7, Zan::k422).Padded(padding).Interlaced(),
                            {0, 0, padding % 2 == 0 ? 18 : 17, 7, field}, style, kColour, mask));
                    }
                }
            }
        }
    });
}

TEST(Fill, OtherFormatsAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        Format planar = Format::YCrCb(16, 4, Zan::k420);
        planar.packing = Zan::kPlanar;
        planar.order = Zan::kYCbCrPlanes;
        Format quarter = planar;
        quarter.sampling = Zan::k411;
        Format threeBytes = Format::Rgb(16, 4);
        threeBytes.sampling = Zan::k444;
        for (const Format& format : {planar, quarter, threeBytes, Format::YCrCb(16, 4, Zan::k444)}) {
            Picture picture(format);
            Zan::ImageView view(picture);
            const Bytes before = picture.Colour();
            for (const int style : AllStyles()) {
                for (const Zan::ULong32 mask : {kPlain, Zan::ULong32{0xFFFF}}) {
                    EXPECT_EQ(compositor.Fill(view, kColour, mask, Style(style)), 4);
                }
            }
            EXPECT_EQ(picture.Colour(), before);
        }
    });
}

TEST(Fill, WithoutMemory) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            Zan::ImageView nothing;
            EXPECT_EQ(compositor.Fill(nothing, 0, kPlain, Style(style)), 1);
            Picture picture(Format::Rgb(8, 2));
            for (Zan::ChannelDescriptor& channel : picture->GetImageDescriptor()->channels) {
                channel.memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
            }
            Zan::ImageView view(picture);
            EXPECT_EQ(compositor.Fill(view, 0, kPlain, Style(style)), 1);
        }
    });
}

TEST(Fill, EmptyViews) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        Picture picture(Format::Rgb(8, 4).Interlaced());
        const Bytes before = picture.Colour();
        for (const int style : AllStyles()) {
            Zan::ImageView flat = Part(picture, 0, 1, 8, 0);
            EXPECT_EQ(compositor.Fill(flat, 0, kPlain, Style(style)), 0);
            Zan::ImageView noLineOfTheField = Part(picture, 0, 1, 8, 1, Zan::kUpperField);
            EXPECT_EQ(noLineOfTheField.GetHeight(), 0U);
            EXPECT_EQ(compositor.Fill(noLineOfTheField, 0, kPlain, Style(style)), 0);
        }
        EXPECT_EQ(picture.Colour(), before);
    });
}

TEST(Fill, SelectionsOutsideTheImageAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            for (const Format& format :
                 {Format::Rgb(16, 6), Format::YCrCb(16, 6, Zan::k422), Format::YCrCb(16, 6, Zan::k4224),
                  Format::Grey(16, 6), Format::Grey(16, 6).Bits(Zan::k16Bits)}) {
                Picture picture(format.BottomLeft().Interlaced());
                const Bytes before = picture.Colour();
                const Bytes alphaBefore = picture.Alpha();
                for (const auto field : {Zan::kUpperField, Zan::kLowerField}) {
                    Zan::ImageView view = Part(picture, 0, 0, 16, 6, field);
                    for (const Zan::ULong32 mask : {kPlain, Zan::ULong32{0xF0}}) {
                        EXPECT_EQ(compositor.Fill(view, kColour, mask, Style(style)), 98);
                    }
                    if (format.sampling == Zan::k4224) {
                        EXPECT_EQ(compositor.FillAlpha(view, 1, Style(style)), 98);
                    }
                }
                EXPECT_EQ(picture.Colour(), before);
                EXPECT_EQ(picture.Alpha(), alphaBefore);
            }
            // A left edge left of the picture stays where it is on packed 4:2:2.
            Picture picture(Format::YCrCb(16, 6, Zan::k4224));
            const Bytes before = picture.Colour();
            const Bytes alphaBefore = picture.Alpha();
            // So it does where the line above would hold the columns that are missing.
            for (const Zan::Long32 top : {0, 1}) {
                Zan::ImageView view = Part(picture, -3, top, 12, 6 - top);
                EXPECT_EQ(compositor.Fill(view, kColour, kPlain, Style(style)), 98);
                EXPECT_EQ(compositor.FillAlpha(view, 1, Style(style)), 98);
                EXPECT_EQ(picture.Colour(), before);
                EXPECT_EQ(picture.Alpha(), alphaBefore);
            }
        }
    });
}

// Formats and pitches whose result is nobody's promise still stay in their memory.
TEST(Fill, NothingLeavesTheImage) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (int round = 0; round < 600; ++round) {
            const auto width = RandomFrom<Zan::ULong32>(1, 20);
            const auto height = RandomFrom<Zan::ULong32>(1, 6);
            const Format kinds[] = {Format::Rgb(width, height),
                                    Format::YCrCb(width, height, Zan::k422),
                                    Format::YCrCb(width, height, Zan::k4224),
                                    Format::Grey(width, height),
                                    Format::Grey(width, height).Bits(Zan::k16Bits),
                                    Format::Rgb(width, height).Bits(Zan::k16Bits)};
            Format format = kinds[round % 6];
            if (round % 12 == 1) {
                format.packing = Zan::kPlanar;
                format.order = Zan::kYCbCrPlanes;
            }
            format = format.Padded(RandomFrom<Zan::ULong32>(0, 8), RandomFrom<Zan::ULong32>(0, 8))
                         .Slack(RandomFrom<std::size_t>(0, 39));
            if (RandomFrom<int>(0, 1) == 1) {
                format = format.BottomLeft();
            }
            Picture picture(format.Interlaced());
            const Bytes before = picture.Colour();
            const Bytes alphaBefore = picture.Alpha();
            Zan::ImageView view = Part(picture, RandomFrom<Zan::Long32>(-4, 12),
                                       RandomFrom<Zan::Long32>(-3, 4), RandomFrom<Zan::Long32>(0, 24),
                                       RandomFrom<Zan::Long32>(0, 8), RandomFrom<Zan::WhichFieldEnum>(0, 4));
            SCOPED_TRACE(::testing::Message() << "round " << round);
            const Zan::ULong32 mask = Random()() % 3 ? kPlain : static_cast<Zan::ULong32>(Random()());
            const auto style = Style(AllStyles()[Random()() % AllStyles().size()]);
            const Zan::Long32 status = compositor.Fill(view, kColour, mask, style);
            ASSERT_TRUE(status == 0 || status == 98) << status;
            if (status == 98) {
                ASSERT_EQ(picture.Colour(), before);
            }
            if (format.sampling == Zan::k4224 && format.colorSpace == Zan::kYCrCb) {
                compositor.FillAlpha(view, mask, style);
            }
            ASSERT_TRUE(picture.GuardsHold(before, alphaBefore));
        }
    });
}

}  // namespace
