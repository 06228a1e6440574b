#include <algorithm>

#include "composite/Pictures.h"

using namespace composite_test;

namespace {

constexpr Zan::ULong32 kUntouched = 0xC0FFEE11U;

bool Runs(int style, const Machine& machine) {
    return machine.HasSse2() && (style == Zan::kInt_MMXorSIMD || style == Zan::kBestAvailable);
}

unsigned WordsPerRow(Zan::ImageView& view) {
    return static_cast<unsigned>(static_cast<double>(view.GetWidth()) *
                                 static_cast<double>(view.GetImage()->GetBytesPerPixel()) * 0.25);
}

// A plane as a pass reads it; beyond the image's own memory there is nothing.
struct Source {
    PlaneModel model;
    std::ptrdiff_t begin;
    std::ptrdiff_t end;

    Source(Picture& picture, Zan::ImageView& view)
        : model(picture.Model(view)), begin(picture.Begin()), end(picture.End()) {}

    bool Holds(std::ptrdiff_t row, std::ptrdiff_t byte) const {
        const std::ptrdiff_t at = model.first + row * model.pitch + byte;
        return at >= begin && at + 4 <= end;
    }
    Zan::ULong32 Word(std::ptrdiff_t row, std::ptrdiff_t byte) const {
        if (!Holds(row, byte)) {
            return 0;
        }
        Zan::ULong32 word = 0;
        for (int i = 3; i >= 0; --i) {
            word = word << 8 | model.At(row, byte + i);
        }
        return word;
    }
};

Zan::ULong32 OrOfOne(const Source& src, unsigned words, unsigned height) {
    Zan::ULong32 lowest = 0;
    for (unsigned y = 0; y < height; ++y) {
        std::ptrdiff_t at = 0;
        unsigned left = words;
        for (; left >= 16; left -= 16, at += 64) {
            for (int load = 0; load < 4; ++load) {
                lowest |= src.Word(y, at + 16 * load);
            }
        }
        for (; left > 0; --left, at += 4) {
            lowest |= src.Word(y, at);
        }
    }
    return lowest;
}

Zan::ULong32 OrOfTwo(const Source& a, const Source& b, unsigned words, unsigned height) {
    Zan::ULong32 lowest = 0;
    for (unsigned y = 0; y < height; ++y) {
        std::ptrdiff_t atA = 0;
        std::ptrdiff_t atB = 0;
        unsigned left = words;
        for (; left >= 16; left -= 16, atA += 80, atB += 48) {
            for (int load = 0; load < 5; ++load) {
                lowest |= a.Word(y, atA + 16 * load);
            }
            for (int load = 0; load < 3; ++load) {
                lowest |= b.Word(y, atB + 16 * load);
            }
        }
        for (; left > 0; --left, atA += 4, atB += 4) {
            lowest |= a.Word(y, atA) | b.Word(y, atB);
        }
    }
    return lowest;
}

// Few bits set, so that a word too many or too few shows.
void Thin(Picture& picture) {
    FencedMemory& memory = picture.ColourMemory();
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        memory.Data()[i] = static_cast<std::uint8_t>(RandomByte() < 6 ? 1U << RandomByte() % 8 : 0U);
    }
}

std::vector<Format> Formats(Zan::ULong32 width, Zan::ULong32 height) {
    Format threeBytes = Format::Rgb(width, height);
    threeBytes.sampling = Zan::k444;
    return {Format::Rgb(width, height),
            Format::Rgb(width, height).Padded(12),
            Format::Rgb(width, height).BottomLeft(),
            Format::Rgb(width, height).Bits(Zan::k16Bits),
            threeBytes,
            threeBytes.Padded((4 - 3 * width % 4) % 4 + 4),
            Format::YCrCb(width, height, Zan::k422),
            Format::YCrCb(width, height, Zan::k4224),
            Format::YCrCb(width, height, Zan::k4224).Padded(64),
            Format::Grey(width, height),
            Format::Grey(width, height).Bits(Zan::k16Bits).Padded(6)};
}

TEST(ReadOnlySingleSource, OrsTheFirstWordOfEveryGroupAndTheRest) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        if (!machine.HasSse2()) {
            return;
        }
        for (Zan::ULong32 width = 1; width <= 90; ++width) {
            for (const Format& format : Formats(width, 3)) {
                Picture picture(format);
                Thin(picture);
                Zan::ImageView view(picture);
                const Source source(picture, view);
                const Bytes before = picture.Colour();
                for (const auto style : {Zan::kInt_MMXorSIMD, Zan::kBestAvailable}) {
                    Zan::ULong32 result = kUntouched;
                    ASSERT_EQ(compositor.ReadOnlySingleSource(view, result, style), 0);
                    ASSERT_EQ(result, OrOfOne(source, WordsPerRow(view), view.GetHeight()))
                        << width << " space " << format.colorSpace << " sampling " << format.sampling
                        << " padding " << format.padding;
                }
                ASSERT_EQ(picture.Colour(), before);
            }
        }
    });
}

