#ifndef TESSELU_TESTS_COMPOSITE_MODEL_OPERAND_H
#define TESSELU_TESTS_COMPOSITE_MODEL_OPERAND_H

#include <TesselU/image/ImageFormat.h>

#include <cstddef>
#include <cstdint>

#include "support/ModelPlane.h"

namespace composite_model {

using test_support::Byte;
using Plane = test_support::ModelPlane;

/// What an operation is told about one view.
struct Operand {
    int width = 0, height = 0;  ///< of the view
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::ShapedEnum shaping = Zan::kUnshaped;
    Zan::AlphaDescriptionEnum alphaDescription = Zan::kNoAlpha;
    int channels = 0;
    double bytesPerPixel = 0;
    Plane colour, alpha;
};

/// What the class believes of the processor.
struct Processor {
    bool sse2;
    bool integerSse;  ///< there, and not held back by the MMX-only flag
};

// Styles by their numbers.
constexpr int kFlp = 0, kFP = 1, kIntVector = 2, kFlpVector = 3, kBest = 5;

/// t / 255 to the nearest.
inline int Div255Round(int t) {
    return ((2 * t) / 255 + 1) >> 1;
}

/// A pitch in whole words.
inline std::ptrdiff_t WholeWords(std::ptrdiff_t pitch) {
    return pitch / 4 * 4;
}
/// A pitch without its two low bits.
inline std::ptrdiff_t WithoutLowBits(std::ptrdiff_t pitch) {
    return pitch & ~std::ptrdiff_t{3};
}

inline bool IsPairs(const Operand& operand) {
    return operand.sampling == Zan::k422 || operand.sampling == Zan::k4224;
}

}  // namespace composite_model

#endif  // TESSELU_TESTS_COMPOSITE_MODEL_OPERAND_H
