#ifndef TESSELU_SRC_CONVERT_CONVERTERSEAM_H
#define TESSELU_SRC_CONVERT_CONVERTERSEAM_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include <algorithm>

#include "convert/KernelTable.h"

namespace Zan {

/// What tests see of a converter beyond its interface. The library does not use it.
class ConverterSeam {
public:
    /// The codes that the last call worked with.
    static ULong32 SourceFormat(const ColorSpaceConverter& converter) { return converter.sourceFormat; }
    static ULong32 DestinationFormat(const ColorSpaceConverter& converter) {
        return converter.destinationFormat;
    }

    /// A call as it stands when it is routed: one plane on either side, whose memory has no bounds.
    struct Call {
        ProcessingStyleEnum style = kInt_MMXorSIMD;
        ULong32 source = 0;
        ULong32 destination = 0;
        unsigned char* sourcePlane = nullptr;
        unsigned char* destinationPlane = nullptr;
        Long32 width = 0;
        ULong32 height = 0;
        Long32 sourcePitch = 0;
        Long32 destinationPitch = 0;
    };
    static Long32 Route(ColorSpaceConverter& converter, const Call& call) {
        std::fill(std::begin(converter.sourcePlane), std::end(converter.sourcePlane), call.sourcePlane);
        std::fill(std::begin(converter.destinationPlane), std::end(converter.destinationPlane),
                  call.destinationPlane);
        std::fill(std::begin(converter.sourcePitch), std::end(converter.sourcePitch), call.sourcePitch);
        std::fill(std::begin(converter.destinationPitch), std::end(converter.destinationPitch),
                  call.destinationPitch);
        SetFormats(converter, call.source, call.destination);
        converter.style = call.style;
        converter.width = call.width;
        converter.height = call.height;
        return converter.Route();
    }

    /// The block that the kernel of a pair gets; null pointers ask for defaults, as in a call.
    static FixedPointCoefficients Coefficients(ColorSpaceConverter& converter, ULong32 source,
                                               ULong32 destination, const double* matrix,
                                               const double* offset) {
        SetFormats(converter, source, destination);
        converter.matrixGiven = matrix != nullptr;
        converter.offsetGiven = offset != nullptr;
        if (matrix != nullptr) {
            std::copy_n(matrix, 16, &converter.matrix[0][0]);
        }
        if (offset != nullptr) {
            std::copy_n(offset, 8, &converter.offset[0][0]);
        }
        FixedPointCoefficients block{};
        converter.FillCoefficients(block);
        return block;
    }

private:
    static void SetFormats(ColorSpaceConverter& converter, ULong32 source, ULong32 destination) {
        converter.sourceFormat = source;
        converter.destinationFormat = destination;
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_CONVERTERSEAM_H
