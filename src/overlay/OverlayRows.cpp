// Rows of pictures: how many there are, and what is done with them.

#include <algorithm>
#include <cstring>

#include "overlay/Overlay.h"
#include "overlay/OverlayLog.h"
#include "overlay/OverlayRows.h"
#include "simd/LongRuns.h"

namespace Zan {
namespace {

/// Whether any of `rows` rows of one plane may share bytes with one of the other.
bool Overlaps(const Plane& a, const Plane& b, std::size_t rowBytes, std::size_t rows) noexcept {
    const auto low = [rows](const Plane& plane) {
        const auto first = reinterpret_cast<std::uintptr_t>(plane.first);
        return plane.pitch < 0 ? first + static_cast<std::uintptr_t>(plane.pitch) * (rows - 1) : first;
    };
    const auto span = [&](const Plane& plane) {
        const auto pitch = static_cast<std::uintptr_t>(plane.pitch);
        return (plane.pitch < 0 ? 0 - pitch : pitch) * (rows - 1) + rowBytes;
    };
    return low(a) < low(b) + span(b) && low(b) < low(a) + span(a);
}

void CopyRun(CPUfeatures& features, std::uint8_t* to, std::uint8_t* from, std::size_t bytes) noexcept {
    constexpr std::size_t kMost = 0x40000000;
    for (std::size_t done = 0; done < bytes; done += kMost) {
        features.CopyBytes(to + done, from + done, static_cast<Long32>(std::min(kMost, bytes - done)));
    }
}

/// Rows of one plane to another, as far as the memory of both goes.
void CopyRows(CPUfeatures& features, const Plane& from, const Plane& to, std::size_t rowBytes,
              std::size_t rows) noexcept {
    if (rowBytes == 0 || rows == 0 || from.first == nullptr || to.first == nullptr) {
        return;
    }
    if (!from.Holds(rowBytes, rows) || !to.Holds(rowBytes, rows)) {
        for (std::size_t row = 0; row < rows; ++row) {
            const std::size_t bytes = std::min(from.Clip(rowBytes, row), to.Clip(rowBytes, row));
            if (bytes != 0) {
                CopyRun(features, to.Row(row), from.Row(row), bytes);
            }
        }
        return;
    }
    const bool isLong = simd::LongRunsPay(2 * rowBytes * rows) && !Overlaps(from, to, rowBytes, rows);
    const bool aroundCache = simd::ExceedsCache(2 * rowBytes * rows);
    const auto joined = static_cast<std::ptrdiff_t>(rowBytes);
    if (from.pitch == joined && to.pitch == joined) {
        rowBytes *= rows;
        rows = 1;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        if (isLong) {
            simd::CopyLongRun(to.Row(row), from.Row(row), rowBytes, aroundCache);
        } else {
            CopyRun(features, to.Row(row), from.Row(row), rowBytes);
        }
    }
}

}  // namespace

COverlay::Bands COverlay::BandsOf(const EdgeRectangle& region, const EdgeRectangle& given) const noexcept {
    // Nothing in common: all of the region lies above and left of it.
    const EdgeRectangle overlap =
        given.IsEmpty() ? EdgeRectangle{region.right, region.bottom, region.right, region.bottom} : given;
    return {overlap,
            lines.Count(region.top, overlap.top),
            lines.Count(overlap.top, overlap.bottom),
            lines.Count(overlap.bottom, region.bottom),
            overlap.left - region.left,
            overlap.Width(),
            region.right - overlap.right};
}

void COverlay::LogBands(const char* linesText, const char* pixelsText, const EdgeRectangle& region,
                        const Bands& bands) const noexcept {
    Log(kLogTrace, linesText, static_cast<int>(bands.upper), static_cast<int>(bands.middle),
        static_cast<int>(bands.lower), static_cast<int>(lines.Count(region.top, region.bottom)));
    Log(kLogTrace, pixelsText, static_cast<int>(bands.left), static_cast<int>(bands.across),
        static_cast<int>(bands.right), static_cast<int>(region.Width()));
}

void COverlay::CopyAround(const Bands& bands, const EdgeRectangle& region, const COverlayImage& from,
                          const COverlayImage& to) const noexcept {
    const EdgeRectangle& middle = bands.overlap;
    Copy(from, to, {region.left, region.top, region.right, middle.top});
    Copy(from, to, {region.left, middle.top, middle.left, middle.bottom});
    Copy(from, to, {middle.right, middle.top, region.right, middle.bottom});
    Copy(from, to, {region.left, middle.bottom, region.right, region.bottom});
}

void COverlay::Copy(const COverlayImage& from, const COverlayImage& to,
                    const EdgeRectangle& area) const noexcept {
    if (area.IsEmpty()) {
        return;
    }
    const std::int64_t top = lines.From(area.top);
    const std::size_t rows = Size(lines.Count(area.top, area.bottom)), columns = Size(area.Width());
    CopyRows(features, from.Colour(area.left, top, lines.step), to.Colour(area.left, top, lines.step),
             columns * to.PixelBytes(), rows);
    if (from.HasAlphaPlane() && to.HasAlphaPlane()) {
        CopyRows(features, from.Alpha(area.left, top, lines.step), to.Alpha(area.left, top, lines.step),
                 columns, rows);
    }
}

void COverlay::Blacken(const COverlayImage& picture, const EdgeRectangle& area) const noexcept {
    if (area.IsEmpty()) {
        return;
    }
    const std::int64_t top = lines.From(area.top);
    const std::size_t rows = Size(lines.Count(area.top, area.bottom)), columns = Size(area.Width());
    const std::size_t bytes = columns * picture.PixelBytes();
    const Plane colour = picture.Colour(area.left, top, lines.step);
    if (picture.GetColorspace() == FormatHeader::kRgb) {
        FillRows(colour, bytes, rows, [](std::uint8_t* to, std::size_t count) { std::memset(to, 0, count); });
        return;
    }
    FillRows(colour, bytes, rows, [this](std::uint8_t* to, std::size_t count) {
        for (std::size_t done = 0; done < count; done += sizeof black) {
            std::memcpy(to + done, black, std::min(sizeof black, count - done));
        }
    });
    if (picture.HasAlphaPlane()) {
        FillRows(picture.Alpha(area.left, top, lines.step), columns, rows,
                 [](std::uint8_t* to, std::size_t count) { std::memset(to, 0, count); });
    }
}

void COverlay::Blend(const OverlayRow& row, const COverlayImage& back, const COverlayImage& fore,
                     const COverlayImage& result, const EdgeRectangle& area) const noexcept {
    if (area.IsEmpty()) {
        return;
    }
    const std::int64_t left = area.left, top = lines.From(area.top), step = lines.step;
    const std::size_t rows = Size(lines.Count(area.top, area.bottom)), columns = Size(area.Width());
    if (row.kernel == nullptr) {
        Copy(fore, result, area);
        if (row.fillsAlpha) {
            FillRows(result.Alpha(left, top, step), columns, rows,
                     [](std::uint8_t* to, std::size_t count) { std::memset(to, 255, count); });
        }
        return;
    }
    OverlayJob job;
    job.source[kBack] = back.Colour(left, top, step);
    job.source[kFore] = fore.Colour(left, top, step);
    job.source[kBackAlpha] = back.Alpha(left, top, step);
    job.source[kForeAlpha] = fore.Alpha(left, top, step);
    job.destination[kOut] = result.Colour(left, top, step);
    job.destination[kOutAlpha] = result.Alpha(left, top, step);
    job.width = job.whole = columns;
    job.height = rows;
    (*row.kernel)(job);
}

}  // namespace Zan
