#ifndef TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
#define TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H

#include <optional>

#include "media/FileNames.h"
#include "media/PngEncoder.h"
#include "media/RgbConversion.h"
#include "media/Writer.h"

namespace tool {

/// RGB pictures, with alpha where the run has it, one PNG file each. Each file takes its place when it is
/// whole and stays, whatever becomes of those after it.
class PngSequenceWriter : public Writer {
public:
    PngSequenceWriter(const std::string& pattern, const PictureFormat& format, long first, int threads);

    void Write(const Zan::Image& picture) override;
    void Finish() override;
    double LibrarySeconds() const noexcept override { return conversion.Seconds(); }

private:
    void Take();

    NumberedName name;
    AVPixelFormat samples;
    RgbConversion conversion;
    PngEncoder encoder;
    long number;  ///< of the next file
    std::optional<OutputFile> file;
    std::int64_t sent = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
