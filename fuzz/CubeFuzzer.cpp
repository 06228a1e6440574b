// Texts of .cube files, good and bad, and the tables that come of them on pictures and views of any kind.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/tone/CubeLUT.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace Zan;

fuzz::Calls calls;

/// Lines that tables are made of, and some that they are not.
std::string AnyLine(fuzz::Input& input) {
    static constexpr const char* kLines[] = {"TITLE \"a\"",
                                             "TITLE \"",
                                             "DOMAIN_MIN 0 0 0",
                                             "DOMAIN_MAX 1 1 1",
                                             "DOMAIN_MIN -1 0.25 1e-9",
                                             "DOMAIN_MAX 0.5 3e38 2",
                                             "DOMAIN_MIN 1 1 1",
                                             "LUT_1D_SIZE 2",
                                             "LUT_1D_SIZE 65536",
                                             "LUT_1D_SIZE 5",
                                             "LUT_3D_SIZE 2",
                                             "LUT_3D_SIZE 3",
                                             "LUT_3D_SIZE 256",
                                             "LUT_3D_SIZE 1",
                                             "LUT_3D_INPUT_RANGE 0 1",
                                             "LUT_1D_INPUT_RANGE -0.5 0.75",
                                             "#",
                                             "",
                                             " \t",
                                             "\xEF\xBB\xBF",
                                             "nan 0 0",
                                             "0 0",
                                             "1e39 0 0",
                                             "0x1 0 0",
                                             "LUT_3D_SIZE 99999999999",
                                             "-3e38 3e38 0"};
    return kLines[input.Below(static_cast<unsigned>(std::size(kLines)))];
}

std::string AnyNumber(fuzz::Input& input) {
    const double value = input.Once(16) ? input.Real() : input.Byte() / 200.0 - 0.1;
    char text[32];
    std::snprintf(text, sizeof text, input.Once(8) ? "%.17g" : "%.4f", value);
    return text;
}

/// A text that is mostly right: a size, now and then other lines, and about as many rows as it says.
std::string LikelyText(fuzz::Input& input) {
    const std::string end = input.Once(4) ? "\r\n" : "\n";
    std::string text;
    while (input.Once(3)) {
        text += AnyLine(input) + end;
    }
    const bool isLattice = input.Flip();
    const unsigned side = 2 + input.Below(isLattice ? 4 : 40);
    text += (isLattice ? "LUT_3D_SIZE " : "LUT_1D_SIZE ") + std::to_string(side) + end;
    while (input.Once(4)) {
        text += AnyLine(input) + end;
    }
    unsigned rows = isLattice ? side * side * side : side;
    rows += input.Once(16) ? 1 : 0;
    rows -= input.Once(16) ? 1 : 0;
    // A few numbers, over and over.
    std::vector<std::string> numbers(1 + input.Below(9));
    for (std::string& number : numbers) {
        number = AnyNumber(input);
    }
    for (unsigned i = 0; i < 3 * rows; ++i) {
        text += numbers[i * 7 % numbers.size()] + (i % 3 == 2 ? end : " ");
    }
    return text;
}

std::string RestOf(fuzz::Input& input) {
    std::string text;
    while (!input.Empty()) {
        text += static_cast<char>(input.Byte());
    }
    return text;
}

void Read(CubeLUT& table, const std::string& text) {
    // Memory that ends with the text.
    const std::vector<char> exact(text.begin(), text.end());
    const ULong32 dimensions = table.GetDimensions(), size = table.GetSize();
    const std::string title = table.GetTitle();
    ULong32 line = 0xFFFFFFFFU;
    const Long32 status = table.Read(exact.data(), exact.size(), line);
    calls.Add();
    const auto lines = static_cast<ULong32>(std::count(text.begin(), text.end(), '\n')) + 1;
    if (CubeLUT::ReadStatusText(status) == nullptr || line > lines || (status == 0 && line != 0)) {
        std::abort();
    }
    if (status != 0 &&
        (table.GetDimensions() != dimensions || table.GetSize() != size || table.GetTitle() != title)) {
        std::abort();
    }
    if (status == 0 &&
        (table.GetSize() < 2 || table.GetSize() > (table.GetDimensions() == 1 ? 65536U : 256U))) {
        std::abort();
    }
}

/// Pictures of the formats that a table takes; others are refused before a plane is touched.
void MakeRgb(fuzz::HostilePicture& picture, AggregateChannelSamplingEnum sampling) {
    ImageDescriptor* const record = picture.GetImage().GetImageDescriptor();
    if (record != nullptr && record->colorSpace != kAlphaOnly) {
        record->colorSpace = kRGB;
        record->pixelPacking = kPacked;
        record->channelSampling = sampling;
    }
}

/// Plain memory that ends with its last row; what lies between rows must stay.
void MapWords(fuzz::Input& input, const LookUpTable3D& table) {
    const std::size_t width = input.Below(40), height = input.Below(5), gap = input.Below(3);
    const bool inPlace = input.Flip();
    std::vector<ULong32> in(height == 0 ? 0 : (width + gap) * (height - 1) + width, input.Raw<ULong32>());
    for (std::size_t i = 0; i < in.size(); ++i) {
        in[i] += static_cast<ULong32>(i) * 0x01234567U;
    }
    std::vector<ULong32> out(in.size(), 0xA5A5A5A5U);
    const std::vector<ULong32> before = inPlace ? in : out;
    std::vector<ULong32>& made = inPlace ? in : out;
    const auto pitch = static_cast<ULong32>(4 * (width + gap)) + input.Below(4);
    ULong32 nothing = 0;
    const Long32 status =
        table.Do(in.empty() ? &nothing : in.data(), made.empty() ? &nothing : made.data(),
                 static_cast<ULong32>(width), static_cast<ULong32>(height), pitch, pitch, input.Byte());
    calls.Add();
    if (status != 0) {
        std::abort();
    }
    for (std::size_t i = 0; i < made.size(); ++i) {
        if (i % (width + gap) < width ? made[i] >> 24 != 0 : made[i] != before[i]) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    CubeLUT table;
    if (input.Flip()) {
        Read(table, RestOf(input));
        return 0;
    }
    Read(table, LikelyText(input));
    MapWords(input, table);

    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    if (!input.Once(4)) {
        const AggregateChannelSamplingEnum sampling = input.Flip() ? k4444 : k444;
        MakeRgb(pictures[0], sampling);
        MakeRgb(pictures[1], sampling);
    }
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        const fuzz::Levels ofCall(input);
        ImageView source = pictures[0].View(input);
        ImageView destination = pictures[input.Once(4) ? 0 : 1].View(input);
        const std::uint64_t before = Sum(pictures);
        const Long32 status = table.Do(source, destination);
        calls.Add();
        if (status != 0 && Sum(pictures) != before) {
            std::abort();
        }
    }
    return 0;
}
