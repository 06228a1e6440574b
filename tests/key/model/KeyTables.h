#ifndef TESSELU_TESTS_KEY_MODEL_KEYTABLES_H
#define TESSELU_TESTS_KEY_MODEL_KEYTABLES_H

#include <array>

#include "key/model/Operand.h"

// Keys from tables, and the picture of all chroma values.

namespace key_model {

struct KeyTable {
    std::array<Byte, 256> lut;

    KeyTable();  ///< the identity
    int Set(double center, double halfWidth, double softness, double level, double offset, bool invert);

    /// The status, and the changed key.
    int KeyLinear(const Operand& source, Operand& key) const;
    int KeyLuma(const Operand& source, Operand& key) const;
};

int DrawGradient(Operand& picture);

}  // namespace key_model

#endif  // TESSELU_TESTS_KEY_MODEL_KEYTABLES_H
