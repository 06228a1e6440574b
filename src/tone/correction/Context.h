#ifndef TESSELU_SRC_TONE_CORRECTION_CONTEXT_H
#define TESSELU_SRC_TONE_CORRECTION_CONTEXT_H

#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/BaseColorCorrection.h>

#include "tone/correction/Stages.h"

namespace Zan::BaseCC {

/// All stages, configured from one record. Lives on the stack of a call; a stage that is not configured
/// costs nothing.
class Context {
public:
    explicit Context(bool isSSE2usable) noexcept : sse2(isSSE2usable) {}

    /// Whether nothing follows the size.
    static bool IsRecordEmpty(const tagBASECOLORCORRINFO& record) noexcept;

    /// 0, or a negative status.
    Long32 Configure(const tagBASECOLORCORRINFO& record, bool buildTables) noexcept;

    /// Runs all configured stages in one pass: 0, or a negative status with nothing written.
    Long32 Run(const PictureDescriptor& source, const PictureDescriptor& destination) noexcept;

    LumaLevelsStage lumaLevels;
    BrightnessContrastStage brightnessContrast;
    LumaLevelsContrastStage lumaLevelsContrast;
    HueStage hue;
    SaturationStage saturation;
    HueSaturationStage hueSaturation;
    LegalizeStage legalize;
    RedLevelsStage redLevels;
    GreenLevelsStage greenLevels;
    BlueLevelsStage blueLevels;
    RedGreenLevelsStage redGreenLevels;
    RedBlueLevelsStage redBlueLevels;
    GreenBlueLevelsStage greenBlueLevels;
    RgbLevelsStage rgbLevels;

private:
    bool sse2;
};

/// What `BaseColorCorrection::Do` does with the second detector, which may be null.
Long32 CorrectViews(const CPUfeatures* features, const ImageView& source, const ImageView& destination,
                    const tagBASECOLORCORRINFO& info) noexcept;

}  // namespace Zan::BaseCC

#endif  // TESSELU_SRC_TONE_CORRECTION_CONTEXT_H
