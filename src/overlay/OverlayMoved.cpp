// A foreground between pixels.

#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <cstring>

#include "overlay/Overlay.h"
#include "overlay/OverlayLog.h"
#include "overlay/OverlayRows.h"
#include "overlay/kernels/OverlayFormulas.h"
#include "simd/Targets.h"

namespace Zan {

/// What is moved between pixels: planes from the tile's first pixel on, so many columns and lines before.
class MovedSource {
public:
    virtual ~MovedSource() = default;
    virtual Plane Colour(std::int64_t columns, std::int64_t rows) const noexcept = 0;
    virtual Plane Alpha(std::int64_t columns, std::int64_t rows) const noexcept = 0;
    virtual std::size_t PixelBytes() const noexcept = 0;
};

namespace {

constexpr std::int64_t kTilePixels = 8192;

/// The foreground as it lies in its picture.
class PictureSource final : public MovedSource {
public:
    PictureSource(const COverlayImage& fore, std::int64_t left, std::int64_t top, std::int64_t step) noexcept
        : picture(fore), x(left), y(top), rowStep(step) {}

    Plane Colour(std::int64_t columns, std::int64_t rows) const noexcept override {
        return picture.Colour(x - columns, y - rows, rowStep);
    }
    Plane Alpha(std::int64_t columns, std::int64_t rows) const noexcept override {
        return picture.Alpha(x - columns, y - rows, rowStep);
    }
    std::size_t PixelBytes() const noexcept override { return picture.PixelBytes(); }

private:
    const COverlayImage& picture;
    const std::int64_t x, y, rowStep;
};

/// `count` pixels of 24 or 32 bits, which get an alpha of 255 where they have none.
void CopyPixels(const std::uint8_t* from, std::size_t pixelBytes, std::uint8_t* to,
                std::size_t count) noexcept {
    if (pixelBytes == 4 && count != 0) {
        std::memcpy(to, from, 4 * count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(to + 4 * i, from + 3 * i, 3);
        to[4 * i + 3] = 255;
    }
}

/// A column of a foreground from (x, y) on, every `step`-th of its pixels; transparent black where there is
/// none of it.
void TakeColumn(const COverlayImage& fore, const EdgeRectangle& taken, std::int64_t x, std::int64_t y,
                std::int64_t step, std::size_t rows, std::uint8_t* to) noexcept {
    std::memset(to, 0, 4 * rows);
    if (x < taken.left || x >= taken.right) {
        return;
    }
    const auto rowsTo = [&](std::int64_t end) { return Size((end - y + step - 1) / step); };
    const std::size_t first = rowsTo(taken.top), end = std::min(rowsTo(taken.bottom), rows);
    if (first >= end) {
        return;
    }
    const std::size_t pixelBytes = fore.PixelBytes();
    const auto row = [&](std::size_t i) { return y + static_cast<std::int64_t>(i) * step; };
    const Plane plane = fore.Colour(x, row(first), step);
    const bool isWhole = plane.Holds(pixelBytes, end - first);
    for (std::size_t i = first; i < end; ++i) {
        const Plane pixel = isWhole ? Plane{plane.Row(i - first)} : fore.Colour(x, row(i), 1);
        if (isWhole || pixel.Holds(pixelBytes, 1)) {
            CopyPixels(pixel.first, pixelBytes, to + 4 * i, 1);
        }
    }
}

/// A part of a foreground with its surroundings, transparent black where there is none of it, and with alpha
/// whether it has some or not.
class EdgeTile final : public MovedSource {
public:
    static constexpr std::int64_t kMostColumns = 256, kBefore = 2;
    static constexpr std::int64_t kMostPixels = 1024;

    static constexpr std::int64_t MostRows(std::int64_t columns) noexcept {
        return kMostPixels / (columns + kBefore);
    }

    /// `rows` rows from `top` on, every `step`-th, and the ones `rowStep` above them unless that is 0.
    EdgeTile(const COverlayImage& fore, const EdgeRectangle& taken, std::int64_t rowStep, std::int64_t left,
             std::int64_t top, std::int64_t step, std::int64_t columns, std::int64_t rows) noexcept
        : isRgb(fore.GetColorspace() == FormatHeader::kRgb), width(Size(columns + kBefore)) {
        for (std::int64_t r = 0; r < (rowStep != 0 ? 2 : 1); ++r) {
            for (std::int64_t row = 0; row < rows; ++row) {
                const std::size_t first = Size(r * kMostPixels) + Size(row) * width;
                TakeRow(fore, taken, left - kBefore, top + row * step - r * rowStep, first);
            }
        }
    }

    Plane Colour(std::int64_t columns, std::int64_t before) const noexcept override {
        return In(colour, sizeof colour, PixelBytes(), columns, before);
    }
    Plane Alpha(std::int64_t columns, std::int64_t before) const noexcept override {
        return In(alpha, sizeof alpha, 1, columns, before);
    }
    std::size_t PixelBytes() const noexcept override { return isRgb ? 4 : 2; }

private:
    Plane In(const std::uint8_t* memory, std::size_t size, std::size_t bytes, std::int64_t columns,
             std::int64_t before) const noexcept {
        // Kernels do not write to their sources.
        auto* const begin = const_cast<std::uint8_t*>(memory);
        const std::size_t first = Size((before != 0 ? kMostPixels : 0) + kBefore - columns);
        return {begin + bytes * first, static_cast<std::ptrdiff_t>(bytes * width), begin, begin + size};
    }

    /// The row of pixels from (x, y) on to pixel `first` of the tile.
    void TakeRow(const COverlayImage& fore, const EdgeRectangle& taken, std::int64_t x, std::int64_t y,
                 std::size_t first) noexcept {
        const auto end = x + static_cast<std::int64_t>(width);
        const std::int64_t from = std::max(x, taken.left), to = std::min(end, taken.right);
        std::size_t inside = 0;
        const std::size_t pixelBytes = fore.PixelBytes();
        Plane pixels, alphas;
        if (from < to && y >= taken.top && y < taken.bottom) {
            pixels = fore.Colour(from, y, 1);
            alphas = fore.Alpha(from, y, 1);
            inside = pixels.first == nullptr ? 0 : pixels.Clip(Size(to - from) * pixelBytes, 0) / pixelBytes;
            if (fore.HasAlphaPlane()) {
                inside = alphas.first == nullptr ? 0 : std::min(inside, alphas.Clip(inside, 0));
            }
        }
        const std::size_t before = inside == 0 ? 0 : Size(from - x);
        if (isRgb) {
            std::memset(colour + 4 * first, 0, 4 * width);
            CopyPixels(pixels.first, pixelBytes, colour + 4 * (first + before), inside);
            return;
        }
        for (std::size_t i = 0; i < width; ++i) {
            colour[2 * (first + i)] = kChromaZero;
            colour[2 * (first + i) + 1] = kLumaZero;
        }
        std::memset(alpha + first, 0, width);
        if (inside == 0) {
            return;
        }
        std::memcpy(colour + 2 * (first + before), pixels.first, 2 * inside);
        if (fore.HasAlphaPlane()) {
            std::memcpy(alpha + first + before, alphas.first, inside);
        } else {
            std::memset(alpha + first + before, 255, inside);
        }
    }

    bool isRgb;
    std::size_t width;
    std::uint8_t colour[2 * kMostPixels * 4];
    std::uint8_t alpha[2 * kMostPixels];
};

}  // namespace

/// What is taken of the foreground, where whole pixels of the motion put it. An odd last column has no pair.
EdgeRectangle COverlay::Taken(const OverlayFamily& family, const Motion& motion,
                              const COverlayImage& foreground) noexcept {
    EdgeRectangle taken = foreground.region.Moved(motion.x, motion.y);
    taken.right -= family.hasPairs ? taken.Width() & 1 : 0;
    return taken;
}

/// The pixels in which it has a weight.
EdgeRectangle COverlay::Reach(const OverlayFamily& family, const Motion& motion,
                              const COverlayImage& foreground) noexcept {
    EdgeRectangle reach = Taken(family, motion, foreground);
    if (reach.IsEmpty()) {
        return reach;
    }
    reach.right += !motion.IsAcross() ? 0 : family.hasPairs ? 2 : 1;
    reach.bottom += motion.IsDown() ? motion.rowStep : 0;
    return reach;
}

Long32 COverlay::RenderMoved(const OverlayFamily& family, const COverlayImage& result,
                             const COverlayImage& foreground, const COverlayImage& background,
                             const Motion& motion) {
    const int backBits = static_cast<int>(background.GetBitCount());
    if (!family.Takes(background.GetBitCount())) {
        Log(kLogWarning, family.moved.backBits, backBits);
        return kStatusMismatch;
    }
    if (!family.Takes(foreground.GetBitCount())) {
        Log(kLogWarning, family.moved.foreBits, static_cast<int>(foreground.GetBitCount()));
        return kStatusMismatch;
    }
    if (result.GetBitCount() != background.GetBitCount()) {
        Log(kLogWarning, family.moved.resultBits, static_cast<int>(result.GetBitCount()), backBits);
        return kStatusMismatch;
    }
    if (!motion.IsAcross() && !motion.IsDown()) {
        return RenderWhole(family, result, foreground, background, motion.x, motion.y);
    }
    COverlayImage fore = foreground;
    fore.bounds = foreground.bounds.Moved(motion.x, motion.y);
    const EdgeRectangle taken = Taken(family, motion, foreground);
    EdgeRectangle overlap = Reach(family, motion, foreground).Intersection(result.region);
    const EdgeRectangle given = overlap;
    if (family.hasPairs) {
        overlap.right -= overlap.Width() & 1;
    }
    LogMotion(family, motion, taken, result, given, foreground.region.Width() % 2 != 0);
    LogBands(family.moved.lines, family.moved.pixels, result.region, BandsOf(result.region, given));
    const MovedRow* const row =
        family.FindMoved(background.GetBitCount(), foreground.GetBitCount(), foreground.IsPremultiplied());
    if (row == nullptr) {
        return kStatusMismatch;
    }
    if (&background != &result) {
        CopyAround(BandsOf(result.region, overlap), result.region, background, result);
    }
    const MovedRow::Names& names = !motion.IsDown()     ? row->across
                                   : !motion.IsAcross() ? row->down
                                                        : row->both;
    Log(kLogTrace, names.nameSSE2 != nullptr && features.IsSSE2usable() ? names.nameSSE2
                   : names.nameMMX != nullptr && features.IsMMXusable() ? names.nameMMX
                                                                        : names.name);
    BlendMoved(family, *row, background, fore, result, motion, taken, overlap);
    return kStatusOk;
}

void COverlay::LogMotion(const OverlayFamily& family, const Motion& motion, const EdgeRectangle& taken,
                         const COverlayImage& result, const EdgeRectangle& overlap,
                         bool isHalfTaken) const noexcept {
    if constexpr (!kOverlayLogs) {
        return;
    }
    const double x = motion.across / 512.0;
    const double y = motion.down / 512.0;
    const auto log = [](const char* text, auto... values) { Log(kLogTrace, text, values...); };
    log(family.moved.fore, static_cast<int>(taken.left), static_cast<int>(taken.top),
        static_cast<int>(std::max<std::int64_t>(overlap.top - taken.top, 0)),
        static_cast<int>(std::max<std::int64_t>(overlap.left - taken.left, 0)));
    log(family.moved.backCoefficients, x, y);
    log(family.moved.foreCoefficients, 1 - x, 1 - y);
    log(family.moved.fraction, x, y);
    log(family.moved.back, static_cast<int>(result.region.left), static_cast<int>(result.region.top),
        static_cast<int>(overlap.top - result.region.top),
        static_cast<int>(overlap.left - result.region.left));
    log(family.moved.longFraction, x, y);
    if (family.hasPairs && isHalfTaken) {
        log(family.moved.foreSkipped);
    }
    if (family.hasPairs && overlap.Width() % 2 != 0) {
        log(family.moved.backSkipped);
    }
}

MixShares COverlay::Motion::Shares() const noexcept {
    MixShares shares;
    shares.taps = IsAcross() && IsDown() ? 4 : 2;
    shares.row = shares.taps == 4 ? down : 0;
    shares.chroma = IsAcross() ? chroma : down;
    shares.luma = IsAcross() ? across : down;
    // Luma on whole pixels is its own neighbour.
    if (IsLumaStill()) {
        shares.luma = kWeightsOfAxis / 2;
    }
    return shares;
}

void COverlay::BlendMoved(const OverlayFamily& family, const MovedRow& row, const COverlayImage& back,
                          const COverlayImage& fore, const COverlayImage& result, const Motion& motion,
                          const EdgeRectangle& taken, const EdgeRectangle& area) const {
    if (area.IsEmpty()) {
        return;
    }
    // Where every sample that has a weight lies in the foreground.
    const std::int64_t columnsBefore = motion.IsAcross() ? (family.hasPairs ? 2 : 1) : 0;
    const std::int64_t rowsBefore = motion.IsDown() ? motion.rowStep : 0;
    const EdgeRectangle inside =
        EdgeRectangle{taken.left + columnsBefore, taken.top + rowsBefore, taken.right, taken.bottom}
            .Intersection(area);
    // Around it the foreground goes on with transparent black, which needs a kernel with alpha.
    const MovedRow& edgeRow = fore.GetBitCount() == family.highBits
                                  ? row
                                  : *family.FindMoved(back.GetBitCount(), family.highBits, false);
    if (inside.IsEmpty()) {
        BlendEdges(edgeRow, back, fore, result, motion, taken, area);
        return;
    }
    // The line before the first of these is read, too.
    const EdgeRectangle joined = {area.left, inside.top + 1, area.right, inside.bottom};
    if (inside.left == area.left + 1 && inside.right == area.right &&
        BlendJoined(row, back, fore, result, motion, joined)) {
        BlendMoved(family, row, back, fore, result, motion, taken,
                   {area.left, area.top, area.right, joined.top});
        BlendMoved(family, row, back, fore, result, motion, taken,
                   {area.left, joined.bottom, area.right, area.bottom});
        return;
    }
    // What takes two passes goes in tiles that stay in the cache.
    const bool isTiled = row.moved == nullptr;
    const std::int64_t mostColumns =
        isTiled ? std::min<std::int64_t>(inside.Width(), kTilePixels / 2) : inside.Width();
    const std::int64_t mostRows = isTiled ? kTilePixels / mostColumns : inside.Height();
    for (std::int64_t left = inside.left; left < inside.right; left += mostColumns) {
        const std::size_t columns = Size(std::min(inside.right - left, mostColumns));
        for (std::int64_t top = lines.From(inside.top); top < inside.bottom; top += mostRows * lines.step) {
            const std::int64_t rows = lines.Count(top, std::min(inside.bottom, top + mostRows * lines.step));
            BlendTile(row, back, PictureSource(fore, left, top, lines.step), result, motion, left, top,
                      columns, Size(rows));
        }
    }
    BlendEdges(edgeRow, back, fore, result, motion, taken, {area.left, area.top, area.right, inside.top});
    BlendEdges(edgeRow, back, fore, result, motion, taken,
               {area.left, inside.top, inside.left, inside.bottom});
    BlendEdges(edgeRow, back, fore, result, motion, taken,
               {inside.right, inside.top, area.right, inside.bottom});
    BlendEdges(edgeRow, back, fore, result, motion, taken,
               {area.left, inside.bottom, area.right, area.bottom});
}

bool COverlay::BlendJoined(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                           const COverlayImage& result, const Motion& motion,
                           const EdgeRectangle& area) const noexcept {
    const std::size_t columns = Size(area.Width()), rows = Size(area.Height());
    if (row.moved != &kMovedPremultiplied32 || lines.step != 1 || columns < MixShares::kLeastJoined ||
        rows < 2 || !simd::ExceedsCache(3 * 4 * columns * rows) || simd::CurrentTarget() == simd::kPortable) {
        return false;
    }
    // From the line before on, in which the first pixel's neighbours lie.
    const Plane first = fore.Colour(area.left, area.top - 1 - (motion.IsDown() ? motion.rowStep : 0), 1);
    const Plane hand = fore.Colour(area.left, area.top, 1), behind = back.Colour(area.left, area.top, 1),
                out = result.Colour(area.left, area.top, 1);
    const auto joins = [&](const Plane& plane) {
        return plane.pitch == static_cast<std::ptrdiff_t>(4 * columns) && plane.Holds(4 * columns, rows);
    };
    if (first.first == nullptr || !joins(hand) || !joins(behind) || !joins(out) ||
        reinterpret_cast<std::uintptr_t>(out.first) % 4 != 0 ||
        (behind.begin < out.end && out.begin < behind.end)) {
        return false;
    }
    MixShares shares = motion.Shares();
    shares.joined = columns;
    MovedJob job;
    for (std::size_t tap = 0; tap < shares.taps; ++tap) {
        job.source[tap] = hand;
        job.source[tap].first -= 4 * motion.ColumnsBefore(tap) + hand.pitch * motion.RowsBefore(tap);
    }
    job.source[kBehindTaps] = behind;
    job.destination[0] = out;
    job.width = job.whole = columns;
    job.height = rows;
    (*row.moved)(job, shares);
    return true;
}

void COverlay::BlendTile(const MovedRow& row, const COverlayImage& back, const MovedSource& fore,
                         const COverlayImage& result, const Motion& motion, std::int64_t left,
                         std::int64_t top, std::size_t columns, std::size_t rows) const noexcept {
    const std::int64_t step = lines.step;
    const bool isRgb = result.GetColorspace() == FormatHeader::kRgb;
    const MixShares shares = motion.Shares();
    if (row.moved != nullptr) {
        MovedJob job;
        for (std::size_t tap = 0; tap < shares.taps; ++tap) {
            job.source[tap] = fore.Colour(motion.ColumnsBefore(tap), motion.RowsBefore(tap));
        }
        job.source[kBehindTaps] = back.Colour(left, top, step);
        job.destination[0] = result.Colour(left, top, step);
        job.width = job.whole = columns;
        job.height = rows;
        (*row.moved)(job, shares);
        return;
    }

    MixJob mix;
    for (std::size_t tap = 0; tap < shares.taps; ++tap) {
        const std::int64_t before = motion.ColumnsBefore(tap), y = motion.RowsBefore(tap);
        for (const bool isLuma : {false, true}) {
            const std::int64_t x = isRgb     ? before
                                   : !isLuma ? 2 * before
                                             : (motion.IsLumaStill() ? 0 : before) + (motion.isOdd ? 1 : 0);
            mix.source[ColourOf(tap, isLuma)] = fore.Colour(x, y);
            mix.source[AlphaOf(tap, isLuma)] = fore.Alpha(x, y);
        }
    }
    const std::size_t pixelBytes = fore.PixelBytes();
    mix.width = mix.whole = row.mix == &kMixBytes ? columns * pixelBytes : columns;
    mix.height = rows;
    const Plane out = result.Colour(left, top, step), outAlpha = result.Alpha(left, top, step);
    if (row.blend == nullptr) {
        mix.destination[0] = out;
        (*row.mix)(mix, shares);
        if (result.HasAlphaPlane()) {
            FillRows(outAlpha, columns, rows,
                     [](std::uint8_t* to, std::size_t count) { std::memset(to, 255, count); });
        }
        return;
    }
    alignas(64) std::uint8_t made[4 * kTilePixels];
    alignas(64) std::uint8_t madeAlpha[2 * kTilePixels];
    const auto inTile = [&](std::uint8_t* memory, std::size_t bytes) {
        return Plane{memory, static_cast<std::ptrdiff_t>(bytes * columns), nullptr, nullptr};
    };
    OverlayJob job;
    job.source[kBack] = back.Colour(left, top, step);
    job.source[kBackAlpha] = back.Alpha(left, top, step);
    job.source[kFore] = mix.destination[0] = inTile(made, pixelBytes);
    (*row.mix)(mix, shares);
    if (!isRgb) {
        job.source[kForeAlpha] = mix.destination[0] = inTile(madeAlpha, 2);
        kMixPairAlphas(mix, shares);
    }
    job.destination[kOut] = out;
    job.destination[kOutAlpha] = outAlpha;
    job.width = job.whole = columns;
    job.height = rows;
    (*row.blend)(job);
}

void COverlay::BlendEdges(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                          const COverlayImage& result, const Motion& motion, const EdgeRectangle& taken,
                          const EdgeRectangle& area) const noexcept {
    if (area.IsEmpty()) {
        return;
    }
    const std::int64_t step = lines.step, end = area.bottom;
    if (row.moved != nullptr && area.Width() == 1 &&
        BlendColumn(row, back, fore, result, motion, taken, area)) {
        return;
    }
    for (std::int64_t left = area.left; left < area.right; left += EdgeTile::kMostColumns) {
        const std::int64_t columns = std::min(area.right - left, EdgeTile::kMostColumns);
        const std::int64_t most = EdgeTile::MostRows(columns) * step;
        for (std::int64_t top = lines.From(area.top); top < end; top += most) {
            const std::int64_t rows = lines.Count(top, std::min(end, top + most));
            const EdgeTile tile(fore, taken, motion.IsDown() ? motion.rowStep : 0, left, top, step, columns,
                                rows);
            BlendTile(row, back, tile, result, motion, left, top, Size(columns), Size(rows));
        }
    }
}

bool COverlay::BlendColumn(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                           const COverlayImage& result, const Motion& motion, const EdgeRectangle& taken,
                           const EdgeRectangle& area) const noexcept {
    constexpr std::size_t kMostRows = 512;
    const std::int64_t step = lines.step;
    std::int64_t top = lines.From(area.top);
    const std::size_t all = Size(lines.Count(top, area.bottom));
    const Plane behind = back.Colour(area.left, top, step), out = result.Colour(area.left, top, step);
    if (!behind.Holds(4, all) || !out.Holds(4, all)) {
        return false;
    }
    const MixShares shares = motion.Shares();
    std::uint8_t pixels[kMostTaps + 1][4 * kMostRows];
    MovedJob job;
    for (std::size_t i = 0; i < std::size(pixels); ++i) {
        job.source[i].first = pixels[i];
    }
    job.destination[0] = job.source[kBehindTaps];
    job.height = 1;
    for (std::size_t done = 0; done < all; done += kMostRows) {
        const std::size_t rows = std::min(all - done, kMostRows);
        for (std::size_t tap = 0; tap < shares.taps; ++tap) {
            TakeColumn(fore, taken, area.left - motion.ColumnsBefore(tap), top - motion.RowsBefore(tap), step,
                       rows, pixels[tap]);
        }
        for (std::size_t i = 0; i < rows; ++i) {
            std::memcpy(pixels[kBehindTaps] + 4 * i, behind.Row(done + i), 4);
        }
        job.width = job.whole = rows;
        (*row.moved)(job, shares);
        for (std::size_t i = 0; i < rows; ++i) {
            std::memcpy(out.Row(done + i), pixels[kBehindTaps] + 4 * i, 4);
        }
        top += static_cast<std::int64_t>(rows) * step;
    }
    return true;
}

}  // namespace Zan
