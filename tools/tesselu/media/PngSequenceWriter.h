#ifndef TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
#define TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H

#include <optional>

#include "media/FileNames.h"
#include "media/Planes.h"
#include "media/PngEncoder.h"
#include "media/RgbConversion.h"
#include "media/Writer.h"

namespace tool {

/// RGB pictures, with alpha where the run has it, one PNG file each. Each file takes its place when it is
/// whole and stays, whatever becomes of those after it.
class PngSequenceWriter : public Writer {
public:
    PngSequenceWriter(const std::string& pattern, const PictureFormat& format, const StoredFrames& stored,
                      long first, int threads);

    void Write(const Zan::Image& picture) override;
    void Finish() override;
    double LibrarySeconds() const noexcept override { return conversion ? conversion->Seconds() : 0; }

private:
    void Take();

    NumberedName name;
    StoredFrames stored;
    AVPixelFormat samples;
    std::optional<RgbConversion> conversion;  ///< for pictures that are not RGB already
    PngEncoder encoder;
    long number;  ///< of the next file
    std::optional<OutputFile> file;
    std::int64_t sent = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
