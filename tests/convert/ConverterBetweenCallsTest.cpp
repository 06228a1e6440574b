// A converter that has served many calls against one that has served none. Between two calls anything that a
// host can change is changed: mostly a single thing, so that the pictures are nearly those of the call
// before.

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "convert/LivedConverter.h"
#include "convert/PictureBank.h"
#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/Choices.h"
#include "support/Streaming.h"

namespace {

using namespace Zan;
using namespace convert_test;

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

template <class Converter>
class Walk {
public:
    /// Two new pictures, and `steps` calls on what becomes of them.
    void Go(int steps) {
        Pair(RandomFrom<std::size_t>(0, kPictures - 1), RandomFrom<std::size_t>(0, kPictures - 1));
        given = {};
        given.style = AnyOf({kBestAvailable, kBestAvailable, kInt_MMXorSIMD, kInt_MMXorSIMD, kFlp, kFP,
                             kFlp_SIMD, kStyle4, kGeneralFormat});
        for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
            // The same pictures again, or nearly.
            const std::string changes = step == 0 || OneIn(6) ? "nothing" : Change();
            bank.Refill(From());
            const ScopedInstructionSet believed(believedSet);
            const simd::ScopedTarget limited(target);
            const ScopedStreaming around(aroundCache);
            SCOPED_TRACE("step " + std::to_string(step) + ", changed: " + changes + "\nfrom " +
                         NameOf(From()) + "\nto " + NameOf(To()) + "\nstyle " + std::to_string(given.style));
            CompareConversion();
        }
    }

    LivedConverter<Converter>& Lived() { return lived; }

private:
    static constexpr bool kOnThreads = std::is_same_v<Converter, ColorSpaceConverterMT>;
    static constexpr int kPictures = static_cast<int>(PictureBank::kPictures);

    Picture& From() { return bank[from]; }
    Picture& To() { return bank[to]; }

