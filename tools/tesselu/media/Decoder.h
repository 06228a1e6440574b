#ifndef TESSELU_TOOLS_MEDIA_DECODER_H
#define TESSELU_TOOLS_MEDIA_DECODER_H

#include <atomic>
#include <optional>
#include <string>

#include "media/Picture.h"

namespace tool {

/// What an input does not say about itself, and how to go about it.
struct InputOptions {
    AVRational rate{25, 1};  ///< of inputs that have none
    std::string rawFormat;   ///< the pixel format of raw frames; empty: there are none
    FrameSize rawSize;
    /// Raw frames are bytes of these samples, whatever their name, and of that scan.
    std::optional<Zan::ConverterFormat> rawSamples = {};
    Zan::ScanStyleEnum rawScan = Zan::kProgressive;
    int threads = 0;         ///< of the decoder; 0: as many as there are processors
    bool keepGoing = false;  ///< damage is told and passed over
};

/// A name of raw frames, which say nothing about themselves.
bool IsRawName(const std::string& path, const InputOptions& options);

/// The frames of a clip, a still, a sequence ("in-%04d.png"), raw frames or standard input ("-"), in the
/// order in which they are shown. The input is opened once and read forward only.
///
/// Damage is a `Failure` that says where, or a note, once, when one is to keep going.
class Decoder {
public:
    Decoder(std::string path, const InputOptions& options);

    /// The next frame and its time in seconds. Times do not fall. False at the end.
    bool Next(AVFrame& into, double& time);

    const AVStream& Stream() const noexcept { return *input->streams[stream]; }
    /// Frames a second, nominally.
    AVRational Rate() const noexcept { return rate; }
    /// When the last frame ends by what the file says, in the times of `Next`; none for a pipe.
    std::optional<double> End() const noexcept { return end; }

private:
    void OpenInput();
    void OpenCodec();
    void FindRate();
    void FindEnd();
    void MeasureByPackets();
    bool Receive(AVFrame& into);
    void FeedCodec();
    void LookAtEnd();
    void Damaged(const std::string& what);

    std::string path;
    InputOptions options;
    InputPtr input;
    CodecPtr codec;
    PacketPtr packet = NewPacket();
    int stream = -1;
    AVRational rate{25, 1};
    std::optional<double> end;
    bool isRegular = false;  ///< a file that can be read twice
    bool isSequence = false;
    bool isDraining = false;
    bool isDamaged = false;           ///< and that was said
    std::atomic<int> complaints = 0;  ///< of the decoder, in libav's log
    std::int64_t bytesEnd = 0;        ///< where the last packet ended in the file
    long frames = 0;
    double last = 0, lastDuration = 0;
    double shift = 0;  ///< of times after the input began to count anew
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_DECODER_H
