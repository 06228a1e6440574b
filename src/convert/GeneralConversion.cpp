// The path that takes every pair: a pixel at a time through RGB of full range. Chroma is decimated, never
// filtered; formats without a case here read as black and are not written.

#include <optional>

#include "convert/Coefficients.h"
#include "convert/Formats.h"
#include "convert/kernels/ConversionFormulas.h"
#include "convert/kernels/ConversionKernels.h"

namespace Zan {
namespace {

/// Where the samples of a pixel lie, in the order of the matrix; null where a format has none, or where a
/// destination has none to write.
struct PixelAddress {
    std::uint8_t* sample[4];
};

/// Whether a format passes through the matrices of YCrCb.
bool IsYCrCb(ConverterFormat code) noexcept {
    switch (code) {
        case kFmtRGB32:
        case kFmtRGB32NarrowClamp:
        case kFmtRGB32Studio:
        case kFmtRGB32StudioOpen:
        case kFmtRGB24:
        case kFmtRGB32Shaped:
        case kFmtAlpha8:
        case kFmtUnknown:
            return false;
        default:
            return true;
    }
}

/// A row of a plane, or the last one that its memory holds; null where `byte` bytes further there is none.
std::uint8_t* At(const Plane& plane, std::size_t row, std::size_t byte, bool clamps) noexcept {
    while (clamps && row != 0 && plane.Clip(1, row) == 0) {
        --row;
    }
    const std::size_t inside = plane.Clip(byte + 1, row);
    if (inside > byte) {
        return plane.Row(row) + byte;
    }
    return clamps && inside != 0 ? plane.Row(row) + inside - 1 : nullptr;
}

/// `clamps`: chroma beyond its plane is the last that there is.
std::optional<PixelAddress> AddressOf(ConverterFormat code, const std::array<Plane, 4>& planes, std::size_t x,
                                      std::size_t y, bool clamps) noexcept {
    std::uint8_t* const row = planes[0].Row(y);
    const auto packed = [&](std::size_t bytes, bool lumaFirst) {
        std::uint8_t* p = row + bytes * x;
        return PixelAddress{
            {lumaFirst ? p + 1 : p, lumaFirst ? p : p + 1, p + 2, bytes == 4 ? p + 3 : nullptr}};
    };
    const auto pairs = [&](std::size_t luma) {
        std::uint8_t* p = row + x / 2 * 4;
        return PixelAddress{{p + 1 - luma, p + luma + x % 2 * 2, p + 3 - luma, nullptr}};
    };
    const auto planar = [&](std::size_t across, std::size_t down) {
        const auto chroma = [&](std::size_t i) { return At(planes[i], y / down, x / across, clamps); };
        return PixelAddress{{chroma(1), row + x, chroma(2), nullptr}};
    };
    switch (code) {
        case kFmtRGB32:
        case kFmtCbYCrA:
        case kFmtRGB32NarrowClamp:
        case kFmtRGB32Studio:
        case kFmtRGB32StudioOpen:
        case kFmtRGB32Shaped:
        case kFmtCbYCrAShaped:
        case kFmtRGB32ShapedOpaque:
            return packed(4, false);
        case kFmtYCbCrA:
        case kFmtYCbCrAShaped:
            return packed(4, true);
        case kFmtRGB24:
        case kFmtCbYCr24:
            return packed(3, false);
        case kFmtYCbCr24:
            return packed(3, true);
        case kFmtCbYCrY:
        case kFmtCbYCrYMono:
            return pairs(1);
        case kFmtYCbYCr:
            return pairs(0);
        case kFmtPlanar420:
            return planar(2, 2);
        case kFmtPlanar422:
            return planar(2, 1);
        case kFmtPlanar411:
            return planar(4, 1);
        case kFmtPlanarGrouped: {
            const std::size_t byte = x / 16 * 16 + x / 2 % 8;
            return PixelAddress{
                {At(planes[1], y, byte, clamps), row + x, At(planes[1], y, byte + 8, clamps), nullptr}};
        }
        default:
            return std::nullopt;
    }
}

/// Columns and lines of which the first writes the chroma of all.
struct Sharing {
    std::size_t columns, lines;
};
Sharing SharingOf(ConverterFormat code) noexcept {
    switch (code) {
        case kFmtCbYCrY:
        case kFmtCbYCrYMono:
        case kFmtYCbYCr:
        case kFmtPlanar422:
        case kFmtPlanarGrouped:
            return {2, 1};
        case kFmtPlanar420:
            return {2, 2};
        case kFmtPlanar411:
            return {4, 1};
        default:
            return {1, 1};
    }
}

/// A row of a default matrix with its offsets.
double RowOf(const ColorMatrix& m, std::size_t i, const double (&in)[4]) noexcept {
    double sum = m.matrix[i][2] * (in[2] + m.offset[0][2]);
    sum += m.matrix[i][1] * (in[1] + m.offset[0][1]);
    sum += m.matrix[i][0] * (in[0] + m.offset[0][0]);
    return sum + m.offset[1][i];
}

void Convert(const ConversionJob& job) {
    const ColorMatrix in = MatrixOfKind(IsYCrCb(job.source) ? kKindYCrCbToFullRGB : kKindIdentity);
    const ColorMatrix out = MatrixOfKind(IsYCrCb(job.destination) ? kKindFullRGBToYCrCb : kKindIdentity);
    const Sharing sharing = SharingOf(job.destination);
    for (std::size_t y = 0; y < job.planes.height; ++y) {
        for (std::size_t x = 0; x < job.planes.width; ++x) {
            const auto to = AddressOf(job.destination, job.planes.destination, x, y, false);
            if (!to) {
                return;
            }
            // Black and opaque.
            double samples[4] = {0, 0, 0, 255};
            if (IsYCrCb(job.source)) {
                samples[0] = samples[2] = 128;
                samples[1] = 16;
            }
            if (const auto from = AddressOf(job.source, job.planes.source, x, y, true)) {
                for (std::size_t j = 0; j < 4; ++j) {
                    samples[j] = from->sample[j] != nullptr ? *from->sample[j] : samples[j];
                }
            }
            double canonical[4] = {0, 0, 0, samples[3]};
            for (std::size_t i = 0; i < 3; ++i) {
                canonical[i] = static_cast<double>(static_cast<float>(RowOf(in, i, samples)));
            }
            const bool writesChroma = x % sharing.columns == 0 && y % sharing.lines == 0;
            for (std::size_t i = 0; i < 4; ++i) {
                const bool isShared = sharing.columns != 1 && i != 1;
                if (to->sample[i] == nullptr || (isShared && !writesChroma)) {
                    continue;
                }
                const bool isNeutral = job.destination == kFmtCbYCrYMono && isShared;
                *to->sample[i] = isNeutral ? std::uint8_t{128}
                                 : i == 3  ? TruncateToByte(canonical[3])
                                           : TruncateToByte(RowOf(out, i, canonical));
            }
        }
    }
}

}  // namespace

TESSELU_PORTABLE_KERNEL(ConversionKernel, kConvertGeneral, Convert);

}  // namespace Zan
