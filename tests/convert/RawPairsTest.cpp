// The converter on plain memory: every pair of codes on every path, planes that follow from one address,
// planes that an earlier call on views left behind.

#include <algorithm>
#include <memory>
#include <string>

#include "convert/ModelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;
using convert_model::DerivesPlanes;
using convert_model::HasAlphaPlane;
using convert_model::IsPlanar;

constexpr int kFloatStyle = 0, kFixedPointStyle = 1, kIntegerStyle = 2, kFloatSimdStyle = 3, kBestStyle = 5,
              kGeneralStyle = 6;

/// Plain memory with room on both sides of the address that is handed in, for pitches of either sign.
class Block {
public:
    explicit Block(std::size_t roomOnEachSide) : room(roomOnEachSide), bytes(2 * roomOnEachSide) {
        FillRandom(bytes.data(), bytes.size());
    }
    Block(const Block&) = default;

    Byte* Base() { return bytes.data() + room; }
    Side At(int format, std::ptrdiff_t pitch) {
        Side side;
        side.format = format;
        side.plane[0] = {Base(), pitch, nullptr, nullptr};
        return side;
    }
    Block Inverted() const {
        Block inverted = *this;
        for (Byte& byte : inverted.bytes) {
            byte = static_cast<Byte>(~byte);
        }
        return inverted;
    }

    /// The first byte that is not as in `expected`, counted from the address.
    std::string FirstDifference(const Block& expected, int tolerance, const Block& written) const {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const int difference = bytes[i] - expected.bytes[i];
            const bool isWritten = written.bytes[i] == expected.bytes[i];
            if (difference != 0 && (!isWritten || difference < -tolerance || difference > tolerance)) {
                return "byte " + std::to_string(static_cast<std::ptrdiff_t>(i - room)) + ": " +
                       std::to_string(bytes[i]) + " instead of " + std::to_string(expected.bytes[i]);
            }
        }
        return {};
    }

private:
    std::size_t room;
    Bytes bytes;
};

struct RawCall {
    int style, source, destination, width, height;
    std::ptrdiff_t sourcePitch, destinationPitch;
};

std::string Describe(const RawCall& c) {
    return "style " + std::to_string(c.style) + ", " + NameOf(c.source) + " to " + NameOf(c.destination) +
           ", " + std::to_string(c.width) + "x" + std::to_string(c.height) + ", pitches " +
           std::to_string(c.sourcePitch) + ", " + std::to_string(c.destinationPitch);
}

Long32 DoOnMemory(ColorSpaceConverter& converter, Byte* source, Byte* destination, const RawCall& c,
                  Handed handed) {
    return converter.Do(reinterpret_cast<ULong32*>(source), reinterpret_cast<ULong32*>(destination),
                        static_cast<ULong32>(c.width), static_cast<ULong32>(c.height),
                        static_cast<Long32>(c.sourcePitch), static_cast<Long32>(c.destinationPitch),
                        static_cast<ULong32>(c.source), static_cast<ULong32>(c.destination),
                        static_cast<ULong32>(c.style), handed.Matrix(), handed.Offset());
}

/// The path that serves a call in the end.
Path ServingPath(const RawCall& c) {
    const auto has = [&](Path path) { return convert_model::HasPair(path, c.source, c.destination); };
    switch (c.style) {
        case kFloatStyle:
            return Path::kFloat;
        case kFixedPointStyle:
            return Path::kFixedPoint;
        case kFloatSimdStyle:
            return Path::kFloatSimd;
        case kGeneralStyle:
            return Path::kGeneral;
        case kBestStyle:
            return has(Path::kInteger) ? Path::kInteger : has(Path::kFloat) ? Path::kFloat : Path::kGeneral;
        default:
            return Path::kInteger;
    }
}

