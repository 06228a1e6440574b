// Bytes through tables.

#include "tone/kernels/LookUp.h"

#include <array>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/LookUp.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"
#include "simd/Walk-inl.h"

// With 16 bytes to a vector a table takes longer than reading its entries one by one, except on NEON.
#undef TESSELU_VECTORS_PAY
#define TESSELU_VECTORS_PAY (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_SSSE3)

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

constexpr PlaneUse kPairs = {.index = 0, .bytesPer16 = 32, .columns = 2};

// ---- Pairs ------------------------------------------------------------------------------------------------

struct Pairs {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {kPairs};
    static constexpr PlaneUse kDestinations[] = {kPairs};
    static constexpr std::size_t kUnit = 2;
    PairTables table;

    void Unit(const Place& at, std::size_t x) const {
        Pair(table, at.in[0][0] + 2 * x, at.out[0][0] + 2 * x);
    }

    static void Pair(const PairTables& table, const std::uint8_t* in, std::uint8_t* out) {
        const std::uint8_t first = table.first[in[0]], luma = table.luma[in[1]], third = table.third[in[2]];
        const std::uint8_t second = table.luma[in[3]];
        out[0] = first;
        out[1] = luma;
        out[2] = third;
        out[3] = second;
    }
};

#if TESSELU_VECTORS_PAY

/// The bytes of a table that changes nothing.
struct NoTable {
    static constexpr bool kStaysInCache = false;

    HWY_INLINE HWY_ATTR VU8 operator()(VU8 v) const { return v; }
};

template <class Chroma, class Luma>
struct PairVectors : Pairs {
    Chroma first;
    Luma luma;
    Chroma third;

    static constexpr bool kStaysInCache = Luma::kStaysInCache;
    static constexpr std::size_t kStep = 4 * kVectorBytes / 2;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        alignas(16) static constexpr std::uint8_t kDeal[16] = {0, 4, 8, 12, 2, 6,  10, 14,
                                                               1, 3, 5, 7,  9, 11, 13, 15};
        const DU8 d;
        const DU64 d64;
        const DU32 d32;
        VU64 in[4];  // blocks of four bytes 0, four bytes 2, eight of luma
        for (std::size_t i = 0; i < 4; ++i) {
            in[i] =
                hn::BitCast(d64, hn::TableLookupBytes(hn::LoadU(d, at.in[0][0] + 2 * x + i * kVectorBytes),
                                                      InEveryBlock(kDeal)));
        }
        const auto both = [&](std::size_t i) HWY_ATTR {
            return luma(hn::BitCast(d, hn::InterleaveUpper(d64, in[i], in[i + 1])));
        };
        const VU8 luma01 = both(0), luma23 = both(2);
        const VU32 chroma01 = hn::BitCast(d32, hn::InterleaveLower(d64, in[0], in[1]));
        const VU32 chroma23 = hn::BitCast(d32, hn::InterleaveLower(d64, in[2], in[3]));
        const VU8 firsts = first(hn::BitCast(d, EvenLanes(chroma01, chroma23)));
        const VU8 thirds = third(hn::BitCast(d, OddLanes(chroma01, chroma23)));
        const VU8 made01 = hn::InterleaveLower(d, firsts, thirds);
        const VU8 made23 = hn::InterleaveUpper(d, firsts, thirds);
        std::uint8_t* const out = at.out[0][0] + 2 * x;
        put(d, hn::InterleaveLower(d, made01, luma01), out);
        put(d, hn::InterleaveUpper(d, made01, luma01), out + kVectorBytes);
        put(d, hn::InterleaveLower(d, made23, luma23), out + 2 * kVectorBytes);
        put(d, hn::InterleaveUpper(d, made23, luma23), out + 3 * kVectorBytes);
    }
};

#else

/// The same without a look at the settings after each byte that is written.
struct PairRows : Pairs {
    bool Row(const Place& at, std::size_t columns) const {
        const PairTables local = table;
        const std::uint8_t* const in = at.in[0][0];
        std::uint8_t* const out = at.out[0][0];
        for (std::size_t i = 0; i < 2 * columns; i += 4) {
            Pair(local, in + i, out + i);
        }
        return true;
    }
};

#endif

// ---- Bytes ------------------------------------------------------------------------------------------------

struct Bytes {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    const std::uint8_t* table;

    void Unit(const Place& at, std::size_t x) const { at.out[0][0][x] = table[at.in[0][0][x]]; }
};

#if TESSELU_VECTORS_PAY

template <class Table>
struct ByteVectors : Bytes {
    Table vectors;

    static constexpr bool kStaysInCache = Table::kStaysInCache;
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            return vectors(hn::LoadU(DU8(), at.in[0][0] + x + i * kVectorBytes));
        });
    }
};

#else

struct ByteRows : Bytes {
    bool Row(const Place& at, std::size_t columns) const {
        const std::uint8_t *const local = table, *const in = at.in[0][0];
        std::uint8_t* const out = at.out[0][0];
        for (std::size_t x = 0; x < columns; ++x) {
            out[x] = local[in[x]];
        }
        return true;
    }
};

#endif

// ---- Kernels ----------------------------------------------------------------------------------------------

#if TESSELU_VECTORS_PAY

bool IsIdentity(const std::uint8_t* table) {
    static constexpr auto kIdentity = [] {
        std::array<std::uint8_t, 256> entries{};
        for (std::size_t i = 0; i < entries.size(); ++i) {
            entries[i] = static_cast<std::uint8_t>(i);
        }
        return entries;
    }();
    return std::memcmp(table, kIdentity.data(), kIdentity.size()) == 0;
}

void RunPairs(const LookUpJob& job, const PairTables& tables) {
    WithByteTables([&]<class Table>() HWY_ATTR {
        if (IsIdentity(tables.first) && IsIdentity(tables.third)) {
            Walk(PairVectors<NoTable, Table>{{tables}, {}, Table(tables.luma), {}}, job);
        } else {
            Walk(
                PairVectors<Table, Table>{
                    {tables}, Table(tables.first), Table(tables.luma), Table(tables.third)},
                job);
        }
    });
}
void RunBytes(const LookUpJob& job, const std::uint8_t* table) {
    WithByteTables([&]<class Table>() HWY_ATTR {
        if (IsIdentity(table)) {
            Walk(ByteVectors<NoTable>{{table}, {}}, job);
        } else {
            Walk(ByteVectors<Table>{{table}, Table(table)}, job);
        }
    });
}

#else

void RunPairs(const LookUpJob& job, const PairTables& tables) {
    Walk(PairRows{tables}, job);
}
void RunBytes(const LookUpJob& job, const std::uint8_t* table) {
    Walk(ByteRows{table}, job);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

using PairsKernel = simd::Kernel<void(const LookUpJob&, const PairTables&)>;
using BytesKernel = simd::Kernel<void(const LookUpJob&, const std::uint8_t*)>;

TESSELU_KERNEL(PairsKernel, kLookUpPairs, RunPairs);
TESSELU_KERNEL(BytesKernel, kLookUpBytes, RunBytes);

}  // namespace Zan

#endif  // HWY_ONCE
