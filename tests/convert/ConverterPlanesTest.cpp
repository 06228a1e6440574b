// What must hold for every conversion: planes that are too short, pictures cut into strips, copies between
// views of one image.

#include <memory>
#include <utility>
#include <vector>

#include "convert/KernelRuns.h"
#include "convert/PairsOfPaths.h"

namespace {

using namespace Zan;
using namespace convert_test;

std::vector<Conversion> AllConversions() {
    std::vector<Conversion> all;
    for (const auto& [source, destinations] : kIntegerPath) {
        for (const int destination : destinations) {
            if (destination == kFmtRGB32ShapedOpaque) {
                continue;  // no image is that
            }
            all.push_back({static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination)});
        }
    }
    return all;
}

bool Involves(const Conversion& pair, ConverterFormat format) {
    return pair.source == format || pair.destination == format;
}

// Alpha that the destination has no place for is not looked at.
bool IsDropped(const Conversion& pair, std::size_t plane, bool ofSource) {
    const AggregateChannelSamplingEnum to = ShapeOf(pair.destination).sampling;
    return ofSource && plane == 1 && ShapeOf(pair.source).sampling == k4224 && to != k4224 && to != k4444;
}

// ---- Planes that are too short ---------------------------------------------------------------------------

// Memory of its own for a plane of a picture, with the first bytes of what the plane held.
std::unique_ptr<FencedMemory> Shorten(ConvertedPicture& picture, std::size_t plane, std::size_t bytesPerLine,
                                      std::size_t lines) {
    auto memory = std::make_unique<FencedMemory>(bytesPerLine * lines);
    std::copy_n(picture.PlaneMemory(plane).Data(), memory->Length(), memory->Data());
    const Tuk::RCPtr<AlignedMemoryBuffer> buffer(
        new AlignedMemoryBuffer(memory->Data(), static_cast<ULong32>(bytesPerLine),
                                static_cast<ULong32>(lines), 1, 1, kNoAliasWorkAround));
    // Channels that lie in one plane lose it together.
    auto& channels = picture.GetImage().GetImageDescriptor()->channels;
    const unsigned char* whole = picture.PlaneMemory(plane).Data();
    for (ChannelDescriptor& channel : channels) {
        if (channel.memory->GetAlignedPointer() == whole) {
            channel.memory = buffer;
        }
    }
    return memory;
}

// A conversion of `width` columns out of or into a plane that is shorter than it must be: refused, and
// nothing is written anywhere. With `lines` of 0 the plane is one line, `bytes` long.
void ExpectShortPlaneRefused(const Conversion& pair, const Size& size, std::size_t plane, bool ofSource,
                             std::size_t bytes, std::size_t lines) {
    ConvertedPicture source(pair.source, size.width, size.height);
    ConvertedPicture destination(pair.destination, size.width, size.height);
    ConvertedPicture& shortened = ofSource ? source : destination;
    const auto memory = Shorten(shortened, plane, bytes, lines);
    const Bytes before = memory->Snapshot();
    ImageView from = source.View(size.width, size.height), to = destination.View(size.width, size.height);
    const ExpectedPicture untouchedSource(source), untouched(destination);
    ColorSpaceConverter converter;
    EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 98)
        << pair.source << " to " << pair.destination << ", " << size.width << "x" << size.height << ", plane "
        << plane << (ofSource ? " of the source, " : " of the destination, ") << lines << " lines of "
        << bytes << " bytes";
    EXPECT_EQ(memory->Snapshot(), before);
    EXPECT_EQ(untouched.FirstDifference(), "");
    EXPECT_EQ(untouchedSource.FirstDifference(), "");
}

