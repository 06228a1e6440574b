#ifndef TESSELU_TESTS_OVERLAY_MODELSCENES_H
#define TESSELU_TESTS_OVERLAY_MODELSCENES_H

#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/overlay/Mixup.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "overlay/model/Overlay.h"
#include "simd/Targets.h"
#include "support/Choices.h"
#include "support/FencedMemory.h"
#include "support/Streaming.h"

// Random pictures with views on them at random places, and the comparison of an overlay with its model over
// all of their memory.

namespace overlay_test {

using namespace test_support;
using Zan::MixupPosition::Mixup;

inline Zan::ProcessingStyleEnum Style(int number) {
    return static_cast<Zan::ProcessingStyleEnum>(number);
}
inline Zan::ProcessingStyleEnum AnyStyle() {
    return Style(AnyOf({0, 1, 2, 3, 4, 5, 6, -1, 1000}));
}

/// What a picture is to be like; the defaults are small RGB with alpha and no fields.
struct Format {
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::ULong32 width = 16, height = 4;
    Zan::ShapedEnum shaping = Zan::kUnshaped;
    Zan::OriginEnum origin = Zan::kTopLeft;
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    Zan::FieldPackingEnum fieldPacking = Zan::kNoFields;
    Zan::ComponentOrderEnum order = Zan::kCbYCrA;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    Zan::AggregateBitsPerChannelEnum bits = Zan::k8Bits;
    Zan::ULong32 padding = 0;       ///< bytes of a line beyond its pixels
    Zan::ULong32 alphaPadding = 0;  ///< the same for the alpha plane
    std::size_t slack = 0;          ///< between a plane's last byte and the fence, which moves its address

    Zan::ULong32 LineBytes() const {
        const Zan::ULong32 samples = bits == Zan::k32Bits ? 4 : bits == Zan::k16Bits ? 2 : 1;
        switch (sampling) {
            case Zan::k4444:
                return 4 * samples * width;
            case Zan::k444:
                return 3 * width;
            default:
                return 2 * (width + width % 2);
        }
    }
    bool HasAlphaPlane() const { return sampling == Zan::k4224; }
};

inline Format Rgb(Zan::AggregateChannelSamplingEnum sampling, Zan::ULong32 width, Zan::ULong32 height,
                  Zan::ShapedEnum shaping = Zan::kUnshaped) {
    Format format;
    format.sampling = sampling;
    format.width = width;
    format.height = height;
    format.shaping = shaping;
    return format;
}
inline Format Pairs(Zan::AggregateChannelSamplingEnum sampling, Zan::ULong32 width, Zan::ULong32 height,
                    Zan::ShapedEnum shaping = Zan::kUnshaped) {
    Format format = Rgb(sampling, width, height, shaping);
    format.colorSpace = Zan::kYCrCb;
    return format;
}

/// A random image in memory that ends at a fence.
class Canvas {
public:
    explicit Canvas(const Format& wanted) : format(wanted) {
        colour = Memory(format.LineBytes() + format.padding);
        alpha = Memory(format.HasAlphaPlane() ? AlphaPitch() : 0);
        Build(colour->Data());
    }
    /// Another picture over the first plane of `other`, which must hold it; the alpha plane is its own.
    Canvas(const Format& wanted, const Canvas& other) : format(wanted), colour(other.colour) {
        alpha = Memory(format.HasAlphaPlane() ? AlphaPitch() : 0);
        Build(other.colour->Data());
    }

    Zan::Image* Image() { return image.get(); }
    FencedMemory& ColourMemory() { return *colour; }
    FencedMemory& AlphaMemory() { return *alpha; }
    const Format& Wanted() const { return format; }

    std::uint8_t* Pixel(Zan::ULong32 x, Zan::ULong32 y) {
        const std::size_t bytes = format.colorSpace == Zan::kYCrCb ? 2 : format.sampling == Zan::k444 ? 3 : 4;
        return colour->Data() + std::size_t{y} * (format.LineBytes() + format.padding) + bytes * x;
    }
    std::uint8_t* PlaneAlpha(Zan::ULong32 x, Zan::ULong32 y) {
        return alpha->Data() + std::size_t{y} * AlphaPitch() + x;
    }

