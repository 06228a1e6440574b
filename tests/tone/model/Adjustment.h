#ifndef TESSELU_TESTS_TONE_MODEL_ADJUSTMENT_H
#define TESSELU_TESTS_TONE_MODEL_ADJUSTMENT_H

#include "tone/model/Operand.h"

// The processing amplifier, a pixel at a time.

namespace tone_model {

/// Settings as the setters leave them.
struct Settings {
    double brightness = 0, contrast = 1, saturation = 1, hue = 0, gamma = 1;

    // What is no number changes nothing.
    void SetBrightness(double value);
    void SetContrast(double value);
    void SetSaturation(double value);
    void SetHue(double value);
    void SetGamma(double value);
};

/// Cb, Y, Cr.
struct Colour {
    int cb, y, cr;
};

/// The steps on one pixel.
class Adjustment {
public:
    explicit Adjustment(const Settings& settings);

    int Luma(int y, bool withGamma) const;
    void Chroma(int& cb, int& cr) const;
    /// All of it on B, G, R.
    void Rgb(int (&bgr)[3]) const;
    /// All of it but gamma.
    Colour Of(Colour colour) const;

private:
    Settings settings;
    double cosine, sine, lift;
    int table[256];
};

int Adjust(const Settings& settings, const Operand& source, Operand& destination, int style);

}  // namespace tone_model

#endif  // TESSELU_TESTS_TONE_MODEL_ADJUSTMENT_H
