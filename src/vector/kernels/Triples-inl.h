// Vectors of three floats, taken apart into their components and put together again.

#if defined(TESSELU_SRC_VECTOR_KERNELS_TRIPLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_VECTOR_KERNELS_TRIPLES_INL_H
#undef TESSELU_SRC_VECTOR_KERNELS_TRIPLES_INL_H
#else
#define TESSELU_SRC_VECTOR_KERNELS_TRIPLES_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using DF = hn::ScalableTag<float>;
using VF = hn::Vec<DF>;

/// The components of as many vectors as there are lanes, in one order of lanes.
struct Triples {
    VF x, y, z;
};

/// Around the cache or not; around it addresses are aligned to the lanes.
template <bool Around>
HWY_INLINE HWY_ATTR void Store(VF v, float* to) {
    if constexpr (Around) {
        hn::Stream(v, DF(), to);
    } else {
        hn::StoreU(v, DF(), to);
    }
}

// Where lanes are no multiple of three, x of n vectors lies in n different lanes of the three registers that
// hold them: vector i in lane 3 i mod n. Blends gather it, and turns by a lane and by two bring y and z
// there. AVX2, lanes 0...7: vectors 0 3 6 1 4 7 2 5. AVX-512: 0 11 6 1 12 7 2 13 8 3 14 9 4 15 10 5.

constexpr int kFloatLanes = static_cast<int>(HWY_MAX_BYTES / sizeof(float));

struct LaneOrder {
    alignas(64) std::int32_t lane[kFloatLanes];
};

/// Lane i gets lane `order.lane[i]`.
HWY_INLINE HWY_ATTR VF Reordered(VF v, const LaneOrder& order) {
    return hn::TableLookupLanes(v, hn::SetTableIndices(DF(), order.lane));
}

#undef TESSELU_BLENDED_TRIPLES
#if HWY_TARGET == HWY_AVX3

/// Of three registers, lanes with j mod 3 = 0, 1 and 2.
HWY_INLINE HWY_ATTR VF Pick3(VF a, VF b, VF c) {
    return VF{_mm512_mask_mov_ps(_mm512_mask_mov_ps(a.raw, 0x2492, b.raw), 0x4924, c.raw)};
}
/// Lane j gets lane j + Lanes.
template <int Lanes>
HWY_INLINE HWY_ATTR VF Turned(VF v) {
    const __m512i bits = _mm512_castps_si512(v.raw);
    return VF{_mm512_castsi512_ps(_mm512_alignr_epi32(bits, bits, Lanes))};
}
#define TESSELU_BLENDED_TRIPLES 1

#elif HWY_TARGET == HWY_AVX2

HWY_INLINE HWY_ATTR VF Pick3(VF a, VF b, VF c) {
    return VF{_mm256_blend_ps(_mm256_blend_ps(a.raw, b.raw, 0x92), c.raw, 0x24)};
}
template <int Lanes>
HWY_INLINE HWY_ATTR VF Turned(VF v) {
    constexpr int n = Lanes;
    const __m256i order = _mm256_setr_epi32(n % 8, (n + 1) % 8, (n + 2) % 8, (n + 3) % 8, (n + 4) % 8,
                                            (n + 5) % 8, (n + 6) % 8, (n + 7) % 8);
    return VF{_mm256_permutevar8x32_ps(v.raw, order)};
}
#define TESSELU_BLENDED_TRIPLES 1

#else
#define TESSELU_BLENDED_TRIPLES 0
#endif

#if TESSELU_BLENDED_TRIPLES

/// Components of three registers of interleaved floats.
HWY_INLINE HWY_ATTR Triples Apart(VF a, VF b, VF c) {
#if HWY_TARGET == HWY_AVX3
    return {Pick3(a, c, b), Turned<1>(Pick3(b, a, c)), Turned<2>(Pick3(c, b, a))};
#else
    return {Pick3(a, b, c), Turned<1>(Pick3(c, a, b)), Turned<2>(Pick3(b, c, a))};
#endif
}

