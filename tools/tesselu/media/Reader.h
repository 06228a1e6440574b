#ifndef TESSELU_TOOLS_MEDIA_READER_H
#define TESSELU_TOOLS_MEDIA_READER_H

#include <optional>
#include <string>

#include "media/Scaler.h"

namespace tool {

/// The frames of a video file or still picture, in order, as packed 4:2:2.
class Reader {
public:
    /// Opens the file and decodes its first frame. Throws `Failure` naming the file.
    explicit Reader(std::string path);

    const std::string& Path() const noexcept { return path; }
    /// The size of the first frame as it is shown, turned if its label says so.
    unsigned Width() const noexcept;
    unsigned Height() const noexcept;
    /// Width of the shown picture over its height.
    double Aspect() const noexcept;
    /// Width of a pixel over its height.
    AVRational PixelAspect() const noexcept;
    /// How the first frame is labelled.
    Zan::ScanStyleEnum Scan() const noexcept;
    LumaWeights Weights() const noexcept;
    /// Frames a second.
    AVRational Rate() const noexcept;
    /// The file holds one frame only.
    bool IsStill() const noexcept { return still; }
    /// How many frames the file says to have, or has when its packets are counted.
    long CountFrames() const;

    /// From here on pictures come in this format, cropped to `aspect`.
    void SetTarget(const PictureFormat& target, double aspect);

    /// Frame `index`, which must not be below that of the call before; beyond the end the last frame stays.
    /// The picture is valid until the next call.
    Zan::Image& FrameAt(long index);

private:
    void Open();
    bool Decode(AVFrame& into);
    void Advance();

    std::string path;
    InputPtr input;
    CodecPtr codec;
    PacketPtr packet = NewPacket();
    FramePtr current = NewFrame();
    FramePtr next = NewFrame();  ///< one frame ahead, so that a still and an end are known for what they are
    int stream = -1;
    Turn turn = Turn::kNone;
    bool draining = false;
    bool hasNext = false;
    bool still = false;
    long position = 0;
    long convertedPosition = -1;
    std::optional<Scaler> scaler;
    Zan::Image* converted = nullptr;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_READER_H
