#ifndef TESSELU_SRC_GRADIENT_CELLAXIS_H
#define TESSELU_SRC_GRADIENT_CELLAXIS_H

#include <TesselU/foundation/Types.h>

#include <cmath>

namespace GradientGenerator {

/// One axis of a picture of `n` pixels, divided into cells of about `size` pixels. Borders lie symmetrically
/// about the centre, `size` apart, so that the first and the last cell take what is over or missing.
class CellAxis {
public:
    CellAxis(Zan::ULong32 n, double size) noexcept
        : pixels(n), cellSize(size > kLeastSize ? size : kLeastSize), cells(CountOf(n / cellSize)) {}

    Zan::ULong32 Count() const noexcept { return cells; }

    /// The first pixel of a cell; that of cell `Count()` is the number of pixels. A pixel belongs to the cell
    /// that its centre is in, one on the border to the inner one.
    Zan::ULong32 Begin(Zan::ULong32 cell) const noexcept {
        if (cell == 0)
            return 0;
        if (cell >= cells)
            return pixels;
        // Borders beyond the centre are the images of those before it.
        return 2 * cell <= cells ? BorderBeforeCentre(cells - 2 * cell)
                                 : pixels - BorderBeforeCentre(2 * cell - cells);
    }

private:
    static constexpr double kLeastSize = 2.0;
    /// What fractions in single precision miss of a pixel.
    static constexpr double kSlack = 0.001;

    /// Rounds to nearest, a half downwards. A picture always has a cell.
    static Zan::ULong32 CountOf(double count) noexcept {
        const auto whole = static_cast<Zan::ULong32>(count);
        const Zan::ULong32 rounded = count - whole > 0.5 ? whole + 1 : whole;
        return rounded > 0 ? rounded : 1;
    }

    /// Pixels before the border that lies `halves` half cells before the centre.
    Zan::ULong32 BorderBeforeCentre(Zan::ULong32 halves) const noexcept {
        const double border = (pixels - halves * cellSize) / 2.0;
        const double first = std::ceil(border - 0.5 - kSlack);
        return first > 0.0 ? static_cast<Zan::ULong32>(first) : 0;
    }

    Zan::ULong32 pixels;
    double cellSize;
    Zan::ULong32 cells;
};

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_CELLAXIS_H
