#include "media/DigitFont.h"

#include <algorithm>

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

struct Letter {
    char letter;
    const char* rows[kRows];
};
constexpr Letter kLetters[] = {
    {'A', {" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"}},
    {'B', {"#### ", "#   #", "#   #", "#### ", "#   #", "#   #", "#### "}},
    {'C', {" ### ", "#   #", "#    ", "#    ", "#    ", "#   #", " ### "}},
    {'G', {" ### ", "#   #", "#    ", "# ###", "#   #", "#   #", " ### "}},
    {'R', {"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"}},
    {'Y', {"#   #", "#   #", " # # ", "  #  ", "  #  ", "  #  ", "  #  "}},
    {'b', {"#    ", "#    ", "#### ", "#   #", "#   #", "#   #", "#### "}},
    {'r', {"     ", "     ", "# ## ", "##  #", "#    ", "#    ", "#    "}},
};
// clang-format on

/// Null for what has no shape.
const char* const* RowsOf(char c) {
    if (c >= '0' && c <= '9') {
        return kDigits[c - '0'];
    }
    const auto* found = std::find_if(std::begin(kLetters), std::end(kLetters),
                                     [c](const Letter& each) { return each.letter == c; });
    return found != std::end(kLetters) ? found->rows : nullptr;
}

void Box(Raster& picture, unsigned left, unsigned top, unsigned width, unsigned height, Rgb colour) {
    for (unsigned y = top; y < std::min(top + height, picture.height); ++y) {
        for (unsigned x = left; x < std::min(left + width, picture.width); ++x) {
            std::copy(colour.begin(), colour.end(), picture.At(x, y));
        }
    }
}

}  // namespace

void DrawText(Raster& picture, const std::string& text, unsigned left, unsigned top, unsigned scale) {
    Box(picture, left, top, WidthOfText(text, scale), (kRows + 2) * scale, {0, 0, 0});
    for (unsigned i = 0; i < text.size(); ++i) {
        const char* const* rows = RowsOf(text[i]);
        for (unsigned row = 0; rows != nullptr && row < kRows; ++row) {
            for (unsigned column = 0; column < kColumns; ++column) {
                if (rows[row][column] == '#') {
                    Box(picture, left + (1 + i * (kColumns + 1) + column) * scale, top + (1 + row) * scale,
                        scale, scale, {255, 255, 255});
                }
            }
        }
    }
}

unsigned WidthOfText(const std::string& text, unsigned scale) {
    return (static_cast<unsigned>(text.size()) * (kColumns + 1) + 1) * scale;
}

void DrawNumber(Raster& picture, unsigned number, unsigned left, unsigned top, unsigned scale) {
    DrawText(picture, std::to_string(number), left, top, scale);
}

}  // namespace tool
