#ifndef TESSELU_SRC_CONVERT_CONVERSIONPLAN_H
#define TESSELU_SRC_CONVERT_CONVERSIONPLAN_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>

#include "convert/Coefficients.h"
#include "convert/Formats.h"
#include "convert/Pairs.h"

namespace Zan {

/// What a caller asks for, besides the planes.
struct ConversionRequest {
    ConverterFormat source = kFmtUnknown;
    ConverterFormat destination = kFmtUnknown;
    Selection sourceSelection{};
    Selection destinationSelection{};
    Long32 width = 0;
    ULong32 height = 0;
    ProcessingStyleEnum style = kBestAvailable;
    const double* matrix = nullptr;  ///< 16 doubles; null: the default of the pair
    const double* offset = nullptr;  ///< 8 doubles; null: the default of the pair
    ULong32 plusFunction = 0;
    std::uint8_t alphaFill = 255;
};

/// A conversion that only has to be run. What it points to must outlive it, and it must not be copied.
struct ConversionPlan {
    ConversionPlan() noexcept {}
    ConversionPlan(const ConversionPlan&) = delete;
    ConversionPlan& operator=(const ConversionPlan&) = delete;

    const ConversionKernel* kernel = nullptr;
    PairPaths path = kOnGeneral;
    bool isTransposed = false;             ///< the coefficients of the kernel
    ConversionJob job;                     ///< its planes, by channel, are the caller's to fill in first
    PreparedCoefficients ownCoefficients;  ///< of a caller's matrix or offsets; not set else
};

/// Tests a request and prepares its run. Returns 0, or the status that the path of the style refuses with;
/// then nothing is to be run.
Long32 Prepare(const ConversionRequest& request, const CPUcapabilities& processor,
               ConversionPlan& plan) noexcept;

/// Converts `lines` lines from `firstLine` on. Strips may start at every multiple of `StripLines`.
void Run(const ConversionPlan& plan, std::size_t firstLine, std::size_t lines) noexcept;

/// 1, or how many lines share chroma.
std::size_t StripLines(const ConversionPlan& plan) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_CONVERSIONPLAN_H
