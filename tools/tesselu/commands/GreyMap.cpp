#include "commands/GreyMap.h"

#include <bit>
#include <cstring>

#include "cli/Arguments.h"
#include "gradient/TgaFile.h"
#include "media/FileNames.h"
#include "media/PngEncoder.h"

namespace tool {
namespace {

void WriteTga(OutputFile& file, GreyMap& map) {
    using namespace GradientGenerator;
    const unsigned bytesPerSample = map.bits / 8;
    const std::size_t bytes = map.samples.size();
    OrderSamples(map.samples.data(), bytes, bytesPerSample);
    const auto header = TgaHeader(map.width, map.height, bytesPerSample);
    const auto footer = TgaFooter(bytes, bytesPerSample);
    file.Write(header.data(), header.size());
    file.Write(map.samples.data(), bytes);
    if (bytesPerSample == 2) {
        const auto extension = TgaExtension();
        file.Write(extension.data(), extension.size());
    }
    file.Write(footer.data(), footer.size());
    file.Keep();
}

void WriteGreyPng(OutputFile& file, const GreyMap& map) {
    const bool isWide = map.bits == 16;
    const AVPixelFormat native =
        std::endian::native == std::endian::little ? AV_PIX_FMT_GRAY16LE : AV_PIX_FMT_GRAY16BE;
    const FramePtr frame = NewFrame(isWide ? AV_PIX_FMT_GRAY16BE : AV_PIX_FMT_GRAY8,
                                    static_cast<int>(map.width), static_cast<int>(map.height));
    const bool isSwapped = isWide && native != AV_PIX_FMT_GRAY16BE;
    for (unsigned y = 0; y < map.height; ++y) {
        const std::uint8_t* in = map.samples.data() + y * map.BytesPerRow();
        std::uint8_t* out = frame->data[0] + std::ptrdiff_t{frame->linesize[0]} * y;
        for (std::size_t i = 0; i < map.BytesPerRow(); ++i) {
            out[isSwapped ? i ^ 1U : i] = in[i];
        }
    }
    WritePng(file, *frame);
}

}  // namespace

GreyMap::GreyMap(FrameSize size, unsigned newBits, unsigned newSignificantBits, unsigned newPeak)
    : width(size.width),
      height(size.height),
      bits(newBits),
      significantBits(newSignificantBits),
      peak(newPeak),
      samples(BytesPerRow() * height) {}

std::vector<Option> MapOptions() {
    return {{.name = "output",
             .letter = 'o',
             .kind = ValueKind::kGreyPicture,
             .value = "FILE",
             .help = "FILE.png, or FILE.tga (8 bits, or 16 of which 14 are significant)",
             .isRequired = true},
            {.name = "size",
             .kind = ValueKind::kSize,
             .value = "WIDTHxHEIGHT",
             .help = "size of the picture",
             .initial = "640x480"},
            {.name = "bits",
             .kind = ValueKind::kChoice,
             .value = "BITS",
             .help = "bits of a sample, 8 or 16",
             .initial = "8",
             .choices = {"8", "16"}}};
}

GreyMap NewMap(const Arguments& arguments) {
    const bool isWide = arguments.Choice("bits") == 1;
    const FrameSize size = arguments.Size("size");
    if (IsTga(arguments.Text("output"))) {
        const auto map = GradientGenerator::TgaMap(nullptr, size.width, size.height, isWide ? 2 : 1);
        return {size, isWide ? 16U : 8U, map.significantBits, map.peakValue};
    }
    return isWide ? GreyMap(size, 16, 16, 65535) : GreyMap(size, 8, 8, 255);
}

bool IsTga(const std::string& path) {
    return ExtensionOf(path) == ".tga";
}

void WriteMap(OutputFile& file, GreyMap& map) {
    if (IsTga(file.Path())) {
        WriteTga(file, map);
    } else {
        WriteGreyPng(file, map);
    }
}

}  // namespace tool
