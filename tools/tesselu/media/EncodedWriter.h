#ifndef TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H
#define TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H

#include <exception>

#include "media/Planes.h"
#include "media/Writer.h"
#include "run/OutputFile.h"

namespace tool {

/// A video file by libavformat and libavcodec, of whatever frames pictures are stored as.
class EncodedWriter : public Writer {
public:
    enum Kind { kLosslessMatroska, kLosslessQuickTime, kH264Mp4 };

    EncodedWriter(const std::string& path, const PictureFormat& format, const StoredFrames& stored, Kind kind,
                  int threads);
    ~EncodedWriter() override;

    void Write(const Zan::Image& picture) override;
    void Finish() override;

private:
    struct FreeOutput {
        void operator()(AVFormatContext* context) const noexcept { avformat_free_context(context); }
    };
    struct FreeIo {
        void operator()(AVIOContext* context) const noexcept {
            av_freep(&context->buffer);
            avio_context_free(&context);
        }
    };

    static int WriteBytes(void* self, std::uint8_t* bytes, int size);
    static std::int64_t SeekBytes(void* self, std::int64_t offset, int whence);

    void OpenOutput(Kind kind);
    void OpenEncoder(Kind kind, int threads);
    void Drain(AVFrame* picture);
    void Check(int result, const char* about);

    PictureFormat format;
    StoredFrames stored;
    OutputFile file;
    std::exception_ptr fault;  ///< what a callback met
    std::unique_ptr<AVIOContext, FreeIo> io;
    std::unique_ptr<AVFormatContext, FreeOutput> output;
    CodecPtr codec;
    FramePtr planes;
    PacketPtr packet = NewPacket();
    AVStream* stream = nullptr;
    std::int64_t written = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_ENCODEDWRITER_H
