// One conversion for one target: a reader, an arithmetic and a writer put together, and the walk over the
// rectangle.
//
// A reader or writer names the planes that it touches (`kPlanes`), and fetches or stores two neighbouring
// pixels (portable) or a vector of them. An arithmetic has
//
//     explicit Arithmetic(const ConversionJob& job);
//     static constexpr std::size_t kUnitColumns;
//     void Unit(reader, writer, band, x) const;           // the formula on the unit at column x
//     void Tail(reader, writer, band, x, columns) const;  // what is left beyond the last whole group
//     bool RunVector(run) const;                          // run(form), or false
//
// where the form equals Unit for the coefficients of the call, and false says that none does. A vector form
// has
//
//     static constexpr std::size_t kStep;                // columns of a step
//     void Step(reader, writer, band, x, put) const;
//
// Vectors of several pixels are in quad order between reader and writer: see `Deal`.

#if defined(TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSION_INL_H
#endif

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "convert/KernelTable.h"
#include "simd/Extra-inl.h"
#include "simd/Rows.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;

/// A plane as a reader or writer uses it.
struct PlaneUse {
    std::size_t channel;
    std::size_t bytesPer16;   ///< columns
    std::size_t columns = 1;  ///< least number of columns that are whole bytes
    bool inWords = false;     ///< the pitch is taken in 32-bit words
    bool halfHeight = false;  ///< one row for all lines of a band

    constexpr std::ptrdiff_t Pitch(const ViewPlane& plane) const {
        return inWords ? WordPitch(plane.pitch) : plane.pitch;
    }
    constexpr std::size_t Bytes(std::size_t count) const {
        return bytesPer16 >= 16 ? count * (bytesPer16 / 16) : count / (16 / bytesPer16);
    }
};

/// The lines that are converted together, and where each begins in every plane. A plane of half height has
/// the same row for both.
struct Band {
    const std::uint8_t* source[2][4];
    std::uint8_t* destination[2][4];
};

/// How lines make bands. A band without its second line has the first one twice.
struct SingleLines {
    static constexpr std::size_t kLines = 1;
    static constexpr std::size_t Line(std::size_t band, std::size_t) { return band; }
    static constexpr std::size_t Bands(std::size_t height) { return height; }
};
struct LinePairs {
    static constexpr std::size_t kLines = 2;
    static constexpr std::size_t Line(std::size_t band, std::size_t i) { return 2 * band + i; }
    static constexpr std::size_t Bands(std::size_t height) { return height / 2 + height % 2; }
};

/// A reader, an arithmetic and a writer; the main loop covers whole groups of `Group` columns.
template <class ReaderType, class ArithmeticType, class WriterType, std::size_t Group,
          class LinesType = SingleLines>
struct Conversion {
    using Reader = ReaderType;
    using Arithmetic = ArithmeticType;
    using Writer = WriterType;
    using Lines = LinesType;
    static constexpr std::size_t kGroup = Group;
    static_assert(kGroup % Arithmetic::kUnitColumns == 0);

    /// Columns that a step may start at a multiple of.
    static constexpr std::size_t Granularity() {
        std::size_t columns = Arithmetic::kUnitColumns;
        for (const PlaneUse& use : Reader::kPlanes)
            columns = std::max(columns, use.columns);
        for (const PlaneUse& use : Writer::kPlanes)
            columns = std::max(columns, use.columns);
        return columns;
    }
};

template <class C>
HWY_INLINE Band BandAt(const ConversionJob& job, std::size_t index) {
    using Lines = typename C::Lines;
    Band band{};
    for (std::size_t i = 0; i < Lines::kLines; ++i) {
        const std::size_t line =
            Lines::Line(index, i) < job.height ? Lines::Line(index, i) : Lines::Line(index, 0);
        for (const PlaneUse& use : C::Reader::kPlanes) {
            const ViewPlane& plane = job.source[use.channel];
            band.source[i][use.channel] =
                plane.first + static_cast<std::ptrdiff_t>(use.halfHeight ? index : line) * use.Pitch(plane);
        }
        for (const PlaneUse& use : C::Writer::kPlanes) {
            const ViewPlane& plane = job.destination[use.channel];
            band.destination[i][use.channel] =
                plane.first + static_cast<std::ptrdiff_t>(use.halfHeight ? index : line) * use.Pitch(plane);
        }
    }
    return band;
}

