// Means of boxes of any size, by sums that go along with the pixels.
//
// Rows are taken in blocks of as many as have one pixel's four 16-bit sums each in a vector: 4 in 256 bits.
// Along the columns of a block run two things at once:
//
// - Ahead, the sums of columns: what enters a box below minus what leaves it above is added to the sums of
// the
//   row before, a vector of pixels at a time and row by row. They are turned by 90 degrees then: a slot of
//   the ring holds the sums of one column for all rows of the block.
// - Behind, the sums of boxes: a slot that enters is added and one that leaves is taken away, for all rows of
//   the block at once. There is nothing to be summed across lanes.
//
// With vectors of 128 bits blocks have 2 rows, with 512 bits 8, and a step more to turn.

#if defined(TESSELU_SRC_FILTER_KERNELS_RUNNINGBOX_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_RUNNINGBOX_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_RUNNINGBOX_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_RUNNINGBOX_INL_H
#endif

#include "filter/kernels/BoxColumns-inl.h"
#include "filter/kernels/BoxSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

HWY_INLINE HWY_ATTR VU16 Slot(const std::uint8_t* slot) {
    return hn::BitCast(DU16(), hn::Load(DU8(), slot));
}

constexpr std::size_t kLine = 64;  ///< of the cache

/// Boxes on their way along `kPixels` columns, in as many parts as a block has rows.
template <class Summing>
class Boxes {
public:
    using Sums = typename Summing::Sums;

    HWY_INLINE HWY_ATTR Boxes(const Summing& newSumming, const Sums& newSums, const std::uint8_t* newEntering,
                              const std::uint8_t* newLeaving, const std::uint32_t* newAbove)
        : summing(newSumming), sums(newSums), entering(newEntering), leaving(newLeaving), above(newAbove) {}

    template <std::size_t Part>
    HWY_INLINE HWY_ATTR void Move() {
        constexpr std::size_t kFirst = Part * kPixels / kRows, kSecond = kFirst + 1;
        static_assert(kPixels == 2 * kRows);
        const Sums first = Next(kFirst), second = Next(kSecond);
        pairs[kFirst % 4 / 2] = summing.Means(first, second);
        if constexpr (kSecond % 4 == 3) {
            const VU32 low = hn::BitCast(DU32(), pairs[0]), high = hn::BitCast(DU32(), pairs[1]);
            even[kSecond / 4] = hn::BitCast(DU8(), EvenLanes(low, high));
            odd[kSecond / 4] = hn::BitCast(DU8(), OddLanes(low, high));
        }
    }
    template <std::size_t Part = 0>
    HWY_INLINE HWY_ATTR void MoveAll() {
        Move<Part>();
        if constexpr (Part + 1 < kRows) {
            MoveAll<Part + 1>();
        }
    }

    HWY_INLINE HWY_ATTR Sums Last() const { return sums; }
    /// Writes the pixels to the rows.
    HWY_INLINE HWY_ATTR void Write(std::uint8_t* const (&rows)[kRows], std::size_t x) const {
        const auto put = [&rows, x](std::size_t odds) {
            return [&rows, x, odds](VU8 pixels, std::size_t i)
                       HWY_ATTR { hn::StoreU(pixels, DU8(), rows[2 * i + odds] + 4 * x); };
        };
        Turned(even, put(0));
        Turned(odd, put(1));
    }
    /// The same around the cache, to whole lines: `halves` is what goes before, if anything does.
    HWY_INLINE HWY_ATTR void Stream(std::uint8_t* const (&rows)[kRows], std::size_t x,
                                    const std::uint8_t* halves) const {
        const auto put = [&rows, x, halves](std::size_t odds) {
            return [&rows, x, halves, odds](VU8 pixels, std::size_t i) HWY_ATTR {
                const DU8 d;
                std::uint8_t* const to = rows[2 * i + odds] + 4 * x;
                if constexpr (kBytes < kLine) {
                    hn::Stream(hn::Load(d, halves + (2 * i + odds) * kBytes), d, to - kBytes);
                }
                hn::Stream(pixels, d, to);
            };
        };
        Turned(even, put(0));
        Turned(odd, put(1));
    }

private:
    /// The boxes of column `i`.
    HWY_INLINE HWY_ATTR Sums Next(std::size_t i) {
        Summing::Move(sums, Slot(entering + i * kBytes), Slot(leaving + i * kBytes));
        if constexpr (Summing::kTall) {
            return Summing::Plus(sums, above + 4 * i);
        } else {
            return sums;
        }
    }

    const Summing summing;
    Sums sums;
    const std::uint8_t *entering, *leaving;
    const std::uint32_t* above;
    VU8 pairs[2];                     ///< of columns
    VU8 even[kBlocks], odd[kBlocks];  ///< four pixels of the even row of each block, and of the odd one
};

