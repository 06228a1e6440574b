#ifndef TESSELU_TOOLS_MEDIA_Y4MWRITER_H
#define TESSELU_TOOLS_MEDIA_Y4MWRITER_H

#include <vector>

#include "media/Planes.h"
#include "media/Writer.h"
#include "run/OutputFile.h"

namespace tool {

/// A YUV4MPEG2 stream: a line of text, then for each picture the word FRAME and the planes Y, Cb, Cr.
class Y4mWriter : public Writer {
public:
    Y4mWriter(const std::string& path, const PictureFormat& format, const StoredFrames& stored);

    void Write(const Zan::Image& picture) override;
    void Finish() override;

private:
    StoredFrames stored;
    OutputFile file;
    FramePtr planes;
    std::vector<std::uint8_t> frame;  ///< the word and the planes
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_Y4MWRITER_H
