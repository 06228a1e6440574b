#ifndef TESSELU_TOOLS_MEDIA_RAWWRITER_H
#define TESSELU_TOOLS_MEDIA_RAWWRITER_H

#include <optional>
#include <vector>

#include "media/Resampler.h"
#include "media/RgbConversion.h"
#include "media/Writer.h"
#include "run/OutputFile.h"

namespace tool {

/// The pixel format of that name in 8 bits or more, in ordinary memory. Throws `UsageError` naming the
/// option.
AVPixelFormat RawPixelFormat(const std::string& option, const std::string& name);

/// Frames one after the other without anything between them: video levels in YCrCb, the full range in RGB.
class RawWriter : public Writer {
public:
    RawWriter(const std::string& path, const PictureFormat& format, AVPixelFormat samples);

    void Write(const Zan::Image& picture) override;
    void Finish() override;
    double LibrarySeconds() const noexcept override { return conversion ? conversion->Seconds() : 0; }

private:
    PictureFormat format;
    OutputFile file;
    FramePtr planes;                          ///< 4:2:2
    FramePtr samples;                         ///< in the format that is wanted
    std::optional<RgbConversion> conversion;  ///< for packed RGB
    Resampler resampler;                      ///< for the rest
    std::vector<std::uint8_t> bytes;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RAWWRITER_H
