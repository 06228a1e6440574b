// A converter that has served many calls against one that has served none. Between two calls anything that a
// host can change is changed: mostly a single thing, so that the pictures are nearly those of the call
// before.

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "convert/ConvertedPicture.h"
#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/Choices.h"
#include "support/Streaming.h"

namespace {

using namespace Zan;
using namespace convert_test;

constexpr std::size_t kBytesOfPlane = 4096;  // a whole page: fences on both sides
constexpr int kPictures = 4;

/// Formats whose pictures have the same bytes in the same places: converted in place, too.
ConverterFormat PartnerOf(ConverterFormat format) {
    switch (format) {
        case kFmtRGB32:
            return AnyOf({kFmtRGB32Shaped, kFmtCbYCrA, kFmtRGB32});
        case kFmtRGB32Shaped:
            return kFmtRGB32;
        case kFmtCbYCrA:
            return AnyOf({kFmtRGB32, kFmtRGB32StudioOpen});
        case kFmtRGB32Studio:
        case kFmtRGB32NarrowClamp:
        case kFmtRGB32StudioOpen:
            return kFmtCbYCrA;
        case kFmtCbYCrY:
            return AnyOf({kFmtYCbYCr, kFmtCbYCrYMono});
        case kFmtYCbYCr:
            return kFmtCbYCrY;
        case kFmtCbYCrY4:
            return AnyOf({kFmtCbYCrY4Shaped, kFmtCbYCrY4Mono});
        case kFmtCbYCrY4Shaped:
            return kFmtCbYCrY4;
        default:
            return format;
    }
}

/// How an image is made.
struct Setup {
    ConverterFormat format = kFmtRGB32;
    unsigned width = 0, height = 0;
    unsigned padding = 0;
    unsigned slack = 0;
    bool atFence = true;  ///< the planes end `slack` bytes before the fence, or begin as many behind one
    OriginEnum origin = kTopLeft;
};

/// One image, a view on it, and the memory of its planes.
struct Picture {
    Setup setup;
    std::size_t bank = 0;
    std::unique_ptr<Image> image;
    ImageView view;
};

std::string NameOf(const Picture& picture) {
    const Setup& s = picture.setup;
    const Rectangle region = picture.view.GetRegionOfInterest();
    std::string text = "format ";
    text += std::to_string(s.format) + ", " + std::to_string(s.width) + "x" + std::to_string(s.height) +
            ", padding " + std::to_string(s.padding) + ", slack " + std::to_string(s.slack) +
            (s.atFence ? " before" : " behind") + " a fence, origin " + std::to_string(s.origin) +
            ", region " + std::to_string(region.getLeft()) + "," + std::to_string(region.getTop()) + " " +
            std::to_string(region.getWidth()) + "x" + std::to_string(region.getHeight()) + ", field " +
            std::to_string(picture.view.GetFieldOfInterest());
    return text;
}

/// What a call is given besides its pictures.
struct Given {
    int style = kBestAvailable;
    bool hasMatrix = false, hasOffset = false;
    std::array<double, 16> matrix = {};
    std::array<double, 8> offset = {};

    ProcessingStyleEnum Style() const { return static_cast<ProcessingStyleEnum>(style); }
    double* Matrix() { return hasMatrix ? matrix.data() : nullptr; }
    double* Offset() { return hasOffset ? offset.data() : nullptr; }
};

struct Settings {
    unsigned char alphaFill = 255;
    ULong32 plusFunction = 0;
    bool mmxOnly = false;

    template <class Converter>
    void Apply(Converter& converter) const {
        converter.SetAlphaChannel(alphaFill);
        converter.SetPlusFunction(plusFunction);
        converter.SetMMXonlyStyle(mmxOnly);
    }
};

/// The coefficients that a converter shows, bit by bit.
struct Shown {
    std::array<double, 16> matrix;
    std::array<double, 8> offset;

