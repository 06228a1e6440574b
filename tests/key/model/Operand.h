#ifndef TESSELU_TESTS_KEY_MODEL_OPERAND_H
#define TESSELU_TESTS_KEY_MODEL_OPERAND_H

#include <TesselU/image/ImageFormat.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/ModelPlane.h"

namespace key_model {

using test_support::Byte;

/// A plane that knows which of its bytes were written.
struct Plane : test_support::ModelPlane {
    std::vector<Byte> written;  ///< 1 where; empty before the first

    Byte At(std::ptrdiff_t row, std::ptrdiff_t byte) const {
        return ModelPlane::At(first + row * pitch + byte);
    }
    void Put(std::ptrdiff_t row, std::ptrdiff_t byte, int value) {
        const std::ptrdiff_t index = first + row * pitch + byte;
        ModelPlane::Put(index, static_cast<Byte>(value));
        written.resize(memory.size());
        written[static_cast<std::size_t>(index)] = 1;
    }
};

/// What an operation is told about one view.
struct Operand {
    bool isNull = false;        ///< a view without an image
    int width = 0, height = 0;  ///< of the view
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::AlphaDescriptionEnum alphaDescription = Zan::kNoAlpha;
    Plane colour;  ///< of channel 0
    Plane alpha;   ///< of channel 3 in a plane of its own

    bool IsPairs() const { return sampling == Zan::k422 || sampling == Zan::k4224; }
};

/// round(a * b / 255) as t + t / 256 gives it, t holding the half.
inline int Over255(int t) {
    return (t + (t >> 8)) >> 8;
}

}  // namespace key_model

#endif  // TESSELU_TESTS_KEY_MODEL_OPERAND_H
