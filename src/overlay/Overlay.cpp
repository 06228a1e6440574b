#include "overlay/Overlay.h"

#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "overlay/OverlayLog.h"
#include "overlay/OverlayStatus.h"
#include "overlay/kernels/OverlayFormulas.h"

namespace Zan {
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

}  // namespace Zan
