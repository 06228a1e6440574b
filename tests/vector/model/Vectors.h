#ifndef TESSELU_TESTS_VECTOR_MODEL_VECTORS_H
#define TESSELU_TESTS_VECTOR_MODEL_VECTORS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vector_model {

struct Vector {
    float x, y, z;
};

/// Which numbers an operation is worked out in. In single precision the last n mod 4 vectors are worked out
/// in doubles all the same.
enum class Arithmetic { kDouble, kSingle };

/// What of n vectors is worked out in single precision.
std::size_t WholeBlocks(std::size_t n, Arithmetic arithmetic);

std::uint32_t BitsOf(float value);
float FloatOf(std::uint32_t bits);

/// About 1 / sqrt(s), for positive finite s.
float InverseRootEstimate(float s);
/// About 1 / l, for positive l up to 1.8e19.
float ReciprocalEstimate(float l);

/// The sum of the squares.
float SquareInSingle(Vector v);
float LengthInDoubles(Vector v);
float LengthInSingle(Vector v);
Vector NormalizedInDoubles(Vector v);
/// Interleaved vectors: the length has the lower limit.
Vector NormalizedByReciprocal(Vector v);
/// Structures of arrays and blocks of four: the square of the length has it.
Vector NormalizedByInverseRoot(Vector v);

Vector Scaled(float s, Vector v);
float Dot(Vector a, Vector b);
Vector Cross(Vector a, Vector b);
Vector Sum(Vector a, Vector b);
Vector Difference(Vector a, Vector b);
Vector ScaledSum(float sa, Vector a, float sb, Vector b);

enum class Kind { kLinear, kAffine, kProjective };

/// A matrix of points, by rows.
class Transform {
public:
    Transform() { Reset(); }
    void Reset();
    /// A block of so many columns and rows in the top left corner of an identity; null leaves the identity.
    void Set(const double* values, std::size_t columns, std::size_t rows);
    Kind Class() const;
    Vector InDoubles(Vector point) const;
    /// The linear part in floats.
    Vector InSingle(Vector point) const;

private:
    std::array<std::array<double, 4>, 4> m;  ///< m[row][column]
};

}  // namespace vector_model

#endif  // TESSELU_TESTS_VECTOR_MODEL_VECTORS_H
