// Boxes of few columns, whose sums have 16 bits.
//
// Sums of columns go down with the rows, as bytes spread to 16 bits within blocks of 128: of 8 pixels `lower`
// holds 0, 1, 4, 5 and `upper` 2, 3, 6, 7. The sum of the columns up to a pixel is that of the last two plus
// the sum, two columns narrower, up to the pixel two before it. For `upper` that is `lower`, lane by lane,
// and for `lower` the `upper` of one block before: nothing is to be turned, neither before nor after.

#if defined(TESSELU_SRC_FILTER_KERNELS_NARROWBOX_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_NARROWBOX_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_NARROWBOX_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_NARROWBOX_INL_H
#endif

#include "filter/kernels/BoxVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// The pixels two before those of `lower`.
HWY_INLINE HWY_ATTR VU16 BlockBefore(VU16 before, VU16 upper) {
#if HWY_TARGET == HWY_AVX3
    return VU16{_mm512_alignr_epi64(upper.raw, before.raw, 6)};
#elif HWY_TARGET == HWY_AVX2
    return hn::ConcatLowerUpper(DU16(), upper, before);
#else
    static_cast<void>(upper);
    return before;
#endif
}

/// Boxes of `kReach` columns to either side, on their way along a row.
template <std::size_t kReach>
class NarrowBoxes {
public:
    HWY_INLINE HWY_ATTR NarrowBoxes() {
        for (VU16& each : last) {
            each = hn::Zero(DU16());
        }
    }

    /// Takes the sums of the next columns and gives those of the boxes that end there.
    HWY_INLINE HWY_ATTR Halves Next(Halves columns) {
        const VU16 before = BlockBefore(last[0], columns.upper);
        const Halves two = {hn::Add(columns.lower, PixelBefore(columns.lower, before)),
                            hn::Add(columns.upper, PixelBefore(columns.upper, columns.lower))};
        return Widen<0>(two, columns);
    }

private:
    /// `before` holds the pixels two before those of `at`.
    static HWY_INLINE HWY_ATTR VU16 PixelBefore(VU16 at, VU16 before) {
        const DU8 d;
        return hn::BitCast(DU16(),
                           hn::CombineShiftRightBytes<8>(d, hn::BitCast(d, at), hn::BitCast(d, before)));
    }
    /// `sum` is that of 2 * `Reach` + 1 columns, `two` that of two.
    template <std::size_t Reach>
    HWY_INLINE HWY_ATTR Halves Widen(Halves two, Halves sum) {
        if constexpr (Reach == kReach) {
            return sum;
        } else {
            const VU16 before = BlockBefore(last[Reach], sum.upper);
            last[Reach] = sum.upper;
            return Widen<Reach + 1>(two, {hn::Add(two.lower, before), hn::Add(two.upper, sum.lower)});
        }
    }

    VU16 last[kReach];  ///< the upper half before, of every width up to the box
};

/// A vector of a row whose pixels lie in any order.
class EdgePixels {
public:
    EdgePixels() = default;
    /// From `column` on, those that are mirrored too. What no box of the job reads may be any pixel.
    HWY_ATTR EdgePixels(std::ptrdiff_t column, std::size_t width) {
        const auto most = static_cast<std::ptrdiff_t>(width - kPixels);
        const std::ptrdiff_t base = std::clamp(column, std::ptrdiff_t{0}, most);
        offset = 4 * static_cast<std::size_t>(base);
        for (std::size_t i = 0; i < kPixels; ++i) {
            std::ptrdiff_t at = column + static_cast<std::ptrdiff_t>(i);
            at = at < 0 ? -at : at;
            at = at < static_cast<std::ptrdiff_t>(width) ? at
                                                         : 2 * static_cast<std::ptrdiff_t>(width) - 2 - at;
            order[i] = static_cast<std::int32_t>(
                std::clamp(at - base, std::ptrdiff_t{0}, static_cast<std::ptrdiff_t>(kPixels) - 1));
        }
    }
    HWY_INLINE HWY_ATTR VU8 Load(const std::uint8_t* row) const {
        const DU32 d;
        const VU32 pixels = hn::BitCast(d, hn::LoadU(DU8(), row + offset));
        return hn::BitCast(DU8(), hn::TableLookupLanes(pixels, hn::SetTableIndices(d, order)));
    }

private:
    std::size_t offset = 0;
    alignas(kBytes) std::int32_t order[kPixels] = {};
};

/// The rows of a step, at the column where the first boxes end or to be written.
template <std::size_t kCount>
struct NarrowRows {
    const std::uint8_t *entering[kCount], *leaving[kCount];
    std::uint8_t* out[kCount];

