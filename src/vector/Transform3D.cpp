#include <TesselU/vector/Transform3D.h>

#include <algorithm>
#include <cstddef>

#include "foundation/ClassCapabilities.h"
#include "vector/kernels/Vectors.h"

namespace Zan {
namespace {

constexpr std::size_t kElements = 16;

enum class Kind { kLinear, kAffine, kProjective };

Kind KindOf(const double* m) noexcept {
    if (!(m[12] == 0.0 && m[13] == 0.0 && m[14] == 0.0 && m[15] == 1.0)) {
        return Kind::kProjective;
    }
    return m[3] == 0.0 && m[7] == 0.0 && m[11] == 0.0 ? Kind::kLinear : Kind::kAffine;
}

void SetIdentity(double* matrix) noexcept {
    for (std::size_t i = 0; i < kElements; ++i) {
        matrix[i] = i % 5 == 0 ? 1.0 : 0.0;
    }
}

}  // namespace

constinit CPUcapabilities& Transform3D::CPUinstructionSet = classCapabilities[kOwnerTransform3D];

Transform3D::Transform3D() : matrix(new double[kElements]) {
    SetIdentity(matrix);
}

Transform3D::Transform3D(const Transform3D& other)
    : matrix(new double[kElements]), columns(other.columns), rows(other.rows) {
    std::copy_n(other.matrix, kElements, matrix);
}

Transform3D& Transform3D::operator=(const Transform3D& other) noexcept {
    if (this != &other) {
        std::copy_n(other.matrix, kElements, matrix);
    }
    return *this;
}

Transform3D::~Transform3D() {
    delete[] matrix;
}

void Transform3D::SetMatrix(double* values, ULong32 columnsGiven, ULong32 rowsGiven) noexcept {
    SetIdentity(matrix);
    if (values == nullptr) {
        return;
    }
    const std::size_t pitch = columnsGiven;
    for (std::size_t row = 0; row < std::min(rows, rowsGiven); ++row) {
        std::copy_n(values + row * pitch, std::min(columns, columnsGiven), matrix + row * columns);
    }
}

Long32 Transform3D::Do(float* src, float* dst, ULong32 count, ProcessingStyleEnum style) const {
    TransformMatrix settings;
    std::copy_n(matrix, kElements, settings.m);
    switch (KindOf(settings.m)) {
        case Kind::kLinear: {
            const bool isSingle = style == kFlp_SIMD && CPUinstructionSet.IsSIMDsupported();
            const std::size_t whole = isSingle ? count & ~std::size_t{3} : 0;
            if (whole != 0) {
                kSingleLinear(settings, src, dst, whole);
            }
            if (whole != count) {
                kLinear(settings, src + 3 * whole, dst + 3 * whole, count - whole);
            }
            break;
        }
        case Kind::kAffine:
            kAffine(settings, src, dst, count);
            break;
        case Kind::kProjective:
            kProjective(settings, src, dst, count);
            break;
    }
    return kStatusOk;
}

}  // namespace Zan
