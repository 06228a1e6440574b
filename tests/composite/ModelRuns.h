#ifndef TESSELU_TESTS_COMPOSITE_MODELRUNS_H
#define TESSELU_TESTS_COMPOSITE_MODELRUNS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "composite/Pictures.h"
#include "composite/model/Model.h"
#include "support/Choices.h"
#include "support/EveryTarget.h"

// Pictures with views on them at random places, and the comparison of an operation with its model over all of
// their memory.

namespace composite_test {

using composite_model::Operand;
using composite_model::Processor;

inline Processor ProcessorOf(const Machine& machine) {
    return {machine.HasSse2(), machine.TakesSse()};
}

inline composite_model::Plane PlaneOf(Picture& picture, Zan::ImageView& view, Zan::ULong32 channel) {
    composite_model::Plane plane;
    const auto* const first = static_cast<const std::uint8_t*>(view.GetMemoryPointer(channel));
    if (first == nullptr) {
        return plane;
    }
    FencedMemory& memory = channel == 3 ? picture.AlphaMemory() : picture.ColourMemory();
    plane.memory = memory.Snapshot();
    plane.first = first - memory.Data() + static_cast<std::ptrdiff_t>(memory.GuardLength());
    plane.pitch = view.GetPitch(channel);
    plane.begin = picture.Begin(channel);
    plane.end = picture.End(channel);
    plane.isThere = true;
    return plane;
}

inline Operand OperandOf(Picture& picture, Zan::ImageView& view) {
    Operand operand;
    operand.width = static_cast<int>(view.GetWidth());
    operand.height = static_cast<int>(view.GetHeight());
    operand.colorSpace = picture->GetColorSpace();
    operand.sampling = picture->GetChannelSampling();
    operand.shaping = picture->GetPixelShaping();
    operand.alphaDescription = picture->GetAlphaChannelDescription();
    operand.channels = static_cast<int>(picture->GetNumberOfChannels());
    operand.bytesPerPixel = static_cast<double>(picture->GetBytesPerPixel());
    operand.colour = PlaneOf(picture, view, 0);
    if (operand.sampling == Zan::k4224) {
        operand.alpha = PlaneOf(picture, view, 3);
    }
    return operand;
}

/// Takes the alpha plane of a 4:2:2:4 picture away.
inline void DropAlpha(Picture& picture) {
    picture->GetImageDescriptor()->channels.at(3).memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
}

/// How the views of a scene may lie.
struct Layout {
    int width = 16, height = 3;     ///< common to all views; one of them has just these
    Zan::ULong32 pitchUnit = 4;     ///< pitches of colour are multiples of this, for packed pictures
    Zan::ULong32 spareColumns = 0;  ///< right of every view
    bool fields = true;
    bool bottomLeft = true;
    int spareLines = 0;  ///< below every view
    int key = -1;        ///< the view whose pitch may be any number of bytes
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
    void Add(Format format, const Layout& layout, bool isKey, bool exactWidth, bool exactHeight) {
        const bool field = layout.fields && OneIn(4);
        const int width = exactWidth ? layout.width : layout.width + AnyOf({0, 0, 1, 2, 5, 16});
        const int height = exactHeight ? layout.height : layout.height + RandomFrom<int>(0, 2);
        const auto left = OneIn(2) ? 0 : RandomFrom<Zan::Long32>(0, 9);
        const auto top = OneIn(2) ? 0 : RandomFrom<Zan::Long32>(0, 3);
        const int lines = field ? 2 * height : height;
        const int spareLines = OneIn(2) ? 0 : RandomFrom<int>(0, 2);
        format.width = static_cast<Zan::ULong32>(left + width) + layout.spareColumns +
                       (OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 7));
        format.height = static_cast<Zan::ULong32>(top + lines + spareLines + layout.spareLines);
        const Zan::ULong32 unit = isKey ? 1 : layout.pitchUnit;
        format.padding = unit * (OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 5));
        format.padding += (unit - LineBytes(format) % unit) % unit;
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
        views.push_back(Part(*pictures.back(), left, top, width, lines, which));
    }

    static Zan::ULong32 LineBytes(const Format& format) {
        const Zan::ULong32 sample = format.bits == Zan::k16Bits ? 2 : format.bits == Zan::k32Bits ? 4 : 1;
        if (format.colorSpace == Zan::kAlphaOnly) {
            return sample * format.width;
        }
        if (format.packing == Zan::kPlanar) {
            return format.width + format.width % 2;
        }
        return format.sampling == Zan::k4444  ? 4 * sample * format.width
               : format.sampling == Zan::k444 ? 3 * format.width
                                              : 2 * (format.width + format.width % 2);
    }

    /// What a failing test prints.
    std::string Describe() {
        std::string text;
        for (std::size_t i = 0; i < views.size(); ++i) {
            const Zan::Rectangle region = views[i].GetRegionOfInterest();
            text += " [" + std::to_string(pictures[i]->operator->()->GetChannelSampling()) + ": " +
                    std::to_string(region.getLeft()) + "," + std::to_string(region.getTop()) + " " +
                    std::to_string(views[i].GetWidth()) + "x" + std::to_string(views[i].GetHeight()) +
                    " field " + std::to_string(views[i].GetFieldOfInterest()) + " pitch " +
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
        scene.Add(formats[static_cast<std::size_t>(i)], layout, i == layout.key, i == exactWidth,
                  i == exactHeight);
    }
    return scene;
}

