#ifndef TESSELU_SRC_GRADIENT_GRADIENTMAP_H
#define TESSELU_SRC_GRADIENT_GRADIENTMAP_H

#include <TesselU/gradient/GradientGenerator.h>

#include "gradient/CellAxis.h"
#include "gradient/kernels/Mixes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace GradientGenerator {

/// A run of columns or rows.
struct Span {
    Zan::ULong32 begin;
    Zan::ULong32 end;
};

/// The buffer as families draw on it: they hand in fractions, it makes samples of them. Columns and rows are
/// those of the pattern, a mirrored map turns them round on the way to memory.
class GradientMap {
public:
    explicit GradientMap(const WgrGradientData& record) noexcept : data(record) {}

    GradientMap MirrorX() const noexcept {
        GradientMap map = *this;
        map.mirrorX = !mirrorX;
        return map;
    }
    GradientMap MirrorY() const noexcept {
        GradientMap map = *this;
        map.mirrorY = !mirrorY;
        return map;
    }

    /// For patterns whose lower half is the image of the upper one: only the upper half, an odd middle row
    /// with it, is asked for.
    GradientMap FoldY() const noexcept {
        GradientMap map = *this;
        map.foldY = true;
        return map;
    }

    Zan::ULong32 Width() const noexcept { return data.width; }
    Zan::ULong32 Height() const noexcept { return data.height; }
    double AspectRatio() const noexcept { return static_cast<double>(data.aspectRatio); }
    double CellFraction() const noexcept { return static_cast<double>(data.cellFraction); }

    /// Fraction `column(x)` on every row.
    template <class Column>
    void DrawColumns(Column column) const noexcept {
        Draw([&](auto sample) { SampleColumns<decltype(sample)>(column); });
    }

    /// Fraction `row(y)` across every row.
    template <class Row>
    void DrawRows(Row row) const noexcept {
        Draw([&](auto sample) { SampleRows<decltype(sample)>(row); });
    }

    /// Fraction `combine(column(x), row(y))`: what depends on the column alone is worked out once a column.
    template <class Column, class Row, class Combine>
    void Draw(Column column, Row row, Combine combine) const noexcept {
        Draw([&](auto sample) {
            SamplePart<decltype(sample), std::int32_t>({0, Width()}, AllRows(), column, row, combine);
        });
    }

    /// Fraction `MixOf(mix, column(x), row(y))`.
    template <class Column, class Row>
    void Draw(Column column, Row row, Zan::Mix mix) const noexcept {
        Draw([&](auto sample) { SampleMix<decltype(sample)>(column, row, mix); });
    }

    /// Fraction `combine(column(x), row(y))` on a part of the picture, for fractions of up to `bound` in
    /// magnitude.
    template <class Column, class Row, class Combine>
    void DrawPart(Span columns, Span rows, double bound, Column column, Row row,
                  Combine combine) const noexcept {
        const bool fits32Bits = bound * Peak() < 2147483647.0;  // false for NaN, too
        Draw([&](auto sample) {
            if (fits32Bits)
                SamplePart<decltype(sample), std::int32_t>(columns, rows, column, row, combine);
            else
                SamplePart<decltype(sample), std::int64_t>(columns, rows, column, row, combine);
        });
    }

    /// Columns at a time; what the stack holds does not grow with the picture.
    static constexpr Zan::ULong32 kChunk = 512;

    /// Fraction `fraction(value)`, of values that `fill(column(x)..., row(y), values, count)` makes of up to
    /// `kChunk` columns of a row.
    template <class Column, class Row, class Fill, class Fraction>
    void DrawRowwise(Span columns, Span rows, Column column, Row row, Fill fill,
                     Fraction fraction) const noexcept {
        Draw([&](auto sample) {
            SampleRowwise<decltype(sample)>(columns, rows, column, row, fill, fraction);
        });
    }

    /// Fraction `cell(column, row)` in every cell.
    template <class Fraction>
    void DrawCells(const CellAxis& columns, const CellAxis& rows, Fraction cell) const noexcept {
        Draw([&](auto sample) { SampleCells<decltype(sample)>(columns, rows, cell); });
    }

    /// All that are asked for.
    Span AllRows() const noexcept { return {0, foldY ? data.height - data.height / 2 : data.height}; }

private:
    double Peak() const noexcept { return static_cast<double>(data.peakValue); }

    template <class Body>
    void Draw(Body body) const noexcept {
        if (data.bitsPerSample == 8)
            body(std::uint8_t{});
        else
            body(std::uint16_t{});
    }

    /// Address of sample (x, y) of the buffer.
    template <class Sample>
    std::uint8_t* At(Zan::ULong32 x, Zan::ULong32 y) const noexcept {
        return static_cast<std::uint8_t*>(data.pixels) +
               static_cast<std::ptrdiff_t>(mirrorY ? data.height - 1 - y : y) * data.pitch +
               static_cast<std::ptrdiff_t>(x * sizeof(Sample));
    }

    template <class Sample>
    void Put(Zan::ULong32 x, Zan::ULong32 y, const Sample* line, Zan::ULong32 count) const noexcept {
        std::memcpy(At<Sample>(x, y), line, count * sizeof(Sample));
        if (foldY)
            std::memcpy(At<Sample>(x, data.height - 1 - y), line, count * sizeof(Sample));
    }

    static std::int32_t Truncate(double value, std::int32_t) noexcept {
        return static_cast<std::int32_t>(value);
    }
    static std::int64_t Truncate(double value, std::int64_t) noexcept {
        const bool holds = value > -9.0e18 && value < 9.0e18;
        return holds ? static_cast<std::int64_t>(value) : 0;
    }

