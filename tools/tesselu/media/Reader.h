#ifndef TESSELU_TOOLS_MEDIA_READER_H
#define TESSELU_TOOLS_MEDIA_READER_H

#include <memory>
#include <optional>
#include <string>

#include "media/Decoder.h"
#include "media/Deinterlacer.h"
#include "media/PicturePool.h"
#include "media/Scaler.h"
#include "run/Timeline.h"

namespace tool {

/// The pictures of one input as the output wants them: of its size, its scan, and at its times.
class Reader {
public:
    /// Opens the input and decodes its first frames. Throws `Failure` naming the input.
    explicit Reader(std::string path, const InputOptions& options = {});

    /// The same input from its start, for one that can be read twice.
    std::unique_ptr<Reader> Again() const { return std::make_unique<Reader>(path, options); }

    const std::string& Path() const noexcept { return path; }
    /// The size of the first frame as it is shown, turned if its label says so.
    unsigned Width() const noexcept;
    unsigned Height() const noexcept;
    /// Width of the shown picture over its height.
    double Aspect() const noexcept;
    /// Width of a pixel over its height.
    AVRational PixelAspect() const noexcept;
    /// How the first frames are labelled.
    SourceTiming Timing() const noexcept { return timing; }
    LumaWeights Weights() const noexcept;
    /// The samples that come closest to those of the frames in a run of such pictures; none when frames must
    /// be worked on before.
    std::optional<Zan::ConverterFormat> Samples(const PictureFormat& run) const;
    /// The weights of such samples, which keep them.
    LumaWeights WeightsOfSamples() const noexcept;
    bool HasAlpha() const noexcept { return hasAlpha; }
    /// The input holds one frame only.
    bool IsStill() const noexcept { return isStill; }

    /// From here on pictures come in this format, cropped to `aspect`.
    void SetTarget(const PictureFormat& target, double aspect);

    /// The last frame is meant to stay beyond the end: nothing is said of it.
    void StayAtEnd() noexcept { saidEnd = true; }

    /// How many pictures of the target the input makes; none when that is not known before its end.
    std::optional<long> Pictures() const;

    /// What a field of output picture `picture` shows; later calls ask for the same or a later time. Beyond
    /// the end the last frame stays.
    SharedPicture PictureAt(long picture, int field);

    /// The input ends before this picture. Looks ahead as far as it must.
    bool EndsBefore(long picture);

private:
    struct TimedFrame {
        FramePtr frame = NewFrame();
        double time = 0;
    };

    bool Next(TimedFrame& into);
    void Advance();
    void LookAtRate();
    double EndSeconds() const;

    std::string path;
    InputOptions options;
    Decoder decoder;
    std::optional<Deinterlacer> deinterlacer;
    bool decoderEnded = false;
    TimedFrame current, next;  ///< one frame ahead, so that a still and an end are known for what they are
    bool hasNext = false;
    bool isStill = false;
    bool hasAlpha = false;
    Turn turn = Turn::kNone;
    SourceTiming timing;
    double origin = 0;  ///< time of the first frame
    bool saidRate = false;
    bool saidEnd = false;
    std::optional<Timeline> timeline;
    std::optional<Scaler> scaler;
    std::optional<PicturePool> pool;
    SharedPicture converted;  ///< of `current`; null: not yet
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_READER_H
