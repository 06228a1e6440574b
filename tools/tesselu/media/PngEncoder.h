#ifndef TESSELU_TOOLS_MEDIA_PNGENCODER_H
#define TESSELU_TOOLS_MEDIA_PNGENCODER_H

#include "media/Raster.h"
#include "run/OutputFile.h"

#include "media/Libav.h"

namespace tool {

/// Encodes pictures of one size, some of them at once.
class PngEncoder {
public:
    /// `samples` is AV_PIX_FMT_RGB24, _RGBA, _GRAY8 or _GRAY16BE; `effort` goes from 1 to 9.
    PngEncoder(AVPixelFormat samples, int width, int height, int effort, int threads);

    /// Hands a picture over; null tells the end.
    void Send(const AVFrame* picture);
    /// The next file's bytes, in the order of the pictures; null when none is ready.
    const AVPacket* Receive();

private:
    CodecPtr codec;
    PacketPtr packet = NewPacket();
};

/// Writes `picture` as a PNG file and keeps it. Throws `Failure`.
void WritePng(OutputFile& file, const Raster& picture);
/// The same with a frame.
void WritePng(OutputFile& file, const AVFrame& picture);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PNGENCODER_H