TEST(ConverterPlanes, ShortByOneLineAreRefused) {
    for (const Conversion& pair : AllConversions()) {
        for (const bool ofSource : {true, false}) {
            const FormatShape& shape = ShapeOf(ofSource ? pair.source : pair.destination);
            for (const unsigned width : {16U, 17U, 65U}) {
                const ConvertedPicture whole(shape.code, width, 6);
                for (std::size_t plane = 0; plane < whole.Planes(); ++plane) {
                    const PlaneShape& full = whole.PlaneAt(plane);
                    if (IsDropped(pair, plane, ofSource)) {
                        continue;
                    }
                    ExpectShortPlaneRefused(pair, {width, 6}, plane, ofSource, full.rowBytes, full.rows - 1);
                }
            }
        }
    }
}

// A picture in pairs needs its last pair whole, also when the view ends in the middle of it; a chroma plane
// needs the sample of a last column that has no neighbour.
TEST(ConverterPlanes, ShortByOneByteAreRefused) {
    for (const Conversion& pair : AllConversions()) {
        for (const bool ofSource : {true, false}) {
            const FormatShape& shape = ShapeOf(ofSource ? pair.source : pair.destination);
            for (const unsigned width : {1U, 2U, 9U, 16U, 33U, 64U, 65U}) {
                const Size size = {width, shape.sampling == k420 ? 2U : 1U};
                const ConvertedPicture whole(shape.code, size.width, size.height);
                for (std::size_t plane = 0; plane < whole.Planes(); ++plane) {
                    const PlaneShape& full = whole.PlaneAt(plane);
                    // Copies of pairs leave an odd last column alone, and may do without it.
                    const bool ofPairs = full.inWords && shape.sampling >= k422;
                    if (ofPairs && width % 2 != 0 && pair.source == pair.destination) {
                        continue;
                    }
                    // Luma and alpha planes need no more than the view's columns.
                    const bool ofColumns = shape.packing == kPlanar ? plane == 0 : plane == 1;
                    const std::size_t needed = ofColumns ? width : full.rowBytes;
                    if (needed > 1 && !IsDropped(pair, plane, ofSource)) {
                        ExpectShortPlaneRefused(pair, size, plane, ofSource, needed - 1, full.rows);
                    }
                }
            }
        }
    }
}

// What is there is enough: the same planes without what nobody needs.
TEST(ConverterPlanes, ThatJustSufficeAreTaken) {
    for (const Conversion& pair : AllConversions()) {
        for (const bool ofSource : {true, false}) {
            const FormatShape& shape = ShapeOf(ofSource ? pair.source : pair.destination);
            for (unsigned width : {1U, 9U, 33U, 65U}) {
                if (Involves(pair, kFmtPlanarGrouped)) {
                    width = (width + 15) / 16 * 16;  // groups of chroma are whole
                }
                const Size size = {width, shape.sampling == k420 ? 2U : 1U};
                ConvertedPicture source(pair.source, size.width, size.height);
                ConvertedPicture destination(pair.destination, size.width, size.height);
                ConvertedPicture& cut = ofSource ? source : destination;
                std::vector<std::unique_ptr<FencedMemory>> planes;
                for (std::size_t plane = 0; plane < cut.Planes(); ++plane) {
                    const bool ofColumns = shape.packing == kPlanar ? plane == 0 : plane == 1;
                    const PlaneShape& full = cut.PlaneAt(plane);
                    planes.push_back(Shorten(cut, plane, ofColumns ? width : full.rowBytes, full.rows));
                }
                ImageView from = source.View(size.width, size.height);
                ImageView to = destination.View(size.width, size.height);
                ColorSpaceConverter converter;
                EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0)
                    << pair.source << " to " << pair.destination << ", width " << width;
            }
        }
    }
}

// ---- Strips ----------------------------------------------------------------------------------------------

// Puts the bytes of a picture back.
void Restore(ConvertedPicture& picture, const std::vector<Bytes>& memory) {
    for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
        FencedMemory& now = picture.PlaneMemory(plane);
        std::copy(memory[plane].begin(), memory[plane].end(), now.Data() - now.GuardLength());
    }
}