/// Keeps the compiler from loading a register anew for each blend.
HWY_INLINE HWY_ATTR VF InRegister(VF v) {
#if HWY_COMPILER_GCC || HWY_COMPILER_CLANG
    __asm__("" : "+v"(v.raw));
#endif
    return v;
}

HWY_INLINE HWY_ATTR Triples LoadTriples(const float* from) {
    const DF d;
    return Apart(InRegister(hn::LoadU(d, from)), InRegister(hn::LoadU(d, from + kFloatLanes)),
                 InRegister(hn::LoadU(d, from + 2 * kFloatLanes)));
}

template <bool Around>
HWY_INLINE HWY_ATTR void StoreTriples(const Triples& v, float* to) {
    const VF y = Turned<kFloatLanes - 1>(v.y), z = Turned<kFloatLanes - 2>(v.z);
    Store<Around>(Pick3(v.x, y, z), to);
#if HWY_TARGET == HWY_AVX3
    Store<Around>(Pick3(y, z, v.x), to + kFloatLanes);
    Store<Around>(Pick3(z, v.x, y), to + 2 * kFloatLanes);
#else
    Store<Around>(Pick3(z, v.x, y), to + kFloatLanes);
    Store<Around>(Pick3(y, z, v.x), to + 2 * kFloatLanes);
#endif
}

constexpr LaneOrder OrderOfVectors() {
    LaneOrder order{};
    for (int i = 0; i < kFloatLanes; ++i) {
        order.lane[i] = 3 * i % kFloatLanes;
    }
    return order;
}
/// Of register `part` of three: the lane of the vector that each float belongs to.
constexpr LaneOrder OrderOfOwners(int part) {
    LaneOrder order{};
    for (int i = 0; i < kFloatLanes; ++i) {
        order.lane[i] = (i + kFloatLanes - (part * kFloatLanes + i) % 3) % kFloatLanes;
    }
    return order;
}

/// One value for each vector, in the order of the vectors.
HWY_INLINE HWY_ATTR VF InOrder(VF v) {
    static constexpr LaneOrder kOrder = OrderOfVectors();
    return Reordered(v, kOrder);
}

/// One value for each vector, at each of its floats, in register `Part` of three.
template <int Part>
HWY_INLINE HWY_ATTR VF Owners(VF v) {
    static constexpr LaneOrder kOrder = OrderOfOwners(Part);
    return Reordered(v, kOrder);
}

#if HWY_TARGET == HWY_AVX3

/// Of the floats in three registers: the component of the vector that each float of register `part` belongs
/// to, counted from the first register that has one of them.
struct OwnersComponent {
    constexpr OwnersComponent(int part, int component) {
        for (int i = 0; i < kFloatLanes; ++i) {
            const int at = (part * kFloatLanes + i) / 3 * 3 + component;
            if (i == 0) {
                first = at / kFloatLanes;
            }
            order.lane[i] = at - first * kFloatLanes;
        }
        isInOne = order.lane[kFloatLanes - 1] < kFloatLanes;
    }

    LaneOrder order{};
    int first = 0;
    bool isInOne = false;
};
template <int Part, int Component>
HWY_INLINE HWY_ATTR VF ComponentOfOwners(VF a, VF b, VF c) {
    static constexpr OwnersComponent kWanted(Part, Component);
    const VF low = kWanted.first == 0 ? a : kWanted.first == 1 ? b : c;
    if constexpr (kWanted.isInOne) {
        return Reordered(low, kWanted.order);
    } else {
        const VF high = kWanted.first == 0 ? b : c;
        return VF{_mm512_permutex2var_ps(low.raw, _mm512_load_si512(kWanted.order.lane), high.raw)};
    }
}

#endif

#else