/// Makes a call by both, and compares the memory and the status. With planes of earlier views those have to
/// be the model's, too.
void ExpectSameOnMemory(Twins& twins, const RawCall& c, const Handed& handed = {}) {
    SCOPED_TRACE(Describe(c));
    const auto lengthOf = [&](std::ptrdiff_t pitch) {
        return static_cast<std::size_t>((pitch < 0 ? -pitch : pitch) * (c.height + 1) +
                                        std::ptrdiff_t{4} * c.width * (c.height + 2) + 64);
    };
    Block source(lengthOf(c.sourcePitch)), destination(lengthOf(c.destinationPitch));
    const Block untouched = source;
    Block expected = destination, written = destination.Inverted();
    const int tolerance = ToleranceOf(ServingPath(c), c.source, c.destination);
    Handed given = handed;
    const auto model = [&](convert_model::Model& by, Block& to) {
        return by.OnMemory(source.At(c.source, c.sourcePitch), to.At(c.destination, c.destinationPitch),
                           c.width, c.height, given.With(c.style));
    };
    convert_model::Model again = twins.model;
    model(again, written);
    const int status = model(twins.model, expected);
    ASSERT_EQ(DoOnMemory(twins.converter, source.Base(), destination.Base(), c, handed), status);
    ASSERT_EQ(destination.FirstDifference(expected, tolerance, written), "");
    ASSERT_EQ(source.FirstDifference(untouched, 0, untouched), "") << "the source was written";
    if (status == 0) {
        twins.ExpectSameCoefficients();
    }
}

/// Lines that touch where planes follow each other, some way apart elsewhere.
std::ptrdiff_t PitchFor(int format, int width, int padding) {
    return IsPlanar(format) ? width : (4 * std::ptrdiff_t{width} + 15) / 16 * 16 + padding;
}

// ---- Statuses --------------------------------------------------------------------------------------------

// What a path does not have is refused with 4, and what needs planes that nobody has told of with 1. The
// general path takes all, and reads and writes what it can.
TEST(RawStatuses, OfEveryPairOnEveryPath) {
    std::vector<int> formats;
    for (int format = 0; format < 28; ++format) {
        formats.push_back(format);
    }
    formats.insert(formats.end(), {99, 100, 101});
    for (const int source : formats) {
        for (const int destination : formats) {
            for (const int style : {kFloatStyle, kFixedPointStyle, kIntegerStyle, kFloatSimdStyle, 4,
                                    kBestStyle, kGeneralStyle, 7}) {
                const RawCall call = {style,
                                      source,
                                      destination,
                                      16,
                                      4,
                                      PitchFor(source, 16, 16),
                                      PitchFor(destination, 16, 0)};
                Twins twins;
                ExpectSameOnMemory(twins, call);
                const Path path = ServingPath(call);
                if (!convert_model::HasPair(path, source, destination)) {
                    Block from(4096), to(4096);
                    EXPECT_EQ(DoOnMemory(twins.converter, from.Base(), to.Base(), call, {}), 4)
                        << Describe(call);
                }
            }
        }
    }
}

TEST(RawStatuses, NullAndNegativeWidthComeFirst) {
    Block from(4096), to(4096);
    const Block before = to;
    ColorSpaceConverter converter;
    for (const int style :
         {kFloatStyle, kFixedPointStyle, kIntegerStyle, kFloatSimdStyle, 4, kBestStyle, kGeneralStyle, 77}) {
        const bool looksAtPitch = style == kFixedPointStyle || style == kFloatSimdStyle;
        for (const auto& [source, destination] : {std::pair(0, 1), std::pair(100, 100), std::pair(2, 0)}) {
            RawCall call = {style, source, destination, 8, 2, 34, 32};
            EXPECT_EQ(DoOnMemory(converter, nullptr, to.Base(), call, {}), 1) << Describe(call);
            EXPECT_EQ(DoOnMemory(converter, from.Base(), nullptr, call, {}), 1) << Describe(call);
            for (const int width : {-1, -2147483647 - 1}) {
                call.width = width;
                EXPECT_EQ(DoOnMemory(converter, nullptr, to.Base(), call, {}), 1) << Describe(call);
                call.sourcePitch = 34;
                EXPECT_EQ(DoOnMemory(converter, from.Base(), to.Base(), call, {}), looksAtPitch ? 2 : 3)
                    << Describe(call);
                call.sourcePitch = 32;
                EXPECT_EQ(DoOnMemory(converter, from.Base(), to.Base(), call, {}), 3) << Describe(call);
            }
        }
    }
    EXPECT_EQ(to.FirstDifference(before, 0, before), "");
}

