#include <TesselU/vector/Operations3D.h>
#include <TesselU/vector/Transform3D.h>

#include <array>
#include <bit>
#include <cstring>
#include <memory>

#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// Floats at any address that suits them, made of the noise of a plane when an operation is about to run.
class Floats {
public:
    Floats(Case& c, std::size_t number) : plane(&c.Add(4 * number, 1, 4)), count(number) {
        // Mostly such as vectors have, often of every size, or many that are 0 or limits.
        static constexpr unsigned kRanges[][2] = {{120, 134}, {120, 134}, {90, 100},
                                                  {60, 190},  {1, 254},   {0, 2}};
        const auto& range = kRanges[Pick(c.random, 0, std::size(kRanges) - 1)];
        lowest = range[0];
        exponents = range[1] - range[0] + 1;
    }

    float* data() const { return reinterpret_cast<float*>(plane->row()); }

    /// Keeps signs and mantissas. No float is infinite or not a number.
    void Make() const {
        for (std::size_t i = 0; i < count; ++i) {
            std::uint32_t word = 0;
            std::memcpy(&word, plane->row() + 4 * i, 4);
            const std::uint32_t exponent = lowest + (word >> 23 & 0xFF) % exponents;
            // One of 32 is a zero or a power of two.
            const std::uint32_t mantissa = (word & 31) == 0 ? 0 : word & 0x7FFFFF;
            word = (word & 0x80000000U) | exponent << 23 | mantissa;
            std::memcpy(plane->row() + 4 * i, &word, 4);
        }
    }

private:
    const Plane* plane;
    std::size_t count;
    std::uint32_t lowest, exponents;
};

float AnyFloat(Random& random) {
    return std::uniform_real_distribution<float>(-3, 3)(random);
}

ULong32 Count(const Case& c) {
    return static_cast<ULong32>(c.width);
}

/// A destination of `number` floats, a quarter of the time the operand itself.
Floats Destination(Case& c, const Floats& operand, std::size_t number) {
    return Pick(c.random, 0, 3) == 0 ? operand : Floats(c, number);
}

/// `Call` takes a source, a destination, the number of vectors and the style; a vector makes `floats`.
template <class Call>
Operation OneOperand(const char* name, ProcessingStyleEnum style, std::size_t floats, Call call) {
    return {std::string(name) + ", style " + std::to_string(style), [=](Case& c) -> Operation::Run {
                const Floats in(c, 3 * c.width), out = Destination(c, in, floats * c.width);
                return [=, n = Count(c)] {
                    in.Make();
                    return call(in.data(), out.data(), n, style);
                };
            }};
}

template <class Call>
Operation TwoOperands(const char* name, std::size_t floats, Call call) {
    return {name, [=](Case& c) -> Operation::Run {
                const Floats a(c, 3 * c.width), b(c, 3 * c.width);
                const Floats out = Destination(c, Pick(c.random, 0, 1) == 0 ? a : b, floats * c.width);
                return [=, n = Count(c)] {
                    a.Make();
                    b.Make();
                    return call(a.data(), b.data(), out.data(), n);
                };
            }};
}

Operation ArrayNormals(ProcessingStyleEnum style) {
    return {"NormalizeVectors of arrays, style " + std::to_string(style), [=](Case& c) -> Operation::Run {
                const std::array<Floats, 3> in = {Floats(c, c.width), Floats(c, c.width), Floats(c, c.width)};
                const std::array<Floats, 3> out = {Destination(c, in[0], c.width),
                                                   Destination(c, in[1], c.width),
                                                   Destination(c, in[2], c.width)};
                return [=, n = Count(c)] {
                    for (const Floats& array : in) {
                        array.Make();
                    }
                    return Operations3D::NormalizeVectors(
                        SoA_3D{in[0].data(), in[1].data(), in[2].data(), n},
                        SoA_3D{out[0].data(), out[1].data(), out[2].data(), n}, style);
                };
            }};
}

/// Sums scaled by `EachA` and `EachB`: a scale for each vector, or one for all.
template <bool EachA, bool EachB>
Operation ScaledSums() {
    return {std::string("AddScaledVectors, ") + (EachA ? "each" : "one") + " and " + (EachB ? "each" : "one"),
            [](Case& c) -> Operation::Run {
                const Floats a(c, 3 * c.width), b(c, 3 * c.width), sa(c, EachA ? c.width : 1),
                    sb(c, EachB ? c.width : 1);
                const Floats out = Destination(c, Pick(c.random, 0, 1) == 0 ? a : b, 3 * c.width);
                return [=, n = Count(c)] {
                    for (const Floats& array : {a, b, sa, sb}) {
                        array.Make();
                    }
                    const auto scale = [](const Floats& s, auto each) {
                        if constexpr (each) {
                            return s.data();
                        } else {
                            return *s.data();
                        }
                    };
                    return Operations3D::AddScaledVectors(scale(sa, std::bool_constant<EachA>()), a.data(),
                                                          scale(sb, std::bool_constant<EachB>()), b.data(),
                                                          out.data(), n, kFlp);
                };
            }};
}

