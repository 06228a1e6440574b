// Kernels that only the paths beside the integer one have: pixel by pixel, on every target the same.

// In place of Foreach.h: the portable form alone.
#define HWY_COMPILE_ONLY_SCALAR
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cmath>

#include "convert/kernels/ConversionKernels.h"
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

template <class Arithmetic>
struct PortableForm {
    template <class Run>
    static void WithForm(const ConversionJob&, const Run& run) {
        run(std::type_identity<Arithmetic>());
    }
};

/// Double precision, then `Finish` on the block.
template <void (*Finish)(Block&)>
struct ByMatrix : PortableForm<ByMatrix<Finish>> {
    explicit ByMatrix(const ConversionJob& job) : c(*job.coefficients) {}

    void Formula(Block& block) const { Doubles(block); }
    void Doubles(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            pixel = ColorInDoubles(c, pixel);
            pixel.sample[3] = AlphaInDoubles(c, pixel.sample[3]);
        });
        Finish(block);
    }

    const FixedPointCoefficients& c;
};

/// Samples as they are, but for `Change`.
template <void (*Change)(Block&)>
struct Repacked : PortableForm<Repacked<Change>> {
    explicit Repacked(const ConversionJob&) {}

    void Formula(Block& block) const { Change(block); }
    void Doubles(Block& block) const { Change(block); }
};

void Nothing(Block&) {}
void Shape(Block& block) {
    ShapePairs(block);
}
void Unshape(Block& block) {
    UnshapePairsInDoubles(block);
}

/// Constants of 16 bits of fraction, no rounding, no limits.
struct FixedPoint : PortableForm<FixedPoint> {
    explicit FixedPoint(const ConversionJob&) {}

    void Formula(Block& block) const {
        ForEachPixel(block, [](Pixel& pixel) {
            const std::int32_t b = pixel.sample[0], g = pixel.sample[1], r = pixel.sample[2];
            const auto byte = [](std::int32_t sum) { return static_cast<std::uint8_t>(sum >> 16); };
            pixel.sample[0] = byte(28784 * b - 19072 * g - 9712 * r - 0x800000);
            pixel.sample[1] = byte(6416 * b + 33040 * g + 16832 * r + 0x100000);
            pixel.sample[2] = byte(28784 * r - 24104 * g - 4680 * b - 0x800000);
        });
    }
    void Doubles(Block& block) const { Formula(block); }
};

/// Single precision, rounded to nearest, halves to even.
struct SinglePrecision : PortableForm<SinglePrecision> {
    explicit SinglePrecision(const ConversionJob& job) {
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < 4; ++j) {
                matrix[i][j] = static_cast<float>(job.coefficients->matrix[i][j]);
            }
            before[i] = static_cast<float>(job.coefficients->offset[0][i]);
            after[i] = static_cast<float>(job.coefficients->offset[1][i]);
        }
    }

    void Formula(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            const Pixel in = pixel;
            for (std::size_t i = 0; i < 4; ++i) {
                float sum = 0;
                for (std::size_t j = 0; j < 4; ++j) {
                    sum += matrix[i][j] * (static_cast<float>(in.sample[j]) + before[j]);
                }
                sum += after[i];
                const float limited = sum > 0 ? std::min(sum, 255.0F) : 0.0F;
                pixel.sample[i] = static_cast<std::uint8_t>(std::nearbyint(limited));
            }
        });
    }
    void Doubles(Block& block) const { Formula(block); }

    float matrix[4][4], before[4], after[4];
};

// ---- Kernels ---------------------------------------------------------------------------------------------

void RGB32ToYCbCrA(const ConversionJob& job) {
    Convert<Pixels32Reader, ByMatrix<Nothing>, YCbCrAWriter>(job);
}
void RGB32ToYCbCrAShaped(const ConversionJob& job) {
    Convert<Pixels32Reader, ByMatrix<Shape>, YCbCrAWriter>(job);
}
void CbYCrYToYCbCrA(const ConversionJob& job) {
    Convert<CbYCrYReader, Repacked<Nothing>, YCbCrAWriter>(job);
}
void CbYCrYToYCbCr24(const ConversionJob& job) {
    Convert<CbYCrYReader, Repacked<Nothing>, YCbCr24Writer>(job);
}
void CbYCr24ToCbYCrY(const ConversionJob& job) {
    Convert<Pixels24Reader, Repacked<Nothing>, CbYCrYWriter>(job);
}
void YCbCr24ToCbYCrY(const ConversionJob& job) {
    Convert<YCbCr24Reader, Repacked<Nothing>, CbYCrYWriter>(job);
}
void CbYCrY4ToYCbCrA(const ConversionJob& job) {
    Convert<CbYCrY4Reader, Repacked<Nothing>, YCbCrAWriter>(job);
}
void CbYCrY4ToYCbCrAShaped(const ConversionJob& job) {
    Convert<CbYCrY4Reader, Repacked<Shape>, YCbCrAWriter>(job);
}
void CbYCrY4ShapedToYCbCrA(const ConversionJob& job) {
    Convert<CbYCrY4Reader, Repacked<Unshape>, YCbCrAWriter>(job);
}
void FixedPointToCbYCrA(const ConversionJob& job) {
    Convert<Pixels32Reader, FixedPoint, Pixels32Writer>(job);
}
void SinglePrecisionToCbYCrA(const ConversionJob& job) {
    Convert<Pixels32Reader, SinglePrecision, Pixels32Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

namespace Zan {

TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatRGB32ToYCbCrA, HWY_NAMESPACE::RGB32ToYCbCrA);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatRGB32ToYCbCrAShaped, HWY_NAMESPACE::RGB32ToYCbCrAShaped);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCrYToYCbCrA, HWY_NAMESPACE::CbYCrYToYCbCrA);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCrYToYCbCr24, HWY_NAMESPACE::CbYCrYToYCbCr24);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCr24ToCbYCrY, HWY_NAMESPACE::CbYCr24ToCbYCrY);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatYCbCr24ToCbYCrY, HWY_NAMESPACE::YCbCr24ToCbYCrY);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCrY4ToYCbCrA, HWY_NAMESPACE::CbYCrY4ToYCbCrA);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCrY4ToYCbCrAShaped, HWY_NAMESPACE::CbYCrY4ToYCbCrAShaped);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kFloatCbYCrY4ShapedToYCbCrA, HWY_NAMESPACE::CbYCrY4ShapedToYCbCrA);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kConvertFixedPoint, HWY_NAMESPACE::FixedPointToCbYCrA);
TESSELU_PORTABLE_KERNEL(ConversionKernel, kConvertSinglePrecision, HWY_NAMESPACE::SinglePrecisionToCbYCrA);

}  // namespace Zan
