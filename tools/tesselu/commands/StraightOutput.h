#ifndef TESSELU_TOOLS_COMMANDS_STRAIGHTOUTPUT_H
#define TESSELU_TOOLS_COMMANDS_STRAIGHTOUTPUT_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include <optional>
#include <string>

#include "commands/ColourMatrix.h"
#include "media/Picture.h"
#include "media/Writer.h"

namespace tool {

/// What a file takes of a picture with alpha that is not multiplied into its colours.
enum class AlphaCarrier {
    kRgb,      ///< PNG: B, G, R, A
    kSamples,  ///< FFV1: the samples as they are
    kOpaque    ///< it has no alpha
};

AlphaCarrier CarrierOf(const std::string& path, const OutputOptions& options);

/// Puts pictures with alpha into outputs: colours as they are and alpha beside them or, if asked for,
/// multiplied.
class StraightOutput {
public:
    /// `newName` is the command's, for complaints.
    StraightOutput(std::string newName, bool newIsShaped) : name(std::move(newName)), isShaped(newIsShaped) {}

    /// Of the outputs. The pictures have full chroma, or are 4:2:2.
    static PictureFormat Format(const PictureFormat& run, bool isFull, AlphaCarrier of);

    void Prepare(const PictureFormat& run, bool newIsFull);
    /// `picture` with `alpha` into an output that has both. Of a picture with full chroma the fourth bytes
    /// are written.
    void Put(Zan::Image& picture, const Zan::Image& alpha, Zan::ImageView& output, AlphaCarrier of);

private:
    void Shape(Zan::ImageView& output, AlphaCarrier of);

    std::string name;
    bool isShaped;
    bool isFull = false;
    unsigned width = 0;
    std::optional<ColourMatrix> toRgb;
    Zan::ColorSpaceConverter converter;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_STRAIGHTOUTPUT_H