    template <class Converter>
    explicit Shown(const Converter& converter) {
        converter.GetMatrixCoef(matrix.data());
        converter.GetOffset(offset.data());
    }
    bool operator==(const Shown& other) const {
        return std::memcmp(matrix.data(), other.matrix.data(), sizeof matrix) == 0 &&
               std::memcmp(offset.data(), other.offset.data(), sizeof offset) == 0;
    }
};

/// A converter with nothing behind it but the coefficients of another: a pair that the path lacks is refused
/// after they were taken over.
template <class Converter>
void GiveCoefficients(Converter& converter, Shown shown) {
    Image dot(ImageDescriptor(1, 1, kRGB, k444, kBGRA, kPacked, kProgressive, kInterleavedFields, kTopLeft,
                              1.0F, kUnshaped),
              64);
    ImageView view(&dot);
    ASSERT_EQ(converter.Do(view, view, kFP, shown.matrix.data(), shown.offset.data()), 4);
}

template <class Converter>
std::unique_ptr<Converter> NewConverter() {
    return std::make_unique<Converter>();
}
template <>
std::unique_ptr<ColorSpaceConverterMT> NewConverter<ColorSpaceConverterMT>() {
    return std::make_unique<ColorSpaceConverterMT>(3U);
}

template <class Converter>
class Walk {
public:
    Walk() {
        for (std::size_t i = 0; i < 3 * kPictures; ++i) {
            memory.push_back(std::make_unique<FencedMemory>(kBytesOfPlane));
        }
        for (std::size_t i = 0; i < kPictures; ++i) {
            pictures[i].bank = i;
        }
    }

    /// Two new pictures, and `steps` calls on what becomes of them.
    void Go(int steps) {
        Pair(RandomFrom<std::size_t>(0, kPictures - 1), RandomFrom<std::size_t>(0, kPictures - 1));
        given = {};
        given.style = AnyOf({kBestAvailable, kBestAvailable, kInt_MMXorSIMD, kInt_MMXorSIMD, kFlp, kFP,
                             kFlp_SIMD, kStyle4, kGeneralFormat});
        for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
            // The same pictures again, or nearly.
            const std::string changes = step == 0 || OneIn(6) ? "nothing" : Change();
            Refill();
            const ScopedInstructionSet believed(believedSet);
            const simd::ScopedTarget limited(target);
            const ScopedStreaming around(aroundCache);
            SCOPED_TRACE("step " + std::to_string(step) + ", changed: " + changes + "\nfrom " +
                         NameOf(From()) + "\nto " + NameOf(To()) + "\nstyle " + std::to_string(given.style));
            Compare([&](Converter& converter) {
                return converter.Do(From().view, To().view, given.Style(), given.Matrix(), given.Offset());
            });
        }
    }

    std::map<Long32, int> statuses;
    int callsThatWrote = 0;

private:
    static constexpr bool kOnThreads = std::is_same_v<Converter, ColorSpaceConverterMT>;

    Picture& From() { return pictures[from]; }
    Picture& To() { return pictures[to]; }

    // ---- Memory ----

