#ifndef TESSELU_TOOLS_COMMANDS_BACKINGESTIMATE_H
#define TESSELU_TOOLS_COMMANDS_BACKINGESTIMATE_H

#include <TesselU/image/Image.h>
#include <TesselU/key/ChromaKeyerYUV.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tool {

/// How often each chroma occurs in a part of a picture.
class ChromaCount {
public:
    ChromaCount() : counts(65536) {}

    void Add(unsigned cb, unsigned cr, std::uint32_t times = 1) { counts[cb * 256 + cr] += times; }
    std::uint32_t Of(unsigned cb, unsigned cr) const { return counts[cb * 256 + cr]; }
    bool IsEmpty() const;

    /// Calls `visit(cb, cr, times)` for what occurs.
    template <class Visit>
    void ForEach(const Visit& visit) const {
        for (unsigned i = 0; i < 65536; ++i) {
            if (counts[i] != 0) {
                visit(i / 256, i % 256, counts[i]);
            }
        }
    }

private:
    std::vector<std::uint32_t> counts;
};

/// The chroma of pictures in words of Cb, Y, Cr and alpha (4:4:4:4) or Cb, Y, Cr, Y (4:2:2): along the border
/// of the frame, a thirtieth of its height deep; and of what lies within `radius` of a pixel, itself at
/// least.
ChromaCount CountBorder(const Zan::Image& picture);
ChromaCount CountDisc(const Zan::Image& picture, unsigned x, unsigned y, unsigned radius);

/// Only what belongs to the heaviest saturated peak: chroma of about its hue. Empty if all is nearly grey.
ChromaCount HeaviestPeak(const ChromaCount& of);

/// What a user gives, in place of what would follow from the sample.
struct BackingWishes {
    std::optional<double> acceptance;  ///< degrees
    /// Shares of the backing's own key, above and below which the matte is clipped.
    std::optional<double> white, black;
};

/// Settings of a chroma keyer, rounded so that they can be printed and typed again.
struct BackingEstimate {
    double hueAngle = 0, acceptanceAngle = 20;
    double spillAngle = 20, spillGain = 1;
    double keyOffset = 0, keyGain = 1;

    /// Sets all of these, and nothing else.
    void ApplyTo(Zan::ChromaKeyerYUV& keyer) const;
};

/// The settings that key a backing of which `sample` is a part; none for a sample that is empty or grey. Hue
/// and spill follow from its mean, the wedge from how far its hues lie apart, the gain from how low its keys
/// go.
std::optional<BackingEstimate> EstimateBacking(const ChromaCount& sample, const BackingWishes& wishes = {});

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_BACKINGESTIMATE_H
