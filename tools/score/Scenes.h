#ifndef TESSELU_TOOLS_SCORE_SCENES_H
#define TESSELU_TOOLS_SCORE_SCENES_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "media/Picture.h"

namespace score {

using Samples = std::vector<float>;

/// Red, green and blue of 0 to 255, and alpha of 0 to 1, rows without gaps. Colours are not multiplied with
/// alpha.
struct Raster {
    unsigned width = 0, height = 0;
    std::array<Samples, 4> channel;

    Raster() = default;
    Raster(unsigned newWidth, unsigned newHeight);
};

/// Throws `tool::Failure`.
Raster LoadRaster(const std::string& path);

/// Cut-outs that need no files: a disc with a soft edge, and strands thinner than a pixel and wider.
Raster DiscCutout(unsigned side);
Raster StrandCutout(unsigned width, unsigned height);
/// A background that needs none.
Raster PaintedBackground(unsigned width, unsigned height);

enum class Plate { kGreen, kBlue };

struct Scene {
    std::string name;
    std::shared_ptr<const Raster> cutout, background;
    Plate plate = Plate::kGreen;
    float scale = 1.0F;  ///< of the cut-out, in lines of 1080
    unsigned seed = 1;
};

/// What the camera sees, and the truth that was put into it.
struct Frame {
    unsigned width = 0, height = 0;
    tool::ImagePtr pixels, pairs;  ///< YCrCb at video levels of ITU-R BT.709, 4:4:4:4 and 4:2:2
    tool::ImagePtr backgroundPixels, backgroundPairs;
    Samples alpha;                                         ///< 0 to 255
    std::array<Samples, 3> background, backgroundOfPairs;  ///< what those are in colours
    std::array<Samples, 3> composite;                      ///< over the background of 4:4:4:4
};

/// The chroma of a plate under even light, as code values.
struct PlateChroma {
    double luma, cb, cr;
};
PlateChroma ChromaOf(Plate plate);

/// Frame `number` of a scene. The cut-out is scaled, moves by a fraction of a pixel, and stands before a
/// plate under uneven light, whose colour spills onto its edges; the sensor adds grain. All of it follows
/// from the seed.
Frame MakeFrame(const Scene& scene, unsigned number, unsigned width, unsigned height);

/// YCrCb of video levels as red, green and blue of 0 to 255. Pairs of 4:2:2 share their chroma.
std::array<Samples, 3> ToColours(const Zan::Image& picture);

}  // namespace score

#endif  // TESSELU_TOOLS_SCORE_SCENES_H
