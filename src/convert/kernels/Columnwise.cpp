// Planes with subsampled chroma to pixels: every product truncated by itself, chroma once for all pixels that
// share it. Alpha is its output offset alone.

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/Columnwise.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

class Columnwise {
public:
    explicit Columnwise(const ConversionJob& job) : c(*job.coefficients) {}

    void Formula(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            const Pixel in = pixel;
            for (std::size_t i = 0; i < 3; ++i) {
                const std::int16_t chroma = ColumnwiseChroma(c, i, in.sample[0], in.sample[2]);
                pixel.sample[i] = ColumnwiseSum(c, i, chroma, in.sample[1]);
            }
            pixel.sample[3] = Alpha();
        });
    }

    void Doubles(Block& block) const {
        ForEachPixel(block, [&](Pixel& pixel) {
            pixel = ColorInDoubles(c, pixel);
            pixel.sample[3] = TruncateToByte(c.offset[1][3]);
        });
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    std::uint8_t Alpha() const { return SaturateToByte(c.offsetFixed[1][3] >> 4); }

    const FixedPointCoefficients& c;
};

#if HWY_TARGET == HWY_SCALAR

template <class Run>
void Columnwise::WithForm(const ConversionJob&, const Run& run) {
    run(std::type_identity<Columnwise>());
}

#else

/// `Usual`: luma weighs alike in all rows, blue has no Cr and red no Cb, as in every matrix that leads to
/// RGB.
template <bool Usual>
class VectorColumnwise : public Columnwise {
public:
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = 2 * kVectorPixels;

    HWY_INLINE HWY_ATTR explicit VectorColumnwise(const ConversionJob& job) : Columnwise(job) {
        const DI16 d;
        for (std::size_t i = 0; i < 3; ++i) {
            cbWeights[i] = hn::Set(d, c.matrixFixed[0][i]);
            crWeights[i] = hn::Set(d, c.matrixFixed[2][i]);
            start[i] = hn::Set(d, c.offsetFixed[1][i]);
        }
        for (std::size_t i = 0; i < kLumaRows; ++i) {
            const int weight = c.matrixFixed[1][i];
            lumaWeights[i] = hn::Set(d, static_cast<std::int16_t>(Usual ? -weight : weight));
        }
        alpha = hn::Set(d, Alpha());
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        const DI16 d;
        VI16 cb, cr;
        reader.LoadChroma(at, x, cb, cr);
        VI16 chroma[2][3];
        for (std::size_t i = 0; i < 3; ++i) {
            VI16 once = start[i];
            if (!Usual || i != 2) {
                once = hn::Add(once, hn::MulHigh(cb, cbWeights[i]));
            }
            if (!Usual || i != 0) {
                once = hn::Add(once, hn::MulHigh(cr, crWeights[i]));
            }
            chroma[0][i] = hn::InterleaveLower(d, once, once);
            chroma[1][i] = hn::InterleaveUpper(d, once, once);
        }
        for (std::size_t line = 0; line < Reader::kLines; ++line) {
            VI16 luma[2];
            reader.LoadLuma(at, line, x, luma);
            for (std::size_t half = 0; half < 2; ++half) {
                VI16 products[kLumaRows];
                // The reader's luma comes with its sign turned; every weight but -32768 can be turned, too.
                const VI16 centred = Usual ? luma[half] : hn::Neg(luma[half]);
                for (std::size_t i = 0; i < kLumaRows; ++i) {
                    products[i] = hn::MulHigh(centred, lumaWeights[i]);
                }
                const auto sum = [&](std::size_t i) HWY_ATTR {
                    return hn::ShiftRight<4>(hn::Add(chroma[half][i], products[Usual ? 0 : i]));
                };
                const Components out[1] = {{{sum(0), sum(1), sum(2), alpha}}};
                writer.PutComponents(at, line, x + half * kVectorPixels, out, store);
            }
        }
    }

private:
    static constexpr std::size_t kLumaRows = Usual ? 1 : 3;
    VI16 cbWeights[3], crWeights[3], start[3];
    VI16 lumaWeights[kLumaRows];
    VI16 alpha;
};

template <class Run>
void Columnwise::WithForm(const ConversionJob& job, const Run& run) {
    const auto& m = job.coefficients->matrixFixed;
    if (m[1][0] == m[1][1] && m[1][0] == m[1][2] && m[0][2] == 0 && m[2][0] == 0 && m[1][0] != -32768) {
        run(std::type_identity<VectorColumnwise<true> >());
    } else {
        run(std::type_identity<VectorColumnwise<false> >());
    }
}

#endif  // HWY_TARGET

// ---- Kernels ---------------------------------------------------------------------------------------------

void Planar420ToRGB32(const ConversionJob& job) {
    Convert<Planar420Reader, Columnwise, Pixels32Writer, simd::LinePairs>(job);
}
void Planar420InterlacedToRGB32(const ConversionJob& job) {
    Convert<Planar420Reader, Columnwise, Pixels32Writer, simd::FieldLinePairs>(job);
}
void Planar411ToRGB32(const ConversionJob& job) {
    Convert<Planar411Reader, Columnwise, Pixels32Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertPlanar420ToRGB32, Planar420ToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertPlanar420InterlacedToRGB32, Planar420InterlacedToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertPlanar411ToRGB32, Planar411ToRGB32);

}  // namespace Zan

#endif  // HWY_ONCE
