#ifndef TESSELU_TESTS_TONE_MODEL_OPERAND_H
#define TESSELU_TESTS_TONE_MODEL_OPERAND_H

#include <TesselU/image/ImageFormat.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "support/ModelPlane.h"

namespace tone_model {

using test_support::Byte;
using Plane = test_support::ModelPlane;

/// What an operation is told about one view.
struct Operand {
    bool isNull = false;        ///< a view without an image
    int width = 0, height = 0;  ///< of the view
    Zan::WhichFieldEnum field = Zan::kFrame;
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::ComponentOrderEnum order = Zan::kBGRA;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    Zan::ShapedEnum shaping = Zan::kUnshaped;
    Zan::OriginEnum origin = Zan::kTopLeft;
    int bits = 8;                ///< of a sample
    bool extremeLevels = false;  ///< black, white and both clamp levels of the first channels at the ends
    bool videoLevels = false;    ///< black and white those of video
    Plane colour, alpha;

    // The image as a whole, whatever the view selects; `frame` and `frameAlpha` begin with its top line.
    int imageWidth = 0, imageHeight = 0;
    std::uint32_t imagePitch = 0;
    unsigned addressModulo16 = 0;  ///< of the image's first byte
    Plane frame;
};

inline bool IsPackedPairs(const Operand& operand) {
    return operand.colorSpace == Zan::kYCrCb && operand.packing == Zan::kPacked &&
           (operand.sampling == Zan::k422 || operand.sampling == Zan::k4224);
}

/// What is no number is 0, as what is below.
inline int Limit255(double value) {
    return !(value > 0) ? 0 : value > 255 ? 255 : static_cast<int>(value);
}
// Styles by their numbers.
constexpr int kFlp = 0, kFP = 1, kIntVector = 2, kFlpVector = 3, kBest = 5;

}  // namespace tone_model

#endif  // TESSELU_TESTS_TONE_MODEL_OPERAND_H