    NarrowRows(const BoxJob& job, std::size_t y) {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        for (std::size_t i = 0; i < kCount; ++i) {
            const auto at = static_cast<std::ptrdiff_t>(y + i);
            entering[i] = job.source.Row(Mirrored(at + reach, job.height));
            leaving[i] = job.source.Row(Mirrored(at - reach - 1, job.height));
            out[i] = job.destination.Row(y + i) + 4 * job.left;
        }
    }
};

/// Blurs a strip of columns from the top to the bottom. Vector i of a row holds the columns where the boxes
/// of vector i of the pixels to write end; before vector 0 lie those that its boxes reach back to.
template <std::size_t kReach>
class NarrowStrip {
public:
    static constexpr std::size_t kBytesOfColumn = 8;
    /// The vectors before 0 and what the last one is more than its columns.
    static constexpr std::size_t kBytesBeside = (2 * kReach / kPixels + 2) * 2 * kBytes;

    HWY_ATTR NarrowStrip(const BoxJob& newJob, const ShortRounding& newScale, std::uint8_t* memory)
        : job(newJob),
          scale(newScale),
          vectors((job.right - job.left + kPixels - 1) / kPixels),
          plain(std::min((job.right - job.left) / kPixels, (job.width - kReach - job.left) / kPixels)),
          sums(memory + kBefore * 2 * kBytes) {
        for (std::size_t i = 0; i < kBefore; ++i) {
            edges[i] = EdgePixels(ColumnOf(i) - std::ptrdiff_t{kBefore * kPixels}, job.width);
        }
        for (std::size_t i = plain; i < vectors; ++i) {
            edges[kBefore + i - plain] = EdgePixels(ColumnOf(i), job.width);
        }
    }

    HWY_ATTR void Blur() {
        Start();
        std::size_t y = job.top;
        for (; y + kRowsAtOnce <= job.bottom; y += kRowsAtOnce) {
            BlurRows<kRowsAtOnce>(y);
        }
        for (; y < job.bottom; ++y) {
            BlurRows<1>(y);
        }
        if (job.streams) {
            hwy::FlushStream();
        }
    }

private:
    static constexpr std::size_t kBefore = (2 * kReach + kPixels - 1) / kPixels;
    static constexpr std::size_t kRowsAtOnce = 2;

    template <std::size_t kCount>
    using AllBoxes = NarrowBoxes<kReach>[kCount];

    HWY_INLINE std::ptrdiff_t ColumnOf(std::size_t i) const {
        return static_cast<std::ptrdiff_t>(job.left + kReach + i * kPixels);
    }

    /// Sums the columns around the row above the first. One column of each box has what scaling begins with.
    HWY_ATTR void Start() const {
        const auto reach = static_cast<std::ptrdiff_t>(job.boxHeight / 2);
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(job.top) - 1 - reach;
        const auto rowAt = [&](std::size_t i) {
            return job.source.Row(Mirrored(from + static_cast<std::ptrdiff_t>(i), job.height));
        };
        const auto add = [&](const std::uint8_t* row, const std::uint8_t* next) HWY_ATTR {
            ForEachVector([&](std::uint8_t* at, const auto& pixelsOf) HWY_ATTR {
                const Halves two =
                    AddBytes<false>(pixelsOf(row), next == nullptr ? hn::Zero(DU8()) : pixelsOf(next));
                const Halves before = Get(at);
                Put({hn::Add(before.lower, two.lower), hn::Add(before.upper, two.upper)}, at);
            });
        };
        std::uint8_t* const first = sums - kBefore * 2 * kBytes;
        std::memset(first, 0, (kBefore + vectors) * 2 * kBytes);
        for (std::size_t i = 0; i < (kBefore + vectors) * kPixels; i += 2 * kReach + 1) {
            // Halves of blocks hold two columns each.
            const std::size_t pixel = i % kPixels;
            std::uint8_t* const at =
                first + i / kPixels * 2 * kBytes + pixel % 4 / 2 * kBytes + pixel / 4 * 16 + pixel % 2 * 8;
            const auto start = static_cast<std::uint16_t>(scale.start);
            const std::uint16_t starts[4] = {start, start, start, start};
            std::memcpy(at, starts, sizeof starts);
        }
        add(rowAt(0), nullptr);
        for (std::size_t i = 1; i < job.boxHeight; i += 2) {
            add(rowAt(i), rowAt(i + 1));
        }
    }

