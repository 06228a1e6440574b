#ifndef TESSELU_SRC_GRADIENT_TGAFILE_H
#define TESSELU_SRC_GRADIENT_TGAFILE_H

#include <TesselU/gradient/GradientGenerator.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace GradientGenerator {

// The parts of a grey TGA file, in their order: header, pixels, the extension area where samples have two
// bytes, footer. Numbers are little-endian.

constexpr std::size_t kTgaHeaderBytes = 18;
constexpr std::size_t kTgaExtensionBytes = 592;
constexpr std::size_t kTgaFooterBytes = 26;

/// The file can tell this size: sides have 16 bits, offsets 32.
bool FitsTga(Zan::ULong32 width, Zan::ULong32 height, Zan::ULong32 bytesPerSample) noexcept;

std::array<std::uint8_t, kTgaHeaderBytes> TgaHeader(Zan::ULong32 width, Zan::ULong32 height,
                                                    Zan::ULong32 bytesPerSample) noexcept;
std::array<std::uint8_t, kTgaExtensionBytes> TgaExtension() noexcept;
std::array<std::uint8_t, kTgaFooterBytes> TgaFooter(std::size_t pixelBytes,
                                                    Zan::ULong32 bytesPerSample) noexcept;

/// The map that the file holds: rows without gaps, samples of the whole range that the file has.
WgrGradientData TgaMap(void* pixels, Zan::ULong32 width, Zan::ULong32 height,
                       Zan::ULong32 bytesPerSample) noexcept;

/// Brings samples as the machine has them to the order of the file.
void OrderSamples(void* pixels, std::size_t bytes, Zan::ULong32 bytesPerSample) noexcept;

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_TGAFILE_H
