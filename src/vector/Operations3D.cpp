#include <TesselU/vector/Operations3D.h>

#include <algorithm>
#include <cstddef>

#include "foundation/ClassCapabilities.h"
#include "vector/kernels/Vectors.h"

namespace Zan {
namespace {

/// Whether the single-precision form runs.
bool IsSingle(ProcessingStyleEnum style, const CPUcapabilities& processor) noexcept {
    return style == kFlp_SIMD && processor.IsSIMDsupported();
}

/// How many of `n` vectors are in whole blocks of four.
std::size_t Whole(std::size_t n) noexcept {
    return n & ~std::size_t{3};
}

/// Runs `kernel` on operands of which the scales may lie where the sums go. From the end, in parts whose sums
/// lie beyond all scales that are still to be read: three floats of each sum against one of a scale.
void AddScaled(const ScaledSumKernel& kernel, const ScaledSum3D& sum, std::size_t n, bool eachA, bool eachB) {
    const bool isOver = (eachA && sum.dst == sum.sa) || (eachB && sum.dst == sum.sb);
    for (std::size_t last = n; last != 0;) {
        const std::size_t first = isOver && last > 1 ? (last + 2) / 3 : 0;
        kernel({sum.sa + (eachA ? first : 0), sum.a + 3 * first, sum.sb + (eachB ? first : 0),
                sum.b + 3 * first, sum.dst + 3 * first},
               last - first);
        last = first;
    }
}

}  // namespace

constinit CPUcapabilities& Operations3D::CPUinstructionSet = classCapabilities[kOwnerOperations3D];

Long32 Operations3D::LengthOfVectors(float* v, float* length, ULong32 n, ProcessingStyleEnum style) {
    const std::size_t whole = IsSingle(style, CPUinstructionSet) ? Whole(n) : 0;
    if (whole != 0) {
        kSingleLengths(v, length, whole);
    }
    if (whole != n) {
        kLengths(v + 3 * whole, length + whole, n - whole);
    }
    return kStatusOk;
}

Long32 Operations3D::NormalizeVectors(float* v, ULong32 n, ProcessingStyleEnum) {
    kNormals(v, v, n);
    return kStatusOk;
}

Long32 Operations3D::NormalizeVectors(float* src, float* dst, ULong32 n, ProcessingStyleEnum style) {
    const std::size_t whole = IsSingle(style, CPUinstructionSet) ? Whole(n) : 0;
    if (whole != 0) {
        kSingleNormals(src, dst, whole);
    }
    if (whole != n) {
        kNormals(src + 3 * whole, dst + 3 * whole, n - whole);
    }
    return kStatusOk;
}

Long32 Operations3D::NormalizeVectors(SoA_3D v, ProcessingStyleEnum style) {
    return NormalizeVectors(v, v, style);
}

Long32 Operations3D::NormalizeVectors(SoA_3D src, SoA_3D dst, ProcessingStyleEnum style) {
    const std::size_t n = std::min(src.count, dst.count);
    const std::size_t whole = IsSingle(style, CPUinstructionSet) ? Whole(n) : 0;
    if (whole != 0) {
        kSingleArrayNormals({src.x, src.y, src.z}, {dst.x, dst.y, dst.z}, whole);
    }
    if (whole != n) {
        kArrayNormals({src.x + whole, src.y + whole, src.z + whole},
                      {dst.x + whole, dst.y + whole, dst.z + whole}, n - whole);
    }
    return kStatusOk;
}

Long32 Operations3D::NormalizeVectors_SoAoS(float* src, float* dst, ULong32 n, ProcessingStyleEnum style) {
    if (IsSingle(style, CPUinstructionSet)) {
        kBlockNormals(src, dst, Whole(n));
    } else {
        kNormals(src, dst, n);
    }
    return kStatusOk;
}

Long32 Operations3D::ScaleVectors(float s, float* v, ULong32 n, ProcessingStyleEnum) {
    kScaleFloats(s, v, std::size_t{3} * n);
    return kStatusOk;
}

Long32 Operations3D::DotProduct(float* a, float* b, float* result, ULong32 n, ProcessingStyleEnum) {
    kDotProducts(a, b, result, n);
    return kStatusOk;
}

Long32 Operations3D::CrossProduct(float* a, float* b, float* result, ULong32 n, ProcessingStyleEnum) {
    kCrossProducts(a, b, result, n);
    return kStatusOk;
}

Long32 Operations3D::AddConstantVector(float* v, float* c, float* dst, ULong32 n, ProcessingStyleEnum) {
    if (n != 0) {
        kAddConstant(v, {c[0], c[1], c[2]}, dst, n);
    }
    return kStatusOk;
}

Long32 Operations3D::SubtractConstantVector(float* v, float* c, float* dst, ULong32 n, ProcessingStyleEnum) {
    if (n != 0) {
        kAddConstant(v, {-c[0], -c[1], -c[2]}, dst, n);
    }
    return kStatusOk;
}

Long32 Operations3D::AddVectors(float* a, float* b, float* dst, ULong32 n, ProcessingStyleEnum) {
    kAddFloats(a, b, dst, std::size_t{3} * n);
    return kStatusOk;
}

Long32 Operations3D::AddScaledVectors(float* sa, float* a, float* sb, float* b, float* dst, ULong32 n,
                                      ProcessingStyleEnum) {
    AddScaled(kAddScaled, {sa, a, sb, b, dst}, n, true, true);
    return kStatusOk;
}

Long32 Operations3D::AddScaledVectors(float sa, float* a, float* sb, float* b, float* dst, ULong32 n,
                                      ProcessingStyleEnum) {
    // The sum of two products does not depend on their order.
    AddScaled(kAddScaledAndConstant, {sb, b, &sa, a, dst}, n, true, false);
    return kStatusOk;
}

Long32 Operations3D::AddScaledVectors(float* sa, float* a, float sb, float* b, float* dst, ULong32 n,
                                      ProcessingStyleEnum) {
    AddScaled(kAddScaledAndConstant, {sa, a, &sb, b, dst}, n, true, false);
    return kStatusOk;
}

Long32 Operations3D::AddScaledVectors(float sa, float* a, float sb, float* b, float* dst, ULong32 n,
                                      ProcessingStyleEnum) {
    AddScaled(kAddConstantScaled, {&sa, a, &sb, b, dst}, n, false, false);
    return kStatusOk;
}

}  // namespace Zan
