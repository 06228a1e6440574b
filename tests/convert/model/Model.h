#ifndef TESSELU_TESTS_CONVERT_MODEL_MODEL_H
#define TESSELU_TESTS_CONVERT_MODEL_MODEL_H

#include "convert/model/Pairs.h"

namespace convert_model {

/// What a call hands in besides the pictures. Null asks for the default.
struct Given {
    int style;
    const double* matrix;
    const double* offset;
};

/// The converter, one pixel at a time: slow, plain, and in the order in which it is told.
class Model {
public:
    Model();

    unsigned plusFunction = 0;
    int alphaFill = 255;
    bool simd = true;  ///< the processor has SSE
    bool sse2 = true;  ///< and SSE2

    double matrix[4][4] = {};
    double offset[2][4] = {};

    /// All planes are known.
    int OnViews(const Side& ofSource, const Side& ofDestination, int columns, int lines, const Given& given);
    /// One address and one pitch a side; the planes beside it are those of the last call on views.
    int OnMemory(const Side& ofSource, const Side& ofDestination, int columns, int lines, const Given& given);

private:
    int Route(const Given& given);
    int Integer();
    int FloatingPoint();
    int FixedPoint();
    int FloatSimd();
    int General();

    bool TakePlanes(Side& taken, bool isSource, std::ptrdiff_t (*wholeWords)(std::ptrdiff_t),
                    bool derives) const;
    void Keep(const Coefficients& defaults, bool transposed);
    Coefficients InUse(const Coefficients& defaults) const;
    void ConvertInteger(const Coefficients& c) const;
    void ConvertFloatingPoint(const Coefficients& c) const;

    Side source, destination;  ///< as called
    Side from, to;             ///< as the path walks them
    int width = 0, height = 0;
    bool onMemory = false, matrixGiven = false, offsetGiven = false;
};

// Shaping in place: `before` is a copy of the picture that `picture` names.

void ShapeRgb32(const Side& before, const Side& picture, int width, int height);
void UnshapeRgb32(const Side& before, const Side& picture, int width, int height);
void ShapePairs(const Side& before, const Side& picture, int width, int height);
void UnshapePairs(const Side& before, const Side& picture, int width, int height);

}  // namespace convert_model

#endif  // TESSELU_TESTS_CONVERT_MODEL_MODEL_H