std::vector<Bytes> Contents(const ConvertedPicture& picture) {
    std::vector<Bytes> all;
    for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
        all.push_back(picture.Memory(plane));
    }
    return all;
}

TEST(ConverterPlanes, StripsGiveTheSameBytes) {
    constexpr Long32 kRows = 12;
    // Lines that share chroma stay together.
    const std::vector<std::vector<Long32>> cuts = {
        {0, 2, 4, 6, 8, 10, 12}, {0, 6, 12}, {0, 2, 10, 12}, {0, 4, 4, 12}};
    const std::vector<std::vector<Long32>> cutsOfFields = {{0, 4, 8, 12}, {0, 4, 4, 12}};
    const struct {
        WhichFieldEnum field;
        Long32 left, width;
    } parts[] = {{kFrame, 0, 64},      {kFrame, 0, 67},      {kFrame, 0, 330},    {kFrame, 6, 33},
                 {kUpperField, 0, 64}, {kLowerField, 4, 37}, {kSecondField, 0, 5}};
    ForEveryRun([&](const RunsAs& run) {
        if (run.set != kSSE2) {
            return;
        }
        for (const Conversion& pair : AllConversions()) {
            const bool planar =
                ShapeOf(pair.source).packing == kPlanar || ShapeOf(pair.destination).packing == kPlanar;
            for (const auto& part : parts) {
                // Views of planes begin at their left edge; their chroma has lines of both fields.
                if (planar && (part.left != 0 || part.field != kFrame)) {
                    continue;
                }
                if (Involves(pair, kFmtPlanarGrouped) && part.width % 16 != 0) {
                    continue;
                }
                for (const unsigned padding : {0U, 8U}) {
                    const auto width = static_cast<std::size_t>(part.left + part.width);
                    ConvertedPicture source(pair.source, width, kRows, {padding, 0, false});
                    ConvertedPicture destination(pair.destination, width, kRows, {padding, 4, false});
                    const std::vector<Bytes> before = Contents(destination);
                    const auto convert = [&](Long32 first, Long32 end) {
                        const Rectangle rows(part.left, first, part.width, end - first);
                        ImageView from(source, rows, part.field), to(destination, rows, part.field);
                        ColorSpaceConverter converter;
                        EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
                    };
                    convert(0, kRows);
                    const std::vector<Bytes> whole = Contents(destination);
                    EXPECT_NE(whole, before);
                    for (const auto& each : Involves(pair, kFmtPlanar420Interlaced) ? cutsOfFields : cuts) {
                        Restore(destination, before);
                        for (std::size_t i = 0; i + 1 < each.size(); ++i) {
                            convert(each[i], each[i + 1]);
                        }
                        ASSERT_EQ(Contents(destination), whole)
                            << pair.source << " to " << pair.destination << ", field " << part.field
                            << ", left " << part.left << ", width " << part.width << ", padding " << padding;
                    }
                }
            }
        }
    });
}

// ---- Copies inside one image -----------------------------------------------------------------------------

// A copy from one part of an image to another, as a copy line after line would leave it: within a line the
// picture moves, and a line that was written before it is read has its new samples.
void ExpectCopyInside(ConverterFormat format, const Size& size, unsigned padding, Long32 across,
                      Long32 down) {
    ConvertedPicture picture(format, size.width, size.height, {padding, 0, false});
    const auto distance = [](Long32 by) { return by < 0 ? -by : by; };
    const Long32 width = static_cast<Long32>(size.width) - distance(across);
    const Long32 height = static_cast<Long32>(size.height) - distance(down);
    const auto start = [](Long32 by) { return by < 0 ? -by : 0; };
    std::vector<Bytes> expected = Contents(picture);
    for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
        const std::size_t columnBytes = picture.PlaneAt(plane).rowBytes / picture.GetImage().GetWidth();
        for (Long32 y = 0; y < height; ++y) {
            const auto at = [&](Long32 left, Long32 top) {
                return expected[plane].begin() + static_cast<std::ptrdiff_t>(picture.IndexOf(
                                                     plane, columnBytes * static_cast<std::size_t>(left),
                                                     static_cast<std::size_t>(top + y)));
            };
            const auto from = at(start(across), start(down));
            const Bytes line(from, from + static_cast<std::ptrdiff_t>(columnBytes) * width);
            std::copy(line.begin(), line.end(), at(start(-across), start(-down)));
        }
    }
    ImageView from(picture, Rectangle(start(across), start(down), width, height), kFrame);
    ImageView to(picture, Rectangle(start(-across), start(-down), width, height), kFrame);
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    ASSERT_TRUE(Contents(picture) == expected)
        << format << ", " << size.width << "x" << size.height << ", padding " << padding << ", by " << across
        << ", " << down;
}

