#ifndef TESSELU_TESTS_TONE_MODEL_CORRECTION_H
#define TESSELU_TESTS_TONE_MODEL_CORRECTION_H

#include <array>

#include "tone/model/Operand.h"

// The corrector, stage after stage, each over all of the picture.

namespace tone_model {

/// Low, mid, high.
struct Triple {
    int low = 0, mid = 0, high = 0;

    bool IsEmpty() const { return low == 0 && mid == 0 && high == 0; }
};

/// The record.
struct Correction {
    std::uint32_t size = 38;
    int flags = 0;
    int brightness = 0, contrast = 0, hue = 0, saturation = 0;
    Triple luma;
    std::array<Triple, 3> colours = {};  ///< red, green, blue

    bool IsStudio() const { return (flags & 1) != 0; }
    bool LimitsLuma() const { return (flags & 3) != 0; }
    bool LimitsChroma() const { return (flags & 4) != 0; }
    bool IsEmpty() const {
        return flags == 0 && brightness == 0 && contrast == 0 && hue == 0 && saturation == 0 &&
               luma.IsEmpty() && colours[0].IsEmpty() && colours[1].IsEmpty() && colours[2].IsEmpty();
    }
};

struct CorrectorMachine {
    bool sse2 = true;
};

// ---- The stages on samples

int LumaLevel(const Triple& triple, bool studio, int y);
int BrightnessContrast(int brightness, int contrast, int y);
/// The form for destinations on 16 bytes.
int BrightnessContrastAligned(int brightness, int contrast, int y);
/// Chroma around 0, both in and out.
void Hue(int hue, int& cb, int& cr);
int Saturated(int saturation, int c);

/// What one colour becomes, between -510 and 510.
class ColourLevels {
public:
    explicit ColourLevels(const Triple& triple);
    int Of(int colour) const { return table[static_cast<std::size_t>(colour + 512)]; }

private:
    std::array<int, 1024> table = {};
};

/// One pair: Cb, Y0, Cr, Y1. A null table leaves a colour as it is.
void CorrectColours(const ColourLevels* red, const ColourLevels* green, const ColourLevels* blue,
                    int (&pair)[4]);

/// All that a record asks for on one pair.
class PairCorrection {
public:
    /// `aligned`: the form for destinations on 16 bytes, where the record has no luma triple.
    PairCorrection(const Correction& correction, bool aligned);
    void Apply(int (&pair)[4]) const;

private:
    const Correction record;
    int luma[256];
    std::vector<ColourLevels> levels;
    const ColourLevels* colours[3] = {};
};

int Correct(const Operand& source, Operand& destination, const Correction& record,
            const CorrectorMachine& machine);

}  // namespace tone_model

#endif  // TESSELU_TESTS_TONE_MODEL_CORRECTION_H
