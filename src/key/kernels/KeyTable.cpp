// Keys from bytes through a table.

#include "key/kernels/KeyTable.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "key/kernels/KeyTable.cpp"
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

// ---- Where a sample comes from ----------------------------------------------------------------------------

/// Plain bytes.
struct Bytes {
    static constexpr PlaneUse kUse = {.index = 0};
    static constexpr std::size_t kUnit = 1;

    static std::size_t Sample(std::size_t x) { return x; }

#if TESSELU_VECTORS_PAY
    /// The samples of the vector from pixel `x`.
    static HWY_INLINE HWY_ATTR VU8 Load(const std::uint8_t* row, std::size_t x) {
        return hn::LoadU(DU8(), row + x);
    }
#endif
};

/// The second byte of each 16 bits.
struct Luma {
    static constexpr PlaneUse kUse = {.index = 0, .bytesPer16 = 32, .columns = 2};
    static constexpr std::size_t kUnit = 2;

    static std::size_t Sample(std::size_t x) { return 2 * x + 1; }

#if TESSELU_VECTORS_PAY
    static HWY_INLINE HWY_ATTR VU8 Load(const std::uint8_t* row, std::size_t x) {
        const DU8 d;
        const DU16 d16;
        const DI16 di16;
        const std::uint8_t* const pairs = row + 2 * x;
        const VU16 low = hn::ShiftRight<8>(hn::BitCast(d16, hn::LoadU(d, pairs)));
        const VU16 high = hn::ShiftRight<8>(hn::BitCast(d16, hn::LoadU(d, pairs + kVectorBytes)));
        const VU8 packed = PackToBytes(hn::BitCast(di16, low), hn::BitCast(di16, high));
        return hn::BitCast(d, HalvesApart(hn::BitCast(DU64(), packed)));
    }
#endif
};

// ---- What becomes of it -----------------------------------------------------------------------------------

/// The key is the table's entry.
template <class From>
struct Entries {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {From::kUse};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    static constexpr std::size_t kUnit = From::kUnit;
    const std::uint8_t* table;

    void Unit(const Place& at, std::size_t x) const {
        for (std::size_t i = x; i < x + kUnit; ++i) {
            at.out[0][0][i] = table[at.in[0][0][From::Sample(i)]];
        }
    }

#if TESSELU_VECTORS_PAY
    template <class Table>
    HWY_INLINE HWY_ATTR VU8 Make(const Table& vectors, const Place& at, std::size_t x) const {
        return vectors(From::Load(at.in[0][0], x));
    }
#endif
};

/// The key is the table's entry times the key so far.
template <class From>
struct Products {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {From::kUse, {.index = 1}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    static constexpr std::size_t kUnit = From::kUnit;
    const std::uint8_t* table;

    void Unit(const Place& at, std::size_t x) const {
        for (std::size_t i = x; i < x + kUnit; ++i) {
            const unsigned t = table[at.in[0][0][From::Sample(i)]] * unsigned{at.in[1][0][i]} + 128;
            at.out[0][0][i] = static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
        }
    }

#if TESSELU_VECTORS_PAY
    template <class Table>
    HWY_INLINE HWY_ATTR VU8 Make(const Table& vectors, const Place& at, std::size_t x) const {
        const DU8 d;
        const DU16 d16;
        const DI16 di16;
        const VU8 zero = hn::Zero(d), key = hn::LoadU(d, at.in[1][0] + x);
        const VU8 entry = vectors(From::Load(at.in[0][0], x));
        // With u = g * d + 128, which is below 65536, (u + (u >> 8)) >> 8 is (u * 257) >> 16.
        const auto over255 = [&](VU16 g, VU16 k) HWY_ATTR {
            const VU16 u = hn::Add(hn::Mul(g, k), hn::Set(d16, 128));
            return hn::BitCast(di16, hn::MulHigh(u, hn::Set(d16, 257)));
        };
        return PackToBytes(over255(hn::BitCast(d16, hn::InterleaveLower(d, entry, zero)),
                                   hn::BitCast(d16, hn::InterleaveLower(d, key, zero))),
                           over255(hn::BitCast(d16, hn::InterleaveUpper(d, entry, zero)),
                                   hn::BitCast(d16, hn::InterleaveUpper(d, key, zero))));
    }
#endif
};

// ---- Kernels ----------------------------------------------------------------------------------------------

#if TESSELU_VECTORS_PAY

template <class Made, class Table>
struct InVectors : Made {
    Table vectors;

    using Place = typename Made::Place;
    static constexpr bool kStaysInCache = Table::kStaysInCache;
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + x, put,
                [&](std::size_t i) HWY_ATTR { return this->Make(vectors, at, x + i * kVectorBytes); });
    }
};

template <class Made, class Job>
void Run(const Job& job, const std::uint8_t* table) {
    WithByteTables([&]<class Table>() HWY_ATTR { Walk(InVectors<Made, Table>{{table}, Table(table)}, job); });
}

#else

/// Without a look at the settings after each byte that is written.
template <class Made>
struct InRows : Made {
    using Place = typename Made::Place;

    bool Row(const Place& place, std::size_t columns) const {
        // A row that the memory does not hold in full may end inside of a unit.
        if (columns % Made::kUnit != 0) {
            return false;
        }
        const Made local = *this;
        const Place at = place;
        for (std::size_t x = 0; x < columns; x += Made::kUnit) {
            local.Unit(at, x);
        }
        return true;
    }
};

template <class Made, class Job>
void Run(const Job& job, const std::uint8_t* table) {
    Walk(InRows<Made>{{table}}, job);
}

#endif

void RunBytes(const KeyTableJob& job, const std::uint8_t* table) {
    Run<Entries<Bytes>>(job, table);
}
void RunLuma(const KeyTableJob& job, const std::uint8_t* table) {
    Run<Entries<Luma>>(job, table);
}
void RunProduct(const KeyProductJob& job, const std::uint8_t* table) {
    Run<Products<Luma>>(job, table);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

using KeyTableKernel = simd::Kernel<void(const KeyTableJob&, const std::uint8_t*)>;
using KeyProductKernel = simd::Kernel<void(const KeyProductJob&, const std::uint8_t*)>;

TESSELU_KERNEL(KeyTableKernel, kKeyOfBytes, RunBytes);
TESSELU_KERNEL(KeyTableKernel, kKeyOfLuma, RunLuma);
TESSELU_KERNEL(KeyProductKernel, kKeyTimesLuma, RunProduct);

}  // namespace Zan

#endif  // HWY_ONCE