/// When there is no tail and every row ends where the next one starts, all rows are one.
template <class C>
void JoinLines(ConversionJob& job) {
    if constexpr (C::Lines::kLines == 1) {
        const auto joined = [&job](const PlaneUse& use, const ViewPlane& plane) {
            const std::ptrdiff_t pitch = use.Pitch(plane);
            return pitch > 0 && static_cast<std::size_t>(pitch) == use.Bytes(job.width);
        };
        if (job.height < 2 || job.width % 16 != 0 || job.width % C::kGroup != 0)
            return;
        for (const PlaneUse& use : C::Reader::kPlanes)
            if (!joined(use, job.source[use.channel]))
                return;
        for (const PlaneUse& use : C::Writer::kPlanes)
            if (!joined(use, job.destination[use.channel]))
                return;
        job.width *= job.height;
        job.height = 1;
    }
}

template <class C>
void TailColumns(const C&, const typename C::Reader& reader, const typename C::Arithmetic& arithmetic,
                 const typename C::Writer& writer, const Band& band, std::size_t from, std::size_t width) {
    constexpr std::size_t kUnit = C::Arithmetic::kUnitColumns;
    for (std::size_t x = from; x < width; x += kUnit)
        arithmetic.Tail(reader, writer, band, x, std::min(kUnit, width - x));
}

#if HWY_TARGET != HWY_SCALAR

/// True when no byte of the job's sources is one of its destination's.
template <class C>
bool LiesApart(const ConversionJob& job) {
    struct Span {
        std::uintptr_t low, high;
    };
    const auto span = [&job](const PlaneUse& use, const ViewPlane& plane) {
        const std::size_t rows = use.halfHeight ? C::Lines::Bands(job.height) : job.height;
        const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(rows - 1) * use.Pitch(plane);
        const auto first = reinterpret_cast<std::uintptr_t>(plane.first);
        const auto end = first + static_cast<std::uintptr_t>(last);
        return Span{std::min(first, end), std::max(first, end) + use.Bytes(job.width + 15)};
    };
    for (const PlaneUse& from : C::Reader::kPlanes) {
        const Span a = span(from, job.source[from.channel]);
        for (const PlaneUse& to : C::Writer::kPlanes) {
            const Span b = span(to, job.destination[to.channel]);
            if (a.low < b.high && b.low < a.high)
                return false;
        }
    }
    return true;
}

template <class C>
std::size_t BytesMoved(const ConversionJob& job) {
    std::size_t bytes = 0;
    const auto add = [&](const PlaneUse& use) {
        bytes += use.Bytes(job.width) * (use.halfHeight ? C::Lines::Bands(job.height) : job.height);
    };
    for (const PlaneUse& use : C::Reader::kPlanes)
        add(use);
    for (const PlaneUse& use : C::Writer::kPlanes)
        add(use);
    return bytes;
}

/// Streaming stores must be aligned: one plane, whose lines can be brought to alignment by whole units.
template <class C, class Form>
bool CanStream(const ConversionJob& job) {
    constexpr std::size_t kVector = HWY_LANES(std::uint8_t);
    if constexpr (std::size(C::Writer::kPlanes) != 1) {
        return false;
    } else {
        constexpr PlaneUse use = C::Writer::kPlanes[0];
        constexpr std::size_t kUnit = use.Bytes(16) * C::Granularity() / 16;
        constexpr std::size_t kPitch = C::Lines::kLines == 1 ? kUnit : kVector;
        return kVector % kUnit == 0 && job.width >= 4 * Form::kStep &&
               reinterpret_cast<std::uintptr_t>(job.destination[use.channel].first) % kUnit == 0 &&
               use.Pitch(job.destination[use.channel]) % static_cast<std::ptrdiff_t>(kPitch) == 0;
    }
}

/// Fewer columns than a step: through buffers, so that nothing beyond them is read or written.
template <class C, class Form>
HWY_NOINLINE HWY_ATTR void PartialStep(const C&, const typename C::Reader& reader, const Form& form,
                                       const typename C::Writer& writer, const Band& band, std::size_t x,
                                       std::size_t columns) {
    constexpr std::size_t kLines = C::Lines::kLines;
    constexpr std::size_t kMost = 4 * Form::kStep;
    alignas(64) std::uint8_t in[kLines][4][kMost];
    alignas(64) std::uint8_t out[kLines][4][kMost];
    Band buffers{};
    for (std::size_t line = 0; line < kLines; ++line) {
        for (const PlaneUse& use : C::Reader::kPlanes) {
            std::memset(in[line][use.channel], 0, kMost);
            std::memcpy(in[line][use.channel], band.source[line][use.channel] + use.Bytes(x),
                        use.Bytes(columns));
            buffers.source[line][use.channel] = in[line][use.channel];
        }
        for (const PlaneUse& use : C::Writer::kPlanes)
            buffers.destination[line][use.channel] = out[use.halfHeight ? 0 : line][use.channel];
    }
    form.Step(reader, writer, buffers, 0, PutInCache{});
    for (std::size_t line = 0; line < kLines; ++line)
        for (const PlaneUse& use : C::Writer::kPlanes)
            std::memcpy(band.destination[line][use.channel] + use.Bytes(x),
                        buffers.destination[line][use.channel], use.Bytes(columns));
}