// Of every unit that copies take: words, pairs with and without alpha, triples, bytes.
constexpr ConverterFormat kCopiedFormats[] = {kFmtRGB32, kFmtCbYCrY, kFmtCbYCrY4, kFmtRGB24, kFmtAlpha8};

// The last size is beyond a megabyte in every format.
constexpr Size kInsideSizes[] = {{20, 6}, {64, 5}, {400, 7}, {1400, 800}};

TEST(ConverterPlanes, CopiesInsideOneImageMoveWithinALine) {
    ForEveryRun([](const RunsAs& run) {
        if (run.set != kSSE2) {
            return;
        }
        for (const ConverterFormat format : kCopiedFormats) {
            for (const Size& size : kInsideSizes) {
                if (size.height > 100 && run.target != simd::BestTarget()) {
                    continue;
                }
                for (const Long32 across : {2, -2, 16, -16}) {
                    ASSERT_NO_FATAL_FAILURE(ExpectCopyInside(format, size, 0, across, 0));
                    ASSERT_NO_FATAL_FAILURE(ExpectCopyInside(format, size, 8, across, across < 0 ? -1 : 1));
                }
            }
        }
    });
}

TEST(ConverterPlanes, CopiesInsideOneImageGoLineAfterLine) {
    ForEveryRun([](const RunsAs& run) {
        if (run.set != kSSE2) {
            return;
        }
        for (const ConverterFormat format : kCopiedFormats) {
            for (const Size& size : kInsideSizes) {
                if (size.height > 100 && run.target != simd::BestTarget()) {
                    continue;
                }
                for (const Long32 down : {1, 2, -1, -2}) {
                    ASSERT_NO_FATAL_FAILURE(ExpectCopyInside(format, size, 0, 0, down));
                    ASSERT_NO_FATAL_FAILURE(ExpectCopyInside(format, size, 8, 0, down));
                }
            }
        }
    });
}

// Chroma made neutral, one line further down: line after line, so that all lines become the first one.
TEST(ConverterPlanes, MonochromeInsideOneImageGoesLineAfterLine) {
    ForEveryRun([](const RunsAs&) {
        for (const unsigned width : {2U, 16U, 20U, 32U, 48U, 64U, 400U}) {
            for (const unsigned padding : {0U, 8U}) {
                ConvertedPicture picture(kFmtCbYCrYMono, width, 6, {padding, 0, false});
                ExpectedPicture expected(picture);
                for (std::size_t y = 1; y < 6; ++y) {
                    for (std::size_t i = 0; i < std::size_t{2} * width; ++i) {
                        expected.Set(0, i, y, i % 2 == 0 ? 128 : picture.At(0, i, 0));
                    }
                }
                const auto columns = static_cast<Long32>(width);
                ImageView from(picture, Rectangle(0, 0, columns, 5), kFrame);
                ImageView to(picture, Rectangle(0, 1, columns, 5), kFrame);
                ColorSpaceConverter converter;
                ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
                ASSERT_EQ(expected.FirstDifference(), "") << width << ", padding " << padding;
            }
        }
    });
}

}  // namespace