TEST(ReadOnlySingleSource, WhereASingleByteShows) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    // 19 words: one block of 16, whose every fourth word counts, and a tail of three words.
    Picture picture(Format::Rgb(19, 2).Padded(4));
    Zan::ImageView view(picture);
    FencedMemory& memory = picture.ColourMemory();
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        std::memset(memory.Data(), 0, memory.Length());
        Zan::ULong32 result = kUntouched;
        ASSERT_EQ(compositor.ReadOnlySingleSource(view, result, Zan::kBestAvailable), 0);
        ASSERT_EQ(result, 0U);
        memory.Data()[i] = 0x80;
        ASSERT_EQ(compositor.ReadOnlySingleSource(view, result, Zan::kBestAvailable), 0);
        const std::size_t word = i % 80 / 4;
        const bool seen = word < 16 ? word % 4 == 0 : word < 19;
        EXPECT_EQ(result, seen ? 0x80U << 8 * (i % 4) : 0U) << i;
    }
}

TEST(ReadOnlySingleSource, FieldsAndParts) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    for (const auto field :
         {Zan::kFrame, Zan::kUpperField, Zan::kLowerField, Zan::kFirstField, Zan::kSecondField}) {
        for (Zan::Long32 left = 0; left < 9; ++left) {
            for (const Format& format :
                 {Format::Rgb(60, 9), Format::YCrCb(60, 9, Zan::k422), Format::Grey(90, 9)}) {
                Picture picture(format.Interlaced());
                Thin(picture);
                Zan::ImageView view = Part(picture, left, 1, 45, 7, field);
                const Source source(picture, view);
                Zan::ULong32 result = kUntouched;
                ASSERT_EQ(compositor.ReadOnlySingleSource(view, result, Zan::kBestAvailable), 0);
                EXPECT_EQ(result, OrOfOne(source, WordsPerRow(view), view.GetHeight()))
                    << left << " field " << field;
            }
        }
    }
}

TEST(ReadOnlyTwoSources, ReadsFiveGroupsOfTheFirstAndThreeOfTheSecond) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    for (const bool mmxOnly : {false, true}) {
        Zan::ZanCompositor compositor;
        compositor.SetMMXonlyStyle(mmxOnly);
        for (Zan::ULong32 width = 1; width <= 90; ++width) {
            for (const Format& format : Formats(width, 3)) {
                Picture a(format);
                Picture b(format);
                Thin(a);
                Thin(b);
                Zan::ImageView viewA(a);
                Zan::ImageView viewB(b);
                const Source sourceA(a, viewA);
                const Source sourceB(b, viewB);
                for (const auto style : {Zan::kInt_MMXorSIMD, Zan::kBestAvailable}) {
                    Zan::ULong32 result = kUntouched;
                    ASSERT_EQ(compositor.ReadOnlyTwoSources(viewA, viewB, result, style), 0);
                    ASSERT_EQ(result, OrOfTwo(sourceA, sourceB, WordsPerRow(viewA), viewA.GetHeight()))
                        << width << " space " << format.colorSpace << " sampling " << format.sampling
                        << " padding " << format.padding;
                }
            }
        }
    }
}

TEST(ReadOnlyTwoSources, TheFirstRunsAQuarterAhead) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    // 32 words a row in rows of 48: the first source is read up to word 40, the second up to word 24.
    for (const bool first : {true, false}) {
        for (std::size_t word = 0; word < 48; ++word) {
            Picture a(Format::Rgb(32, 1).Padded(64));
            Picture b(Format::Rgb(32, 1).Padded(64));
            std::memset(a.ColourMemory().Data(), 0, a.ColourMemory().Length());
            std::memset(b.ColourMemory().Data(), 0, b.ColourMemory().Length());
            (first ? a : b).ColourMemory().Data()[4 * word + 1] = 0x40;
            Zan::ImageView viewA(a);
            Zan::ImageView viewB(b);
            Zan::ULong32 result = kUntouched;
            ASSERT_EQ(compositor.ReadOnlyTwoSources(viewA, viewB, result, Zan::kBestAvailable), 0);
            const bool seen = word % 4 == 0 && word < (first ? 40U : 24U);
            EXPECT_EQ(result, seen ? 0x4000U : 0U) << word << (first ? " of the first" : " of the second");
        }
    }
}

