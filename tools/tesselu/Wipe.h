#ifndef TESSELU_TOOLS_WIPE_H
#define TESSELU_TOOLS_WIPE_H

#include <TesselU/foundation/ProcessingStyle.h>

#include <optional>
#include <string>

#include "media/Picture.h"

namespace tool {

struct FrameSize {
    unsigned width, height;
};

struct WipeOptions {
    std::string fileA, fileB;
    std::string output;
    std::string sheet;                       ///< empty: no contact sheet
    unsigned pattern = 41;                   ///< SMPTE 258M wipe code
    double softness = 32;                    ///< width of the edge in code values of the key
    std::optional<long> frames;              ///< output pictures; else those of the shorter clip
    std::optional<Zan::ScanStyleEnum> scan;  ///< else that of A
    std::optional<FrameSize> size;           ///< else that of A
    Zan::ProcessingStyleEnum style = Zan::kBestAvailable;
};

/// Wipes from A to B and prints how long the library took for its part.
void RunWipe(const WipeOptions& options);

/// The wipe itself: a key that is drawn once, and one soft wipe for each field.
class Wiper {
public:
    /// Throws `UsageError` when the library does not draw the pattern.
    Wiper(const PictureFormat& format, unsigned pattern, double softness, Zan::ProcessingStyleEnum style);

    /// Wipes one field (or the frame) of `destination`: `moment` 0 gives `from`, 1 gives `to`. The parts of
    /// the picture with the highest key values change first, as the wipe codes have it.
    void Wipe(Zan::Image& from, Zan::Image& to, Zan::Image& destination, Zan::WhichFieldEnum field,
              double moment);

    /// Time spent in the library's wipe so far.
    double Seconds() const noexcept { return seconds; }

private:
    ImagePtr key;
    double softness;
    Zan::ProcessingStyleEnum style;
    double seconds = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_WIPE_H
