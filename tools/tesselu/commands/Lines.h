#ifndef TESSELU_TOOLS_COMMANDS_LINES_H
#define TESSELU_TOOLS_COMMANDS_LINES_H

#include <TesselU/image/FieldHelpers.h>

#include <cstring>

#include "media/Picture.h"

namespace tool {

/// Calls `work(y)` for the lines of the field or frame that `view` shows, counted in its image.
template <class Work>
void ForLines(const Zan::ImageView& view, Work work) {
    const Zan::Image& image = *view.GetImage();
    const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
    const bool isFrame = field == Zan::kFrame;
    const unsigned first = isFrame || Zan::GetSpatialField(&image, field) == Zan::kUpperField ? 0 : 1;
    for (unsigned y = first; y < image.GetHeight(); y += isFrame ? 1 : 2) {
        work(y);
    }
}

/// Copies the first `bytes` of these lines, out of the same lines of another image.
inline void CopyLines(const Zan::Image& from, const Zan::ImageView& to, std::size_t bytes,
                      Zan::ULong32 channel = 0, Zan::ULong32 fromChannel = 0) {
    ForLines(to, [&](unsigned y) {
        std::memcpy(Line(*to.GetImage(), y, channel), Line(from, y, fromChannel), bytes);
    });
}

/// The same part of the picture, its field told by where it lies and not by when it is shown.
inline Zan::ImageView InSpace(const Zan::ImageView& view) {
    const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
    return Whole(*view.GetImage(),
                 field == Zan::kFrame ? field : Zan::GetSpatialField(view.GetImage(), field));
}

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_LINES_H
