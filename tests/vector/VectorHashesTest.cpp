// Every operation on one batch of a million vectors, by the hash of its result: the same on every processor.

#include <TesselU/vector/Operations3D.h>
#include <TesselU/vector/Transform3D.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "simd/Targets.h"

using namespace Zan;

namespace {

using Floats = std::vector<float>;

constexpr ULong32 kCount = 1000003;  // with a rest in every vector

/// Exponents from 2^-20 to 2^20, made of integers alone.
Floats Numbers(std::size_t count, std::uint32_t seed) {
    Floats numbers(count);
    std::uint32_t state = seed;
    for (float& number : numbers) {
        state = state * 1664525U + 1013904223U;
        const std::uint32_t mixed = state ^ state >> 16;
        number = std::bit_cast<float>((mixed & 0x807FFFFFU) | (107 + (state >> 24) % 41) << 23);
    }
    return numbers;
}

struct Operands {
    Floats a = Numbers(std::size_t{3} * kCount, 1), b = Numbers(std::size_t{3} * kCount, 2),
           sa = Numbers(kCount, 3), sb = Numbers(kCount, 4);
    Floats out = Floats(std::size_t{3} * kCount);
};

std::uint64_t Hash(const Floats& floats, std::size_t count) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (std::size_t i = 0; i < count; ++i) {
        hash = (hash ^ std::bit_cast<std::uint32_t>(floats[i])) * 0x100000001B3U;
    }
    return hash;
}

struct Recorded {
    const char* name;
    std::size_t floats;  ///< that a vector makes
    std::uint64_t hash;
    std::function<void(Operands&)> run;
};

Transform3D With(std::initializer_list<double> values, ULong32 columns, ULong32 rows) {
    std::vector<double> block(values);
    Transform3D transform;
    transform.SetMatrix(block.data(), columns, rows);
    return transform;
}

void Arrays(Operands& o, ProcessingStyleEnum style) {
    float* in[3] = {o.a.data(), o.a.data() + kCount, o.a.data() + 2 * std::size_t{kCount}};
    float* out[3] = {o.out.data(), o.out.data() + kCount, o.out.data() + 2 * std::size_t{kCount}};
    Operations3D::NormalizeVectors(SoA_3D{in[0], in[1], in[2], kCount},
                                   SoA_3D{out[0], out[1], out[2], kCount}, style);
}

