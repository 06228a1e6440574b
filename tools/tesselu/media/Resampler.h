#ifndef TESSELU_TOOLS_MEDIA_RESAMPLER_H
#define TESSELU_TOOLS_MEDIA_RESAMPLER_H

#include "media/Libav.h"

namespace tool {

/// How the samples of a frame stand for colours: weights of luma and range of levels. RGB has none.
struct Levels {
    int space = SWS_CS_ITU601;
    bool isFull = false;
};

/// Brings frames from one pixel format, size and range to another, as a whole or field by field. This is the
/// only use of libswscale.
class Resampler {
public:
    /// Fills `to`. With `byField` the lines of each field make those of the same field, chroma among them.
    void Convert(const AVFrame& from, const Levels& fromLevels, AVFrame& to, const Levels& toLevels,
                 bool byField);

private:
    /// One field, or the whole frame.
    struct Part {
        SwsPtr sws;
        int madeFor[10] = {};  ///< the properties of both frames
    };

    void Prepare(Part& part, const AVFrame& from, const Levels& fromLevels, const AVFrame& to,
                 const Levels& toLevels, int field, int fields);

    Part parts[2];
};

/// Lines of field `field` of `fields` in a plane of so many.
constexpr int LinesOfField(int lines, int field, int fields) {
    return (lines + fields - 1 - field) / fields;
}

/// Both fields have whole lines of chroma. Where they have not, `WithWholeFields` gives a frame with some
/// more lines of chroma, which repeat the last ones.
bool HasWholeFields(const AVFrame& frame);
FramePtr WithWholeFields(const AVFrame& frame);

/// A frame that lies in somebody else's memory.
FramePtr ShellOf(AVPixelFormat format, int width, int height);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RESAMPLER_H
