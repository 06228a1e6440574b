#ifndef TESSELU_TESTS_TONE_MODELSCENES_H
#define TESSELU_TESTS_TONE_MODELSCENES_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "support/Choices.h"
#include "support/EveryTarget.h"
#include "support/FencedMemory.h"
#include "tone/model/Operand.h"

// Random pictures with views on them at random places, and the comparison of an operation with its model over
// all of their memory.

namespace tone_test {

using namespace test_support;
using tone_model::Operand;

inline Zan::ProcessingStyleEnum Style(int number) {
    return static_cast<Zan::ProcessingStyleEnum>(number);
}

/// Every style that has a name, and some that have none.
inline const std::vector<int>& AllStyles() {
    static const std::vector<int> styles = {0, 1, 2, 3, 4, 5, 6, 7, -1, 1000};
    return styles;
}

/// What a picture is to be like; the defaults are small 4:2:2.
struct Format {
    Zan::ColorSpaceEnum colorSpace = Zan::kYCrCb;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k422;
    Zan::ComponentOrderEnum order = Zan::kCbYCrA;
    Zan::ULong32 width = 16, height = 4;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    Zan::AggregateBitsPerChannelEnum bits = Zan::k8Bits;
    Zan::ShapedEnum shaping = Zan::kUnshaped;
    Zan::OriginEnum origin = Zan::kTopLeft;
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    Zan::ULong32 padding = 0;       ///< bytes of a line beyond its pixels
    Zan::ULong32 alphaPadding = 0;  ///< the same for further planes
    std::size_t slack = 0;          ///< between a plane's last byte and the fence, which moves its address

    bool IsPairs() const { return sampling == Zan::k422 || sampling == Zan::k4224; }
    Zan::ULong32 SampleBytes() const {
        const bool honoursBits =
            (colorSpace == Zan::kRGB && sampling == Zan::k4444) || colorSpace == Zan::kAlphaOnly;
        return !honoursBits ? 1 : bits == Zan::k16Bits ? 2 : bits == Zan::k32Bits ? 4 : 1;
    }
    Zan::ULong32 EvenWidth() const { return IsPairs() ? width + width % 2 : width; }
    /// Of the first plane, without the padding.
    Zan::ULong32 LineBytes() const {
        if (colorSpace == Zan::kAlphaOnly) {
            return SampleBytes() * width;
        }
        if (packing == Zan::kPlanar) {
            return EvenWidth() + EvenWidth() % 4;
        }
        return sampling == Zan::k4444  ? 4 * SampleBytes() * width
               : sampling == Zan::k444 ? 3 * width
                                       : 2 * EvenWidth();
    }
};

inline Format Pairs(Zan::AggregateChannelSamplingEnum sampling = Zan::k422,
                    Zan::ComponentOrderEnum order = Zan::kCbYCrA) {
    return {Zan::kYCrCb, sampling, order};
}
inline Format Words(Zan::ComponentOrderEnum order = Zan::kCbYCrA) {
    return {Zan::kYCrCb, Zan::k4444, order};
}
inline Format Rgb(Zan::AggregateChannelSamplingEnum sampling = Zan::k4444) {
    return {Zan::kRGB, sampling, Zan::kBGRA};
}
inline Format Grey() {
    return {Zan::kAlphaOnly, Zan::k4444, Zan::kBGRA};
}
inline Format Planar(Zan::AggregateChannelSamplingEnum sampling,
                     Zan::ComponentOrderEnum order = Zan::kYCbCrPlanes) {
    Format format = {Zan::kYCrCb, sampling, order};
    format.packing = Zan::kPlanar;
    return format;
}

/// A random image in memory that ends at a fence.
class Picture {
public:
    explicit Picture(const Format& wanted) : format(wanted) {
        const Zan::ImageDescriptor descriptor(
            wanted.width, wanted.height, wanted.colorSpace, wanted.sampling, wanted.order, wanted.packing,
            wanted.scan, Zan::kInterleavedFields, wanted.origin, wanted.bits, 1.0F, wanted.shaping);
        const Zan::ULong32 pitch = wanted.LineBytes() + wanted.padding;
        const Zan::ULong32 further = wanted.EvenWidth() + wanted.alphaPadding;
        const bool planar = wanted.packing == Zan::kPlanar;
        const std::size_t lines = wanted.height + wanted.height % 2;
        colour = Memory(pitch, planar ? lines : wanted.height);
        alpha = Memory(wanted.sampling == Zan::k4224 || planar ? further : 0, planar ? lines : wanted.height);
        third = Memory(planar ? further : 0, lines);
        unsigned char* planes[] = {colour->Data(), alpha->Data(), third->Data(), nullptr};
        Zan::ULong32 pitches[] = {pitch, further, further, 0};
        image = std::make_unique<Zan::Image>(planes, pitches, descriptor, 1, 1);
    }

    operator Zan::Image*() { return image.get(); }
    Zan::Image* operator->() { return image.get(); }
    const Zan::Image* operator->() const { return image.get(); }

