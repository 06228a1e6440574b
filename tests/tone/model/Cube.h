#ifndef TESSELU_TESTS_TONE_MODEL_CUBE_H
#define TESSELU_TESTS_TONE_MODEL_CUBE_H

#include <array>
#include <string>

#include "tone/model/Operand.h"

// Colour tables of text: a plain reader of well-formed text, and interpolation in whole numbers and in
// doubles.

namespace tone_model {

struct Cube {
    int dimensions = 0;  ///< 1 or 3; 0 is the identity
    int size = 0;        ///< points of a curve, or of a side
    std::array<double, 3> low = {0, 0, 0}, high = {1, 1, 1};
    std::vector<std::array<float, 3>> rows;  ///< red fastest
    std::string title;

    /// Text as a program writes it, without anything wrong in it.
    static Cube Of(const std::string& text);

    /// Red, green, blue in and out, as it is documented to be interpolated.
    std::array<int, 3> Map(const std::array<int, 3>& rgb) const;
    /// The same without any rounding, 0 to 255.
    std::array<double, 3> MapInDoubles(const std::array<int, 3>& rgb) const;

    /// What the interpolation needs of the rows; call it after changing them.
    void Prepare();

private:
    struct Place {
        int cell;
        int fraction;  ///< in 16320ths
    };
    Place PlaceOf(std::size_t axis, int sample) const;
    std::size_t Index(int r, int g, int b) const {
        return static_cast<std::size_t>(r) +
               static_cast<std::size_t>(size) *
                   (static_cast<std::size_t>(g) +
                    static_cast<std::size_t>(size) * static_cast<std::size_t>(b));
    }

    int exponent = 15;
    std::vector<std::array<std::int64_t, 3>> entries;
};

}  // namespace tone_model

#endif  // TESSELU_TESTS_TONE_MODEL_CUBE_H
