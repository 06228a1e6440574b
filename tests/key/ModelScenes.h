#ifndef TESSELU_TESTS_KEY_MODELSCENES_H
#define TESSELU_TESTS_KEY_MODELSCENES_H

#include <cstdlib>

#include "key/model/Operand.h"
#include "tone/ModelScenes.h"

// Pictures for the models of the keyers: those of the tone models, told in the words of these.

namespace key_test {

using namespace test_support;
using tone_test::AllStyles;
using tone_test::Format;
using tone_test::Grey;
using tone_test::Layout;
using tone_test::Pairs;
using tone_test::Picture;
using tone_test::Planar;
using tone_test::Rgb;
using tone_test::Scene;
using tone_test::Style;
using tone_test::Words;

inline key_model::Operand AsOperand(Picture& picture, const Zan::ImageView& view) {
    key_model::Operand operand;
    if (view.GetImage() == nullptr) {
        operand.isNull = true;
        return operand;
    }
    operand.width = static_cast<int>(view.GetWidth());
    operand.height = static_cast<int>(view.GetHeight());
    operand.colorSpace = picture->GetColorSpace();
    operand.sampling = picture->GetChannelSampling();
    operand.alphaDescription = picture->GetAlphaChannelDescription();
    static_cast<ModelPlane&>(operand.colour) = picture.PlaneOf(view, 0);
    if (operand.sampling == Zan::k4224) {
        static_cast<ModelPlane&>(operand.alpha) = picture.PlaneOf(view, 3);
    }
    return operand;
}

/// `tolerance` is for the bytes that the model wrote; all others must be the same.
inline ::testing::AssertionResult SameBytes(const char* what, const key_model::Plane& expected,
                                            const Bytes& actual, int tolerance = 0) {
    if (!expected.isThere || expected.memory == actual) {
        return ::testing::AssertionSuccess();
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        const int difference = std::abs(int{expected.memory.at(i)} - int{actual[i]});
        const bool written = i < expected.written.size() && expected.written[i] != 0;
        if (difference > (written ? tolerance : 0)) {
            const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(i) - expected.first;
            return ::testing::AssertionFailure()
                   << what << ": byte " << place << " from the first row's start (pitch " << expected.pitch
                   << "): expected " << unsigned{expected.memory[i]} << ", is " << unsigned{actual[i]};
        }
    }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult SameBytes(const key_model::Operand& expected, const Picture& picture,
                                            int tolerance = 0) {
    const auto colour = SameBytes("colour", expected.colour, picture.Colour(), tolerance);
    return colour ? SameBytes("alpha", expected.alpha, picture.Alpha(), tolerance) : colour;
}

/// A grey picture, mostly of bytes.
inline Format AnyKeyFormat() {
    Format format = Grey();
    format.bits = OneIn(6) ? AnyOf({Zan::k16Bits, Zan::k32Bits}) : Zan::k8Bits;
    return format;
}

/// 0 to 1.
inline double RandomShare() {
    return static_cast<double>(Random()()) / 4294967295.0;
}

/// How often a long test tries something else; a fortieth part of it under sanitizers, more by the
/// environment.
inline int Rounds(int usual) {
    const char* const given = std::getenv("TESSELU_TEST_ROUNDS");
    const int factor = given == nullptr ? 1 : std::max(1, std::atoi(given));
    return kSanitized ? std::max(2, usual / 40) : usual * factor;
}

}  // namespace key_test

#endif  // TESSELU_TESTS_KEY_MODELSCENES_H