    // ---- Pictures ----

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
        to = destination == source ? (source + 1) % PictureBank::kPictures : destination;
        From().setup = AnySetup();
        To().setup = AnySetup();
        To().setup.width = From().setup.width;
        To().setup.height = From().setup.height;
        bank.Make(From());
        bank.Make(To());
        bank.Select(From());
        bank.Select(To());
    }

    // ---- What may change between two calls ----

    template <class Edit>
    std::string MakeAnew(Picture& one, const char* what, Edit edit) {
        bank.MakeAnew(one, edit);
        return what;
    }

    std::string Change() {
        Picture& one = OneIn(2) ? From() : To();
        Image& image = *one.image;
        switch (RandomFrom<int>(0, 27)) {
            case 0:
                return MakeAnew(one, "addresses", [](Setup& s) { s.slack = RandomFrom<unsigned>(0, 20); });
            case 1:
                return MakeAnew(one, "the end of the memory", [](Setup& s) { s.atFence = !s.atFence; });
            case 2:
                return MakeAnew(one, "width", [](Setup& s) { s.width = RandomFrom<unsigned>(1, 48); });
            case 3:
                return MakeAnew(one, "height", [](Setup& s) { s.height = RandomFrom<unsigned>(1, 12); });
            case 4:
                return MakeAnew(one, "width in the same pitch", [](Setup& s) {
                    const auto bytes = [&s] {
                        return static_cast<unsigned>(PlanesOf(ShapeOf(s.format), s.width, 1)[0].rowBytes);
                    };
                    const unsigned before = bytes();
                    s.width = RandomFrom<unsigned>(1, static_cast<int>(s.width));
                    s.padding = std::min(s.padding + before - bytes(), 80U);
                });
            case 5:
                return MakeAnew(one, "pitch", [](Setup& s) { s.padding = RandomFrom<unsigned>(0, 12); });
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
                return MakeAnew(one, "format", [](Setup& s) {
                    s.format = AnyOf({AnyFormat(), PartnerOf(s.format)});
                });
            case 18:
                given.style = AnyOf({-1, 0, 1, 2, 3, 4, 5, 5, 6, 7});
                return "style";
            case 19:
                ChangeSettings();
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
            case 24:
                return AnotherPicture(one);
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
                    one.image->AddChannel(bank.PlaneOf(one, 1).Data() + 16, 64, alpha, 1U, 1U);
                }
                return "a channel of alpha";
            case 1:
                bank.Select(one);
                return "whole view";
            case 2:
                one.view.Set(nullptr);
                CallBetween();
                bank.Select(one);
                return "back from no image";
            default:
                if constexpr (!kOnThreads) {
                    lived.BecomeACopy();
                }
                return "the converter, for a copy";
        }
    }

    /// Into other memory, then with both images on one.
    void ConvertInPlace() {
        const std::size_t own = To().bank;
        const Setup saved = To().setup;
        To().setup = From().setup;
        To().setup.format = PartnerOf(From().setup.format);
        for (const bool inPlace : {false, true}) {
            if (inPlace && kOnThreads) {
                break;  // strips may share lines of chroma
            }
            To().bank = inPlace ? From().bank : own;
            bank.Make(To());
            To().view.Set(To().image.get(), From().view.GetRegionOfInterest(),
                          From().view.GetFieldOfInterest());
            CallBetween();
        }
        To().bank = own;
        To().setup = saved;
        bank.Make(To());
        bank.Select(To());
    }

    void CallBetween() {
        bank.Refill(From());
        SCOPED_TRACE("a call in between, from " + NameOf(From()) + "\nto " + NameOf(To()));
        CompareConversion();
    }

    void CompareConversion() {
        lived.Compare([&](Converter& converter) {
            return converter.Do(From().view, To().view, given.Style(), given.Matrix(), given.Offset());
        });
    }

    void ChangeSettings() {
        Settings& settings = lived.settings;
        if (OneIn(2)) {
            settings.alphaFill = RandomByte();
        } else if (OneIn(2)) {
            settings.mmxOnly = !settings.mmxOnly;
        } else {
            settings.plusFunction = RandomFrom<ULong32>(0, 7);
        }
        lived.ApplySettings();
    }

    /// Another picture of the same description.
    std::string AnotherPicture(Picture& one) {
        const std::size_t other = RandomFrom<std::size_t>(0, kPictures - 1);
        if (other == from || other == to) {
            return "nothing";
        }
        Setup& like = bank[other].setup;
        (&one == &From() ? from : to) = other;
        like = one.setup;
        like.slack = AnyOf({like.slack, 0U, 16U});
        bank.Make(bank[other]);
        bank[other].view.Set(bank[other].image.get(), one.view.GetRegionOfInterest(),
                             one.view.GetFieldOfInterest());
        return "picture";
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
            lived.Compare([&](Converter& converter) {
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
        auto* const source = lacks ? nullptr : reinterpret_cast<ULong32*>(bank.PlaneOf(From(), 0).Data());
        auto* const destination = reinterpret_cast<ULong32*>(bank.PlaneOf(To(), 0).Data());
        lived.Compare([&](Converter& converter) {
            return static_cast<ColorSpaceConverter&>(converter).Do(
                source, destination, narrow ? 0x80000010U : width, height, fromPitch, toPitch, pair[0],
                pair[1], pair[0] == kFmtUnknown ? ULong32{kInt_MMXorSIMD} : style, given.Matrix(),
                given.Offset());
        });
    }

    // Lines that touch others, by groups of chroma that are not whole or by a pitch that is cut to words, may
    // touch those of another strip.
    PictureBank bank{kOnThreads};
    LivedConverter<Converter> lived{bank};
    std::size_t from = 0, to = 1;
    Given given;
    CPUinstructionSetEnum believedSet = kSSE2;
    simd::Target target = simd::BestTarget();
    bool aroundCache = false;
};

TEST(ConverterBetweenCalls, NothingOfTheCallsBeforeShows) {
    Walk<ColorSpaceConverter> walk;
    for (int i = 0; i < 1200 && !HasFailure(); ++i) {
        walk.Go(16);
    }
    for (const Long32 status : {0, 1, 2, 4, 98}) {
        EXPECT_GT(walk.Lived().statuses[status], 20) << status;
    }
    EXPECT_GT(walk.Lived().callsThatWrote, 2500);
}

TEST(ConverterBetweenCalls, NorOnThreads) {
    Walk<ColorSpaceConverterMT> walk;
    for (int i = 0; i < 60 && !HasFailure(); ++i) {
        walk.Go(16);
    }
    EXPECT_GT(walk.Lived().callsThatWrote, 100);
}

}  // namespace
