#include "media/DigitFont.h"

#include <algorithm>
#include <string>

namespace tool {
namespace {

constexpr unsigned kColumns = 5, kRows = 7;

// clang-format off
constexpr const char* kDigits[10][kRows] = {
    {" ### ", "#   #", "#  ##", "# # #", "##  #", "#   #", " ### "},
    {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "},
    {" ### ", "#   #", "    #", "  ## ", " #   ", "#    ", "#####"},
    {" ### ", "#   #", "    #", "  ## ", "    #", "#   #", " ### "},
    {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "},
    {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "},
    {" ### ", "#    ", "#    ", "#### ", "#   #", "#   #", " ### "},
    {"#####", "    #", "   # ", "  #  ", " #   ", " #   ", " #   "},
    {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "},
    {" ### ", "#   #", "#   #", " ####", "    #", "    #", " ### "},
};
// clang-format on

void Box(Raster& picture, unsigned left, unsigned top, unsigned width, unsigned height, Rgb colour) {
    for (unsigned y = top; y < std::min(top + height, picture.height); ++y) {
        for (unsigned x = left; x < std::min(left + width, picture.width); ++x) {
            std::copy(colour.begin(), colour.end(), picture.At(x, y));
        }
    }
}

}  // namespace

void DrawNumber(Raster& picture, unsigned number, unsigned left, unsigned top, unsigned scale) {
    const std::string text = std::to_string(number);
    const auto length = static_cast<unsigned>(text.size());
    Box(picture, left, top, (length * (kColumns + 1) + 1) * scale, (kRows + 2) * scale, {0, 0, 0});
    for (unsigned i = 0; i < length; ++i) {
        for (unsigned row = 0; row < kRows; ++row) {
            for (unsigned column = 0; column < kColumns; ++column) {
                if (kDigits[text[i] - '0'][row][column] == '#') {
                    Box(picture, left + (1 + i * (kColumns + 1) + column) * scale, top + (1 + row) * scale,
                        scale, scale, {255, 255, 255});
                }
            }
        }
    }
}

}  // namespace tool
