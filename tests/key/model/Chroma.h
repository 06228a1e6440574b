#ifndef TESSELU_TESTS_KEY_MODEL_CHROMA_H
#define TESSELU_TESTS_KEY_MODEL_CHROMA_H

#include <array>

#include "key/model/Operand.h"

// The chroma keyer, one pixel after the other.

namespace key_model {

struct Settings {
    double hueAngle = 0;
    double acceptanceAngle = 20;
    double saturationMinimum = 0;
    double spillSuppressionAngle = 20;
    double spillSuppressionGain = 1;
    double keyOffset = 0;
    double keyGain = 1;
    bool invertKeyBefore = false;
    bool invertKeyAfter = false;
    std::uint32_t splitScreenHeight = 0xFFFFFFFFU;
    bool splitScreenTop = true;
};

/// As the setters leave them.
Settings Limited(Settings settings);

/// A word: Cb, Y, Cr and alpha, or Cb, Y0, Cr, Y1.
using Word = std::array<Byte, 4>;

/// The key of one chroma value, and what it makes of words, in double precision.
class FloatKernel {
public:
    explicit FloatKernel(const Settings& settings);

    struct Key {
        double k;  ///< as the spill follows it
        double m;  ///< as it mixes
        Byte v;    ///< `m` as a byte
    };
    Key KeyOf(Byte cb, Byte cr) const;
    /// Along the hue.
    double Along(Byte cb, Byte cr) const;
    Word Cleaned(const Word& foreground, const Key& key) const;
    static Byte Mixed(int background, int foreground, const Key& key);

private:
    bool invertBefore, invertAfter;
    double s, c, t, spillCb, spillCr, minimum, offset, gain;
};

/// The same in whole numbers.
class FixedKernel {
public:
    explicit FixedKernel(const Settings& settings);

    struct Key {
        int k, m;
    };
    Key KeyOf(Byte cb, Byte cr) const;
    Word Cleaned(const Word& foreground, const Key& key) const;
    static Byte Mixed(int background, int foreground, const Key& key);

private:
    bool invertBefore, invertAfter;
    int cosine, sine, tangent, minimum, offset, gain, spillCb, spillCr;
};

/// The views of one call; the result may be one of the others.
struct Views {
    Operand* foreground = nullptr;
    Operand* background = nullptr;  ///< or none
    Operand* result = nullptr;
    Operand* keyOut = nullptr;  ///< or none
};

/// Whether the call is one of single precision, which may be one code value off.
bool IsSingle(const Views& views, int style, bool hasSimd);

/// The status, and what was written.
int KeyChroma(const Settings& settings, const Views& views, int style);

}  // namespace key_model

#endif  // TESSELU_TESTS_KEY_MODEL_CHROMA_H
