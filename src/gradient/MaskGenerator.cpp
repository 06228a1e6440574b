#include <TesselU/gradient/GradientGenerator.h>

#include "gradient/GradientMap.h"
#include "gradient/RecordChecks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace GradientGenerator {

using Zan::ULong32;

static_assert(sizeof(void*) != 4 ||
                  (sizeof(WgrMaskData) == 64 && offsetof(WgrMaskData, structSize) == 0 &&
                   offsetof(WgrMaskData, width) == 4 && offsetof(WgrMaskData, height) == 8 &&
                   offsetof(WgrMaskData, pitch) == 12 && offsetof(WgrMaskData, bitsPerSample) == 16 &&
                   offsetof(WgrMaskData, significantBits) == 20 && offsetof(WgrMaskData, peakValue) == 24 &&
                   offsetof(WgrMaskData, pixels) == 28 && offsetof(WgrMaskData, aspectRatio) == 32 &&
                   offsetof(WgrMaskData, flags) == 36 && offsetof(WgrMaskData, x0) == 40 &&
                   offsetof(WgrMaskData, y0) == 44 && offsetof(WgrMaskData, x1) == 48 &&
                   offsetof(WgrMaskData, y1) == 52 && offsetof(WgrMaskData, softnessX) == 56 &&
                   offsetof(WgrMaskData, softnessY) == 60),
              "hosts fill the record by these offsets");

namespace {

constexpr ULong32 kLeastStructSize = 64;
constexpr ULong32 kBottomUp = 2;  // bit 1 of the flags

enum MaskType : ULong32 { kHalfPlane = 1, kRectangle = 2, kEllipse = 3 };

GradientMap MapOf(const WgrMaskData& mask) noexcept {
    WgrGradientData data{};
    data.width = mask.width;
    data.height = mask.height;
    data.pitch = mask.pitch;
    data.bitsPerSample = mask.bitsPerSample;
    data.peakValue = mask.peakValue;
    data.pixels = mask.pixels;
    return GradientMap(data);
}

double CentreOf(ULong32 i) noexcept {
    return i + 0.5;
}

// A NaN is 0.
double Clamped(double fraction) noexcept {
    return fraction > 0.0 ? (fraction < 1.0 ? fraction : 1.0) : 0.0;
}

// A NaN passes.
double Finite(float coordinate) noexcept {
    constexpr float kMost = std::numeric_limits<float>::max();
    return static_cast<double>(Limit(coordinate, -kMost, kMost));
}

// One side of a rectangle, from one edge to the other, in 65536ths of a pixel.
class Side {
public:
    Side(float a, float b) noexcept : low(Fixed(a)), high(Fixed(b)) {
        if (low > high)
            std::swap(low, high);
    }

    double Length() const noexcept { return high - low; }
    double FromCentre(ULong32 i) const noexcept { return CentreOf(i) - (low + high) / 2.0; }
    double FromEdge(ULong32 i) const noexcept { return std::min(CentreOf(i) - low, high - CentreOf(i)); }

    /// The positions of 0 to n - 1 whose centres lie inside. None if an edge is not a number.
    Span Covered(ULong32 n) const noexcept {
        const double begin = std::ceil(low - 0.5);
        const double end = std::ceil(high - 0.5);
        return {begin < n ? static_cast<ULong32>(std::max(begin, 0.0)) : n,
                end > 0.0 ? static_cast<ULong32>(std::min(end, static_cast<double>(n))) : 0};
    }

private:
    static double Fixed(float coordinate) noexcept {
        return std::trunc(Finite(coordinate) * 65536.0 + 0.5) / 65536.0;
    }

    double low;
    double high;
};

// Rises from an edge over a band and stays at 1; a pixel counts as a pixel's width of the band.
auto EdgeRamp(const Side& side, float softness) noexcept {
    const double band = static_cast<double>(softness) * side.Length() / 2.0;
    return [=](ULong32 i) { return band > 0.0 ? Clamped((side.FromEdge(i) + 0.5) / (band + 1.0)) : 1.0; };
}

void HalfPlane(const WgrMaskData& mask) noexcept {
    const double x0 = Finite(mask.x0);
    const double y0 = Finite(mask.y0);
    double right = Finite(mask.x1) - x0;
    const double down = Finite(mask.y1) - y0;
    if (right == 0.0 && down == 0.0)
        right = 1.0;  // a point: the horizontal line through it
    const double length = std::sqrt(right * right + down * down);

    // The distance from the line, positive on the high side, is a share of the column plus one of the row.
    const double softEdge =
        static_cast<double>(std::max(mask.width, mask.height)) * static_cast<double>(mask.softnessX);
    const double scale = 1.0 / (length * (softEdge > 1.0 ? softEdge : 1.0));
    const GradientMap map = MapOf(mask);
    const GradientMap turned = mask.flags & kBottomUp ? map.MirrorY() : map;
    turned.Draw([=](ULong32 x) { return (CentreOf(x) - x0) * down * scale; },
                [=](ULong32 y) { return (CentreOf(y) - y0) * right * scale; },
                [](double column, double row) { return Clamped(column - row + 0.5); });
}

void Rectangle(const WgrMaskData& mask) noexcept {
    const Side across(mask.x0, mask.x1);
    const Side down(mask.y0, mask.y1);
    MapOf(mask).DrawPart(across.Covered(mask.width), down.Covered(mask.height), 1.0,
                         EdgeRamp(across, mask.softnessX), EdgeRamp(down, mask.softnessY),
                         [](double column, double row) { return column * row; });
}

void Ellipse(const WgrMaskData& mask) noexcept {
    const Side across(mask.x0, mask.x1);
    const Side down(mask.y0, mask.y1);
    const auto square = [](const Side& side) {
        return [=](ULong32 i) {
            const double part = side.FromCentre(i) / (side.Length() / 2.0);
            return part * part;
        };
    };
    // Hard edges are soft ones of no measurable width.
    const double softness = std::max(1.0e-12, static_cast<double>(mask.softnessX));
    MapOf(mask).DrawPart(
        across.Covered(mask.width), down.Covered(mask.height), 1.0, square(across), square(down),
        [=](double column, double row) { return Clamped((1.0 - std::sqrt(column + row)) / softness); });
}

}  // namespace

int WgrGenerateMask(WgrMaskData* data, ULong32 maskType) {
    if (!data)
        return kNullRecord;
    if (data->structSize < kLeastStructSize)
        return kShortRecord;

    WgrMaskData local = *data;
    if (const GradientStatus status = CheckBuffer(local); status != kDrawn)
        return status;
    local.softnessX = Limit(local.softnessX, 0.0F, 1.0F);
    local.softnessY = Limit(local.softnessY, 0.0F, 1.0F);

    switch (maskType) {
        case kHalfPlane:
            HalfPlane(local);
            return kDrawn;
        case kRectangle:
            Rectangle(local);
            return kDrawn;
        case kEllipse:
            Ellipse(local);
            return kDrawn;
        default:
            return kNoGenerator;
    }
}

}  // namespace GradientGenerator
