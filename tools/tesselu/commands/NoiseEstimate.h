#ifndef TESSELU_TOOLS_COMMANDS_NOISEESTIMATE_H
#define TESSELU_TOOLS_COMMANDS_NOISEESTIMATE_H

#include <TesselU/image/ImageView.h>

namespace tool {

/// Standard deviations of noise, in code values.
struct NoiseEstimate {
    double luma = 0, chroma = 0;
};

/// The noise of a field or frame of packed 4:2:2: the mean of the response to a mask that flat and sloping
/// parts of a picture do not answer (J. Immerkaer, "Fast noise variance estimation", 1996), where there are
/// no edges (S.-C. Tai and S.-M. Yang, "A fast method for image noise estimation using Laplacian operator and
/// adaptive edge detection", 2008: the strongest gradients are left out). Chroma: that of Cb and Cr, the
/// lesser one.
NoiseEstimate EstimateNoise(const Zan::ImageView& view);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_NOISEESTIMATE_H