HWY_INLINE HWY_ATTR Triples LoadTriples(const float* from) {
    Triples v;
    hn::LoadInterleaved3(DF(), from, v.x, v.y, v.z);
    return v;
}
template <bool Around>
HWY_INLINE HWY_ATTR void StoreTriples(const Triples& v, float* to) {
    if constexpr (Around) {
        HWY_ALIGN float buffer[3 * kFloatLanes];
        hn::StoreInterleaved3(v.x, v.y, v.z, DF(), buffer);
        for (int i = 0; i < 3 * kFloatLanes; i += kFloatLanes) {
            Store<true>(hn::Load(DF(), buffer + i), to + i);
        }
    } else {
        hn::StoreInterleaved3(v.x, v.y, v.z, DF(), to);
    }
}
HWY_INLINE HWY_ATTR VF InOrder(VF v) {
    return v;
}

#endif

constexpr LaneOrder OrderOfSpread(int part) {
    LaneOrder order{};
    for (int i = 0; i < kFloatLanes; ++i) {
        order.lane[i] = (part * kFloatLanes + i) / 3;
    }
    return order;
}
/// One value for each vector in the order of the vectors, at each float of register `Part` of three.
template <int Part>
HWY_INLINE HWY_ATTR VF Spread(VF v) {
    static constexpr LaneOrder kOrder = OrderOfSpread(Part);
    return Reordered(v, kOrder);
}

HWY_INLINE HWY_ATTR VF SumOfSquares(VF x, VF y, VF z) {
    return hn::Add(hn::Add(hn::Mul(x, x), hn::Mul(y, y)), hn::Mul(z, z));
}

// Blocks of four vectors: four x, four y, four z. The same with blocks in place of lanes. AVX-512: x of
// groups 0 3 2 1, AVX2: of 0 1.

/// The squares of the lengths of all vectors in three registers, in the order of x.
HWY_INLINE HWY_ATTR VF SquaresOfBlocks(VF a, VF b, VF c) {
#if HWY_TARGET == HWY_AVX3
    const auto pick = [](VF of0, VF of1, __mmask16 mask1, VF of2, __mmask16 mask2) HWY_ATTR {
        return _mm512_mask_mov_ps(_mm512_mask_mov_ps(of0.raw, mask1, of1.raw), mask2, of2.raw);
    };
    const __m512 y = pick(a, b, 0xF00F, c, 0x0F00), z = pick(a, b, 0x00F0, c, 0xF00F);
    return SumOfSquares(VF{pick(a, b, 0x0F00, c, 0x00F0)},
                        VF{_mm512_shuffle_f32x4(y, y, _MM_SHUFFLE(0, 3, 2, 1))},
                        VF{_mm512_shuffle_f32x4(z, z, _MM_SHUFFLE(1, 0, 3, 2))});
#elif HWY_TARGET == HWY_AVX2
    return SumOfSquares(VF{_mm256_blend_ps(a.raw, b.raw, 0xF0)},
                        VF{_mm256_permute2f128_ps(a.raw, c.raw, 0x21)},
                        VF{_mm256_blend_ps(b.raw, c.raw, 0xF0)});
#else
    return SumOfSquares(a, b, c);
#endif
}

/// One value for each vector in that order, at each float of register `Part`.
template <int Part>
HWY_INLINE HWY_ATTR VF BlockOwners(VF v) {
#if HWY_TARGET == HWY_AVX3
    constexpr int kOrder = Part == 0   ? _MM_SHUFFLE(3, 0, 0, 0)
                           : Part == 1 ? _MM_SHUFFLE(2, 2, 3, 3)
                                       : _MM_SHUFFLE(1, 1, 1, 2);
    return VF{_mm512_shuffle_f32x4(v.raw, v.raw, kOrder)};
#elif HWY_TARGET == HWY_AVX2
    return Part == 1 ? v : VF{_mm256_permute2f128_ps(v.raw, v.raw, Part == 0 ? 0x00 : 0x11)};
#else
    return v;
#endif
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // TESSELU_SRC_VECTOR_KERNELS_TRIPLES_INL_H