/// What the next steps but a few will read. Several planes out of memory come a tenth faster; what lies in a
/// cache gains nothing.
template <class C, class Form>
HWY_INLINE HWY_ATTR void FetchAhead(const Band& band, std::size_t x) {
    constexpr std::size_t kAhead = 512, kLine = 64;
    for (std::size_t i = 0; i < C::Lines::kLines; ++i)
        for (const PlaneUse& use : C::Reader::kPlanes)
            if (i == 0 || !use.halfHeight)
                for (std::size_t at = 0; at < use.Bytes(Form::kStep); at += kLine)
                    hwy::Prefetch(band.source[i][use.channel] + use.Bytes(x) + kAhead + at);
}

/// The whole groups of a band. Where source and destination lie apart, columns may be made twice: an
/// unaligned step at either end in place of a partial one.
template <class C, class Form, class Put>
HWY_INLINE HWY_ATTR void MainColumns(const C& conversion, const typename C::Reader& reader, const Form& form,
                                     const Form& formInMemory, const typename C::Writer& writer,
                                     const Band& band, std::size_t columns, bool apart, Put put) {
    constexpr std::size_t kStep = Form::kStep;
    constexpr std::size_t kVector = HWY_LANES(std::uint8_t);
    constexpr PlaneUse kMain = C::Writer::kPlanes[0];
    constexpr std::size_t kUnit = kMain.Bytes(16) * C::Granularity() / 16;
    std::size_t x = 0;
    if (apart && columns >= 4 * kStep) {
        const std::size_t off =
            reinterpret_cast<std::uintptr_t>(band.destination[0][kMain.channel]) % kVector;
        if (off != 0 && (kVector - off) % kUnit == 0) {
            form.Step(reader, writer, band, 0, PutInCache{});
            x = (kVector - off) / kUnit * C::Granularity();
        }
    }
    for (; x + kStep <= columns; x += kStep) {
        if (std::is_same_v<Put, PutAroundCache>)
            FetchAhead<C, Form>(band, x);
        form.Step(reader, writer, band, x, put);
    }
    if (x < columns) {
        if (apart && columns >= kStep)
            form.Step(reader, writer, band, columns - kStep, PutInCache{});
        else
            PartialStep(conversion, reader, formInMemory, writer, band, x, columns - x);
    }
}

template <class C, class Form, class Put>
HWY_ATTR void VectorLines(const C& conversion, const typename C::Reader& reader,
                          const typename C::Arithmetic& arithmetic, const Form& formInMemory,
                          const typename C::Writer& writer, const ConversionJob& job, bool apart, Put put) {
    // A copy that nobody else can see stays in registers.
    const Form form = formInMemory;
    const std::size_t whole = job.width / C::kGroup * C::kGroup;
    const std::size_t bands = C::Lines::Bands(job.height);
    for (std::size_t i = 0; i < bands; ++i) {
        const Band band = BandAt<C>(job, i);
        if (whole != 0)
            MainColumns(conversion, reader, form, formInMemory, writer, band, whole, apart, put);
        TailColumns(conversion, reader, arithmetic, writer, band, whole, job.width);
    }
}

#endif  // HWY_TARGET

template <class C>
HWY_ATTR void Convert(const ConversionJob& given) {
    ConversionJob job = given;
    JoinLines<C>(job);
    const typename C::Reader reader{};
    const typename C::Writer writer{};
    const typename C::Arithmetic arithmetic(job);
    const C conversion{};
#if HWY_TARGET != HWY_SCALAR
    const bool apart = LiesApart<C>(job);
    const bool large = apart && simd::ExceedsCache(BytesMoved<C>(job));
    const auto run = [&](const auto& form) HWY_ATTR {
        using Form = std::remove_cvref_t<decltype(form)>;
        if (large && CanStream<C, Form>(job)) {
            VectorLines(conversion, reader, arithmetic, form, writer, job, apart, PutAroundCache{});
            hwy::FlushStream();
        } else {
            VectorLines(conversion, reader, arithmetic, form, writer, job, apart, PutInCache{});
        }
    };
    if (arithmetic.RunVector(run))
        return;
#endif
    const std::size_t whole = job.width / C::kGroup * C::kGroup;
    const std::size_t bands = C::Lines::Bands(job.height);
    for (std::size_t i = 0; i < bands; ++i) {
        const Band band = BandAt<C>(job, i);
        for (std::size_t x = 0; x < whole; x += C::Arithmetic::kUnitColumns)
            arithmetic.Unit(reader, writer, band, x);
        TailColumns(conversion, reader, arithmetic, writer, band, whole, job.width);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