    /// `run(sums, pixelsOf)`, `pixelsOf(row)` being the vector of a row.
    template <class Run>
    HWY_INLINE HWY_ATTR void ForEachVector(Run run) const {
        const auto edge = [&](std::size_t i) HWY_ATTR {
            return [&pixels = edges[i]](const std::uint8_t* row) HWY_ATTR { return pixels.Load(row); };
        };
        for (std::size_t i = 0; i < kBefore; ++i) {
            run(sums - (kBefore - i) * 2 * kBytes, edge(i));
        }
        for (std::size_t i = 0; i < plain; ++i) {
            run(sums + i * 2 * kBytes, [at = 4 * ColumnOf(i)](const std::uint8_t* row)
                                           HWY_ATTR { return hn::LoadU(DU8(), row + at); });
        }
        for (std::size_t i = plain; i < vectors; ++i) {
            run(sums + i * 2 * kBytes, edge(kBefore + i - plain));
        }
    }

    template <std::size_t kCount>
    HWY_ATTR void BlurRows(std::size_t y) const {
        const NarrowRows<kCount> rows(job, y);
        const DU8 d;
        const VU16 multiplier = hn::Set(DU16(), static_cast<std::uint16_t>(scale.multiplier)),
                   last = hn::Set(DU16(), static_cast<std::uint16_t>(65536U >> scale.shift));
        const auto toBytes = [multiplier, last](Halves boxes) HWY_ATTR {
            const auto mean = [multiplier, last](VU16 box) HWY_ATTR {
                return hn::BitCast(DI16(), hn::MulHigh(hn::MulHigh(box, multiplier), last));
            };
            return PackToBytes(mean(boxes.lower), mean(boxes.upper));
        };
        NarrowBoxes<kReach> boxes[kCount];
        for (std::size_t i = 0; i < kBefore; ++i) {
            const EdgePixels pixels = edges[i];
            Step(
                rows, sums - (kBefore - i) * 2 * kBytes, boxes,
                [&pixels](const std::uint8_t* row) HWY_ATTR { return pixels.Load(row); },
                [](std::size_t, Halves) {});
        }
        const auto run = [&](auto put) HWY_ATTR {
            const std::size_t column = 4 * (job.left + kReach);
            const auto step = [&](std::size_t at) HWY_ATTR {
                Step(
                    rows, sums + 2 * at, boxes,
                    [at = at + column, d](const std::uint8_t* row)
                        HWY_ATTR { return hn::LoadU(d, row + at); },
                    [&rows, at, toBytes, put](std::size_t row, Halves sum)
                        HWY_ATTR { put(toBytes(sum), rows.out[row] + at); });
            };
            // In twos, so that what one leaves behind is where the other looks for it.
            std::size_t i = 0;
            for (; i + 1 < plain; i += 2) {
                FetchAhead(rows.entering, column + i * kBytes, 2 * kBytes);
                step(i * kBytes);
                step((i + 1) * kBytes);
            }
            if (i < plain) {
                step(i * kBytes);
            }
        };
        // Lines of the cache in parts, and of several rows in turn, would be slow.
        constexpr std::size_t kLine = 64;
        const bool streams = 2 * kBytes >= kLine && job.streams &&
                             ((reinterpret_cast<std::uintptr_t>(rows.out[0]) |
                               static_cast<std::uintptr_t>(job.destination.pitch)) %
                              kLine) == 0;
        if (streams && kBytes < kLine) {
            StreamHalves(rows, boxes, toBytes);
        } else if (streams) {
            run([d](VU8 pixels, std::uint8_t* to) HWY_ATTR { hn::Stream(pixels, d, to); });
        } else {
            run([d](VU8 pixels, std::uint8_t* to) HWY_ATTR { hn::StoreU(pixels, d, to); });
        }
        for (std::size_t i = plain; i < vectors; ++i) {
            const EdgePixels pixels = edges[kBefore + i - plain];
            const std::size_t at = i * kBytes, bytes = std::min(kBytes, 4 * (job.right - job.left) - at);
            Step(
                rows, sums + 2 * at, boxes,
                [&pixels](const std::uint8_t* row) HWY_ATTR { return pixels.Load(row); },
                [&rows, at, bytes, toBytes, d](std::size_t row, Halves sum) HWY_ATTR {
                    alignas(kBytes) std::uint8_t some[kBytes];
                    hn::Store(toBytes(sum), d, some);
                    std::memcpy(rows.out[row] + at, some, bytes);
                });
        }
    }

