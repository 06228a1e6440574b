// Every pair of every path against the model of the converter: sizes, fields, parts, origins, pitches,
// coefficients, processors.

#include <algorithm>
#include <functional>
#include <string>

#include "convert/ModelRuns.h"
#include "simd/Targets.h"
#include "support/Streaming.h"

namespace {

using namespace Zan;
using namespace convert_test;
using convert_model::HasAlpha;
using convert_model::HasAlphaPlane;
using convert_model::IsPlanar;
using convert_model::IsRgb;
using convert_model::IsShaped;

struct PairOfPath {
    Path path;
    int source, destination;
};

std::string NameOfPair(const PairOfPath& pair) {
    return std::string(NameOf(pair.path)) + '_' + NameOf(pair.source) + "_to_" + NameOf(pair.destination);
}

// What is selected of two pictures, which are as large as the selection needs.
struct Selected {
    int width, height;
    int left = 0, top = 0;
    WhichFieldEnum from = kFrame, to = kFrame;
    bool bottomUpFrom = false, bottomUpTo = false;
};

std::string Describe(const Selected& s) {
    return std::to_string(s.width) + "x" + std::to_string(s.height) + ", left " + std::to_string(s.left) +
           ", top " + std::to_string(s.top) + ", fields " + std::to_string(s.from) + " to " +
           std::to_string(s.to) + (s.bottomUpFrom ? ", source bottom up" : "") +
           (s.bottomUpTo ? ", destination bottom up" : "");
}

// ---- Pictures --------------------------------------------------------------------------------------------

// Opaque, transparent and other alpha; the colour of shaped pictures as far as shaping would leave it, in two
// pictures of three.
void FillPicture(ConvertedPicture& picture, std::size_t width, std::size_t height, int number) {
    const int format = picture.Shape().code;
    if (!HasAlpha(format) || format == kFmtAlpha8 || number % 3 == 0) {
        return;
    }
    ImageView view(picture);
    const Side side = SideOf(picture, view);
    for (int y = 0; y < static_cast<int>(height); ++y) {
        for (int x = 0; x < static_cast<int>(width); ++x) {
            convert_model::Pixel pixel = convert_model::Load(side, x, y, 255);
            const unsigned kind = RandomByte() % 4U;
            const int alpha = kind == 0 ? 0 : kind == 1 ? 255 : pixel[3];
            convert_model::Store(side, 3, x, y, alpha);
            for (std::size_t i = 0; IsShaped(format) && i < 3; ++i) {
                if (i != 1 && x % convert_model::Across(format) != 0) {
                    continue;
                }
                convert_model::Store(side, i, x, y,
                                     IsRgb(format)
                                         ? convert_model::Shaped(pixel[i], alpha)
                                         : convert_model::ShapedAround(i == 1 ? 16 : 128, pixel[i], alpha));
            }
        }
    }
}

// Lines that touch and lines apart, addresses of every kind.
Placement PlacementFor(const PairOfPath& pair, int format, int width, bool bottomUp, int number) {
    static constexpr std::array<unsigned, 8> kPaddings = {0, 12, 5, 4, 0, 3, 64, 6};
    static constexpr std::array<unsigned, 7> kSlacks = {0, 1, 7, 4, 2, 8, 36};
    unsigned padding = kPaddings[static_cast<std::size_t>(number) % kPaddings.size()];
    const unsigned slack = kSlacks[static_cast<std::size_t>(number) % kSlacks.size()];
    if (format == kFmtPlanarGrouped) {
        // Groups of chroma are whole.
        padding = padding / 4 * 4 + 16U - static_cast<unsigned>(width) % 16U;
    } else if (pair.path != Path::kInteger && (pair.path != Path::kFloat || bottomUp)) {
        // These step by any pitch, refuse it, or are of whole words; a pitch rounded down leaves a picture
        // that goes upwards.
        padding = padding / 4 * 4;
    }
    return {padding, slack, bottomUp};
}

// ---- One comparison --------------------------------------------------------------------------------------

class EveryPair : public testing::TestWithParam<PairOfPath> {
protected:
    void Compare(const PairOfPath& pair, const Selected& s, const Handed& handed = {}) {
        ++number;
        SCOPED_TRACE(NameOfPair(pair) + ": " + Describe(s) + ", plus function " +
                     std::to_string(twins.model.plusFunction) + ", call " + std::to_string(number));
        // Fields are every other line of a frame.
        const auto imageHeight = [&](WhichFieldEnum field) {
            return static_cast<std::size_t>(std::max(s.top + s.height * (field == kFrame ? 1 : 2), 1));
        };
        const int imageWidth = s.left + s.width;
        const auto wide = static_cast<std::size_t>(std::max(imageWidth, 1));
        ConvertedPicture source(static_cast<ConverterFormat>(pair.source), wide, imageHeight(s.from),
                                PlacementFor(pair, pair.source, imageWidth, s.bottomUpFrom, number));
        ConvertedPicture destination(
            static_cast<ConverterFormat>(pair.destination), wide, imageHeight(s.to),
            PlacementFor(pair, pair.destination, imageWidth, s.bottomUpTo, number / 2 + 3));
        FillPicture(source, wide, imageHeight(s.from), number);
        const auto part = [&](WhichFieldEnum field) {
            return Rectangle(s.left, s.top, s.width, s.height * (field == kFrame ? 1 : 2));
        };
        const ImageView from(source, part(s.from), s.from), to(destination, part(s.to), s.to);
        twins.SetAlphaFill(RandomByte());
        twins.SetPlusFunction(static_cast<unsigned>(number) % 7U);
        twins.converter.SetMMXonlyStyle(number % 2 == 0);
        twins.ExpectSame(source, from, destination, to, StyleOf(pair.path), handed,
                         ToleranceOf(pair.path, pair.source, pair.destination));
    }

