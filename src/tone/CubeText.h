#ifndef TESSELU_SRC_TONE_CUBETEXT_H
#define TESSELU_SRC_TONE_CUBETEXT_H

#include <TesselU/foundation/Types.h>

#include <string>
#include <string_view>
#include <vector>

namespace Zan {

/// What the text of a `.cube` file says.
struct CubeTable {
    std::string title;
    ULong32 dimensions = 0;     ///< 1 or 3
    ULong32 size = 0;           ///< points of a side
    double low[3] = {0, 0, 0};  ///< the domain: red, green, blue
    double high[3] = {1, 1, 1};
    std::vector<float> values;  ///< row after row: red, green, blue

    std::size_t Rows() const noexcept {
        const std::size_t side = size;
        return dimensions == 1 ? side : side * side * side;
    }
};

/// Takes the text apart: a `CubeLUT::ReadStatusEnum`, and the number of the line that it is about, 0 when all
/// is well. Throws std::bad_alloc; what is allocated is no more than a few times the text.
Long32 ReadCube(std::string_view text, CubeTable& table, ULong32& line);

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_CUBETEXT_H
