#ifndef TESSELU_SRC_CONVERT_PAIRS_H
#define TESSELU_SRC_CONVERT_PAIRS_H

#include <TesselU/convert/ConverterFormat.h>

#include <span>

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

namespace Zan {

/// The code paths that have a pair, or-ed. The general path takes all.
enum PairPaths : unsigned {
    kOnGeneral = 0,
    kOnInteger = 1,
    kOnFloat = 2,
    kOnFixedPoint = 4,
    kOnFloatSimd = 8,
};

/// A kernel of the integer path and the names that it goes by on processors without and with SSE2; `run` is
/// null where the kernel does not exist.
struct IntegerKernel {
    const ConversionKernel* run = nullptr;
    const char* nameWithoutSse2 = nullptr;
    const char* nameWithSse2 = nameWithoutSse2;
};

/// What is known of a conversion.
struct PairRecord {
    ConverterFormat source;
    ConverterFormat destination;
    ConversionKind kind;   ///< of its default matrix
    CoefficientForm form;  ///< of what the integer kernel gets
    unsigned paths;
    IntegerKernel integer{};
    ConversionKind floatKind = kind;  ///< of its default matrix on the floating-point path
    bool hasPlusFunction = false;     ///< the alpha decides what becomes of the colour

    constexpr bool IsOn(PairPaths path) const noexcept { return (paths & path) != 0; }
};

/// All pairs that a path has or that have a default matrix, by their codes.
std::span<const PairRecord> Pairs() noexcept;

/// The record of a pair; null when there is none.
const PairRecord* FindPair(ConverterFormat source, ConverterFormat destination) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_PAIRS_H
