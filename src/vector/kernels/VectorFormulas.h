#ifndef TESSELU_SRC_VECTOR_KERNELS_VECTORFORMULAS_H
#define TESSELU_SRC_VECTOR_KERNELS_VECTORFORMULAS_H

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

// One vector at a time, in the order of operations that all bodies keep. A product of two floats is exact in
// double.

namespace Zan {

/// What a length is limited to below, or its square where a formula says so.
constexpr float kLeastLength = 1e-9F;

struct FloatVector {
    float x, y, z;
};
struct DoubleVector {
    double x, y, z;
};

inline DoubleVector ToDouble(const FloatVector& v) {
    return {v.x, v.y, v.z};
}
/// Rounded once.
inline FloatVector ToFloat(const DoubleVector& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

inline double Dot(const DoubleVector& a, const DoubleVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline float Dot(const FloatVector& a, const FloatVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// What is not above the limit, or not a number, is replaced by it.
template <class T>
T Limited(T value) {
    constexpr T kLeast = kLeastLength;
    return value > kLeast ? value : kLeast;
}

/// 1 / sqrt(square) for a square of 1e-9 or more, at most 9.97e-5 of it off; 0 for an infinite one.
inline float ReciprocalRoot(float square) {
    const float y = std::bit_cast<float>(0x5F375580U - (std::bit_cast<std::uint32_t>(square) >> 1));
    const float t = square * y * y;
    const float root = y * (1.875F - t * (1.25F - 0.375F * t));
    return square < std::numeric_limits<float>::infinity() ? root : 0.0F;
}

/// 1 / length for a length of 1e-9 or more, at most 1.291e-4 of it off; 0 for an infinite one.
inline float Reciprocal(float length) {
    const float y = std::bit_cast<float>(0x7EF31100U - std::bit_cast<std::uint32_t>(length));
    const float e = 1.0F - length * y;
    const float reciprocal = y * (1.0F + (e + e * e));
    return length < std::numeric_limits<float>::infinity() ? reciprocal : 0.0F;
}

inline float Length(const FloatVector& v) {
    const DoubleVector d = ToDouble(v);
    return static_cast<float>(std::sqrt(Dot(d, d)));
}
inline float SingleLength(const FloatVector& v) {
    return std::sqrt(Dot(v, v));
}

inline FloatVector Normal(const FloatVector& v) {
    const DoubleVector d = ToDouble(v);
    const double scale = 1.0 / Limited(std::sqrt(Dot(d, d)));
    return ToFloat({d.x * scale, d.y * scale, d.z * scale});
}
/// In single precision, by the length.
inline FloatVector NormalByLength(const FloatVector& v) {
    const float scale = Reciprocal(Limited(SingleLength(v)));
    return {v.x * scale, v.y * scale, v.z * scale};
}
/// In single precision, by the square of the length, which is what is limited.
inline FloatVector NormalBySquare(const FloatVector& v) {
    const float scale = ReciprocalRoot(Limited(Dot(v, v)));
    return {v.x * scale, v.y * scale, v.z * scale};
}

inline float DotProductOf(const FloatVector& a, const FloatVector& b) {
    return static_cast<float>(Dot(ToDouble(a), ToDouble(b)));
}

inline FloatVector CrossProductOf(const FloatVector& v, const FloatVector& w) {
    const DoubleVector a = ToDouble(v), b = ToDouble(w);
    return ToFloat({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x});
}

inline float ScaledSum(float sa, float a, float sb, float b) {
    return static_cast<float>(static_cast<double>(sa) * a + static_cast<double>(sb) * b);
}

/// The matrix of a transform by rows, with the elements that its kind needs.
struct TransformMatrix {
    double m[16];
};

inline double LinearRow(const double* row, const DoubleVector& p) {
    return row[0] * p.x + row[1] * p.y + row[2] * p.z;
}

inline FloatVector LinearPoint(const TransformMatrix& matrix, const FloatVector& point) {
    const DoubleVector p = ToDouble(point);
    const double* m = matrix.m;
    return ToFloat({LinearRow(m, p), LinearRow(m + 4, p), LinearRow(m + 8, p)});
}

inline FloatVector AffinePoint(const TransformMatrix& matrix, const FloatVector& point) {
    const DoubleVector p = ToDouble(point);
    const double* m = matrix.m;
    return ToFloat({LinearRow(m, p) + m[3], LinearRow(m + 4, p) + m[7], LinearRow(m + 8, p) + m[11]});
}

inline FloatVector ProjectivePoint(const TransformMatrix& matrix, const FloatVector& point) {
    const double* m = matrix.m;
    const double w = LinearRow(m + 12, ToDouble(point)) + m[15];
    const double scale = w == 0.0 ? 1.0 : 1.0 / w;
    const DoubleVector p = ToDouble(AffinePoint(matrix, point));
    return ToFloat({p.x * scale, p.y * scale, p.z * scale});
}

/// The nine elements of a linear matrix, rounded to float.
struct SingleMatrix {
    explicit SingleMatrix(const TransformMatrix& matrix) {
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) {
                m[3 * row + column] = static_cast<float>(matrix.m[4 * row + column]);
            }
        }
    }
    float m[9];
};

inline float LinearRow(const float* row, const FloatVector& p) {
    return row[0] * p.x + row[1] * p.y + row[2] * p.z;
}

inline FloatVector SingleLinearPoint(const SingleMatrix& matrix, const FloatVector& p) {
    const float* m = matrix.m;
    return {LinearRow(m, p), LinearRow(m + 3, p), LinearRow(m + 6, p)};
}

}  // namespace Zan

#endif  // TESSELU_SRC_VECTOR_KERNELS_VECTORFORMULAS_H
