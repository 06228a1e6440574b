#ifndef TESSELU_TESTS_CONVERT_MODEL_PAIRS_H
#define TESSELU_TESTS_CONVERT_MODEL_PAIRS_H

#include <vector>

#include "convert/model/Arithmetic.h"

// Which pairs a path has, and what it does with them.

namespace convert_model {

enum class Path { kInteger, kFloat, kFixedPoint, kFloatSimd, kGeneral };

/// The pairs of a path, source before destination. The general path has every pair of codes.
const std::vector<std::pair<int, int>>& PairsOf(Path path);
bool HasPair(Path path, int source, int destination);

/// The kind of default matrix, 0 for none: of the integer path and of `DefaultMatrixForFormats`, ...
int KindOf(int source, int destination);
/// ... and of the path in doubles.
int KindInDoubles(int source, int destination);
/// The matrix of a kind.
const Coefficients& OfKind(int kind);

/// Colour changes between RGB and YCrCb. All other pairs move samples.
inline bool NeedsMatrix(int source, int destination) {
    return IsRgb(source) != IsRgb(destination);
}
/// Both have alpha, and the destination another shaping. The rest of the pairs with a shaped side leave
/// colour as it is.
inline bool Shapes(int source, int destination) {
    return HasAlpha(source) && HasAlpha(destination) && !IsShaped(source) && IsShaped(destination);
}
inline bool Unshapes(int source, int destination) {
    return HasAlpha(source) && HasAlpha(destination) && IsShaped(source) && !IsShaped(destination);
}
/// 32-bit pixels on both sides and a matrix between them: alpha goes through the arithmetic.
inline bool AlphaRidesThrough(int source, int destination) {
    return NeedsMatrix(source, destination) && OneOf(source, {0, 1, 3, 4, 5, 14}) &&
           OneOf(destination, {0, 1, 5, 13, 23});
}
/// Studio RGB with the functions that alpha has there.
inline bool IsPlusPair(int source, int destination) {
    return OneOf(source, {3, 4}) && destination == 1;
}

/// The columns of whole groups on the integer path. What is left of a line is done in doubles.
inline int GroupOf(int source, int destination, bool sse2) {
    if (IsPlusPair(source, destination)) {
        return 2;
    }
    if (AlphaRidesThrough(source, destination)) {
        return sse2 ? 16 : 2;
    }
    if (IsRgb(source) && OneOf(destination, {2, 11})) {
        return 4;
    }
    const bool withAlphaPlane = HasAlphaPlane(source) || HasAlphaPlane(destination);
    return withAlphaPlane && !(source == 17 && destination == 10) ? 8 : 16;
}

/// Multiplied column by column, from planes.
inline bool IsClassC(int source, int destination) {
    return OneOf(source, {6, 8, 9}) && OneOf(destination, {0, 5});
}
/// From RGB to chroma that pixels share, or that lies in pairs.
inline bool IsClassB(int source, int destination) {
    return IsRgb(source) && !IsRgb(destination) && destination != 1;
}

/// Planes whose places follow from one address, one pitch and the size, when the caller gives no more.
inline bool DerivesPlanes(int source, int destination) {
    return (OneOf(source, {6, 8}) && OneOf(destination, {0, 5})) ||
           (source == 0 && OneOf(destination, {6, 8, 9})) || (source == 5 && destination == 9) ||
           (source == 2 && OneOf(destination, {6, 7}));
}

}  // namespace convert_model

#endif  // TESSELU_TESTS_CONVERT_MODEL_PAIRS_H