TEST(RawStatuses, FixedPointAndSinglePrecisionLookAtLowBitsOfPitches) {
    Block from(4096), to(4096);
    ColorSpaceConverter converter;
    for (int low = 0; low < 4; ++low) {
        for (const bool ofSource : {true, false}) {
            RawCall call = {kFixedPointStyle, 0, 1, 8, 2, ofSource ? 64 + low : 64, ofSource ? 64 : 64 + low};
            EXPECT_EQ(DoOnMemory(converter, from.Base(), to.Base(), call, {}), low != 0 ? 2 : 0) << low;
            call.style = kFloatSimdStyle;
            EXPECT_EQ(DoOnMemory(converter, from.Base(), to.Base(), call, {}), low >= 2 ? 2 : 0) << low;
        }
    }
}

// ---- Every pair ------------------------------------------------------------------------------------------

struct RawPair {
    int style, source, destination;
};

std::string NameOfPair(const RawPair& pair) {
    static constexpr std::array<const char*, 4> kNames = {"Float", "FixedPoint", "Integer", "FloatSimd"};
    return std::string(kNames[static_cast<std::size_t>(pair.style)]) + '_' + NameOf(pair.source) + "_to_" +
           NameOf(pair.destination);
}

/// All planes are known without a view.
bool StandsAlone(int source, int destination) {
    const bool planar = IsPlanar(source) || IsPlanar(destination);
    const bool walksAlpha =
        HasAlphaPlane(destination) || (HasAlphaPlane(source) && convert_model::HasAlpha(destination));
    return (!planar || DerivesPlanes(source, destination)) && !walksAlpha;
}

std::vector<RawPair> PairsThat(bool standAlone) {
    std::vector<RawPair> all;
    for (const Path path : {Path::kInteger, Path::kFloat, Path::kFixedPoint, Path::kFloatSimd}) {
        for (const auto& [source, destination] : convert_model::PairsOf(path)) {
            if (StandsAlone(source, destination) == standAlone) {
                all.push_back({StyleOf(path), source, destination});
            }
        }
    }
    return all;
}

class RawPairs : public testing::TestWithParam<RawPair> {};

