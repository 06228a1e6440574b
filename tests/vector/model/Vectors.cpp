#include "vector/model/Vectors.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace vector_model {

namespace {

// Every intermediate result goes through memory, so that each is rounded to the precision of its type, and
// nothing is fused.
template <class Number>
Number Stored(Number value) {
    const volatile Number stored = value;
    return stored;
}

template <class Number>
Number Times(Number a, Number b) {
    return Stored(a * b);
}
template <class Number>
Number Plus(Number a, Number b) {
    return Stored(a + b);
}
template <class Number>
Number Minus(Number a, Number b) {
    return Stored(a - b);
}
double Over(double a, double b) {
    return Stored(a / b);
}
double Root(double a) {
    return Stored(std::sqrt(a));
}
float Root(float a) {
    return Stored(std::sqrt(a));
}
double Wide(float a) {
    return static_cast<double>(a);
}
float Rounded(double a) {
    return Stored(static_cast<float>(a));
}

constexpr float kLeast = 1e-9F;

template <class Number>
Number SumOfSquares(Number x, Number y, Number z) {
    return Plus(Plus(Times(x, x), Times(y, y)), Times(z, z));
}

/// NaN is not above the limit either.
template <class Number>
Number Limited(Number value) {
    if (value > static_cast<Number>(kLeast)) {
        return value;
    }
    return static_cast<Number>(kLeast);
}

Vector TimesFloat(Vector v, float scale) {
    return {Times(v.x, scale), Times(v.y, scale), Times(v.z, scale)};
}

}  // namespace

std::size_t WholeBlocks(std::size_t n, Arithmetic arithmetic) {
    return arithmetic == Arithmetic::kSingle ? n - n % 4 : 0;
}

std::uint32_t BitsOf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float FloatOf(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

float InverseRootEstimate(float s) {
    const float y = FloatOf(0x5F375580U - (BitsOf(s) >> 1));
    const float t = Times(Times(s, y), y);
    return Times(y, Minus(1.875F, Times(t, Minus(1.25F, Times(0.375F, t)))));
}

float ReciprocalEstimate(float l) {
    const float y = FloatOf(0x7EF31100U - BitsOf(l));
    const float e = Minus(1.0F, Times(l, y));
    return Times(y, Plus(1.0F, Plus(e, Times(e, e))));
}

float LengthInDoubles(Vector v) {
    return Rounded(Root(SumOfSquares(Wide(v.x), Wide(v.y), Wide(v.z))));
}

float SquareInSingle(Vector v) {
    return SumOfSquares(v.x, v.y, v.z);
}

float LengthInSingle(Vector v) {
    return Root(SquareInSingle(v));
}

Vector NormalizedInDoubles(Vector v) {
    const double length = Limited(Root(SumOfSquares(Wide(v.x), Wide(v.y), Wide(v.z))));
    const double scale = Over(1.0, length);
    return {Rounded(Times(Wide(v.x), scale)), Rounded(Times(Wide(v.y), scale)),
            Rounded(Times(Wide(v.z), scale))};
}

Vector NormalizedByReciprocal(Vector v) {
    const float length = Limited(LengthInSingle(v));
    const bool isInfinite = length > std::numeric_limits<float>::max();
    return TimesFloat(v, isInfinite ? 0.0F : ReciprocalEstimate(length));
}

Vector NormalizedByInverseRoot(Vector v) {
    const float square = Limited(SquareInSingle(v));
    const bool isInfinite = square > std::numeric_limits<float>::max();
    return TimesFloat(v, isInfinite ? 0.0F : InverseRootEstimate(square));
}

Vector Scaled(float s, Vector v) {
    return {Rounded(Times(Wide(s), Wide(v.x))), Rounded(Times(Wide(s), Wide(v.y))),
            Rounded(Times(Wide(s), Wide(v.z)))};
}

float Dot(Vector a, Vector b) {
    const double x = Times(Wide(a.x), Wide(b.x));
    const double y = Times(Wide(a.y), Wide(b.y));
    const double z = Times(Wide(a.z), Wide(b.z));
    return Rounded(Plus(Plus(x, y), z));
}

Vector Cross(Vector a, Vector b) {
    const auto determinant = [](float p, float q, float r, float s) {
        return Rounded(Minus(Times(Wide(p), Wide(q)), Times(Wide(r), Wide(s))));
    };
    return {determinant(a.y, b.z, a.z, b.y), determinant(a.z, b.x, a.x, b.z),
            determinant(a.x, b.y, a.y, b.x)};
}

Vector Sum(Vector a, Vector b) {
    return {Rounded(Plus(Wide(a.x), Wide(b.x))), Rounded(Plus(Wide(a.y), Wide(b.y))),
            Rounded(Plus(Wide(a.z), Wide(b.z)))};
}

Vector Difference(Vector a, Vector b) {
    return {Rounded(Minus(Wide(a.x), Wide(b.x))), Rounded(Minus(Wide(a.y), Wide(b.y))),
            Rounded(Minus(Wide(a.z), Wide(b.z)))};
}

Vector ScaledSum(float sa, Vector a, float sb, Vector b) {
    const auto sum = [=](float p, float q) {
        return Rounded(Plus(Times(Wide(sa), Wide(p)), Times(Wide(sb), Wide(q))));
    };
    return {sum(a.x, b.x), sum(a.y, b.y), sum(a.z, b.z)};
}

// ---- Matrices

void Transform::Reset() {
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            m[row][column] = row == column ? 1.0 : 0.0;
        }
    }
}

void Transform::Set(const double* values, std::size_t columns, std::size_t rows) {
    Reset();
    if (values == nullptr) {
        return;
    }
    for (std::size_t row = 0; row < 4 && row < rows; ++row) {
        for (std::size_t column = 0; column < 4 && column < columns; ++column) {
            m[row][column] = values[row * columns + column];
        }
    }
}

Kind Transform::Class() const {
    const auto& last = m[3];
    const bool lastIsPlain = last[0] == 0.0 && last[1] == 0.0 && last[2] == 0.0 && last[3] == 1.0;
    if (!lastIsPlain) {
        return Kind::kProjective;
    }
    const bool stays = m[0][3] == 0.0 && m[1][3] == 0.0 && m[2][3] == 0.0;
    return stays ? Kind::kLinear : Kind::kAffine;
}

Vector Transform::InDoubles(Vector point) const {
    const double x = Wide(point.x), y = Wide(point.y), z = Wide(point.z);
    const Kind kind = Class();
    const auto component = [=](const std::array<double, 4>& row, bool translates) {
        const double linear = Plus(Plus(Times(row[0], x), Times(row[1], y)), Times(row[2], z));
        return translates ? Plus(linear, row[3]) : linear;
    };
    const bool translates = kind != Kind::kLinear;
    const Vector flat = {Rounded(component(m[0], translates)), Rounded(component(m[1], translates)),
                         Rounded(component(m[2], translates))};
    if (kind != Kind::kProjective) {
        return flat;
    }
    const double w = component(m[3], true);
    const double scale = w == 0.0 ? 1.0 : Over(1.0, w);
    return {Rounded(Times(Wide(flat.x), scale)), Rounded(Times(Wide(flat.y), scale)),
            Rounded(Times(Wide(flat.z), scale))};
}

Vector Transform::InSingle(Vector point) const {
    const auto component = [=](const std::array<double, 4>& row) {
        return Plus(Plus(Times(Rounded(row[0]), point.x), Times(Rounded(row[1]), point.y)),
                    Times(Rounded(row[2]), point.z));
    };
    return {component(m[0]), component(m[1]), component(m[2])};
}

}  // namespace vector_model
