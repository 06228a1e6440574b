#ifndef TESSELU_SRC_OVERLAY_OVERLAY_H
#define TESSELU_SRC_OVERLAY_OVERLAY_H

#include <TesselU/foundation/CPUfeatures.h>

#include <cstddef>
#include <cstdint>

#include "overlay/OverlayFamily.h"
#include "overlay/OverlayImage.h"
#include "overlay/OverlayRenderInfo.h"

namespace Zan {

class MovedSource;

/// A foreground over a background into a result, or a picture in the middle of another. Made for one call.
class COverlay {
public:
    explicit COverlay(CPUfeatures& processor) noexcept;

    /// Renders the lines that `info` asks for. The position counts in pixels from where the foreground's
    /// bounds are; `quality` 0, or a flag that is off, rounds an axis to whole pixels. Pictures with
    /// bottom-left origin are turned over.
    Long32 Render(const COverlayRenderInfo& info, COverlayImage& result, COverlayImage& foreground,
                  COverlayImage& background, double positionX, double positionY, bool flagX, bool flagY,
                  int quality);

    /// The source in the middle of the result, as they lie in memory.
    Long32 Center(const COverlayRenderInfo& info, const COverlayImage& source, const COverlayImage& result);

private:
    /// Lines of the result: all, or the even or odd ones.
    struct Lines {
        std::int64_t first = 0, step = 1;

        /// The first one from `top` on.
        std::int64_t From(std::int64_t top) const noexcept {
            return top + (((top - first) % step + step) % step == 0 ? 0 : 1);
        }
        /// How many from `top` to `bottom`.
        std::int64_t Count(std::int64_t top, std::int64_t bottom) const noexcept {
            const std::int64_t from = From(top);
            return from < bottom ? (bottom - from + step - 1) / step : 0;
        }
    };

    /// The result's region around an overlap: lines above, in and below it, columns left of it, in it and
    /// right of it.
    struct Bands {
        EdgeRectangle overlap;
        std::int64_t upper, middle, lower;
        std::int64_t left, across, right;
    };

    /// How far the foreground moves between pixels: whole pixels and lines, and shares of what lies before,
    /// out of 512.
    struct Motion {
        std::int64_t x = 0, y = 0;
        std::int64_t rowStep = 1;  ///< lines to the one before, of the same field where there are fields
        unsigned across = 0;       ///< pixels
        unsigned chroma = 0;       ///< 4:2:2: pairs
        unsigned down = 0;         ///< lines
        bool isOdd = false;        ///< 4:2:2: luma is one more pixel behind

        bool IsAcross() const noexcept { return across != 0 || chroma != 0; }
        bool IsDown() const noexcept { return down != 0; }
        /// 4:2:2: chroma lies between pairs, and luma on pixels.
        bool IsLumaStill() const noexcept { return IsAcross() && across == 0; }
        MixShares Shares() const noexcept;
        /// How far before the pixel in hand a tap lies: columns, of chroma pairs, and lines.
        std::int64_t ColumnsBefore(std::size_t tap) const noexcept {
            return IsAcross() && tap % 2 != 0 ? 1 : 0;
        }
        std::int64_t RowsBefore(std::size_t tap) const noexcept {
            return IsDown() && (IsAcross() ? tap / 2 : tap) != 0 ? rowStep : 0;
        }
    };

    Long32 RenderFrame(const COverlayImage& result, const COverlayImage& foreground,
                       const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                       int quality);
    Long32 RenderField(int field, const COverlayImage& result, const COverlayImage& foreground,
                       const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                       int quality);
    Long32 RenderRGB(const COverlayImage& result, const COverlayImage& foreground,
                     const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                     int quality);
    Long32 RenderYUV(const COverlayImage& result, const COverlayImage& foreground,
                     const COverlayImage& background, double x, double y, bool flagX, bool flagY,
                     int quality);
    Long32 CenterRGB(const COverlayImage& source, const COverlayImage& result);
    Long32 CenterYUV(const COverlayImage& source, const COverlayImage& result);

    // What both colour spaces share.
    Long32 RenderPictures(const OverlayFamily& family, const COverlayImage& result,
                          const COverlayImage& foreground, const COverlayImage& background, double x,
                          double y, bool flagX, bool flagY, int quality);
    Long32 RenderWhole(const OverlayFamily& family, const COverlayImage& result,
                       const COverlayImage& foreground, const COverlayImage& background, std::int64_t x,
                       std::int64_t y);
    static EdgeRectangle Taken(const OverlayFamily& family, const Motion& motion,
                               const COverlayImage& foreground) noexcept;
    static EdgeRectangle Reach(const OverlayFamily& family, const Motion& motion,
                               const COverlayImage& foreground) noexcept;
    Long32 RenderMoved(const OverlayFamily& family, const COverlayImage& result,
                       const COverlayImage& foreground, const COverlayImage& background,
                       const Motion& motion);
    void LogMotion(const OverlayFamily& family, const Motion& motion, const EdgeRectangle& taken,
                   const COverlayImage& result, const EdgeRectangle& overlap,
                   bool isHalfTaken) const noexcept;
    void BlendMoved(const OverlayFamily& family, const MovedRow& row, const COverlayImage& back,
                    const COverlayImage& fore, const COverlayImage& result, const Motion& motion,
                    const EdgeRectangle& taken, const EdgeRectangle& area) const;
    /// Whole rows that touch in all pictures, around the cache, the first column with them; false where they
    /// do not, or that does not pay.
    bool BlendJoined(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                     const COverlayImage& result, const Motion& motion,
                     const EdgeRectangle& area) const noexcept;
    void BlendTile(const MovedRow& row, const COverlayImage& back, const MovedSource& fore,
                   const COverlayImage& result, const Motion& motion, std::int64_t left, std::int64_t top,
                   std::size_t columns, std::size_t rows) const noexcept;
    void BlendEdges(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                    const COverlayImage& result, const Motion& motion, const EdgeRectangle& taken,
                    const EdgeRectangle& area) const noexcept;
    /// BlendEdges of one column of 32-bit pixels, as a row; false where memory lacks some of it.
    bool BlendColumn(const MovedRow& row, const COverlayImage& back, const COverlayImage& fore,
                     const COverlayImage& result, const Motion& motion, const EdgeRectangle& taken,
                     const EdgeRectangle& area) const noexcept;
    Long32 CenterPictures(const OverlayFamily& family, const COverlayImage& source,
                          const COverlayImage& result);

    Bands BandsOf(const EdgeRectangle& region, const EdgeRectangle& overlap) const noexcept;
    void LogBands(const char* linesText, const char* pixelsText, const EdgeRectangle& region,
                  const Bands& bands) const noexcept;
    void CopyAround(const Bands& bands, const EdgeRectangle& region, const COverlayImage& from,
                    const COverlayImage& to) const noexcept;
    void Copy(const COverlayImage& from, const COverlayImage& to, const EdgeRectangle& area) const noexcept;
    void Blacken(const COverlayImage& picture, const EdgeRectangle& area) const noexcept;
    void Blend(const OverlayRow& row, const COverlayImage& back, const COverlayImage& fore,
               const COverlayImage& result, const EdgeRectangle& area) const noexcept;

    static constexpr std::size_t kBlackWords = 1000;

    CPUfeatures& features;
    bool isFieldCall = false;
    Lines lines;
    ULong32 black[kBlackWords];  ///< two pixels of 4:2:2 each
};

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAY_H
