#include "overlay/Overlay.h"

#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "overlay/OverlayLog.h"
#include "overlay/OverlayStatus.h"
#include "overlay/kernels/OverlayFormulas.h"
#include "simd/LongRuns.h"

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

constexpr ULong32 kBlackPair = 0x10801080;

/// To the nearest, halves up; what is beyond every picture stays there.
std::int64_t Rounded(double value) noexcept {
    constexpr double kFar = 68719476736.0 * 256;  // 2^36 pixels, in 256ths
    const double limited = std::clamp(value, -kFar, kFar), below = std::floor(limited);
    return static_cast<std::int64_t>(below) + (limited - below >= 0.5 ? 1 : 0);
}

/// Whole pixels, in 4:2:2 lowered to a pair.
std::int64_t WholePixels(double value, bool hasPairs) noexcept {
    const std::int64_t whole = Rounded(value);
    return hasPairs ? whole & ~std::int64_t{1} : whole;
}

std::int64_t FloorDivided(std::int64_t a, std::int64_t b) noexcept {
    return a / b - (a % b < 0 ? 1 : 0);
}
unsigned Remainder(std::int64_t a, std::int64_t b) noexcept {
    return static_cast<unsigned>(a - FloorDivided(a, b) * b);
}

/// A picture whose memory is its own where it shared some with another.
class Detached {
public:
    const COverlayImage& From(const COverlayImage& picture, const COverlayImage& other) {
        if (!Share(picture.colour, other) && !Share(picture.alpha, other)) {
            return picture;
        }
        copy = picture;
        Take(copy.colour, colour);
        Take(copy.alpha, alpha);
        return copy;
    }

private:
    static bool Share(const Plane& plane, const COverlayImage& other) noexcept {
        const auto meet = [&plane](const Plane& there) {
            return plane.begin < there.end && there.begin < plane.end;
        };
        return meet(other.colour) || meet(other.alpha);
    }
    static void Take(Plane& plane, std::vector<std::uint8_t>& memory) {
        if (plane.first != nullptr) {
            memory.assign(plane.begin, plane.end);
            plane.first = memory.data() + (plane.first - plane.begin);
            plane.begin = memory.data();
            plane.end = memory.data() + memory.size();
        }
    }

    COverlayImage copy;
    std::vector<std::uint8_t> colour, alpha;
};

void LogRegion(const char* text, const EdgeRectangle& r) noexcept {
    Log(kLogTrace, text, static_cast<int>(r.left), static_cast<int>(r.top), static_cast<int>(r.right),
        static_cast<int>(r.bottom));
}

std::size_t Size(std::int64_t n) noexcept {
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

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
    const auto joined = static_cast<std::ptrdiff_t>(rowBytes);
    if (from.pitch == joined && to.pitch == joined) {
        rowBytes *= rows;
        rows = 1;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        if (isLong) {
            simd::CopyLongRun(to.Row(row), from.Row(row), rowBytes);
        } else {
            CopyRun(features, to.Row(row), from.Row(row), rowBytes);
        }
    }
}

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
        for (std::size_t i = 0; i < width; ++i) {
            const std::size_t before = Size(from - x);
            const bool isInside = i >= before && i - before < inside;
            const std::size_t k = isInside ? i - before : 0;
            if (isRgb) {
                std::uint8_t* const pixel = colour + 4 * (first + i);
                std::memset(pixel, 0, 4);
                if (isInside) {
                    pixel[3] = 255;
                    std::memcpy(pixel, pixels.first + pixelBytes * k, pixelBytes);
                }
            } else {
                std::uint8_t* const pixel = colour + 2 * (first + i);
                pixel[0] = isInside ? pixels.first[2 * k] : kChromaZero;
                pixel[1] = isInside ? pixels.first[2 * k + 1] : kLumaZero;
                alpha[first + i] = !isInside ? 0 : fore.HasAlphaPlane() ? alphas.first[k] : 255;
            }
        }
    }

    bool isRgb;
    std::size_t width;
    std::uint8_t colour[2 * kMostPixels * 4];
    std::uint8_t alpha[2 * kMostPixels];
};

