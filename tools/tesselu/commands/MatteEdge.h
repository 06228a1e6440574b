#ifndef TESSELU_TOOLS_COMMANDS_MATTEEDGE_H
#define TESSELU_TOOLS_COMMANDS_MATTEEDGE_H

#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/key/LinearKeyer.h>

#include "media/Picture.h"

namespace tool {

/// Works on the edge of a matte: draws it in, softly, and softens it.
class MatteEdge {
public:
    /// Pixels, each 0 for nothing.
    MatteEdge(long newChoke, long newFeather) : choke(newChoke), feather(newFeather) {}

    /// Throws `UsageError` for more than pictures of that size have room for. `format` is that of pictures of
    /// 4:2:2.
    void Prepare(const PictureFormat& format);
    /// `matte` is the alpha plane of `picture`, both the same field or frame.
    void Apply(Zan::ImageView& picture, const Zan::ImageView& matte);

private:
    void Blur(const Zan::ImageView& matte, long reach);

    long choke, feather;
    unsigned width = 0, height = 0;
    ImagePtr spread, blurred;  ///< the matte in all four bytes of a pixel
    ImagePtr tightened;
    Zan::DeepDefocus defocus;
    Zan::LinearKeyer tight;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_MATTEEDGE_H