/// For columns that are made ahead of all boxes.
struct NoBoxes {
    template <std::size_t>
    void Move() {}
};

/// Where there are none they are not asked for.
HWY_INLINE const std::uint32_t* AboveAt(const std::uint32_t* above, std::size_t x) {
    return above == nullptr ? nullptr : above + 4 * x;
}

template <class Summing>
HWY_ATTR void BlurBlock(const BoxJob& job, const Block& rows, const Summing& theSumming,
                        const Columns& theColumns, const Ring& theRing, const std::uint32_t* above) {
    // In registers: bytes that are written may be anything.
    const Block block = rows;
    const Summing summing = theSumming;
    const Columns columns = theColumns;
    const Ring ring = theRing;
    const std::size_t width = job.width, left = job.left, right = job.right, reach = job.boxWidth / 2;
    const std::size_t end = EndColumn(job);
    const auto address = reinterpret_cast<std::uintptr_t>(block.out[0] + 4 * left);
    // Lines of the cache in parts, and of several rows in turn, would be slow: a half waits for the other.
    const bool streams = 2 * kBytes >= kLine && job.streams &&
                         (address | static_cast<std::uintptr_t>(job.destination.pitch)) % kLine == 0;

    NoBoxes none;
    std::size_t made = FirstColumn(job);
    // Beyond the picture lie slots of columns that are mirrored there.
    std::size_t mirrored = width;
    const auto makeBelow = [&](std::size_t column) HWY_ATTR {
        for (; made < std::min(column, end); made += kPixels) {
            columns.Make(block, made, width, columns.At(made), ring.Slots(made), none);
            ring.From(made).RepeatFirst();
        }
        if (const std::size_t last = std::min(column, right + reach); mirrored < last) {
            ring.Mirror(2 * width - 1 - mirrored, mirrored, last);
            mirrored = last;
        }
    };
    // A vector ahead of what the first boxes need: the loop below then makes columns for its next round, and
    // neither half of it waits for the other.
    makeBelow(left + reach + 1 + kPixels);
    if (left < reach) {
        ring.MirrorFirst(reach - left);
    }
    typename Summing::Sums sums = summing.Start();
    for (std::size_t i = 0; i < job.boxWidth - 1; ++i) {
        Summing::Move(sums, Slot(ring.Slots(left - reach + i)), hn::Zero(DU16()));
    }
    // Nothing leaves the first box.
    ring.Put(hn::Zero(DU16()), left - reach - 1);

    std::size_t x = left;
    if (block.rows == kRows) {
        // The next columns of the ring and the next pixels.
        const std::size_t most = std::min(end, width);
        const std::size_t vectors =
            made < most ? std::min((right - x) / kPixels, (most - made) / kPixels) : 0;
        Ring::Walk entering = ring.From(x + reach), leaving = ring.From(x - reach - 1),
                   next = ring.From(made);
        std::uint8_t* ofColumns = columns.At(made);
        alignas(kBytes) std::uint8_t halves[kRows][kBytes];
        std::uint8_t* halfRows[kRows];
        for (std::size_t i = 0; i < kRows; ++i) {
            halfRows[i] = halves[i];
        }
        for (const std::size_t after = x + vectors * kPixels; x != after; x += kPixels, made += kPixels) {
            Boxes<Summing> boxes(summing, sums, entering.Slots(), leaving.Slots(), AboveAt(above, x - left));
            columns.Make(block, made, made + kPixels, ofColumns, next.Slots(), boxes);
            sums = boxes.Last();
            if (!streams) {
                boxes.Write(block.out, x);
            } else if (kBytes < kLine && (x - left) % (2 * kPixels) == 0 && x + kPixels != after) {
                boxes.Write(halfRows, 0);
            } else if (kBytes < kLine && (x - left) % (2 * kPixels) == 0) {
                boxes.Write(block.out, x);
            } else {
                boxes.Stream(block.out, x, halves[0]);
            }
            next.RepeatFirst();
            ofColumns += 2 * kBytes;
            entering.Move();
            leaving.Move();
            next.Move();
        }
    }
    for (; x < right; x += kPixels) {
        makeBelow(x + kPixels + reach);
        Boxes<Summing> boxes(summing, sums, ring.Slots(x + reach), ring.Slots(x - reach - 1),
                             AboveAt(above, x - left));
        boxes.MoveAll();
        sums = boxes.Last();
        if (block.rows == kRows && x + kPixels <= right) {
            boxes.Write(block.out, x);
            continue;
        }
        alignas(kBytes) std::uint8_t some[kRows][kBytes];
        std::uint8_t* someRows[kRows];
        for (std::size_t i = 0; i < kRows; ++i) {
            someRows[i] = some[i];
        }
        boxes.Write(someRows, 0);
        for (std::size_t i = 0; i < block.rows; ++i) {
            std::memcpy(block.out[i] + 4 * x, some[i], 4 * std::min(kPixels, right - x));
        }
    }
}