    FencedMemory& ColourMemory() { return *colour; }
    FencedMemory& AlphaMemory() { return *alpha; }
    Bytes Colour() const { return colour->Snapshot(); }
    Bytes Alpha() const { return alpha->Snapshot(); }
    const Format& Wanted() const { return format; }

    /// Takes a channel's memory away.
    void Drop(std::size_t channel) {
        image->GetImageDescriptor()->channels.at(channel).memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
    }

    tone_model::Plane PlaneOf(const Zan::ImageView& view, Zan::ULong32 channel) {
        tone_model::Plane plane;
        const auto* const first = static_cast<const std::uint8_t*>(view.GetMemoryPointer(channel));
        if (first == nullptr) {
            return plane;
        }
        FencedMemory& memory = channel == 3 && format.sampling == Zan::k4224 ? *alpha : *colour;
        plane.memory = memory.Snapshot();
        plane.first = first - memory.Data() + static_cast<std::ptrdiff_t>(memory.GuardLength());
        plane.pitch = view.GetPitch(channel);
        plane.begin = static_cast<std::ptrdiff_t>(memory.GuardLength());
        plane.end = plane.begin + static_cast<std::ptrdiff_t>(memory.Length()) -
                    static_cast<std::ptrdiff_t>(format.slack);
        plane.isThere = true;
        return plane;
    }

private:
    std::unique_ptr<FencedMemory> Memory(Zan::ULong32 pitch, std::size_t lines) const {
        const std::size_t bytes = std::size_t{pitch} * lines;
        return std::make_unique<FencedMemory>(bytes == 0 ? 0 : bytes + format.slack);
    }

    Format format;
    std::unique_ptr<FencedMemory> colour, alpha, third;
    std::unique_ptr<Zan::Image> image;
};

/// What the model is told about a view.
inline Operand OperandOf(Picture& picture, const Zan::ImageView& view) {
    Operand operand;
    operand.width = static_cast<int>(view.GetWidth());
    operand.height = static_cast<int>(view.GetHeight());
    operand.field = view.GetFieldOfInterest();
    operand.colorSpace = picture->GetColorSpace();
    operand.sampling = picture->GetChannelSampling();
    operand.order = picture->GetComponentOrder();
    operand.packing = picture->GetPixelPacking();
    operand.shaping = picture->GetPixelShaping();
    operand.origin = picture->GetOrigin();
    operand.bits = static_cast<int>(8 * picture.Wanted().SampleBytes());
    operand.extremeLevels = picture->IsBlackLevelAtZero(0, 2) && picture->IsWhiteLevelAtMax(0, 2) &&
                            picture->IsClampLowLevelAtZero(0, 2) && picture->IsClampHighLevelAtMax(0, 2);
    operand.videoLevels = picture->AreYCrCbBlackAndWhiteLevelsAtITU601();
    operand.colour = picture.PlaneOf(view, 0);
    if (operand.sampling == Zan::k4224) {
        operand.alpha = picture.PlaneOf(view, 3);
    }
    operand.imageWidth = static_cast<int>(picture->GetWidth());
    operand.imageHeight = static_cast<int>(picture->GetHeight());
    operand.imagePitch = picture->GetPitch(0);
    operand.addressModulo16 =
        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(picture->GetMemoryPointer(0)) % 16);
    operand.frame = picture.PlaneOf(Zan::ImageView(picture), 0);
    return operand;
}

/// How the views of a scene may lie.
struct Layout {
    int width = 16, height = 3;     ///< common to all views; one of them has just these
    Zan::ULong32 pitchUnit = 1;     ///< pitches of colour are multiples of this
    Zan::ULong32 spareColumns = 0;  ///< right of every view
    bool fields = true;
    bool bottomLeft = true;
};

/// The pictures of one call with their views.
struct Scene {
    std::vector<std::unique_ptr<Picture>> pictures;
    std::vector<Zan::ImageView> views;

    std::vector<Operand> Operands() {
        std::vector<Operand> all;
        for (std::size_t i = 0; i < views.size(); ++i) {
            all.push_back(OperandOf(*pictures[i], views[i]));
        }
        return all;
    }