const std::vector<Recorded>& All() {
    using O = Operations3D;
    static const Transform3D linear = With({0.8, -0.6, 0.1, 0.6, 0.8, -0.2, 0.3, 1.7, 0.9}, 3, 3);
    static const Transform3D affine =
        With({0.8, -0.6, 0.1, 5, 0.6, 0.8, -0.2, -7, 0.3, 1.7, 0.9, 0.01}, 4, 3);
    static const Transform3D projective =
        With({0.8, -0.6, 0.1, 5, 0.6, 0.8, -0.2, -7, 0.3, 1.7, 0.9, 0.01, 0.1, -0.2, 0.3, 2}, 4, 4);
    static const std::vector<Recorded> all = {
        {"lengths", 1, 0x1378E496556004B6U,
         [](Operands& o) { O::LengthOfVectors(o.a.data(), o.out.data(), kCount, kFlp); }},
        {"lengths, single", 1, 0x031CDEF85B918E78U,
         [](Operands& o) { O::LengthOfVectors(o.a.data(), o.out.data(), kCount, kFlp_SIMD); }},
        {"normals", 3, 0x025F1460E9FF30EFU,
         [](Operands& o) { O::NormalizeVectors(o.a.data(), o.out.data(), kCount, kFlp); }},
        {"normals, single", 3, 0x7C16F36A0FBF4CCDU,
         [](Operands& o) { O::NormalizeVectors(o.a.data(), o.out.data(), kCount, kFlp_SIMD); }},
        {"normals in place", 3, 0x025F1460E9FF30EFU,
         [](Operands& o) {
             o.out = o.a;
             O::NormalizeVectors(o.out.data(), kCount, kFlp_SIMD);
         }},
        {"normals of arrays", 3, 0xA5A9EC1057CEDFE1U, [](Operands& o) { Arrays(o, kFlp); }},
        {"normals of arrays, single", 3, 0x4634BD1A7A95132FU, [](Operands& o) { Arrays(o, kFlp_SIMD); }},
        {"normals of arrays in place, single", 3, 0x4634BD1A7A95132FU,
         [](Operands& o) {
             o.out = o.a;
             float* v = o.out.data();
             O::NormalizeVectors(SoA_3D{v, v + kCount, v + 2 * std::size_t{kCount}, kCount}, kFlp_SIMD);
         }},
        {"normals of blocks", 3, 0x0269F2C2DD03BFBDU,
         [](Operands& o) { O::NormalizeVectors_SoAoS(o.a.data(), o.out.data(), kCount, kFlp_SIMD); }},
        {"scaled", 3, 0xA5082FC72D2851C0U,
         [](Operands& o) {
             o.out = o.a;
             O::ScaleVectors(0.7F, o.out.data(), kCount, kFlp);
         }},
        {"dot products", 1, 0x52F826C18DD9E3B6U,
         [](Operands& o) { O::DotProduct(o.a.data(), o.b.data(), o.out.data(), kCount, kFlp); }},
        {"cross products", 3, 0x95D2F2DF9764F21FU,
         [](Operands& o) { O::CrossProduct(o.a.data(), o.b.data(), o.out.data(), kCount, kFlp); }},
        {"plus a constant", 3, 0x768AD13B2ED8D394U,
         [](Operands& o) { O::AddConstantVector(o.a.data(), o.b.data(), o.out.data(), kCount, kFlp); }},
        {"minus a constant", 3, 0x334B66414C516354U,
         [](Operands& o) { O::SubtractConstantVector(o.a.data(), o.b.data(), o.out.data(), kCount, kFlp); }},
        {"sums", 3, 0x9EC1562C9D9B38D6U,
         [](Operands& o) { O::AddVectors(o.a.data(), o.b.data(), o.out.data(), kCount, kFlp); }},
        {"scaled sums, each and each", 3, 0x88BF6C5D1962E900U,
         [](Operands& o) {
             O::AddScaledVectors(o.sa.data(), o.a.data(), o.sb.data(), o.b.data(), o.out.data(), kCount,
                                 kFlp);
         }},
        {"scaled sums, one and each", 3, 0x620791CC47E99B68U,
         [](Operands& o) {
             O::AddScaledVectors(0.3F, o.a.data(), o.sb.data(), o.b.data(), o.out.data(), kCount, kFlp);
         }},
        {"scaled sums, each and one", 3, 0xA7D3D57CEA55F95BU,
         [](Operands& o) {
             O::AddScaledVectors(o.sa.data(), o.a.data(), -1.7F, o.b.data(), o.out.data(), kCount, kFlp);
         }},
        {"scaled sums, one and one", 3, 0xF13289D67FAF7643U,
         [](Operands& o) {
             O::AddScaledVectors(0.3F, o.a.data(), -1.7F, o.b.data(), o.out.data(), kCount, kFlp);
         }},
        {"linear", 3, 0xEA1236FCE84B3827U,
         [](Operands& o) { linear.Do(o.a.data(), o.out.data(), kCount, kFlp); }},
        {"linear, single", 3, 0x7E8193A8B8885829U,
         [](Operands& o) { linear.Do(o.a.data(), o.out.data(), kCount, kFlp_SIMD); }},
        {"affine", 3, 0x6B414E8640FE28CBU,
         [](Operands& o) { affine.Do(o.a.data(), o.out.data(), kCount, kFlp); }},
        {"projective", 3, 0x0A0BF507CABF47A3U,
         [](Operands& o) { projective.Do(o.a.data(), o.out.data(), kCount, kFlp); }},
    };
    return all;
}

TEST(VectorHashes, AreTheSameOnEveryProcessor) {
    Operands operands;
    for (const Recorded& operation : All()) {
        for (std::size_t target = simd::kPortable; target < simd::kTargetCount; ++target) {
            if (!simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
                continue;
            }
            const simd::ScopedTarget scope(static_cast<simd::Target>(target));
            std::fill(operands.out.begin(), operands.out.end(), 0.0F);
            operation.run(operands);
            EXPECT_EQ(Hash(operands.out, operation.floats * kCount), operation.hash)
                << operation.name << " on " << simd::TargetName(static_cast<simd::Target>(target));
        }
    }
}

}  // namespace
