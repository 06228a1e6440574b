#ifndef TESSELU_TOOLS_COMMANDS_KEYOPTIONS_H
#define TESSELU_TOOLS_COMMANDS_KEYOPTIONS_H

#include <TesselU/image/ImageFormat.h>
#include <TesselU/key/LumaKeyer.h>

#include <optional>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "commands/BackingEstimate.h"
#include "commands/StraightOutput.h"

namespace tool {

struct Colour {
    int red, green, blue;
};

struct Spot {
    unsigned x = 0, y = 0, radius = 8;
};

/// How many lines, or which part of them.
struct Split {
    double count;
    bool isPart;

    long Lines(unsigned height) const;
};

/// What was said about the keyer's settings; what was not follows from the backing.
struct GivenSettings {
    std::optional<double> hue, acceptance, spill, spillAngle, offset, gain;
    double saturation = 0;
};

std::vector<Option> OptionsOfKey();
/// The background and the mask, as far as they are files.
std::vector<std::string> MoreInputsOfKey(const Arguments& arguments);

/// What a call of `key` asks for. The constructor throws `UsageError` where that contradicts itself.
struct KeyOptions {
    explicit KeyOptions(const Arguments& arguments);

    /// The matte is drawn in or softened.
    bool IsReworked() const { return choke > 0 || feather > 0; }
    /// The matte is made before the background is looked at, as the alpha of what stands before it.
    bool IsByAlpha() const { return luma || IsReworked(); }

    bool hasGarbage, isShaped, isInverted, asksFull, asksPairs;
    Zan::ProcessingStyleEnum style;
    long at;  ///< the frame that is looked at
    GivenSettings given;
    BackingWishes wishes;
    /// What tells the backing: a colour, a place, or (`settings`) its hue. None: the border.
    std::optional<Colour> backing;
    std::optional<Spot> spot;
    std::optional<BackingEstimate> settings;
    std::optional<Zan::LumaKeyer> luma;
    std::optional<Split> split;
    bool isSplitBelow;
    long choke, feather;  ///< pixels
    std::optional<Colour> plateColour;
    bool hasClip = false, hasPlate = false;  ///< a background by a file; any
    AlphaCarrier carrier = AlphaCarrier::kOpaque, foregroundCarrier = AlphaCarrier::kOpaque;
    bool outHoldsFullChroma = false;
    std::string matte, foreground, plane;

private:
    void Refuse(const Arguments& arguments) const;
    void TakeLuma(const Arguments& arguments);
    void TakeChroma(const Arguments& arguments);
    void TakeSide(const Arguments& arguments, const char* side);
};

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_KEYOPTIONS_H