enum class Kind { kLinear, kAffine, kProjective };

Operation Transformed(Kind kind, ProcessingStyleEnum style) {
    static constexpr const char* kNames[] = {"linear", "affine", "projective"};
    return {std::string("Transform3D, ") + kNames[static_cast<std::size_t>(kind)] + ", style " +
                std::to_string(style),
            [=](Case& c) -> Operation::Run {
                std::array<double, 16> matrix;
                for (double& element : matrix) {
                    // Many are whole, so that w is 0 at times.
                    element = Pick(c.random, 0, 1) == 0 ? static_cast<double>(Pick(c.random, 0, 4)) - 2
                                                        : std::normal_distribution<double>()(c.random);
                }
                auto transform = std::make_shared<Transform3D>();
                transform->SetMatrix(matrix.data(), 4, 4);
                if (kind != Kind::kProjective) {
                    std::array<double, 12> rows;
                    for (std::size_t i = 0; i < 12; ++i) {
                        rows[i] = kind == Kind::kLinear && i % 4 == 3 ? 0 : matrix[i];
                    }
                    transform->SetMatrix(rows.data(), 4, 3);
                }
                const Floats in(c, 3 * c.width), out = Destination(c, in, 3 * c.width);
                return [=, n = Count(c)] {
                    in.Make();
                    return transform->Do(in.data(), out.data(), n, style);
                };
            }};
}

}  // namespace

std::vector<Operation> VectorOperations() {
    std::vector<Operation> all;
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        all.push_back(OneOperand("LengthOfVectors", style, 1, &Operations3D::LengthOfVectors));
        all.push_back(OneOperand("NormalizeVectors", style, 3,
                                 [](float* src, float* dst, ULong32 n, ProcessingStyleEnum s) {
                                     return Operations3D::NormalizeVectors(src, dst, n, s);
                                 }));
        all.push_back(OneOperand("NormalizeVectors_SoAoS", style, 3, &Operations3D::NormalizeVectors_SoAoS));
        all.push_back(ArrayNormals(style));
        all.push_back(Transformed(Kind::kLinear, style));
    }
    all.push_back(Transformed(Kind::kAffine, kFlp));
    all.push_back(Transformed(Kind::kProjective, kFlp));

    // In place, with a setting.
    all.push_back({"ScaleVectors", [](Case& c) -> Operation::Run {
                       const Floats v(c, 3 * c.width);
                       return [=, n = Count(c), s = AnyFloat(c.random)] {
                           v.Make();
                           return Operations3D::ScaleVectors(s, v.data(), n, kFlp);
                       };
                   }});
    for (const bool subtract : {false, true}) {
        all.push_back(
            {subtract ? "SubtractConstantVector" : "AddConstantVector", [=](Case& c) -> Operation::Run {
                 const Floats v(c, 3 * c.width), constant(c, 3), out = Destination(c, v, 3 * c.width);
                 return [=, n = Count(c)] {
                     v.Make();
                     constant.Make();
                     const auto call =
                         subtract ? &Operations3D::SubtractConstantVector : &Operations3D::AddConstantVector;
                     return call(v.data(), constant.data(), out.data(), n, kFlp);
                 };
             }});
    }

    all.push_back(TwoOperands("DotProduct", 1, [](float* a, float* b, float* out, ULong32 n) {
        return Operations3D::DotProduct(a, b, out, n, kFlp);
    }));
    all.push_back(TwoOperands("CrossProduct", 3, [](float* a, float* b, float* out, ULong32 n) {
        return Operations3D::CrossProduct(a, b, out, n, kFlp);
    }));
    all.push_back(TwoOperands("AddVectors", 3, [](float* a, float* b, float* out, ULong32 n) {
        return Operations3D::AddVectors(a, b, out, n, kFlp);
    }));
    all.push_back(ScaledSums<true, true>());
    all.push_back(ScaledSums<false, true>());
    all.push_back(ScaledSums<true, false>());
    all.push_back(ScaledSums<false, false>());
    return all;
}

}  // namespace kernelcheck
