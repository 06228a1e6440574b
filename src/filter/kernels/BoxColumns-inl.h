// Sums of columns, and the ring of them that boxes read.

#if defined(TESSELU_SRC_FILTER_KERNELS_BOXCOLUMNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_BOXCOLUMNS_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_BOXCOLUMNS_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_BOXCOLUMNS_INL_H
#endif

#include "filter/kernels/BoxVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// Slots of the ring: what a box holds, and what is made ahead of it.
std::size_t SlotsFor(const BoxJob& job) {
    std::size_t slots = 128;
    while (slots < job.boxWidth + 4 * kPixels) {
        slots *= 2;
    }
    return slots;
}

/// The sums of the last columns for all rows of a block. The first slots are there twice, so that as many
/// from anywhere lie one behind the other.
class Ring {
public:
    static std::size_t Bytes(const BoxJob& job) { return (SlotsFor(job) + kPixels) * kBytes; }

    Ring(const BoxJob& job, std::size_t newFirst, std::uint8_t* memory)
        : first(newFirst), mask(SlotsFor(job) - 1), slots(memory) {}

    /// The slot of column `x` and, to be read, the `kPixels` - 1 next ones.
    HWY_INLINE std::uint8_t* Slots(std::size_t x) const { return slots + Index(x) * kBytes; }

    HWY_INLINE HWY_ATTR void Put(VU16 sums, std::size_t x) const {
        const std::size_t at = Index(x);
        PutAt(sums, slots + at * kBytes);
        if (at < kPixels) {
            PutAt(sums, slots + (at + mask + 1) * kBytes);
        }
    }

    /// Repeats the columns before `from`, one after the other to the left, from `to` to below `end`.
    HWY_NOINLINE HWY_ATTR void Mirror(std::size_t from, std::size_t to, std::size_t end) const {
        const Ring ring = *this;
        for (; to < end; ++to) {
            --from;
            ring.Put(hn::BitCast(DU16(), hn::Load(DU8(), ring.Slots(from))), to);
        }
    }

    /// Repeats columns 1 to `reach`, where 0 is the first, before it.
    HWY_INLINE HWY_ATTR void MirrorFirst(std::size_t reach) const {
        const DU8 d;
        std::uint8_t* to = slots + (mask + 1) * kBytes;
        for (std::size_t i = 1; i <= reach; ++i) {
            to -= kBytes;
            hn::Store(hn::Load(d, slots + i * kBytes), d, to);
        }
    }

    /// On the way along the ring in steps of `kPixels`.
    class Walk {
    public:
        Walk(std::uint8_t* newSlots, std::size_t index, std::size_t newMask)
            : slots(newSlots), at(index * kBytes), mask(newMask * kBytes) {}

        HWY_INLINE std::uint8_t* Slots() const { return slots + at; }
        HWY_INLINE void Move() { at = (at + kPixels * kBytes) & mask; }
        /// To be called when the slots have been made.
        HWY_INLINE void RepeatFirst() const {
            if (HWY_UNLIKELY(at == 0)) {
                std::memcpy(slots + mask + kBytes, slots, kPixels * kBytes);
            }
        }

    private:
        std::uint8_t* slots;
        std::size_t at, mask;
    };
    HWY_INLINE Walk From(std::size_t x) const { return {slots, Index(x), mask}; }

    /// Turns the sums of `kPixels` columns, a whole number of vectors from the first. Block b of row i holds
    /// columns 4b and 4b + 1 in `lower`, and the two behind them in `upper`.
    static HWY_INLINE HWY_ATTR void Turn(const VU16 (&lower)[kRows], const VU16 (&upper)[kRows],
                                         std::uint8_t* to) {
        TurnPairs(lower, to);
        TurnPairs(upper, to + 2 * kBytes);
    }

private:
    HWY_INLINE std::size_t Index(std::size_t x) const { return (x - first) & mask; }

    static HWY_INLINE HWY_ATTR void PutAt(VU16 sums, std::uint8_t* to) {
        hn::Store(hn::BitCast(DU8(), sums), DU8(), to);
    }

    /// Halves of blocks become rows.
    static HWY_INLINE HWY_ATTR void TurnPairs(const VU16 (&sums)[kRows], std::uint8_t* to) {
        const DU64 d;
        VU16 left[kBlocks], right[kBlocks];
        for (std::size_t i = 0; i < kBlocks; ++i) {
            const auto row = hn::BitCast(d, sums[2 * i]), next = hn::BitCast(d, sums[2 * i + 1]);
            left[i] = hn::BitCast(DU16(), hn::InterleaveLower(d, row, next));
            right[i] = hn::BitCast(DU16(), hn::InterleaveUpper(d, row, next));
        }
        const auto put = [](std::uint8_t* at) {
            return [at](VU8 slot, std::size_t i) HWY_ATTR { hn::Store(slot, DU8(), at + 4 * i * kBytes); };
        };
        Turned(left, put(to));
        Turned(right, put(to + kBytes));
    }

    std::size_t first, mask;
    std::uint8_t* slots;
};
/// Sums of columns, for the row above a block.
class Columns {
public:
    static constexpr std::size_t kBytesEach = 8;

    Columns(std::size_t newFirst, std::uint8_t* memory) : first(newFirst), sums(memory) {}

