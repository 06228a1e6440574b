#ifndef TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H
#define TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H

#include "OutputFile.h"
#include "media/Writer.h"

namespace tool {

/// A video file by libavformat and libavcodec, 4:2:2 in three planes.
class EncodedWriter : public Writer {
public:
    enum Kind { kLosslessMatroska, kH264Mp4 };

    EncodedWriter(const std::string& path, const PictureFormat& format, Kind kind);
    ~EncodedWriter() override;

    void Write(Zan::Image& picture) override;
    void Finish() override;

private:
    struct FreeOutput {
        void operator()(AVFormatContext* context) const noexcept;
    };

    void OpenEncoder(Kind kind);
    void Drain(AVFrame* picture);

    PictureFormat format;
    OutputFile file;
    std::unique_ptr<AVFormatContext, FreeOutput> output;
    CodecPtr codec;
    FramePtr planes;
    PacketPtr packet = NewPacket();
    AVStream* stream = nullptr;
    std::int64_t written = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H
