#include "vector/VectorOperations.h"

#include <TesselU/vector/Operations3D.h>

#include <algorithm>

using vector_model::Dot;
using vector_model::LengthInDoubles;
using vector_model::NormalizedByInverseRoot;
using vector_model::NormalizedInDoubles;
using vector_model::Vector;
using Zan::Operations3D;
using Zan::ProcessingStyleEnum;
using Zan::SoA_3D;
using Zan::ULong32;

namespace vector_test {
namespace {

using Pointers = float* const*;

Vector At(const Floats& floats, std::size_t i) {
    return {floats[3 * i], floats[3 * i + 1], floats[3 * i + 2]};
}

template <class Body>
std::vector<Floats> Interleaved(std::size_t n, Body body) {
    Floats out;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector v = body(i);
        out.insert(out.end(), {v.x, v.y, v.z});
    }
    return {out};
}

template <class Body>
std::vector<Floats> Numbers(std::size_t n, Body body) {
    Floats out;
    for (std::size_t i = 0; i < n; ++i) {
        out.push_back(body(i));
    }
    return {out};
}

std::vector<Floats> LengthsModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    return Numbers(n, [&](std::size_t i) {
        return i < WholeBlocks(n, arithmetic) ? LengthInSingle(At(in[0], i)) : LengthInDoubles(At(in[0], i));
    });
}

std::vector<Floats> InterleavedModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    return Interleaved(n, [&](std::size_t i) {
        return i < WholeBlocks(n, arithmetic) ? NormalizedByReciprocal(At(in[0], i))
                                              : NormalizedInDoubles(At(in[0], i));
    });
}

std::vector<Floats> BlocksModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    if (arithmetic == Arithmetic::kDouble) {
        return InterleavedModel(in, n, arithmetic);  // which takes the blocks for triples
    }
    Floats out(n / 4 * 12);
    for (std::size_t i = 0; i < n / 4 * 4; ++i) {
        const std::size_t x = i / 4 * 12 + i % 4;
        const Vector v = NormalizedByInverseRoot({in[0][x], in[0][x + 4], in[0][x + 8]});
        out[x] = v.x;
        out[x + 4] = v.y;
        out[x + 8] = v.z;
    }
    return {out};
}

Operation Normalizations(const char* name, std::vector<std::vector<std::size_t>> places, bool hasSingle,
                         decltype(Operation::call) call) {
    return {name, {3}, {3}, hasSingle, false, std::move(places), std::move(call), InterleavedModel};
}

SoA_3D Structure(Pointers arrays, ULong32 n) {
    SoA_3D structure;
    structure.x = arrays[0];
    structure.y = arrays[1];
    structure.z = arrays[2];
    structure.count = n;
    return structure;
}

// The four forms of scaled sums: a scale of its own for each vector, or one for all. A constant scale is an
// array of one vector here, of which the first float counts.
Operation ScaledSums(const char* name, bool firstIsConstant, bool secondIsConstant,
                     decltype(Operation::call) call) {
    Operation operation;
    operation.name = name;
    operation.inputs = {firstIsConstant ? kOneVector : 1, 3, secondIsConstant ? kOneVector : 1, 3};
    operation.outputs = {3};
    operation.hasSingle = false;
    operation.places = {{0, 1, 2, 3, 4}, {0, 1, 2, 1, 3}, {0, 1, 2, 3, 1}, {0, 1, 2, 3, 3}, {0, 1, 2, 1, 1}};
    operation.call = std::move(call);
    operation.model = [=](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
        return Interleaved(n, [&](std::size_t i) {
            return ScaledSum(in[0][firstIsConstant ? 0 : i], At(in[1], i), in[2][secondIsConstant ? 0 : i],
                             At(in[3], i));
        });
    };
    return operation;
}

template <class Model>
Operation OfTwo(const char* name, std::size_t second, std::vector<std::vector<std::size_t>> places,
                decltype(Operation::call) call, Model model) {
    return {name,
            {3, second},
            {3},
            false,
            false,
            std::move(places),
            std::move(call),
            [=](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
                return Interleaved(
                    n, [&](std::size_t i) { return model(At(in[0], i), At(in[1], second == 3 ? i : 0)); });
            }};
}

}  // namespace