    /// Sums the columns around the row above the first.
    HWY_ATTR void Start(const BoxJob& job, std::size_t end, std::uint32_t bias) const {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(job.top) - 1 - reach;
        const auto rowAt = [&](std::size_t i) {
            return job.source.Row(Mirrored(from + static_cast<std::ptrdiff_t>(i), job.height));
        };
        const VU16 none = hn::Set(DU16(), static_cast<std::uint16_t>(bias));
        const std::uint8_t* const row = rowAt(0);
        for (std::size_t x = first; x < end; x += kPixels) {
            const Halves one = AddBytes<false>(LoadPixels(row, x, job.width), hn::Zero(DU8()));
            Put({hn::Sub(one.lower, none), hn::Sub(one.upper, none)}, At(x));
        }
        constexpr std::size_t kMost = 8;
        const std::uint8_t* rows[kMost];
        std::size_t i = 1;
        for (; i + kMost <= job.boxHeight; i += kMost) {
            for (std::size_t k = 0; k < kMost; ++k) {
                rows[k] = rowAt(i + k);
            }
            AddRows(rows, end, job.width);
        }
        for (; i < job.boxHeight; i += 2) {
            const std::uint8_t* const two[] = {rowAt(i), rowAt(i + 1)};
            AddRows(two, end, job.width);
        }
    }

    /// Makes those from column `x` for all rows of a block. Calls `between(row)` after each, `row` being a
    /// constant: processors look some 64 vector operations ahead, so what does not depend on one another
    /// shall lie close together.
    template <class Between>
    static HWY_INLINE HWY_ATTR void Make(const Block& block, std::size_t x, std::size_t width,
                                         std::uint8_t* at, std::uint8_t* slots, Between& between) {
        VU16 lower[kRows], upper[kRows];
        Halves sum = Get(at);
        MakeRow<0>(block, x, width, sum, lower, upper, between);
        Put(sum, at);
        Ring::Turn(lower, upper, slots);
    }
    /// The sums of column `x`, a whole number of vectors from the first.
    HWY_INLINE std::uint8_t* At(std::size_t x) const { return sums + (x - first) * kBytesEach; }

    void Clear(std::size_t end) const {
        std::memset(sums, 0, (end - first + kPixels - 1) / kPixels * kPixels * kBytesEach);
    }
    /// Adds those of a column, which are signed, to others.
    HWY_INLINE void AddTo(std::uint32_t* others, std::size_t x) const {
        // Halves of blocks hold two columns each.
        const std::size_t at = x - first, group = at / kPixels, pixel = at % kPixels;
        const std::uint8_t* const from =
            sums + group * 2 * kBytes + pixel % 4 / 2 * kBytes + pixel / 4 * 16 + pixel % 2 * 8;
        std::int16_t changes[4];
        std::memcpy(changes, from, sizeof changes);
        for (std::size_t i = 0; i < 4; ++i) {
            others[i] += static_cast<std::uint32_t>(std::int32_t{changes[i]});
        }
    }

private:
    /// Adds an even number of rows.
    template <std::size_t kCount>
    HWY_ATTR void AddRows(const std::uint8_t* const (&rows)[kCount], std::size_t end,
                          std::size_t width) const {
        const auto add = [&](std::size_t x, std::size_t last) HWY_ATTR {
            Halves sum = Get(At(x));
            for (std::size_t i = 0; i < kCount; i += 2) {
                const Halves two =
                    AddBytes<false>(LoadPixels(rows[i], x, last), LoadPixels(rows[i + 1], x, last));
                sum = {hn::Add(sum.lower, two.lower), hn::Add(sum.upper, two.upper)};
            }
            Put(sum, At(x));
        };
        std::size_t x = first;
        for (; x < end && x + kPixels <= width; x += kPixels) {
            add(x, x + kPixels);
        }
        if (x < end) {
            add(x, width);
        }
    }

    template <std::size_t I, class Between>
    static HWY_INLINE HWY_ATTR void MakeRow(const Block& block, std::size_t x, std::size_t width, Halves& sum,
                                            VU16 (&lower)[kRows], VU16 (&upper)[kRows], Between& between) {
        const Halves change =
            AddBytes<true>(LoadPixels(block.entering[I], x, width), LoadPixels(block.leaving[I], x, width));
        lower[I] = sum.lower = hn::Add(sum.lower, change.lower);
        upper[I] = sum.upper = hn::Add(sum.upper, change.upper);
        between.template Move<I>();
        if constexpr (I + 1 < kRows) {
            MakeRow<I + 1>(block, x, width, sum, lower, upper, between);
        }
    }

    static HWY_INLINE HWY_ATTR Halves Get(const std::uint8_t* at) {
        const DU8 d;
        const DU16 d16;
        return {hn::BitCast(d16, hn::Load(d, at)), hn::BitCast(d16, hn::Load(d, at + kBytes))};
    }
    static HWY_INLINE HWY_ATTR void Put(Halves halves, std::uint8_t* at) {
        const DU8 d;
        hn::Store(hn::BitCast(d, halves.lower), d, at);
        hn::Store(hn::BitCast(d, halves.upper), d, at + kBytes);
    }

    std::size_t first;
    std::uint8_t* sums;
};

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
