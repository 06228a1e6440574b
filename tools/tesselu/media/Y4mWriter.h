#ifndef TESSELU_TOOLS_MEDIA_Y4MWRITER_H
#define TESSELU_TOOLS_MEDIA_Y4MWRITER_H

#include <fstream>
#include <vector>

#include "OutputFile.h"
#include "media/Writer.h"

namespace tool {

/// A YUV4MPEG2 stream: a line of text, then for each picture the word FRAME and the planes Y, Cb, Cr of
/// 4:2:2.
class Y4mWriter : public Writer {
public:
    Y4mWriter(const std::string& path, const PictureFormat& format);

    void Write(Zan::Image& picture) override;
    void Finish() override;

private:
    void Check() const;

    OutputFile file;
    std::ofstream out;
    std::vector<std::uint8_t> planes;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_Y4MWRITER_H