/// Calls `fill(first, bytes)` for what the memory holds of each row.
template <class Fill>
void FillRows(const Plane& plane, std::size_t rowBytes, std::size_t rows, const Fill& fill) noexcept {
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t bytes = plane.first == nullptr ? 0 : plane.Clip(rowBytes, row);
        if (bytes != 0) {
            fill(plane.Row(row), bytes);
        }
    }
}

}  // namespace

COverlay::COverlay(CPUfeatures& processor) noexcept : features(processor) {
    features.FillWords(black, kBlackPair, kBlackWords);
}

// ---- Routes -------------------------------------------------------------------------------------------

Long32 COverlay::Render(const COverlayRenderInfo& info, COverlayImage& result, COverlayImage& foreground,
                        COverlayImage& background, double x, double y, bool flagX, bool flagY, int quality) {
    isFieldCall = info.GetIsField() != 0;
    if (foreground.GetColorspace() == FormatHeader::kYuv) {
        if (!foreground.header.IsPacked422()) {
            Log(kLogWarning, "**Mixup::COverlay::Render() foreground colorspace is not YUV422 packed\n");
            return kStatusUnsupportedKind;
        }
        // The text says "foreground" for the background as well.
        if (!background.header.IsPacked422()) {
            Log(kLogWarning, "**Mixup::COverlay::Render() foreground colorspace is not YUV422 packed\n");
            return kStatusUnsupportedKind;
        }
        if (!result.header.IsPacked422()) {
            Log(kLogWarning, "**Mixup::COverlay::Render() result colorspace is not YUV422 packed\n");
            return kStatusUnsupportedKind;
        }
    }
    if (foreground.GetOrigin() == kBottomLeft) {
        Log(kLogWarning, "**Mixup::COverlay::Render() Foreground.GetOrigin() == Kolt::kBottomLeft\n");
        foreground.TurnOver();
    }
    if (background.GetOrigin() == kBottomLeft) {
        Log(kLogWarning, "**Mixup::COverlay::Render() Background.GetOrigin() == Kolt::kBottomLeft\n");
        background.TurnOver();
    }
    if (result.GetOrigin() == kBottomLeft) {
        Log(kLogWarning, "**Mixup::COverlay::Render() Result.GetOrigin() == Kolt::kBottomLeft\n");
        result.TurnOver();
    }
    if (info.IsFrame() || (info.IsBothFields() && result.header.noFields != 0)) {
        return RenderFrame(result, foreground, background, x, y, flagX, flagY, quality);
    }
    if (info.IsBothFields()) {
        const int first = result.header.fieldOrder == FormatHeader::kUpperFirst ? 0 : 1;
        const Long32 status = RenderField(first, result, foreground, background, x, y, flagX, flagY, quality);
        return status != kStatusOk
                   ? status
                   : RenderField(1 - first, result, foreground, background, x, y, flagX, flagY, quality);
    }
    return RenderField(info.IsUpperField() ? 0 : 1, result, foreground, background, x, y, flagX, flagY,
                       quality);
}

Long32 COverlay::RenderFrame(const COverlayImage& result, const COverlayImage& foreground,
                             const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                             int quality) {
    Log(kLogTrace, "Mixup::COverlay::RenderFrame() called\n");
    lines = {0, 1};
    switch (background.GetColorspace()) {
        case FormatHeader::kRgb:
            return RenderRGB(result, foreground, background, x, y, flagX, flagY, quality);
        case FormatHeader::kYuv:
            return RenderYUV(result, foreground, background, x, y, flagX, flagY, quality);
        default:
            Log(kLogWarning,
                "**Mixup::COverlay::RenderFrame() Background.GetColorspace()=%x != BI_RGB,BI_YUV\n",
                static_cast<unsigned>(background.GetColorspace()));
            Log(kLogWarning, "**Mixup::COverlay::RenderFrame() only RGB supported right now\n");
            return kOverlayUnknownFormat;
    }
}

