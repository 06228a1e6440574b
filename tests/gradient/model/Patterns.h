#ifndef TESSELU_TESTS_GRADIENT_MODEL_PATTERNS_H
#define TESSELU_TESTS_GRADIENT_MODEL_PATTERNS_H

#include <functional>
#include <vector>

namespace gradient_model {

/// The picture that a pattern is drawn for.
struct Map {
    int width, height;
    double aspect = 1.0, cell = 0.25;
};

/// The fraction of a pixel, straight from the printed formula. `pivotIsOpen` pixels, whose angle is that of
/// no direction, have none: they answer with -1.
using Fraction = std::function<double(int x, int y, const Map&)>;

struct Pattern {
    unsigned number;
    Fraction fraction;
    bool wraps = false;  ///< the fraction drops from 1 to 0 at a seam
};

/// Every pattern whose formula is printed, but for the zigzags.
std::vector<Pattern> PrintedPatterns();

/// The place of every cell in its sequence, row after row, and how many places there are.
struct Sequence {
    std::vector<int> place;
    int places = 0;
};

/// For a matrix pattern on a grid.
Sequence SequenceOf(unsigned number, int columns, int rows);

const std::vector<unsigned>& MatrixNumbers();
/// Every number that has a generator.
const std::vector<unsigned>& AllNumbers();

}  // namespace gradient_model

#endif  // TESSELU_TESTS_GRADIENT_MODEL_PATTERNS_H