    overlay_model::Plane PlaneOf(Zan::ULong32 channel) const {
        FencedMemory& memory = channel == 3 && format.HasAlphaPlane() ? *alpha : *colour;
        overlay_model::Plane plane;
        const auto* const first = static_cast<const std::uint8_t*>(image->GetMemoryPointer(channel));
        if (first == nullptr) {
            return plane;
        }
        plane.memory = memory.Snapshot();
        plane.first = first - memory.Data() + static_cast<std::ptrdiff_t>(memory.GuardLength());
        plane.pitch = static_cast<std::ptrdiff_t>(image->GetPitch(channel));
        plane.begin = static_cast<std::ptrdiff_t>(memory.GuardLength());
        plane.end = plane.begin + static_cast<std::ptrdiff_t>(memory.Length() - format.slack);
        plane.isThere = true;
        return plane;
    }

private:
    Zan::ULong32 AlphaPitch() const { return format.width + format.width % 2 + format.alphaPadding; }
    std::shared_ptr<FencedMemory> Memory(Zan::ULong32 pitch) const {
        const std::size_t bytes = std::size_t{pitch} * format.height;
        return std::make_shared<FencedMemory>(bytes == 0 ? 0 : bytes + format.slack);
    }
    void Build(std::uint8_t* first) {
        const Zan::ImageDescriptor descriptor(format.width, format.height, format.colorSpace, format.sampling,
                                              format.colorSpace == Zan::kYCrCb ? format.order : Zan::kBGRA,
                                              format.packing, format.scan, format.fieldPacking, format.origin,
                                              format.bits, 1.0F, format.shaping);
        unsigned char* planes[] = {first, alpha->Data(), nullptr, nullptr};
        Zan::ULong32 pitches[] = {format.LineBytes() + format.padding, AlphaPitch(), 0, 0};
        image = std::make_unique<Zan::Image>(planes, pitches, descriptor, 1, 1);
    }

    Format format;
    std::shared_ptr<FencedMemory> colour, alpha;
    std::unique_ptr<Zan::Image> image;
};

/// What the model is told about a view.
inline overlay_model::Picture PictureOf(const Canvas& canvas, const Zan::ImageView& view) {
    overlay_model::Picture picture;
    const Zan::Image* const image = view.GetImage();
    picture.hasImage = image != nullptr;
    if (image == nullptr) {
        return picture;
    }
    picture.address = image->GetMemoryPointer(0);
    picture.width = image->GetWidth();
    picture.height = image->GetHeight();
    picture.colorSpace = image->GetColorSpace();
    picture.sampling = image->GetChannelSampling();
    picture.packing = image->GetPixelPacking();
    picture.channels = static_cast<int>(image->GetNumberOfChannels());
    picture.sampleBytes = static_cast<int>(image->GetBytesPerChannel(0));
    picture.shaping = image->GetPixelShaping();
    picture.origin = image->GetOrigin();
    picture.scan = image->GetScanStyle();
    picture.fieldPacking = image->GetFieldPacking();
    const Zan::Rectangle region = view.GetRegionOfInterest();
    picture.region = {region.getLeft(), region.getTop(),
                      overlay_model::Integer{region.getLeft()} + region.getWidth(),
                      overlay_model::Integer{region.getTop()} + region.getHeight()};
    picture.field = view.GetFieldOfInterest();
    picture.colour = canvas.PlaneOf(0);
    if (canvas.Wanted().HasAlphaPlane()) {
        picture.alpha = canvas.PlaneOf(3);
    }
    return picture;
}

inline std::string Describe(const char* name, const overlay_model::Picture& picture) {
    std::string text = "\n  ";
    text += name;
    text += picture.colorSpace == Zan::kRGB ? " RGB" : " YCrCb";
    const auto add = [&text](const char* words, long long number) {
        text += words;
        text += std::to_string(number);
    };
    add(" sampling ", picture.sampling);
    add(", ", picture.width);
    add("x", picture.height);
    add(", shaped ", picture.shaping);
    add(", origin ", picture.origin);
    add(", scan ", picture.scan);
    add(", packing ", picture.fieldPacking);
    add(", field ", picture.field);
    add(", region ", picture.region.left);
    add(",", picture.region.top);
    add(" to ", picture.region.right);
    add(",", picture.region.bottom);
    return text;
}

inline ::testing::AssertionResult SameMemory(const char* what, const overlay_model::Plane& expected,
                                             const Bytes& actual) {
    if (!expected.isThere || expected.memory == actual) {
        return ::testing::AssertionSuccess();
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (expected.memory.at(i) != actual[i]) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i) - expected.first;
            ::testing::AssertionResult failure = ::testing::AssertionFailure();
            failure << what << ": byte " << at << " from the first line's start";
            if (expected.pitch > 0 && at >= 0) {
                failure << " (line " << at / expected.pitch << ", byte " << at % expected.pitch << ")";
            }
            return failure << ": expected " << unsigned{expected.memory[i]} << ", is " << unsigned{actual[i]};
        }
    }
    return ::testing::AssertionFailure() << what << ": sizes differ";
}