Long32 COverlay::RenderField(int field, const COverlayImage& result, const COverlayImage& foreground,
                             const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                             int quality) {
    Log(kLogTrace, "Mixup::COverlay::RenderField(Field=%d) called\n", field);
    lines = {field, 2};
    switch (background.GetColorspace()) {
        case FormatHeader::kRgb:
            return RenderRGB(result, foreground, background, x, y, flagX, flagY, quality);
        case FormatHeader::kYuv:
            return RenderYUV(result, foreground, background, x, y, flagX, flagY, quality);
        default:
            Log(kLogWarning,
                "**Mixup::COverlay::RenderField() Background.GetColorspace()=%x != BI_RGB,BI_YUV\n",
                static_cast<unsigned>(background.GetColorspace()));
            Log(kLogWarning, "**Mixup::COverlay::RenderField() only RGB supported right now\n");
            return kOverlayUnknownFormat;
    }
}

Long32 COverlay::RenderRGB(const COverlayImage& result, const COverlayImage& foreground,
                           const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                           int quality) {
    return RenderPictures(kOverlayRgb, result, foreground, background, x, y, flagX, flagY, quality);
}

Long32 COverlay::RenderYUV(const COverlayImage& result, const COverlayImage& foreground,
                           const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                           int quality) {
    return RenderPictures(kOverlayYuv, result, foreground, background, x, y, flagX, flagY, quality);
}

Long32 COverlay::RenderPictures(const OverlayFamily& family, const COverlayImage& result,
                                const COverlayImage& foreground, const COverlayImage& background, double x,
                                double y, bool flagX, bool flagY, int quality) {
    Log(kLogTrace, family.render.position, x, y);
    const bool isSimple = quality == 0 || (!flagX && !flagY);
    const std::int64_t across = isSimple || !flagX ? 256 * WholePixels(x, family.hasPairs) : Rounded(x * 256);
    const std::int64_t down = isSimple || !flagY ? 256 * WholePixels(y, false) : Rounded(y * 256);

    PositionRectangle moved(foreground.region);
    moved.x += static_cast<double>(across) / 256;
    moved.y += static_cast<double>(down) / 256;
    bool isEmpty = moved.Intersection(PositionRectangle(result.region)).IsEmpty();
    const bool hasFields = !isSimple && flagY && foreground.header.noFields == 0;
    Motion motion;
    if (family.hasPairs) {
        motion.x = FloorDivided(across, 512) * 2;
        motion.across = 2 * Remainder(across, 256);
        motion.chroma = Remainder(across, 512);
        motion.isOdd = motion.chroma >= 256;
    } else {
        motion.x = FloorDivided(across, 256);
        motion.across = 2 * Remainder(across, 256);
    }
    motion.rowStep = hasFields ? 2 : 1;
    motion.y = FloorDivided(down, 256 * motion.rowStep) * motion.rowStep;
    motion.down = hasFields ? Remainder(down, 512) : 2 * Remainder(down, 256);

    if (motion.IsAcross() || motion.IsDown()) {
        // Lines inside fields reach farther than the rectangle.
        isEmpty = Reach(family, motion, foreground).Intersection(result.region).IsEmpty();
    }
    const bool isInPlace = result.colour.begin == background.colour.begin;
    if (isEmpty) {
        Log(kLogTrace, family.render.empty);
        if (!isInPlace) {
            CenterPictures(family, background, result);
        }
        return kStatusOk;
    }
    const bool agree = background.region == result.region && background.bounds == result.bounds &&
                       background.GetBitCount() == result.GetBitCount();
    if (isSimple) {
        if (isInPlace) {
            Log(kLogTrace, family.render.inPlace);
            return RenderWhole(family, result, foreground, result, across / 256, down / 256);
        }
        if (agree) {
            return RenderWhole(family, result, foreground, background, across / 256, down / 256);
        }
        if (const Long32 status = CenterPictures(family, background, result); status != kStatusOk) {
            Log(kLogWarning, family.render.centringFailed, static_cast<int>(status));
            return status;
        }
        return RenderWhole(family, result, foreground, result, across / 256, down / 256);
    }

    // The result is written while the foreground is still read around each pixel.
    Detached apart;
    const COverlayImage& fore = apart.From(foreground, result);
    if (isInPlace) {
        Log(kLogTrace, family.render.inPlace);
        return RenderMoved(family, result, fore, result, motion);
    }
    if (agree) {
        Log(kLogTrace, family.render.noTemp);
        return RenderMoved(family, result, fore, background, motion);
    }
    Log(kLogTrace, family.render.toTemp);
    Detached backApart;
    if (const Long32 status = CenterPictures(family, backApart.From(background, result), result);
        status != kStatusOk) {
        Log(kLogWarning, family.render.tempFailed, static_cast<int>(status));
        return status;
    }
    return RenderMoved(family, result, fore, result, motion);
}