/// Sums of tall columns, and of their boxes, for the row above a block, in 32 bits.
class TallSums {
public:
    static constexpr std::size_t kBytesEach = 2 * 4 * sizeof(std::uint32_t);

    TallSums(const BoxJob& newJob, std::uint8_t* memory)
        : job(newJob),
          first(FirstColumn(job)),
          end(EndColumn(job)),
          ofColumns(reinterpret_cast<std::uint32_t*>(memory)),
          ofBoxes(ofColumns + 4 * (end - first)) {}

    HWY_ATTR void Start() const {
        std::memset(ofColumns, 0, (end - first) * kBytesEach / 2);
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        const std::ptrdiff_t above = static_cast<std::ptrdiff_t>(job.top) - 1;
        for (std::ptrdiff_t y = above - reach; y <= above + reach; ++y) {
            const std::uint8_t* const row = job.source.Row(Mirrored(y, job.height)) + 4 * first;
            for (std::size_t i = 0; i < 4 * (end - first); ++i) {
                ofColumns[i] += row[i];
            }
        }
    }
    /// Takes over what changed in a block.
    HWY_ATTR void Add(const Columns& changes) const {
        for (std::size_t x = first; x < end; ++x) {
            changes.AddTo(ofColumns + 4 * (x - first), x);
        }
    }
    /// The sums of boxes from the left of the job on: the even samples of each pixel, then the odd ones.
    HWY_ATTR const std::uint32_t* Boxes() const {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxWidth / 2);
        const auto column = [this](std::ptrdiff_t x) {
            return ofColumns + 4 * (Mirrored(x, job.width) - first);
        };
        OfBytes<std::uint32_t> box{};
        const auto left = static_cast<std::ptrdiff_t>(job.left);
        for (std::ptrdiff_t x = left - reach; x < left + reach; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                box.of[i] += column(x)[i];
            }
        }
        std::uint32_t* to = ofBoxes;
        for (std::ptrdiff_t x = left; x < static_cast<std::ptrdiff_t>(job.right); ++x, to += 4) {
            const std::uint32_t *const entering = column(x + reach), *const leaving = column(x - reach);
            for (std::size_t i = 0; i < 4; ++i) {
                const std::uint32_t sum = box.of[i] + entering[i];
                to[i % 2 * 2 + i / 2] = sum;
                box.of[i] = sum - leaving[i];
            }
        }
        return ofBoxes;
    }

private:
    const BoxJob& job;
    std::size_t first, end;
    std::uint32_t *ofColumns, *ofBoxes;
};

template <class Summing>
constexpr std::size_t kBytesOfColumn = Columns::kBytesEach + (Summing::kTall ? TallSums::kBytesEach : 0);

/// Blurs a strip of columns from the top to the bottom.
template <class Summing>
HWY_ATTR void BlurStrip(const BoxJob& job, const Summing& summing, std::uint8_t* memory) {
    const std::size_t first = FirstColumn(job), end = EndColumn(job);
    const Ring ring(job, first, memory);
    std::uint8_t* const sums = memory + Ring::Bytes(job);
    const Columns columns(first, sums);
    if constexpr (Summing::kTall) {
        const TallSums tall(job, sums + (end - first + kPixels) / kPixels * kPixels * Columns::kBytesEach);
        tall.Start();
        for (std::size_t y = job.top; y < job.bottom; y += kRows) {
            columns.Clear(end);
            BlurBlock(job, Block(job, y), summing, columns, ring, tall.Boxes());
            tall.Add(columns);
        }
    } else {
        columns.Start(job, end, Summing::kBias);
        for (std::size_t y = job.top; y < job.bottom; y += kRows) {
            BlurBlock(job, Block(job, y), summing, columns, ring, nullptr);
        }
    }
    if (job.streams) {
        hwy::FlushStream();
    }
}

template <class Summing>
void Blur(const BoxJob& job, const Summing& summing, BoxMemory& memory) {
    // The last vectors reach beyond the columns.
    InStrips(job, Ring::Bytes(job) + kPixels * kBytesOfColumn<Summing>, kBytesOfColumn<Summing>, memory,
             [&](const BoxJob& strip, std::uint8_t* bytes) HWY_ATTR { BlurStrip(strip, summing, bytes); });
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
