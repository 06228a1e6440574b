#ifndef TESSELU_TESTS_FILTER_MODEL_DEFOCUS_H
#define TESSELU_TESTS_FILTER_MODEL_DEFOCUS_H

#include <cstdint>

#include "support/ModelPlane.h"

// The mean over a box, each pixel from a sum of its own.

namespace filter_model {

using test_support::Byte;
using Plane = test_support::ModelPlane;

/// What the filter is told about one view.
struct Picture {
    bool isNull = false;        ///< a view without an image
    int width = 0, height = 0;  ///< of the view
    int sampling = 0;           ///< 0 is full sampling of four channels
    int channels = 4;
    bool isUpwardField = false;  ///< a field of a bottom-left image
    Plane words;
};

/// What the class believes of the processor.
struct Processor {
    bool simd, sse2;
};

struct Box {
    double horizontal, vertical;
    std::uint32_t xStart, xEnd, yStart, yEnd;
};

/// The status, and the changed destination.
int Defocus(const Picture& source, Picture& destination, const Box& box, std::uint32_t bits, int style,
            const Processor& processor);

/// How often the largest sum is halved, 1 / area is doubled, and what becomes of that.
struct Scale {
    int preShift, totalShift;
    std::uint32_t multiplier;
};
/// False where there is none.
bool ScaleOf(std::uint64_t area, std::uint32_t bits, Scale& scale);

}  // namespace filter_model

#endif  // TESSELU_TESTS_FILTER_MODEL_DEFOCUS_H