/// The pictures of one call: foreground, background, result; or source and result.
struct Scene {
    std::vector<std::shared_ptr<Canvas>> canvases;
    std::vector<Zan::ImageView> views;

    /// What was asked for: a view answers with another region, which it would not take in the same way.
    std::vector<Zan::Rectangle> requests;

    /// By value: it may be one of those that are there.
    void Add(std::shared_ptr<Canvas> canvas, const Zan::Rectangle& region, Zan::WhichFieldEnum field) {
        canvases.push_back(canvas);
        views.emplace_back(canvas->Image(), region, field);
        requests.push_back(region);
    }
    void Add(const Format& format, const Zan::Rectangle& region, Zan::WhichFieldEnum field) {
        Add(std::make_shared<Canvas>(format), region, field);
    }
    void Add(const Format& format) {
        Add(format,
            Zan::Rectangle(0, 0, static_cast<Zan::Long32>(format.width),
                           static_cast<Zan::Long32>(format.height)),
            Zan::kFrame);
    }
    std::vector<overlay_model::Picture> Pictures() const {
        std::vector<overlay_model::Picture> all;
        for (std::size_t i = 0; i < views.size(); ++i) {
            all.push_back(PictureOf(*canvases[i], views[i]));
        }
        return all;
    }
};

/// Holds all pictures of a scene against what the model made of them. Pictures whose memory is the result's
/// are the result.
inline void ExpectPictures(const Scene& scene, const std::vector<overlay_model::Picture>& expected,
                           const std::string& words) {
    static const char* const three[] = {"foreground", "background", "result"};
    static const char* const two[] = {"source", "result"};
    const std::size_t last = expected.size() - 1;
    std::string text = words;
    for (std::size_t i = 0; i <= last; ++i) {
        text += Describe(last == 2 ? three[i] : two[i], expected[i]);
    }
    for (std::size_t i = 0; i <= last; ++i) {
        const char* const name = last == 2 ? three[i] : two[i];
        Canvas& canvas = *scene.canvases[i];
        const bool isResult = expected[i].address == expected[last].address;
        if (i == last || !isResult) {
            ASSERT_TRUE(SameMemory("colour", expected[i].colour, canvas.ColourMemory().Snapshot()))
                << name << text;
        }
        if (i == last || scene.canvases[i] != scene.canvases[last]) {
            ASSERT_TRUE(SameMemory("alpha", expected[i].alpha, canvas.AlphaMemory().Snapshot()))
                << name << text;
            if (expected[i].hasImage && scene.views[i].GetImage() != scene.views[last].GetImage()) {
                ASSERT_EQ(scene.views[i].GetImage()->GetPixelShaping(), expected[i].shaping) << name << text;
            }
        }
    }
    if (expected[last].hasImage) {
        ASSERT_EQ(scene.views[last].GetImage()->GetPixelShaping(), expected[last].shaping) << text;
    }
}