// ---- Whole pixels -------------------------------------------------------------------------------------

Long32 COverlay::RenderWhole(const OverlayFamily& family, const COverlayImage& result,
                             const COverlayImage& foreground, const COverlayImage& background, std::int64_t x,
                             std::int64_t y) {
    const int backBits = static_cast<int>(background.GetBitCount());
    if (!family.Takes(background.GetBitCount())) {
        Log(kLogWarning, family.whole.backBits, backBits);
        return kStatusMismatch;
    }
    if (!family.Takes(foreground.GetBitCount())) {
        Log(kLogWarning, family.whole.foreBits, static_cast<int>(foreground.GetBitCount()));
        return kStatusMismatch;
    }
    if (result.GetBitCount() != background.GetBitCount()) {
        Log(kLogWarning, family.whole.resultBits, static_cast<int>(result.GetBitCount()), backBits);
        return kStatusMismatch;
    }
    COverlayImage moved = foreground;
    moved.bounds = foreground.bounds.Moved(x, y);
    moved.region = foreground.region.Moved(x, y);
    LogRegion(family.whole.foreRegion, moved.region);
    LogRegion(family.whole.backRegion, background.region);
    const bool isInPlace = &background == &result;
    EdgeRectangle overlap = moved.region.Intersection(result.region);
    if (overlap.IsEmpty()) {
        Log(kLogTrace, family.whole.empty);
        if (!isInPlace) {
            Copy(background, result, result.region);
        }
        return kStatusOk;
    }
    LogRegion(family.whole.resultRegion, moved.region.Intersection(background.region));
    LogBands(family.whole.lines, family.whole.pixels, result.region, BandsOf(result.region, overlap));
    if (family.hasPairs) {
        // An odd last pixel has no pair.
        overlap.right -= overlap.Width() & 1;
    }
    const OverlayRow* const row =
        family.Find(background.GetBitCount(), foreground.GetBitCount(), foreground.IsPremultiplied());
    if (row == nullptr) {
        return kStatusMismatch;
    }
    if (!isInPlace) {
        CopyAround(BandsOf(result.region, overlap), result.region, background, result);
    }
    const char* const name = row->nameSSE2 != nullptr && features.IsSSE2usable() ? row->nameSSE2
                             : row->nameBefore != nullptr && (features.*family.isUsableBefore)()
                                 ? row->nameBefore
                                 : row->name;
    Log(kLogTrace, name);
    Blend(*row, background, moved, result, overlap);
    return kStatusOk;
}

// ---- Between pixels -----------------------------------------------------------------------------------

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
    const std::int64_t mostColumns = std::min<std::int64_t>(inside.Width(), kTilePixels / 2);
    const std::int64_t mostRows = kTilePixels / mostColumns;
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

