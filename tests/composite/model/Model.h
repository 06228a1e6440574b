#ifndef TESSELU_TESTS_COMPOSITE_MODEL_MODEL_H
#define TESSELU_TESTS_COMPOSITE_MODEL_MODEL_H

#include "composite/model/Operand.h"

// Blends and wipes, one pixel at a time, in the order in which they are told: slow and plain. They change
// copies of the destination's memory and give the status of the call.

namespace composite_model {

// ---- Blends.cpp

int CrossDissolve(const Operand& a, const Operand& b, Operand& dst, double fade, int style, Processor cpu);
int CompositeTwoSources(const Operand& a, const Operand& b, Operand& dst, int style);
int CompositeTwoSrcAndAlpha(const Operand& a, const Operand& b, const Operand& key, Operand& dst, int style,
                            Processor cpu);
int AoverB(const Operand& a, const Operand& b, Operand& dst);
int UnshapedAoverBwithFadeOfA(const Operand& a, const Operand& b, Operand& dst, double fade, int style,
                              Processor cpu);

// ---- Wipes.cpp

int SoftWipe(const Operand& a, const Operand& b, const Operand& key, Operand& dst, double position,
             double softness, int style, Processor cpu);

struct Border {
    double position, softnessA, width, softnessB;
    std::uint32_t colour;  ///< B, G, R, A from the low byte
};

int BorderWipe(const Operand& a, const Operand& b, const Operand& key, Operand& dst, const Border& border);

/// The wipe of plain memory from Cb, Y0, Cr, Y1 to B, G, R, A. `matrix` and `offsets` are the default ones of
/// that pair.
int ConvertingWipe(const Plane& a, const Plane& b, const Plane& key, Plane& dst, int width, int height,
                   double threshold, double gain, unsigned codePath, bool integerSse, const double* matrix,
                   const double* offsets);

}  // namespace composite_model

#endif  // TESSELU_TESTS_COMPOSITE_MODEL_MODEL_H