    /// Writes the vectors that are not at an edge around the cache, where two of them are a line: one part
    /// follows the other at once.
    template <std::size_t kCount, class ToBytes>
    HWY_INLINE HWY_ATTR void StreamHalves(const NarrowRows<kCount>& rows,
                                          NarrowBoxes<kReach> (&boxes)[kCount], ToBytes toBytes) const {
        const DU8 d;
        const std::size_t column = 4 * (job.left + kReach);
        VU8 halves[kCount];
        const auto step = [&](std::size_t at, auto put) HWY_ATTR {
            Step(
                rows, sums + 2 * at, boxes,
                [at = at + column, d](const std::uint8_t* row) HWY_ATTR { return hn::LoadU(d, row + at); },
                [toBytes, put](std::size_t row, Halves sum) HWY_ATTR { put(row, toBytes(sum)); });
        };
        for (std::size_t i = 0; i < plain; i += 2) {
            const std::size_t at = i * kBytes;
            FetchAhead(rows.entering, column + at, 2 * kBytes);
            step(at, [&halves](std::size_t row, VU8 pixels) HWY_ATTR { halves[row] = pixels; });
            if (i + 1 == plain) {
                for (std::size_t row = 0; row < kCount; ++row) {
                    hn::Store(halves[row], d, rows.out[row] + at);
                }
                break;
            }
            step(at + kBytes, [&rows, &halves, at, d](std::size_t row, VU8 pixels) HWY_ATTR {
                hn::Stream(halves[row], d, rows.out[row] + at);
                hn::Stream(pixels, d, rows.out[row] + at + kBytes);
            });
        }
    }

    /// The next vector of all rows.
    template <std::size_t kCount, class PixelsOf, class PutSums>
    static HWY_INLINE HWY_ATTR void Step(const NarrowRows<kCount>& rows, std::uint8_t* at,
                                         NarrowBoxes<kReach> (&boxes)[kCount], PixelsOf pixelsOf,
                                         PutSums put) {
        Halves columns = Get(at);
        StepRow<0>(rows, columns, boxes, pixelsOf, put);
        Put(columns, at);
    }
    template <std::size_t I, std::size_t kCount, class PixelsOf, class PutSums>
    static HWY_INLINE HWY_ATTR void StepRow(const NarrowRows<kCount>& rows, Halves& columns,
                                            NarrowBoxes<kReach> (&boxes)[kCount], PixelsOf pixelsOf,
                                            PutSums put) {
        const Halves change = AddBytes<true>(pixelsOf(rows.entering[I]), pixelsOf(rows.leaving[I]));
        columns = {hn::Add(columns.lower, change.lower), hn::Add(columns.upper, change.upper)};
        put(I, boxes[I].Next(columns));
        if constexpr (I + 1 < kCount) {
            StepRow<I + 1>(rows, columns, boxes, pixelsOf, put);
        }
    }

    static HWY_INLINE HWY_ATTR Halves Get(const std::uint8_t* at) {
        const DU8 d;
        const DU16 d16;
        return {hn::BitCast(d16, hn::Load(d, at)), hn::BitCast(d16, hn::Load(d, at + kBytes))};
    }
    static HWY_INLINE HWY_ATTR void Put(Halves columns, std::uint8_t* at) {
        const DU8 d;
        hn::Store(hn::BitCast(d, columns.lower), d, at);
        hn::Store(hn::BitCast(d, columns.upper), d, at + kBytes);
    }

    const BoxJob& job;
    ShortRounding scale;
    std::size_t vectors, plain;  ///< to write; those of them that are full and read nothing mirrored
    std::uint8_t* sums;          ///< of columns, of vector 0
    EdgePixels edges[kBefore + 3];
};

template <std::size_t kReach>
void BlurNarrowly(const BoxJob& job, const ShortRounding& scale, BoxMemory& memory) {
    using Strip = NarrowStrip<kReach>;
    InStrips(job, Strip::kBytesBeside, Strip::kBytesOfColumn, memory,
             [&](const BoxJob& strip, std::uint8_t* bytes)
                 HWY_ATTR { NarrowStrip<kReach>(strip, scale, bytes).Blur(); });
}

/// False where boxes are too wide, or rows shorter than a vector.
inline bool BlurNarrowly(const BoxJob& job, const ShortRounding& scale, BoxMemory& memory) {
    if (job.width < kPixels) {
        return false;
    }
    switch (job.boxWidth) {
        case 3:
            BlurNarrowly<1>(job, scale, memory);
            return true;
        case 5:
            BlurNarrowly<2>(job, scale, memory);
            return true;
        case 7:
            BlurNarrowly<3>(job, scale, memory);
            return true;
        default:
            return false;
    }
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