void COverlay::BlendTile(const MovedRow& row, const COverlayImage& back, const MovedSource& fore,
                         const COverlayImage& result, const Motion& motion, std::int64_t left,
                         std::int64_t top, std::size_t columns, std::size_t rows) const noexcept {
    const std::int64_t step = lines.step;
    const bool isRgb = result.GetColorspace() == FormatHeader::kRgb;
    MixShares shares;
    shares.taps = motion.IsAcross() && motion.IsDown() ? 4 : 2;
    shares.row = shares.taps == 4 ? motion.down : 0;
    shares.chroma = motion.IsAcross() ? motion.chroma : motion.down;
    shares.luma = motion.IsAcross() ? motion.across : motion.down;
    // Luma on whole pixels is its own neighbour.
    const bool isStill = motion.IsAcross() && motion.across == 0;
    if (isStill) {
        shares.luma = kWeightsOfAxis / 2;
    }

    MixJob mix;
    for (std::size_t tap = 0; tap < shares.taps; ++tap) {
        const bool isBefore = motion.IsAcross() && tap % 2 != 0;
        const std::int64_t y = (shares.taps == 4  ? tap / 2
                                : motion.IsDown() ? tap
                                                  : 0) != 0
                                   ? motion.rowStep
                                   : 0;
        for (const bool isLuma : {false, true}) {
            const std::int64_t x = isRgb     ? (isBefore ? 1 : 0)
                                   : !isLuma ? (isBefore ? 2 : 0)
                                             : (isBefore && !isStill ? 1 : 0) + (motion.isOdd ? 1 : 0);
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

// ---- Centring -----------------------------------------------------------------------------------------

Long32 COverlay::Center(const COverlayRenderInfo& info, const COverlayImage& source,
                        const COverlayImage& result) {
    isFieldCall = info.GetIsField() != 0;
    lines = info.IsFrame() ? Lines{0, 1} : Lines{info.IsUpperField() ? 0 : 1, 2};
    return source.GetColorspace() == FormatHeader::kYuv ? CenterYUV(source, result)
                                                        : CenterRGB(source, result);
}

Long32 COverlay::CenterRGB(const COverlayImage& source, const COverlayImage& result) {
    return CenterPictures(kOverlayRgb, source, result);
}

Long32 COverlay::CenterYUV(const COverlayImage& source, const COverlayImage& result) {
    return CenterPictures(kOverlayYuv, source, result);
}

Long32 COverlay::CenterPictures(const OverlayFamily& family, const COverlayImage& source,
                                const COverlayImage& result) {
    const int sourceBits = static_cast<int>(source.GetBitCount());
    const int resultBits = static_cast<int>(result.GetBitCount());
    if (!family.Takes(result.GetBitCount())) {
        Log(kLogWarning, family.centre.resultBits, resultBits);
        return kStatusMismatch;
    }
    if (!family.Takes(source.GetBitCount())) {
        Log(kLogWarning, family.centre.sourceBits, sourceBits);
        return kStatusMismatch;
    }
    if (sourceBits != resultBits) {
        Log(kLogWarning, family.centre.differ, resultBits, sourceBits);
        return kStatusMismatch;
    }
    LogRegion(family.centre.sourceRegion, source.region);
    LogRegion(family.centre.destinationRegion, result.region);
    const EdgeRectangle overlap = source.region.Intersection(result.region);
    LogRegion(family.centre.resultRegion, overlap);
    const Bands bands = BandsOf(result.region, overlap);
    LogBands(family.centre.lines, family.centre.pixels, result.region, bands);
    const EdgeRectangle& whole = result.region;
    const EdgeRectangle& middle = bands.overlap;
    Blacken(result, {whole.left, whole.top, whole.right, middle.top});
    Blacken(result, {whole.left, middle.top, middle.left, middle.bottom});
    Copy(source, result, middle);
    Blacken(result, {middle.right, middle.top, whole.right, middle.bottom});
    Blacken(result, {whole.left, middle.bottom, whole.right, whole.bottom});
    return kStatusOk;
}

// ---- Geometry and rows --------------------------------------------------------------------------------

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