inline std::string Words(const char* operation, double x, double y, bool subPixel) {
    std::string text = operation;
    text += " at " + std::to_string(x);
    text += ", " + std::to_string(y);
    text += subPixel ? " in fractions" : " in whole pixels";
    return text;
}

inline void ExpectDo(Scene& scene, int* statusSeen = nullptr) {
    std::vector<overlay_model::Picture> pictures = scene.Pictures();
    const int status = overlay_model::Do(pictures[0], pictures[1], pictures[2]);
    Mixup mixup;
    const Zan::Long32 actual = mixup.Do(scene.views[0], scene.views[1], scene.views[2], AnyStyle());
    ExpectPictures(scene, pictures, "Do");
    ASSERT_EQ(actual, status) << Describe("foreground", pictures[0]) << Describe("background", pictures[1])
                              << Describe("result", pictures[2]);
    if (statusSeen != nullptr) {
        *statusSeen = status;
    }
}

inline void ExpectDoAt(Scene& scene, double x, double y, bool subPixel, int* statusSeen = nullptr) {
    std::vector<overlay_model::Picture> pictures = scene.Pictures();
    const int status = overlay_model::DoAt(pictures[0], pictures[1], pictures[2], x, y, subPixel);
    Mixup mixup;
    const Zan::Long32 actual =
        mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, subPixel, AnyStyle());
    const std::string words = Words("DoAt", x, y, subPixel);
    ExpectPictures(scene, pictures, words);
    // Whether depths must agree where fields reach only lines of the other parity is left open.
    const bool open = subPixel && pictures[0].fieldPacking != Zan::kNoFields &&
                      pictures[1].sampling != pictures[2].sampling && actual == Zan::kStatusMismatch &&
                      status == 0;
    ASSERT_EQ(actual, open ? Zan::kStatusMismatch : status)
        << words << Describe("foreground", pictures[0]) << Describe("background", pictures[1])
        << Describe("result", pictures[2]);
    if (statusSeen != nullptr) {
        *statusSeen = status;
    }
}

inline void ExpectCenter(Scene& scene, int* statusSeen = nullptr) {
    std::vector<overlay_model::Picture> pictures = scene.Pictures();
    const int status = overlay_model::Center(pictures[0], pictures[1]);
    Mixup mixup;
    const Zan::Long32 actual = mixup.Center(scene.views[0], scene.views[1], AnyStyle());
    ExpectPictures(scene, pictures, "Center");
    ASSERT_EQ(actual, status) << Describe("source", pictures[0]) << Describe("result", pictures[1]);
    if (statusSeen != nullptr) {
        *statusSeen = status;
    }
}

/// The user-level switches of the processor's features, for the life of the object.
class ScopedFeatures {
public:
    ScopedFeatures(bool mmx, bool sse, bool sse2) {
        Zan::CPUfeatures& features = *Zan::CPUfeatures::Instance();
        Zan::CapabilitySeam::UseMMX(features, mmx);
        Zan::CapabilitySeam::UseSSE(features, sse);
        Zan::CapabilitySeam::UseSSE2(features, sse2);
    }
    ~ScopedFeatures() {
        Zan::CPUfeatures& features = *Zan::CPUfeatures::Instance();
        Zan::CapabilitySeam::UseMMX(features, true);
        Zan::CapabilitySeam::UseSSE(features, true);
        Zan::CapabilitySeam::UseSSE2(features, true);
    }
    ScopedFeatures(const ScopedFeatures&) = delete;
    ScopedFeatures& operator=(const ScopedFeatures&) = delete;
};

