#ifndef TESSELU_TOOLS_COMMANDS_TONEEFFECT_H
#define TESSELU_TOOLS_COMMANDS_TONEEFFECT_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include <string>

#include "cli/Arguments.h"
#include "run/Effect.h"

namespace tool {

/// The options that all point operations on one input have: --length as it is for one, and --split.
std::vector<Option> ToneOptions();

/// Throws `Failure` naming the work when the library refused it.
void CheckStatus(const std::string& work, Zan::Long32 status);

/// Copies the left half of the field or frame that `to` shows, rounded down to whole pairs of pixels, of the
/// colours and of the alpha that both have. The two have the same samples.
void CopyLeftHalf(const Zan::ImageView& from, const Zan::ImageView& to);

/// A point operation on the 4:2:2 samples of one input. Alpha is divided out of the colours before and
/// multiplied into them again behind it. Where the output has none, what is transparent is black.
class ToneEffect : public Effect {
public:
    explicit ToneEffect(const Arguments& arguments);

    PictureFormat InputFormat(const Reader& input, const PictureFormat& run) override;
    long PicturesOfStills() const override { return 1; }
    void Prepare(const PictureFormat& run) override;
    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override;

protected:
    /// From and to a field or frame of whole pictures in `kFmtCbYCrY` or, if the input has alpha, in
    /// `kFmtCbYCrY4`. Alpha has been copied already.
    virtual void Apply(Zan::ImageView& source, Zan::ImageView& destination) = 0;

    bool HasAlpha() const noexcept { return hasAlpha; }
    void Convert(Zan::ImageView& from, Zan::ImageView& to);

private:
    std::string name;  ///< of the input
    bool isSplit;
    bool hasAlpha = false;    ///< of the input
    bool keepsAlpha = false;  ///< of the output
    ImagePtr straight, made, shaped;
    Zan::ColorSpaceConverter converter;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_TONEEFFECT_H