/// The last operand becomes the destination: same picture, same view as source `over`.
inline void WorkInPlace(Scene& scene, std::size_t over) {
    scene.views.back() = scene.views[over];
}

inline ::testing::AssertionResult SameMemory(const char* what, const composite_model::Plane& expected,
                                             const Bytes& actual) {
    if (!expected.isThere) {
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
    return ::testing::AssertionSuccess();
}

using Call = std::function<Zan::Long32(Zan::ZanCompositor&, std::vector<Zan::ImageView>&)>;
using ModelCall = std::function<int(std::vector<Operand>&)>;

/// Runs an operation and its model on the same scene. `inPlaceOver` is the source whose picture the
/// destination is, or -1.
inline void ExpectAsModel(Zan::ZanCompositor& compositor, Scene& scene, const Call& call,
                          const ModelCall& model, int inPlaceOver = -1) {
    std::vector<Operand> operands = scene.Operands();
    if (inPlaceOver >= 0) {
        WorkInPlace(scene, static_cast<std::size_t>(inPlaceOver));
        operands.back() = operands[static_cast<std::size_t>(inPlaceOver)];
    }
    const int status = model(operands);
    ASSERT_EQ(call(compositor, scene.views), status) << scene.Describe();
    for (std::size_t i = 0; i < operands.size(); ++i) {
        if (static_cast<int>(i) == inPlaceOver) {
            continue;  // it is the destination
        }
        const std::size_t picture =
            i + 1 == operands.size() && inPlaceOver >= 0 ? static_cast<std::size_t>(inPlaceOver) : i;
        ASSERT_TRUE(SameMemory("colour", operands[i].colour, scene.pictures[picture]->Colour()))
            << "operand " << i << scene.Describe();
        ASSERT_TRUE(SameMemory("alpha", operands[i].alpha, scene.pictures[picture]->Alpha()))
            << "operand " << i << scene.Describe();
    }
}

/// Runs `body(compositor, machine, style)` with every style on every machine on the best target, with and
/// without stores around the cache, and with the styles that have names on three machines on all others.
template <class Body>
void OnEveryPath(Body body) {
    for (const Machine& machine : AllMachines()) {
        for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
            const auto target = static_cast<Zan::simd::Target>(i);
            if (!Zan::simd::IsTargetAvailable(target)) {
                continue;
            }
            const bool best = target == Zan::simd::BestTarget();
            if (!best && (machine.mmxOnly || machine.set == Zan::kSIMD)) {
                continue;
            }
            for (const bool aroundCache : {false, true}) {
                if (aroundCache && !best) {
                    continue;
                }
                auto all = [&](Zan::ZanCompositor& compositor, const Machine& asMachine) {
                    for (const int style : AllStyles()) {
                        const bool named = style == 0 || style == 1 || style == 2 || style == 3;
                        if (!named && (!best || aroundCache)) {
                            continue;
                        }
                        SCOPED_TRACE(::testing::Message() << "style " << style);
                        body(compositor, asMachine, style);
                        if (::testing::Test::HasFatalFailure()) {
                            return;
                        }
                    }
                };
                internal::RunAs(machine, target, aroundCache, all);
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_MODELRUNS_H