    // Stops at the first difference of a group.
    void CompareAll(const PairOfPath& pair, const std::vector<Selected>& all) {
        for (const Selected& selected : all) {
            ASSERT_NO_FATAL_FAILURE(Compare(pair, selected));
        }
    }

    void CompareMatrices(const PairOfPath& pair, const std::vector<int>& widths) {
        // What leaves the lanes is no matter of single precision.
        for (const Handed& handed : MatricesFor(pair.source, pair.path != Path::kFloatSimd)) {
            for (const int width : widths) {
                ASSERT_NO_FATAL_FAILURE(Compare(pair, {width, 3}, handed));
            }
        }
    }

    Twins twins;
    int number = 0;
};

// ---- What is compared ------------------------------------------------------------------------------------

std::vector<Selected> EverySize() {
    std::vector<Selected> all;
    for (int width = 1; width <= 67; ++width) {
        all.push_back({width, 1 + width % 4});
    }
    for (int height = 0; height <= 7; ++height) {
        for (const int width : {1, 2, 5, 16, 19, 35, 66}) {
            all.push_back({width, height});
        }
    }
    for (const int width : {0, 96, 127, 130, 257}) {
        all.push_back({width, 2});
    }
    return all;
}

std::vector<Selected> Fields() {
    std::vector<Selected> all;
    for (int height = 1; height <= 7; ++height) {
        for (const int width : {3, 18, 36}) {
            all.push_back({width, height, 0, 0, kUpperField, kLowerField});
            all.push_back({width, height, 0, 0, kLowerField, kUpperField});
            all.push_back({width, height, 0, 0, kFrame, kLowerField});
            all.push_back({width, height, 0, 0, kLowerField, kFrame});
        }
        all.push_back({20, height, 0, height % 5, kUpperField, kUpperField});
        all.push_back({33, height, 0, height % 3, kSecondField, kFirstField});
    }
    return all;
}

// Where chroma lies in planes of its own, left edges are for frames: a plane is addressed as if it were as
// wide as that of luma, and ends before the last line does.
std::vector<Selected> Parts(bool planar, bool grouped) {
    std::vector<Selected> all;
    for (int top = 0; top <= 4; ++top) {
        all.push_back({21, 4, 0, top});
        all.push_back({16, 5, 0, top});
    }
    if (grouped) {
        all.push_back({35, 3, 16, 1});
        return all;
    }
    for (const int left : {2, 4, 8, 14, 16}) {
        all.push_back({34, 4, left, 0});
        all.push_back({19, 3, left, 1});
        if (!planar) {
            all.push_back({19, 3, left + 1, 2});
            all.push_back({37, 4, left, 3, kLowerField, kUpperField});
        }
    }
    return all;
}

std::vector<Selected> BottomUp() {
    std::vector<Selected> all;
    for (int height = 1; height <= 6; ++height) {
        for (const int width : {7, 16, 34}) {
            for (const int which : {1, 2, 3}) {
                all.push_back(
                    {width, height, 0, height % 3, kFrame, kFrame, (which & 1) != 0, (which & 2) != 0});
            }
        }
    }
    return all;
}

// By defaults, and by a matrix for which groups and the columns beyond them differ.
void CompareProcessors(const std::function<void(const Selected&, const Handed&)>& compare,
                       convert_model::Model& model) {
    Handed own = OfRandom(8192, 1000, false);
    own.offset[3] = -100.4375;
    own.offset[7] = 99.6875;
    const std::vector<Selected> few = {{1, 2}, {17, 2}, {31, 3}, {67, 2}, {150, 2}};
    for (const CPUinstructionSetEnum set : {kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet believed(set);
        model.sse2 = set == kSSE2;
        model.simd = set >= kSIMD;
        for (std::size_t t = 0; t < simd::kTargetCount; ++t) {
            const auto target = static_cast<simd::Target>(t);
            if (!simd::IsTargetAvailable(target)) {
                continue;
            }
            const simd::ScopedTarget limited(target);
            const ScopedStreaming around(t % 2 == 0);
            for (const Selected& selected : few) {
                SCOPED_TRACE(simd::TargetName(target));
                ASSERT_NO_FATAL_FAILURE(compare(selected, {}));
                ASSERT_NO_FATAL_FAILURE(compare(selected, own));
            }
        }
    }
    model.sse2 = model.simd = true;
}

TEST_P(EveryPair, EqualsTheModel) {
    const PairOfPath pair = GetParam();
    const bool planar = IsPlanar(pair.source) || IsPlanar(pair.destination);
    const bool grouped = pair.source == kFmtPlanarGrouped || pair.destination == kFmtPlanarGrouped;
    CompareAll(pair, EverySize());
    CompareAll(pair, Fields());
    CompareAll(pair, Parts(planar, grouped));
    CompareAll(pair, BottomUp());
    CompareMatrices(pair, {1, 3, 19, 29, 34});
    CompareProcessors(
        [&](const Selected& selected, const Handed& handed) { Compare(pair, selected, handed); },
        twins.model);
}

std::vector<PairOfPath> AllPairs() {
    std::vector<PairOfPath> all;
    for (const Path path : {Path::kInteger, Path::kFloat, Path::kFixedPoint, Path::kFloatSimd}) {
        for (const auto& [source, destination] : convert_model::PairsOf(path)) {
            // No image is 20.
            if (source != 20 && destination != 20) {
                all.push_back({path, source, destination});
            }
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Pairs, EveryPair, testing::ValuesIn(AllPairs()),
                         [](const auto& each) { return NameOfPair(each.param); });

// The general path takes every pair of formats, and the best path what is left of them.
class EveryFormat : public EveryPair {};

TEST_P(EveryFormat, InGeneral) {
    const int source = GetParam().source;
    for (const FormatShape& to : AllFormats()) {
        const PairOfPath pair = {Path::kGeneral, source, to.code};
        for (const Selected& selected : std::vector<Selected>{{1, 1},
                                                              {2, 2},
                                                              {19, 5},
                                                              {34, 4, 0, 1},
                                                              {17, 3, 0, 0, kUpperField, kLowerField},
                                                              {5, 3, 0, 0, kFrame, kFrame, true, false},
                                                              {6, 4, 0, 0, kFrame, kFrame, false, true}}) {
            Compare(pair, selected);
        }
        Compare(pair, {18, 2}, OfRandom(8192, 1000, false));
    }
}

// The integer path, then that in doubles, then the general one.
TEST_P(EveryFormat, AtBest) {
    const int source = GetParam().source;
    for (const FormatShape& to : AllFormats()) {
        const auto has = [&](Path path) { return convert_model::HasPair(path, source, to.code); };
        const Path path = has(Path::kInteger) ? Path::kInteger
                          : has(Path::kFloat) ? Path::kFloat
                                              : Path::kGeneral;
        for (const int width : {1, 18, 35}) {
            ++number;
            const auto wide = static_cast<std::size_t>(width);
            const PairOfPath pair = {Path::kGeneral, source, to.code};
            SCOPED_TRACE(NameOfPair(pair) + " at best, width " + std::to_string(width));
            ConvertedPicture from(static_cast<ConverterFormat>(source), wide, 4,
                                  PlacementFor(pair, source, width, false, number));
            ConvertedPicture into(to.code, wide, 4, PlacementFor(pair, to.code, width, true, number + 1));
            FillPicture(from, wide, 4, number);
            twins.SetAlphaFill(RandomByte());
            twins.ExpectSame(from, ImageView(from), into, ImageView(into), kBestAvailable, {},
                             ToleranceOf(path, source, to.code));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn([] {
                             std::vector<PairOfPath> all;
                             for (const FormatShape& from : AllFormats()) {
                                 all.push_back({Path::kGeneral, from.code, 0});
                             }
                             return all;
                         }()),
                         [](const auto& each) {
                             return std::string("General_") + NameOf(each.param.source) + "_to_any";
                         });

}  // namespace