TEST(ReadOnlyTwoSources, ASmallerSecondSourceIsNotLeft) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    for (Zan::ULong32 width = 1; width <= 40; ++width) {
        for (Zan::ULong32 height = 1; height <= 3; ++height) {
            Picture a(Format::Rgb(40, 3));
            Picture b(Format::Rgb(width, height));
            Thin(a);
            Thin(b);
            Zan::ImageView viewA(a);
            Zan::ImageView viewB(b);
            const Source sourceA(a, viewA);
            const Source sourceB(b, viewB);
            Zan::ULong32 result = kUntouched;
            EXPECT_EQ(compositor.ReadOnlyTwoSources(viewA, viewB, result, Zan::kBestAvailable), 0);
            EXPECT_EQ(result, OrOfTwo(sourceA, sourceB, 40, 3)) << width << "x" << height;
        }
    }
}

TEST(ReadTwoSourcesWriteDst, OrsWordByWord) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    for (const bool mmxOnly : {false, true}) {
        Zan::ZanCompositor compositor;
        compositor.SetMMXonlyStyle(mmxOnly);
        for (Zan::ULong32 width = 1; width <= 45; ++width) {
            for (const Format& format : Formats(width, 3)) {
                for (const auto style : {Zan::kInt_MMXorSIMD, Zan::kBestAvailable}) {
                    Picture a(format);
                    Picture b(format.Slack(5));
                    Picture dst(format.Slack(3));
                    Zan::ImageView viewA(a);
                    Zan::ImageView viewB(b);
                    Zan::ImageView viewDst(dst);
                    const Source sourceA(a, viewA);
                    const Source sourceB(b, viewB);
                    PlaneModel expected = dst.Model(viewDst);
                    for (unsigned y = 0; y < viewA.GetHeight(); ++y) {
                        for (unsigned i = 0; i < WordsPerRow(viewA); ++i) {
                            const std::ptrdiff_t at = 4 * static_cast<std::ptrdiff_t>(i);
                            if (!sourceA.Holds(y, at)) {
                                continue;
                            }
                            const Zan::ULong32 word = sourceA.Word(y, at) | sourceB.Word(y, at);
                            for (int byte = 0; byte < 4; ++byte) {
                                expected.At(y, at + byte) = static_cast<std::uint8_t>(word >> 8 * byte);
                            }
                        }
                    }
                    const Bytes aBefore = a.Colour();
                    const Bytes bBefore = b.Colour();
                    ASSERT_EQ(compositor.ReadTwoSourcesWriteDst(viewA, viewB, viewDst, style), 0);
                    ASSERT_TRUE(Matches(expected, dst.Colour()))
                        << width << " space " << format.colorSpace << " sampling " << format.sampling
                        << " padding " << format.padding << " origin " << format.origin;
                    ASSERT_EQ(a.Colour(), aBefore);
                    ASSERT_EQ(b.Colour(), bBefore);
                }
            }
        }
    }
}

TEST(ReadTwoSourcesWriteDst, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        if (!machine.HasSse2()) {
            return;
        }
        for (std::size_t slack = 0; slack < 64; slack += slack < 9 ? 1 : 7) {
            const auto odd = static_cast<Zan::ULong32>(slack % 5);
            Picture a(Format::Rgb(131, 3).Padded(odd));
            Picture b(Format::Rgb(131, 3).Slack(slack / 2));
            Picture dst(Format::Rgb(131, 3).Padded(odd).Slack(slack));
            Zan::ImageView viewA(a);
            Zan::ImageView viewB(b);
            Zan::ImageView viewDst(dst);
            PlaneModel expected = dst.Model(viewDst);
            const PlaneModel modelA = a.Model(viewA);
            const PlaneModel modelB = b.Model(viewB);
            for (unsigned y = 0; y < 3; ++y) {
                for (unsigned i = 0; i < 4 * 131; ++i) {
                    expected.At(y, i) = modelA.At(y, i) | modelB.At(y, i);
                }
            }
            ASSERT_EQ(compositor.ReadTwoSourcesWriteDst(viewA, viewB, viewDst, Zan::kBestAvailable), 0);
            ASSERT_TRUE(Matches(expected, dst.Colour())) << slack;
        }
    });
}

