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

/// A kernel of the integer path and the names that it goes by on processors without and with SSE2. Its main
/// loop covers whole groups of columns.
struct IntegerKernel {
    const ConversionKernel* run = nullptr;
    std::size_t group = 1;
    const char* nameWithoutSse2 = nullptr;
    const char* nameWithSse2 = nameWithoutSse2;
    std::size_t groupWithoutSse2 = group;
};

enum PairTraits : unsigned {
    kPlain = 0,
    kPlusFunction = 1,   ///< the alpha decides what becomes of the colour
    kDerivesPlanes = 2,  ///< without views the planes follow from the first one
    kDropsAlpha = 4,     ///< the alpha plane of the source is not looked at
};

/// What is known of a conversion.
struct PairRecord {
    ConverterFormat source;
    ConverterFormat destination;
    ConversionKind kind;   ///< of its default matrix
    CoefficientForm form;  ///< of what the integer kernel gets
    unsigned paths;
    IntegerKernel integer{};
    unsigned traits = kPlain;
    ConversionKind floatKind = kind;  ///< of its default matrix on the floating-point path
    /// Of the floating-point path: the integer one, whose tail is in double precision, if it has no other.
    const ConversionKernel* floating = integer.run;

    constexpr bool IsOn(PairPaths path) const noexcept { return (paths & path) != 0; }
    constexpr bool Has(PairTraits trait) const noexcept { return (traits & trait) != 0; }
};

/// All pairs that a path has or that have a default matrix, by their codes.
std::span<const PairRecord> Pairs() noexcept;

/// The record of a pair; null when there is none.
const PairRecord* FindPair(ConverterFormat source, ConverterFormat destination) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_PAIRS_H
