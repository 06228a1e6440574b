#ifndef TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
#define TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H

#include <list>

#include "OutputFile.h"
#include "media/RgbConversion.h"
#include "media/Writer.h"

namespace tool {

/// A file name with one number in it, written %d, %4d or %04d.
class NumberedName {
public:
    /// Throws `UsageError` when there is no such number, or more than one.
    explicit NumberedName(const std::string& pattern);

    std::string At(long number) const;

private:
    std::string before, after;
    std::size_t digits = 0;
};

/// RGB pictures, one PNG file each, numbered from 0.
class PngSequenceWriter : public Writer {
public:
    PngSequenceWriter(const std::string& pattern, const PictureFormat& format);

    void Write(Zan::Image& picture) override;
    void Finish() override;
    double LibrarySeconds() const noexcept override { return conversion.Seconds(); }

private:
    NumberedName name;
    RgbConversion conversion;
    std::list<OutputFile> files;
    bool started = false;  ///< the first file has its picture
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PNGSEQUENCEWRITER_H