/// Runs `body()` on every target of this machine, as on processors of all kinds; on the best one with stores
/// around the cache as well.
template <class Body>
void OnEveryMachine(Body body) {
    for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
        const auto target = static_cast<Zan::simd::Target>(i);
        if (!Zan::simd::IsTargetAvailable(target)) {
            continue;
        }
        const Zan::simd::ScopedTarget limit(target);
        const bool best = target == Zan::simd::BestTarget();
        // None; MMX; SSE with it; everything; everything around the cache.
        for (int features = best ? 0 : 3; features < (best ? 5 : 4); ++features) {
            const ScopedFeatures scope(features >= 1, features >= 2, features >= 3);
            const ScopedStreaming streaming(features == 4);
            SCOPED_TRACE(std::string("on ") + Zan::simd::TargetName(target) + ", features " +
                         std::to_string(features));
            body();
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

// Choices.

inline std::vector<Zan::AggregateChannelSamplingEnum> SamplingsOf(Zan::ColorSpaceEnum space) {
    return space == Zan::kRGB ? std::vector<Zan::AggregateChannelSamplingEnum>{Zan::k4444, Zan::k444}
                              : std::vector<Zan::AggregateChannelSamplingEnum>{Zan::k422, Zan::k4224};
}

/// A picture that every operation takes.
inline Format AnyFormat(Zan::ColorSpaceEnum space, Zan::AggregateChannelSamplingEnum sampling, int width,
                        int height) {
    Format format = Rgb(sampling, static_cast<Zan::ULong32>(width), static_cast<Zan::ULong32>(height),
                        AnyOf({Zan::kUnshaped, Zan::kShaped, Zan::kShaped2}));
    format.colorSpace = space;
    // A single line of an alpha plane has no pitch.
    if (sampling == Zan::k4224) {
        format.height = std::max<Zan::ULong32>(format.height, 2);
    }
    if (space == Zan::kYCrCb && sampling == Zan::k422 && OneIn(4)) {
        format.order = Zan::kYCbYCr;
    }
    if (OneIn(3)) {
        format.origin = Zan::kBottomLeft;
    }
    format.fieldPacking = OneIn(2) ? Zan::kNoFields : Zan::kInterleavedFields;
    format.scan = format.fieldPacking == Zan::kNoFields
                      ? AnyOf({Zan::kProgressive, Zan::kUpperFieldFirst, Zan::kLowerFieldFirst})
                      : AnyOf({Zan::kUpperFieldFirst, Zan::kLowerFieldFirst});
    format.padding = OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 21);
    format.alphaPadding = OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 9);
    format.slack = OneIn(2) ? 0U : RandomFrom<std::size_t>(0, 70);
    return format;
}

/// The whole picture, a part of it, parts that reach beyond its edges, nothing.
inline Zan::Rectangle AnyRegion(const Format& format) {
    const int width = static_cast<int>(format.width), height = static_cast<int>(format.height);
    if (OneIn(3)) {
        return Zan::Rectangle(0, 0, width, height);
    }
    if (OneIn(20)) {
        return Zan::Rectangle(RandomFrom<Zan::Long32>(0, width), 0, AnyOf({0, width}), AnyOf({0, height}));
    }
    const int left = RandomFrom<int>(OneIn(2) ? 0 : -6, std::max(width / 3, 1));
    const int top = RandomFrom<int>(OneIn(2) ? 0 : -3, std::max(height / 3, 1));
    const int right = RandomFrom<int>(width / 2, width + (OneIn(2) ? 0 : 5));
    const int bottom = RandomFrom<int>(height / 2, height + (OneIn(2) ? 0 : 5));
    return Zan::Rectangle(left, top, std::max(right - left, 0), std::max(bottom - top, 0));
}

inline Zan::WhichFieldEnum AnyField() {
    return AnyOf({Zan::kFrame, Zan::kFirstField, Zan::kSecondField, Zan::kUpperField, Zan::kLowerField});
}
inline Zan::WhichFieldEnum AnyFieldOfResult() {
    return AnyOf({Zan::kFrame, Zan::kFrame, Zan::kUpperField, Zan::kLowerField});
}

inline int NearTo(int size) {
    return OneIn(3) ? size : std::max(1, size + RandomFrom<int>(-std::min(size, 12), 12));
}

/// Bytes that random ones hardly ever are.
inline void PolariseSome(Scene& scene) {
    for (const std::shared_ptr<Canvas>& canvas : scene.canvases) {
        if (OneIn(2)) {
            if (canvas->ColourMemory().Length() != 0) {
                Polarise(canvas->ColourMemory());
            }
            if (canvas->AlphaMemory().Length() != 0) {
                Polarise(canvas->AlphaMemory());
            }
        }
    }
}