std::vector<Floats> StructureModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    std::vector<Floats> out(3);
    for (std::size_t i = 0; i < n; ++i) {
        const Vector given = {in[0][i], in[1][i], in[2][i]};
        const Vector v =
            i < WholeBlocks(n, arithmetic) ? NormalizedByInverseRoot(given) : NormalizedInDoubles(given);
        out[0].push_back(v.x);
        out[1].push_back(v.y);
        out[2].push_back(v.z);
    }
    return out;
}

const std::vector<Operation>& Operations() {
    static const std::vector<Operation> kAll = {
        {"LengthOfVectors",
         {3},
         {1},
         true,
         false,
         {{0, 1}, {0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::LengthOfVectors(in[0], out[0], n, style);
         },
         LengthsModel},
        Normalizations("NormalizeVectors in place", {{0, 0}}, false,
                       [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
                           return Operations3D::NormalizeVectors(in[0], n, style);
                       }),
        Normalizations("NormalizeVectors", {{0, 1}, {0, 0}}, true,
                       [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                           return Operations3D::NormalizeVectors(in[0], out[0], n, style);
                       }),
        {"NormalizeVectors of a structure in place",
         {1, 1, 1},
         {1, 1, 1},
         true,
         false,
         {{0, 1, 2, 0, 1, 2}},
         [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors(Structure(in, n), style);
         },
         StructureModel},
        {"NormalizeVectors of a structure",
         {1, 1, 1},
         {1, 1, 1},
         true,
         false,
         {{0, 1, 2, 3, 4, 5}, {0, 1, 2, 0, 1, 2}, {0, 1, 2, 1, 2, 0}, {0, 1, 2, 3, 4, 1}, {0, 0, 0, 1, 2, 3}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors(Structure(in, n), Structure(out, n), style);
         },
         StructureModel},
        {"NormalizeVectors_SoAoS",
         {3},
         {3},
         true,
         true,
         {{0, 1}, {0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors_SoAoS(in[0], out[0], n, style);
         },
         BlocksModel},
        {"ScaleVectors",
         {kOneVector, 3},
         {3},
         false,
         false,
         {{0, 1, 1}},
         [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::ScaleVectors(in[0][0], in[1], n, style);
         },
         [](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
             return Interleaved(n, [&](std::size_t i) { return Scaled(in[0][0], At(in[1], i)); });
         }},
        {"DotProduct",
         {3, 3},
         {1},
         false,
         false,
         {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::DotProduct(in[0], in[1], out[0], n, style);
         },
         [](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
             return Numbers(n, [&](std::size_t i) { return Dot(At(in[0], i), At(in[1], i)); });
         }},
        OfTwo(
            "CrossProduct", 3, {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::CrossProduct(in[0], in[1], out[0], n, style);
            },
            vector_model::Cross),
        // The constant may be a vector of the batch.
        OfTwo(
            "AddConstantVector", kOneVector, {{0, 1, 2}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::AddConstantVector(in[0], in[1], out[0], n, style);
            },
            vector_model::Sum),
        OfTwo(
            "SubtractConstantVector", kOneVector, {{0, 1, 2}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::SubtractConstantVector(in[0], in[1], out[0], n, style);
            },
            vector_model::Difference),
        OfTwo(
            "AddVectors", 3, {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::AddVectors(in[0], in[1], out[0], n, style);
            },
            vector_model::Sum),
        ScaledSums("AddScaledVectors", false, false,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0], in[1], in[2], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, first scale constant", true, false,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0][0], in[1], in[2], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, second scale constant", false, true,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0], in[1], in[2][0], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, constant scales", true, true,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0][0], in[1], in[2][0], in[3], out[0], n,
                                                             style);
                   }),
    };
    return kAll;
}

const Operation& Named(const std::string& name) {
    return *std::find_if(Operations().begin(), Operations().end(),
                         [&](const Operation& each) { return each.name == name; });
}

}  // namespace vector_test
