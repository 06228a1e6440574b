#ifndef TESSELU_TOOLS_MEDIA_SAMPLEWRITER_H
#define TESSELU_TOOLS_MEDIA_SAMPLEWRITER_H

#include <vector>

#include "media/Writer.h"
#include "run/OutputFile.h"

namespace tool {

/// The bytes of pictures whose samples were asked for, one frame after the other without anything between.
class SampleWriter : public Writer {
public:
    SampleWriter(const std::string& path, const PictureFormat& format);

    void Write(const Zan::Image& picture) override;
    void Finish() override;

private:
    Zan::ConverterFormat samples;
    OutputFile file;
    std::vector<std::uint8_t> bytes;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_SAMPLEWRITER_H