    /// Rounds to the nearest sample; a fraction outside 0...1 wraps in the sample's width.
    template <class Sample, class Integer>
    static Sample ToSample(double fraction, double peak) noexcept {
        return static_cast<Sample>(Truncate(fraction * peak + 0.5, Integer{}));
    }

    template <class Column>
    double ColumnAt(Column& column, Zan::ULong32 x) const noexcept {
        return column(mirrorX ? data.width - 1 - x : x);
    }

    template <class Sample, class Column>
    void SampleColumns(Column& column) const noexcept {
        Sample line[kChunk];
        for (Zan::ULong32 x = 0; x < Width();) {
            const Zan::ULong32 count = std::min(kChunk, Width() - x);
            for (Zan::ULong32 i = 0; i < count; ++i)
                line[i] = ToSample<Sample, std::int32_t>(ColumnAt(column, x + i), Peak());
            for (Zan::ULong32 y = 0; y < Height(); ++y)
                std::memcpy(At<Sample>(x, y), line, count * sizeof(Sample));
            x += count;
        }
    }

    template <class Sample, class Row>
    void SampleRows(Row& row) const noexcept {
        Sample line[kChunk];
        for (Zan::ULong32 y = 0; y < Height(); ++y) {
            std::fill_n(line, std::min(kChunk, Width()), ToSample<Sample, std::int32_t>(row(y), Peak()));
            for (Zan::ULong32 x = 0; x < Width();) {
                const Zan::ULong32 count = std::min(kChunk, Width() - x);
                std::memcpy(At<Sample>(x, y), line, count * sizeof(Sample));
                x += count;
            }
        }
    }

    template <class Sample, class Integer, class Column, class Row, class Combine>
    void SamplePart(Span columns, Span rows, Column& column, Row& row, Combine& combine) const noexcept {
        Sample line[kChunk];
        const double peak = Peak();
        EachChunk(columns, column, [&](Zan::ULong32 x, const double* across, Zan::ULong32 count) {
            for (Zan::ULong32 y = rows.begin; y < rows.end; ++y) {
                const double down = row(y);
                for (Zan::ULong32 i = 0; i < count; ++i)
                    line[i] = ToSample<Sample, Integer>(combine(across[i], down), peak);
                Put(x, y, line, count);
            }
        });
    }

    template <class Sample, class Column, class Row>
    void SampleMix(Column& column, Row& row, Zan::Mix mix) const noexcept {
        Sample line[kChunk];
        const Span rows = AllRows();
        EachChunk({0, Width()}, column, [&](Zan::ULong32 x, const double* across, Zan::ULong32 count) {
            for (Zan::ULong32 y = rows.begin; y < rows.end; ++y) {
                if constexpr (sizeof(Sample) == 1)
                    Zan::kMixSamples8(mix, across, row(y), Peak(), line, count);
                else
                    Zan::kMixSamples16(mix, across, row(y), Peak(), line, count);
                Put(x, y, line, count);
            }
        });
    }

    template <class Sample, class Column, class Row, class Fill, class Fraction>
    void SampleRowwise(Span columns, Span rows, Column& column, Row& row, Fill& fill,
                       Fraction& fraction) const noexcept {
        double values[kChunk];
        Sample line[kChunk];
        const double peak = Peak();
        EachChunk(columns, column, [&](Zan::ULong32 x, const double* across, Zan::ULong32 count) {
            for (Zan::ULong32 y = rows.begin; y < rows.end; ++y) {
                fill(across, row(y), values, count);
                for (Zan::ULong32 i = 0; i < count; ++i)
                    line[i] = ToSample<Sample, std::int32_t>(fraction(values[i]), peak);
                Put(x, y, line, count);
            }
        });
    }

    /// `body(x, across, count)` for each chunk of columns; x counts the columns of the buffer.
    template <class Column, class Body>
    void EachChunk(Span columns, Column& column, Body body) const noexcept {
        double across[kChunk];
        if (mirrorX)
            columns = {Width() - columns.end, Width() - columns.begin};
        for (Zan::ULong32 x = columns.begin; x < columns.end;) {
            const Zan::ULong32 count = std::min(kChunk, columns.end - x);
            for (Zan::ULong32 i = 0; i < count; ++i)
                across[i] = ColumnAt(column, x + i);
            body(x, across, count);
            x += count;
        }
    }

    template <class Sample, class Fraction>
    void SampleCells(const CellAxis& columns, const CellAxis& rows, Fraction& fraction) const noexcept {
        Sample line[kChunk];
        for (Zan::ULong32 row = 0; row < rows.Count(); ++row) {
            Zan::ULong32 cells = 0;
            Zan::ULong32 end = 0;
            Sample sample{};
            for (Zan::ULong32 x = 0; x < Width();) {
                const Zan::ULong32 count = std::min(kChunk, Width() - x);
                for (Zan::ULong32 i = 0; i < count;) {
                    if (x + i == end) {
                        const Zan::ULong32 column = mirrorX ? columns.Count() - 1 - cells : cells;
                        end = mirrorX ? Width() - columns.Begin(column) : columns.Begin(column + 1);
                        sample = ToSample<Sample, std::int32_t>(fraction(column, row), Peak());
                        ++cells;
                    }
                    const Zan::ULong32 run = std::min(count - i, end - (x + i));
                    std::fill_n(line + i, run, sample);
                    i += run;
                }
                for (Zan::ULong32 y = rows.Begin(row); y < rows.Begin(row + 1); ++y)
                    std::memcpy(At<Sample>(x, y), line, count * sizeof(Sample));
                x += count;
            }
        }
    }

    WgrGradientData data;
    bool mirrorX = false;
    bool mirrorY = false;
    bool foldY = false;
};

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_GRADIENTMAP_H