    FencedMemory& PlaneOf(const Picture& picture, std::size_t plane) {
        return *memory[3 * picture.bank + plane];
    }
    std::vector<Bytes> AllBytes() const {
        std::vector<Bytes> all;
        for (const auto& block : memory) {
            all.push_back(block->Snapshot());
        }
        return all;
    }
    void PutBack(const std::vector<Bytes>& all) {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            std::memcpy(memory[i]->Data(), all[i].data(), kBytesOfPlane);
        }
    }
    void Refill() {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            FillRandom(PlaneOf(From(), plane).Data(), kBytesOfPlane);
        }
    }

    // ---- One call ----

    template <class Call>
    void Compare(Call call) {
        const std::vector<Bytes> before = AllBytes();
        const Shown shown(*lived);
        const Long32 status = call(*lived);
        const std::vector<Bytes> written = AllBytes();
        PutBack(before);

        const std::unique_ptr<Converter> fresh = NewConverter<Converter>();
        GiveCoefficients(*fresh, shown);
        settings.Apply(*fresh);
        ASSERT_EQ(status, call(*fresh));
        const std::vector<Bytes> expected = AllBytes();
        for (std::size_t i = 0; i < memory.size(); ++i) {
            ASSERT_EQ(FirstDifference(written[i], expected[i]), "")
                << "bank " << i / 3 << ", plane " << i % 3;
        }
        ASSERT_TRUE(Shown(*lived) == Shown(*fresh)) << "the coefficients";
        ++statuses[status];
        callsThatWrote += written != before;
    }

    static std::string FirstDifference(const Bytes& got, const Bytes& wanted) {
        for (std::size_t i = 0; i < got.size(); ++i) {
            if (got[i] != wanted[i]) {
                std::string text = "byte ";
                text += std::to_string(i) + " is " + std::to_string(got[i]) + " instead of " +
                        std::to_string(wanted[i]);
                return text;
            }
        }
        return {};
    }

    // ---- Pictures ----

    static ConverterFormat AnyFormat() {
        return AllFormats()[RandomFrom<std::size_t>(0, static_cast<int>(AllFormats().size()) - 1)].code;
    }
    static Setup AnySetup() {
        return {AnyOf({kFmtRGB32, kFmtRGB32, kFmtCbYCrY, kFmtCbYCrY4, kFmtPlanar420, AnyFormat(), AnyFormat(),
                       AnyFormat(), AnyFormat()}),
                RandomFrom<unsigned>(1, 48),
                RandomFrom<unsigned>(1, 12),
                4 * RandomFrom<unsigned>(0, 3),
                AnyOf({0U, 0U, 16U, 4U, 1U}),
                OneIn(2),
                OneIn(4) ? kBottomLeft : kTopLeft};
    }

    /// Which conversions there are is a matter of luck; with this one in three calls writes.
    void Pair(std::size_t source, std::size_t destination) {
        from = source;
        to = destination == source ? (source + 1) % kPictures : destination;
        From().setup = AnySetup();
        To().setup = AnySetup();
        To().setup.width = From().setup.width;
        To().setup.height = From().setup.height;
        Make(From());
        Make(To());
        Select(From());
        Select(To());
    }

    static void Select(Picture& picture) { picture.view.Set(picture.image.get()); }

    void Make(Picture& picture) {
        const Setup& s = picture.setup;
        const FormatShape& shape = ShapeOf(s.format);
        const unsigned across = shape.sampling == k411 ? 4 : shape.sampling >= k422 ? 2 : 1;
        const unsigned down = shape.sampling == k420 ? 2 : 1;
        const unsigned wide = (s.width + across - 1) / across * across;
        const unsigned high = (s.height + down - 1) / down * down;
        std::vector<unsigned char*> addresses;
        std::vector<ULong32> pitches;
        for (const PlaneShape& plane : PlanesOf(shape, wide, high)) {
            std::size_t pitch = plane.rowBytes + s.padding;
            if (kOnThreads) {
                // Lines that touch others, by groups of chroma that are not whole or by a pitch that is cut
                // to words, may touch those of another strip.
                pitch = (pitch + 15) / 16 * 16;
            }
            unsigned char* const data = PlaneOf(picture, addresses.size()).Data();
            addresses.push_back(data + (s.atFence ? kBytesOfPlane - pitch * plane.rows - s.slack : s.slack));
            pitches.push_back(static_cast<ULong32>(pitch));
        }
        Image made(addresses.data(), pitches.data(),
                   ImageDescriptor(wide, high, shape.space, shape.sampling, shape.order, shape.packing,
                                   shape.scan, kInterleavedFields, s.origin, 1.0F, shape.shaped),
                   1U, 1U);
        made.SetColor(shape.color);
        SetLevels(made, shape.levels);
        // The same object, or another, maybe where the one before was.
        if (picture.image && !OneIn(3)) {
            *picture.image = std::move(made);
        } else {
            picture.image = std::make_unique<Image>(std::move(made));
            Select(picture);
        }
    }

    static void SetLevels(Image& image, FormatShape::Levels levels) {
        using Levels = FormatShape::Levels;
        for (ULong32 channel = 0; channel < 3 && levels != Levels::kAsMade; ++channel) {
            const bool full = levels == Levels::kNarrowClamp, open = levels == Levels::kStudioOpen;
            image.SetBlackAndWhiteLevel(full ? 0.0F : 16.0F / 255, full ? 1.0F : 235.0F / 255, channel);
            image.SetClampLowAndHighLevel(open ? 0.0F : 0.05F, open ? 1.0F : 0.95F, channel);
        }
    }

    /// Made anew; the view keeps its region, which may leave the new image, or shows all.
    void MakeAnew(Picture& picture) {
        Make(picture);
        if (OneIn(2)) {
            Select(picture);
        }
    }

    // ---- What may change between two calls ----

    std::string Change() {
        Picture& one = OneIn(2) ? From() : To();
        Image& image = *one.image;
        switch (RandomFrom<int>(0, 27)) {
            case 0:
                one.setup.slack = RandomFrom<unsigned>(0, 20);
                MakeAnew(one);
                return "addresses";
            case 1:
                one.setup.atFence = !one.setup.atFence;
                MakeAnew(one);
                return "the end of the memory";
            case 2:
                one.setup.width = RandomFrom<unsigned>(1, 48);
                MakeAnew(one);
                return "width";
            case 3:
                one.setup.height = RandomFrom<unsigned>(1, 12);
                MakeAnew(one);
                return "height";
            case 4: {
                // The pitch stays, the width does not.
                const auto bytes = [&] {
                    return static_cast<unsigned>(
                        PlanesOf(ShapeOf(one.setup.format), one.setup.width, 1)[0].rowBytes);
                };
                const unsigned before = bytes();
                one.setup.width = RandomFrom<unsigned>(1, static_cast<int>(one.setup.width));
                one.setup.padding = std::min(one.setup.padding + before - bytes(), 80U);
                MakeAnew(one);
                return "width in the same pitch";
            }
            case 5:
                one.setup.padding = RandomFrom<unsigned>(0, 12);
                MakeAnew(one);
                return "pitch";
            case 6:
            case 7: {
                const auto width = static_cast<int>(image.GetWidth()),
                           height = static_cast<int>(image.GetHeight());
                const auto left = RandomFrom<Long32>(0, width / 2), top = RandomFrom<Long32>(0, height / 2);
                const auto wide = RandomFrom<Long32>(0, width), high = RandomFrom<Long32>(0, height);
                one.view.SetRegionOfInterest(Rectangle(left, top, wide, high), one.view.GetFieldOfInterest());
                return "region";
            }
            case 8: {
                // Same size, other place.
                Rectangle region = one.view.GetRegionOfInterest();
                region.setTop(std::max<Long32>(0, region.getTop() + (OneIn(2) ? 1 : -1)));
                one.view.SetRegionOfInterest(region, one.view.GetFieldOfInterest());
                return "top";
            }
            case 9:
            case 10:
                one.view.SetFieldOfInterest(
                    AnyOf({kFrame, kUpperField, kLowerField, kFirstField, kSecondField}));
                return "field";
            case 11:
                image.SetOrigin(image.GetImageDescriptor() && image.GetOrigin() == kTopLeft ? kBottomLeft
                                                                                            : kTopLeft);
                return "origin";
            case 12:
                image.SetPixelShaping(image.GetPixelShaping() == kShaped ? kUnshaped : kShaped);
                return "shaping";
            case 13:
                image.SetColor(AnyOf({kFullColor, kBlack, kMonochrome}));
                return "colour";
            case 14:
                image.SetAlphaChannelDescription(
                    AnyOf({kAlphaVarying, kAlphaOpaque, kAlphaTransparent, kNoAlpha}));
                return "description of alpha";
            case 15:
                SetLevels(image, AnyOf({FormatShape::Levels::kNarrowClamp, FormatShape::Levels::kStudio,
                                        FormatShape::Levels::kStudioOpen}));
                return "levels";
            case 16: {
                // Through another object that shares the descriptor.
                Image copy(image);
                copy.GetImageDescriptor()->scanStyle =
                    copy.GetScanStyle() == kProgressive ? kUpperFieldFirst : kProgressive;
                return "scan style";
            }
            case 17:
                one.setup.format = AnyOf({AnyFormat(), PartnerOf(one.setup.format)});
                MakeAnew(one);
                return "format";
            case 18:
                given.style = AnyOf({-1, 0, 1, 2, 3, 4, 5, 5, 6, 7});
                return "style";
            case 19:
                if (OneIn(2)) {
                    settings.alphaFill = RandomByte();
                } else if (OneIn(2)) {
                    settings.mmxOnly = !settings.mmxOnly;
                } else {
                    settings.plusFunction = RandomFrom<ULong32>(0, 7);
                }
                settings.Apply(*lived);
                return "settings";
            case 20:
            case 21:
                ChangeCoefficients();
                return "coefficients";
            case 22:
                believedSet = AnyOf({kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2});
                target = static_cast<simd::Target>(RandomFrom<int>(0, static_cast<int>(simd::BestTarget())));
                aroundCache = OneIn(2);
                return "processor";
            case 23:
                std::swap(from, to);
                return "direction";
            case 24: {
                // Another picture of the same description.
                const std::size_t other = RandomFrom<std::size_t>(0, kPictures - 1);
                if (other == from || other == to) {
                    return "nothing";
                }
                Setup& like = pictures[other].setup;
                (&one == &From() ? from : to) = other;
                like = one.setup;
                like.slack = AnyOf({like.slack, 0U, 16U});
                Make(pictures[other]);
                pictures[other].view.Set(pictures[other].image.get(), one.view.GetRegionOfInterest(),
                                         one.view.GetFieldOfInterest());
                return "picture";
            }
            case 25:
                ConvertInPlace();
                return "back from in place";
            case 26:
                AnotherCall(one);
                return "a call of another kind before";
            default:
                return ChangeWhole(one);
        }
    }

    std::string ChangeWhole(Picture& one) {
        switch (RandomFrom<int>(0, 3)) {
            case 0:
                if (ChannelDescriptor alpha; one.image->GetChannelSampling() == k4224) {
                    one.image->DeleteChannel(3);
                } else if (one.image->GetChannelSampling() == k422) {
                    alpha.SetAlpha(0.0F, one.image->GetWidth(), one.image->GetHeight(), kProgressive,
                                   kInterleavedFields, 8);
                    one.image->AddChannel(PlaneOf(one, 1).Data() + 16, 64, alpha, 1U, 1U);
                }
                return "a channel of alpha";
            case 1:
                Select(one);
                return "whole view";
            case 2:
                one.view.Set(nullptr);
                CompareDo();
                Select(one);
                return "back from no image";
            default:
                if constexpr (!kOnThreads) {
                    if (OneIn(2)) {
                        lived = std::make_unique<ColorSpaceConverter>(*lived);
                    } else {
                        const ColorSpaceConverter copy(*lived);
                        GiveCoefficients(*lived, Shown(ColorSpaceConverter()));
                        *lived = copy;
                    }
                }
                return "the converter, for a copy";
        }
    }

    /// Into other memory, then with both images on one.
    void ConvertInPlace() {
        const std::size_t bank = To().bank;
        const Setup saved = To().setup;
        To().setup = From().setup;
        To().setup.format = PartnerOf(From().setup.format);
        for (const bool inPlace : {false, true}) {
            if (inPlace && kOnThreads) {
                break;  // strips may share lines of chroma
            }
            To().bank = inPlace ? From().bank : bank;
            Make(To());
            To().view.Set(To().image.get(), From().view.GetRegionOfInterest(),
                          From().view.GetFieldOfInterest());
            CompareDo();
        }
        To().bank = bank;
        To().setup = saved;
        Make(To());
        Select(To());
    }

    void CompareDo() {
        Refill();
        SCOPED_TRACE("a call in between, from " + NameOf(From()) + "\nto " + NameOf(To()));
        Compare([&](Converter& converter) {
            return converter.Do(From().view, To().view, given.Style(), given.Matrix(), given.Offset());
        });
    }

    void ChangeCoefficients() {
        given.hasMatrix = OneIn(2);
        given.hasOffset = OneIn(2);
        const int kind = RandomFrom<int>(0, 4);
        for (double& value : given.matrix) {
            const int drawn = RandomFrom<int>(-150, 150);
            if (kind == 0) {
                value = drawn / 100.0;
            } else if (kind == 1 && OneIn(8)) {
                value = drawn;
            } else if (kind == 2 && value == 0) {
                value = -value;
            }
        }
        if (kind == 3) {
            given.matrix[RandomFrom<std::size_t>(0, 15)] = std::numeric_limits<double>::quiet_NaN();
        }
        if (kind == 4) {
            DefaultMatrixForFormats(given.matrix.data(), given.offset.data(), kFmtCbYCrY, kFmtRGB32);
        } else {
            for (double& value : given.offset) {
                value = OneIn(2) ? value : RandomFrom<int>(-128, 128);
            }
        }
    }

    /// A call in between that leaves other things behind: on plain memory, or on the mark of an image.
    void AnotherCall(Picture& one) {
        if (OneIn(2)) {
            const bool shape = OneIn(2);
            const ShapedEnum mark = one.image->GetPixelShaping();
            Compare([&](Converter& converter) {
                one.image->SetPixelShaping(mark);
                return shape ? converter.Shape(one.view, given.Style())
                             : converter.Unshape(one.view, given.Style());
            });
            return;
        }
        // Whole planes of the memory of the same pictures, so that one may change in place, too.
        static constexpr ULong32 kPairs[][2] = {
            {kFmtRGB32, kFmtCbYCrA},     {kFmtCbYCrY, kFmtRGB32},
            {kFmtCbYCrY, kFmtPlanar420}, {kFmtCbYCrY, kFmtPlanar422},
            {kFmtPlanar420, kFmtRGB32},  {kFmtPlanar420Interlaced, kFmtRGB32StudioOpen},
            {kFmtRGB32, kFmtPlanar420},  {kFmtRGB32, kFmtPlanar411},
            {kFmtRGB32, kFmtRGB32},      {kFmtRGB32Shaped, kFmtCbYCrY},
            {kFmtAlpha8, kFmtAlpha8},    {kFmtRGB24, kFmtRGB32ShapedOpaque},
            {kFmtUnknown, kFmtRGB32},    {kFmtRGB32Studio, kFmtCbYCrA},
            {kFmtYCbYCr, kFmtRGB24},     {kFmtRGB24, kFmtYCbYCr}};
        const auto& pair = kPairs[RandomFrom<std::size_t>(0, static_cast<int>(std::size(kPairs)) - 1)];
        const ULong32 width = 4 * RandomFrom<ULong32>(0, 10), height = 4 * RandomFrom<ULong32>(0, 2);
        const auto fromPitch = static_cast<Long32>(width * 4),
                   toPitch = fromPitch + 4 * RandomFrom<Long32>(0, 3);
        const bool narrow = OneIn(10), lacks = OneIn(10);
        const ULong32 style = AnyOf<ULong32>({2, 4, 5});
        auto* const source = lacks ? nullptr : reinterpret_cast<ULong32*>(PlaneOf(From(), 0).Data());
        auto* const destination = reinterpret_cast<ULong32*>(PlaneOf(To(), 0).Data());
        Compare([&](Converter& converter) {
            return static_cast<ColorSpaceConverter&>(converter).Do(
                source, destination, narrow ? 0x80000010U : width, height, fromPitch, toPitch, pair[0],
                pair[1], pair[0] == kFmtUnknown ? ULong32{kInt_MMXorSIMD} : style, given.Matrix(),
                given.Offset());
        });
    }

    std::vector<std::unique_ptr<FencedMemory>> memory;
    std::array<Picture, kPictures> pictures;
    std::size_t from = 0, to = 1;
    Given given;
    Settings settings;
    CPUinstructionSetEnum believedSet = kSSE2;
    simd::Target target = simd::BestTarget();
    bool aroundCache = false;
    std::unique_ptr<Converter> lived = NewConverter<Converter>();
};

TEST(ConverterBetweenCalls, NothingOfTheCallsBeforeShows) {
    Walk<ColorSpaceConverter> walk;
    for (int i = 0; i < 1200 && !HasFailure(); ++i) {
        walk.Go(16);
    }
    for (const Long32 status : {0, 1, 2, 4, 98}) {
        EXPECT_GT(walk.statuses[status], 20) << status;
    }
    EXPECT_GT(walk.callsThatWrote, 2500);
}

TEST(ConverterBetweenCalls, NorOnThreads) {
    Walk<ColorSpaceConverterMT> walk;
    for (int i = 0; i < 60 && !HasFailure(); ++i) {
        walk.Go(16);
    }
    EXPECT_GT(walk.callsThatWrote, 100);
}

}  // namespace