/// How the background lies to the result.
enum class Route { kAny, kStraight, kSameImage, kOtherRegion, kSameMemory };

/// Foreground over background into a result whose size is about `width` x `height`.
inline Scene AnyScene(Zan::ColorSpaceEnum space, Zan::AggregateChannelSamplingEnum foreground,
                      Zan::AggregateChannelSamplingEnum background, Zan::AggregateChannelSamplingEnum result,
                      Route route, int width, int height) {
    Scene scene;
    const Format resultFormat = AnyFormat(space, result, width, height);
    const Zan::Rectangle resultRegion = AnyRegion(resultFormat);
    const Format over = AnyFormat(space, foreground, NearTo(width), NearTo(height));
    scene.Add(over, AnyRegion(over), AnyField());
    const Zan::WhichFieldEnum resultField = AnyFieldOfResult();
    switch (route) {
        case Route::kAny: {
            const Format below = AnyFormat(space, background, NearTo(width), NearTo(height));
            scene.Add(below, AnyRegion(below), AnyField());
            scene.Add(resultFormat, resultRegion, resultField);
            break;
        }
        case Route::kStraight: {
            Format below = AnyFormat(space, background, width, height);
            below.width = resultFormat.width;
            below.height = resultFormat.height;
            if (below.sampling == Zan::k4224) {
                below.height = std::max<Zan::ULong32>(below.height, 2);
            }
            scene.Add(below, resultRegion, AnyField());
            scene.Add(resultFormat, resultRegion, resultField);
            break;
        }
        case Route::kSameImage:
        case Route::kOtherRegion:
            scene.Add(resultFormat, route == Route::kSameImage ? resultRegion : AnyRegion(resultFormat),
                      AnyField());
            scene.Add(scene.canvases.back(), resultRegion, resultField);
            break;
        case Route::kSameMemory: {
            const auto canvas = std::make_shared<Canvas>(resultFormat);
            // Something smaller over the same first bytes.
            Format below = AnyFormat(space, background, std::max(width / 2, 1), std::max(height / 3, 1));
            below.padding = 0;
            below.slack = 0;
            below.height = std::min<Zan::ULong32>(below.height, resultFormat.height);
            scene.Add(std::make_shared<Canvas>(below, *canvas), AnyRegion(below), AnyField());
            scene.Add(canvas, resultRegion, resultField);
            break;
        }
    }
    PolariseSome(scene);
    return scene;
}

inline Route AnyRoute() {
    return AnyOf({Route::kAny, Route::kAny, Route::kStraight, Route::kStraight, Route::kSameImage,
                  Route::kOtherRegion, Route::kSameMemory});
}

/// A coordinate of the foreground: whole, halves, 256ths, 512ths, any, far away.
inline double AnyPosition(int reach) {
    const double whole = RandomFrom<int>(-reach, reach);
    switch (RandomFrom<int>(0, 9)) {
        case 0:
            return 0;
        case 1:
        case 2:
            return whole;
        case 3:
            return whole + 0.5;
        case 4:
            return 2 * whole / 3;
        case 5:
            return whole + RandomFrom<int>(0, 255) / 256.0;
        case 6:
            return whole + RandomFrom<int>(0, 1023) / 1024.0;
        case 7:
            return AnyOf({0.49999999999999994, -0.5, -1e-300, 5e-324, 1.0 / 512, -1.0 / 512, 255.5 / 256,
                          0.001953124999, -0.501953125, 0.498046875});
        case 8:
            return AnyOf({1e9, -1e9, 1e18, -1e18, 1e300, -1e300, 2147483647.5, -2147483648.5, 4294967296.0,
                          8388608.0, -8388607.75, 18446744073709551616.0});
        default:
            return whole + static_cast<double>(Random()()) / 4294967296.0;
    }
}

}  // namespace overlay_test

#endif  // TESSELU_TESTS_OVERLAY_MODELSCENES_H
