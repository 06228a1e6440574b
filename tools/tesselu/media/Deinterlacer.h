#ifndef TESSELU_TOOLS_MEDIA_DEINTERLACER_H
#define TESSELU_TOOLS_MEDIA_DEINTERLACER_H

#include "media/Libav.h"

namespace tool {

/// Makes progressive frames out of interlaced ones by a filter of libavfilter that looks at the frames before
/// and after. Frames that are labelled progressive pass as they are.
class Deinterlacer {
public:
    /// A frame out of each frame, or one out of each field.
    Deinterlacer(bool everyField, int threads);

    int FramesPerFrame() const noexcept { return everyField ? 2 : 1; }

    /// Takes a frame and leaves it empty; null tells the end.
    void Send(AVFrame* frame, double time);

    /// Gives the next frame, or false when none is there before another one is sent.
    bool Receive(AVFrame& into, double& time);

private:
    void Build(const AVFrame& frame);

    bool everyField;
    int threads;
    GraphPtr graph;
    AVFilterContext* source = nullptr;
    AVFilterContext* sink = nullptr;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_DEINTERLACER_H