    /// A picture like `format`, of a size that holds the view at a random place.
    void Add(Format format, const Layout& layout, bool exactWidth, bool exactHeight) {
        const bool field = layout.fields && OneIn(4);
        const int width = exactWidth ? layout.width : layout.width + AnyOf({0, 0, 1, 2, 5, 16});
        const int height = exactHeight ? layout.height : layout.height + RandomFrom<int>(0, 2);
        const auto left = OneIn(2) ? 0 : RandomFrom<Zan::Long32>(0, 9);
        const auto top = OneIn(2) ? 0 : RandomFrom<Zan::Long32>(0, 3);
        const int lines = field ? 2 * height : height;
        // Views may be empty, pictures are not.
        format.width =
            std::max<Zan::ULong32>(1, static_cast<Zan::ULong32>(left + width) + layout.spareColumns +
                                          (OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 7)));
        format.height = std::max<Zan::ULong32>(
            1, static_cast<Zan::ULong32>(top + lines) + (OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 2)));
        const Zan::ULong32 unit = layout.pitchUnit;
        format.padding = unit * (OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 5));
        format.padding += (unit - format.LineBytes() % unit) % unit;
        format.alphaPadding = OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 9);
        format.slack = OneIn(2) ? 0U : RandomFrom<std::size_t>(0, 40);
        format.scan = AnyOf({Zan::kProgressive, Zan::kUpperFieldFirst, Zan::kLowerFieldFirst});
        if (layout.bottomLeft && !field && OneIn(4)) {
            format.origin = Zan::kBottomLeft;
        }
        pictures.push_back(std::make_unique<Picture>(format));
        const auto which =
            field ? AnyOf({Zan::kFirstField, Zan::kSecondField, Zan::kUpperField, Zan::kLowerField})
                  : Zan::kFrame;
        views.emplace_back(*pictures.back(), Zan::Rectangle(left, top, width, lines), which);
    }

    /// What a failing test prints.
    std::string Describe() {
        std::string text;
        for (std::size_t i = 0; i < views.size(); ++i) {
            const Zan::Rectangle region = views[i].GetRegionOfInterest();
            const Zan::Image& image = *static_cast<Zan::Image*>(*pictures[i]);
            text += " [space " + std::to_string(image.GetColorSpace()) + " sampling " +
                    std::to_string(image.GetChannelSampling()) + " order " +
                    std::to_string(image.GetComponentOrder()) + " origin " +
                    std::to_string(image.GetOrigin()) + ": " + std::to_string(region.getLeft()) + "," +
                    std::to_string(region.getTop()) + " " + std::to_string(views[i].GetWidth()) + "x" +
                    std::to_string(views[i].GetHeight()) + " field " +
                    std::to_string(views[i].GetFieldOfInterest()) + " pitch " +
                    std::to_string(views[i].GetPitch(0)) + "]";
        }
        return text;
    }
};

inline Scene MakeScene(const std::vector<Format>& formats, const Layout& layout) {
    Scene scene;
    const auto count = static_cast<int>(formats.size());
    const int exactWidth = RandomFrom<int>(0, count - 1), exactHeight = RandomFrom<int>(0, count - 1);
    for (int i = 0; i < count; ++i) {
        scene.Add(formats[static_cast<std::size_t>(i)], layout, i == exactWidth, i == exactHeight);
    }
    return scene;
}

inline ::testing::AssertionResult SameMemory(const char* what, const tone_model::Plane& expected,
                                             const Bytes& actual) {
    if (!expected.isThere || expected.memory == actual) {
        return ::testing::AssertionSuccess();
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (expected.memory.at(i) != actual[i]) {
            return ::testing::AssertionFailure()
                   << what << ": byte " << static_cast<std::ptrdiff_t>(i) - expected.first
                   << " from the first row's start (pitch " << expected.pitch << "): expected "
                   << unsigned{expected.memory[i]} << ", is " << unsigned{actual[i]};
        }
    }
    return ::testing::AssertionFailure() << what << ": sizes differ";
}

using Call = std::function<Zan::Long32(Zan::ImageView& source, Zan::ImageView& destination)>;
using ModelCall = std::function<int(const Operand& source, Operand& destination)>;

/// Runs an operation and its model from the scene's first view to its second, or in place on the first.
inline void ExpectAsModel(Scene& scene, const Call& call, const ModelCall& model, bool inPlace = false) {
    std::vector<Operand> operands = scene.Operands();
    if (inPlace) {
        operands[1] = operands[0];
    }
    const int status = model(operands[0], operands[1]);
    ASSERT_EQ(call(scene.views[0], scene.views[inPlace ? 0 : 1]), status)
        << scene.Describe() << (inPlace ? " in place" : "");
    if (inPlace) {
        operands[0] = operands[1];
    }
    for (std::size_t i = 0; i < (inPlace ? 1U : 2U); ++i) {
        ASSERT_TRUE(SameMemory("colour", operands[i].colour, scene.pictures[i]->Colour()))
            << "operand " << i << scene.Describe() << (inPlace ? " in place" : "");
        ASSERT_TRUE(SameMemory("alpha", operands[i].alpha, scene.pictures[i]->Alpha()))
            << "operand " << i << scene.Describe() << (inPlace ? " in place" : "");
    }
}

/// What a class believes the processor to be, and the object's flag.
struct Machine {
    Zan::CPUinstructionSetEnum set;
    bool mmxOnly;
};

/// Runs `body(mmxOnly)` as on every machine, on the best target and on the portable one.
template <class Body>
void OnEveryMachine(Body body) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        const Zan::ScopedInstructionSet scope(set);
        for (const bool mmxOnly : {false, true}) {
            SCOPED_TRACE(::testing::Message() << "instruction set " << set << ", MMX only " << mmxOnly);
            body(mmxOnly);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

}  // namespace tone_test

#endif  // TESSELU_TESTS_TONE_MODELSCENES_H