TEST(ReadTwoSourcesWriteDst, SmallerViewsAreNotLeft) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    for (Zan::ULong32 width = 1; width <= 40; width += 3) {
        for (const bool smallDst : {true, false}) {
            Picture a(Format::Rgb(40, 3));
            Picture b(smallDst ? Format::Rgb(40, 3) : Format::Rgb(width, 2));
            Picture dst(smallDst ? Format::Rgb(width, 2).Slack(40) : Format::Rgb(40, 3));
            Zan::ImageView viewA(a);
            Zan::ImageView viewB(b);
            Zan::ImageView viewDst(dst);
            const Bytes before = dst.Colour();
            const Bytes alphaBefore = dst.Alpha();
            const Zan::Long32 status =
                compositor.ReadTwoSourcesWriteDst(viewA, viewB, viewDst, Zan::kBestAvailable);
            EXPECT_EQ(status, 0);
            EXPECT_TRUE(dst.GuardsHold(before, alphaBefore));
        }
    }
}

TEST(MemoryPasses, NeedTheirStyleAndSse2) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            if (Runs(style, machine)) {
                continue;
            }
            Picture a(Format::Rgb(20, 2));
            Picture dst(Format::Rgb(20, 2));
            Zan::ImageView view(a);
            Zan::ImageView viewDst(dst);
            const Bytes before = dst.Colour();
            Zan::ULong32 result = kUntouched;
            EXPECT_EQ(compositor.ReadOnlySingleSource(view, result, Style(style)), 100) << style;
            EXPECT_EQ(compositor.ReadOnlyTwoSources(view, view, result, Style(style)), 100) << style;
            EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(view, view, viewDst, Style(style)), 100) << style;
            EXPECT_EQ(result, kUntouched);
            EXPECT_EQ(dst.Colour(), before);
        }
    });
}

TEST(MemoryPasses, NoLines) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    Picture a(Format::Rgb(20, 4));
    Picture dst(Format::Rgb(20, 4));
    Zan::ImageView empty = Part(a, 0, 0, 20, 0);
    Zan::ImageView full(dst);
    const Bytes before = dst.Colour();
    Zan::ULong32 result = kUntouched;
    EXPECT_EQ(compositor.ReadOnlySingleSource(empty, result, Zan::kBestAvailable), 0);
    EXPECT_EQ(result, 0U);
    result = kUntouched;
    EXPECT_EQ(compositor.ReadOnlyTwoSources(empty, full, result, Zan::kBestAvailable), 0);
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(empty, empty, full, Zan::kBestAvailable), 0);
    EXPECT_EQ(dst.Colour(), before);
}

TEST(MemoryPasses, SelectionsOutsideTheImageAreRefused) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    Picture good(Format::Rgb(20, 3));
    Picture turned(Format::Rgb(20, 6).BottomLeft().Interlaced());
    Zan::ImageView view(good);
    for (const auto field : {Zan::kUpperField, Zan::kLowerField}) {
        Zan::ImageView outside = Part(turned, 0, 0, 20, 6, field);
        const Bytes before = turned.Colour();
        const Bytes goodBefore = good.Colour();
        Zan::ULong32 result = 0;
        EXPECT_EQ(compositor.ReadOnlySingleSource(outside, result, Zan::kBestAvailable), 98);
        EXPECT_EQ(compositor.ReadOnlyTwoSources(outside, view, result, Zan::kBestAvailable), 98);
        EXPECT_EQ(compositor.ReadOnlyTwoSources(view, outside, result, Zan::kBestAvailable), 98);
        EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(outside, view, view, Zan::kBestAvailable), 98);
        EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(view, outside, view, Zan::kBestAvailable), 98);
        EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(view, view, outside, Zan::kBestAvailable), 98);
        EXPECT_EQ(turned.Colour(), before);
        EXPECT_EQ(good.Colour(), goodBefore);
    }
}

TEST(MemoryPasses, ViewsOnNothing) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    Picture good(Format::Rgb(20, 3));
    Zan::ImageView view(good);
    Zan::ImageView nothing;
    const Bytes before = good.Colour();
    Zan::ULong32 result = 0;
    const auto harmless = [](Zan::Long32 status) { return status == 0 || status == 1; };
    EXPECT_TRUE(harmless(compositor.ReadOnlySingleSource(nothing, result, Zan::kBestAvailable)));
    EXPECT_TRUE(harmless(compositor.ReadOnlyTwoSources(nothing, view, result, Zan::kBestAvailable)));
    EXPECT_EQ(compositor.ReadOnlyTwoSources(view, nothing, result, Zan::kBestAvailable), 1);
    EXPECT_TRUE(harmless(compositor.ReadTwoSourcesWriteDst(nothing, view, view, Zan::kBestAvailable)));
    EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(view, nothing, view, Zan::kBestAvailable), 1);
    EXPECT_EQ(compositor.ReadTwoSourcesWriteDst(view, view, nothing, Zan::kBestAvailable), 1);
    EXPECT_EQ(good.Colour(), before);
}

}  // namespace