TEST_P(RawPairs, EqualTheModel) {
    const auto [style, source, destination] = GetParam();
    const bool planes = IsPlanar(destination);
    Twins twins;
    int number = 0;
    const auto compare = [&, s = style, from = source, to = destination](int width, int height,
                                                                         const Handed& handed) {
        ++number;
        twins.SetAlphaFill(RandomByte());
        twins.SetPlusFunction(static_cast<unsigned>(number) % 7U);
        RawCall call = {s,
                        from,
                        to,
                        width,
                        height,
                        PitchFor(from, width, number % 3 * 4),
                        PitchFor(to, width, number % 2 * 8)};
        // Planes that are read may lie within each other; those that are written may not.
        if (IsPlanar(from)) {
            call.sourcePitch += number % 4 * 2;
        }
        // Kernels that step by words cut a pitch to them, towards zero or downwards.
        if (s == kIntegerStyle || s == kFloatStyle) {
            call.sourcePitch += IsPlanar(from) ? 0 : number % 4;
            call.destinationPitch += planes ? 0 : number / 4 % 4;
        }
        call.sourcePitch = number % 5 < 2 ? -call.sourcePitch : call.sourcePitch;
        call.destinationPitch = number % 7 < 3 ? -call.destinationPitch : call.destinationPitch;
        ExpectSameOnMemory(twins, call, handed);
    };
    // Derived planes have whole samples of chroma only where the size is a multiple of what shares them.
    const int across = planes ? convert_model::Across(destination) : 1;
    const int down = !planes || !convert_model::SharesLines(destination) ? 1 : destination == 8 ? 4 : 2;
    for (int width = across; width <= 67; width += across) {
        ASSERT_NO_FATAL_FAILURE(compare(width, down * (1 + width % 3), {}));
    }
    for (int height = 0; height <= 8; height += down) {
        for (const int width : {0, 4, 12, 20, 36}) {
            ASSERT_NO_FATAL_FAILURE(compare(width, height, {}));
        }
    }
    for (const Handed& handed : MatricesFor(source, style != kFloatSimdStyle)) {
        for (const int width : {4, 36}) {
            ASSERT_NO_FATAL_FAILURE(compare(width, 4, handed));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pairs, RawPairs, testing::ValuesIn(PairsThat(true)),
                         [](const auto& each) { return NameOfPair(each.param); });

TEST(RawGeneral, EveryPairOfFormats) {
    for (int source = 0; source < 26; ++source) {
        for (int destination = 0; destination < 26; ++destination) {
            for (const int width : {1, 2, 7, 18}) {
                Twins twins;
                twins.SetAlphaFill(3);
                ASSERT_NO_FATAL_FAILURE(ExpectSameOnMemory(
                    twins, {kGeneralStyle, source, destination, width, 3, PitchFor(source, width, 4),
                            -PitchFor(destination, width, 8)}));
            }
        }
    }
}

// ---- After a call on views -------------------------------------------------------------------------------

class RawAfterViews : public testing::TestWithParam<RawPair> {};

// The planes beside the first are those of the views, the first is the caller's.
TEST_P(RawAfterViews, TakeTheOtherPlanesOfTheViews) {
    const auto [style, source, destination] = GetParam();
    constexpr int kWidth = 36, kHeight = 4;
    constexpr unsigned kPadding = 12;  // whole groups of chroma
    Twins twins;
    // Before, there is nothing to walk.
    Block nowhere(4096);
    EXPECT_EQ(DoOnMemory(twins.converter, nowhere.Base(), nowhere.Base(),
                         {style, source, destination, 8, 2, 32, 32}, {}),
              1);

    ConvertedPicture from(static_cast<ConverterFormat>(source), kWidth, kHeight, {kPadding, 0, false});
    ConvertedPicture to(static_cast<ConverterFormat>(destination), kWidth, kHeight, {kPadding, 4, false});
    ImageView fromView(from), toView(to);
    Copy expected(to);
    const Side sourceSide = SideOf(from, fromView), expectedSide = expected.Moved(SideOf(to, toView));
    Handed handed;
    ASSERT_EQ(twins.model.OnViews(sourceSide, expectedSide, kWidth, kHeight, handed.With(style)), 0);
    ASSERT_EQ(twins.converter.Do(fromView, toView, static_cast<ProcessingStyleEnum>(style), nullptr, nullptr),
              0);
    for (const int width : {kWidth, 19, 3}) {
        const RawCall call = {style, source, destination, width, kHeight, 4 * kWidth, -4 * kWidth};
        ASSERT_NO_FATAL_FAILURE(ExpectSameOnMemory(twins, call));
        const int tolerance = ToleranceOf(ServingPath(call), source, destination);
        ASSERT_EQ(expected.FirstDifference(tolerance, nullptr), "") << "in the planes of the view";
    }
}

INSTANTIATE_TEST_SUITE_P(Pairs, RawAfterViews, testing::ValuesIn(PairsThat(false)),
                         [](const auto& each) { return NameOfPair(each.param); });

TEST(RawAfterViewsOnce, TheNextCallOnViewsWorksAsAlways) {
    Twins twins;
    for (int call = 0; call < 2; ++call) {
        ConvertedPicture from(kFmtPlanar420, 34, 6, {7, 0, false}), to(kFmtRGB32, 34, 6, {8, 0, true});
        ASSERT_NO_FATAL_FAILURE(
            twins.ExpectSame(from, ImageView(from), to, ImageView(to), kIntegerStyle, {}, 0));
        ASSERT_NO_FATAL_FAILURE(
            ExpectSameOnMemory(twins, {kIntegerStyle, kFmtPlanar420, kFmtRGB32, 34, 6, 34, 136}));
    }
}

// A later picture without alpha does not take away the plane that plain memory goes on with.
TEST(RawPairs, PlanesOutliveCallsThatHaveNone) {
    ConvertedPicture from(kFmtCbYCrY4, 16, 2), to(kFmtCbYCrY4, 16, 2), pairs(kFmtCbYCrY, 16, 2);
    ImageView source(from), destination(to), withoutAlpha(pairs);
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(source, destination, kInt_MMXorSIMD, nullptr, nullptr), 0);
    ASSERT_EQ(converter.Do(withoutAlpha, withoutAlpha, kInt_MMXorSIMD, nullptr, nullptr), 0);
    const auto words = [](const ImageView& view) { return static_cast<ULong32*>(view.GetMemoryPointer(0)); };
    EXPECT_EQ(
        converter.Do(words(source), words(destination), 16, 2, source.GetPitch(0), destination.GetPitch(0),
                     kFmtCbYCrY4, kFmtCbYCrY4, kInt_MMXorSIMD, nullptr, nullptr),
        0);
}

}  // namespace
