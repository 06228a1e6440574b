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

template <std::size_t LinesOfBand>
class Columnwise {
public:
    static constexpr std::size_t kUnit = 2;

    explicit Columnwise(const ConversionJob& job) : c(*job.coefficients) {}

    template <ReadsChromaPair Reader, WritesPixelPair Writer>
    void Unit(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x) const {
        for (std::size_t line = 0; line < LinesOfBand; ++line) {
            const ChromaPair in = reader.Pair(at, line, x, 2);
            PixelPair out;
            for (std::size_t i = 0; i < 3; ++i) {
                const std::int16_t chroma = ColumnwiseChroma(c, i, in.cb, in.cr);
                out.pixel[0][i] = ColumnwiseSum(c, i, chroma, in.y[0]);
                out.pixel[1][i] = ColumnwiseSum(c, i, chroma, in.y[1]);
            }
            out.pixel[0][3] = out.pixel[1][3] = Alpha();
            writer.Put(at, line, x, out, 2);
        }
    }

    template <ReadsChromaPair Reader, WritesPixelPair Writer>
    void Tail(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
              std::size_t columns) const {
        for (std::size_t line = 0; line < LinesOfBand; ++line) {
            const ChromaPair in = reader.Pair(at, line, x, columns);
            PixelPair out{};
            for (std::size_t k = 0; k < columns; ++k) {
                const double samples[4] = {static_cast<double>(in.cb), static_cast<double>(in.y[k]),
                                           static_cast<double>(in.cr), 0};
                for (std::size_t i = 0; i < 3; ++i)
                    out.pixel[k][i] = InDoubles(c, i, samples);
                out.pixel[k][3] = TruncateToByte(c.offset[1][3]);
            }
            writer.Put(at, line, x, out, columns);
        }
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    std::uint8_t Alpha() const { return SaturateToByte(c.offsetFixed[1][3] >> 4); }

    const FixedPointCoefficients& c;
};

#if HWY_TARGET == HWY_SCALAR

template <std::size_t LinesOfBand>
template <class Run>
void Columnwise<LinesOfBand>::WithForm(const ConversionJob& job, const Run& run) {
    run(Columnwise(job));
}

#else

/// `Usual`: luma weighs alike in all rows, blue has no Cr and red no Cb, as in every matrix that leads to
/// RGB.
template <std::size_t LinesOfBand, bool Usual>
class VectorColumnwise : public Columnwise<LinesOfBand> {
    using Columnwise<LinesOfBand>::c;
    using Columnwise<LinesOfBand>::Alpha;

public:
    static constexpr std::size_t kStep = 2 * kVectorPixels;

    HWY_INLINE HWY_ATTR explicit VectorColumnwise(const ConversionJob& job) : Columnwise<LinesOfBand>(job) {
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
        for (std::size_t line = 0; line < LinesOfBand; ++line) {
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
                const Components out = {{sum(0), sum(1), sum(2), alpha}};
                writer.PutPixels(at, line, x + half * kVectorPixels, out, store);
            }
        }
    }

private:
    static constexpr std::size_t kLumaRows = Usual ? 1 : 3;
    VI16 cbWeights[3], crWeights[3], start[3];
    VI16 lumaWeights[kLumaRows];
    VI16 alpha;
};

template <std::size_t LinesOfBand>
template <class Run>
void Columnwise<LinesOfBand>::WithForm(const ConversionJob& job, const Run& run) {
    const auto& m = job.coefficients->matrixFixed;
    if (m[1][0] == m[1][1] && m[1][0] == m[1][2] && m[0][2] == 0 && m[2][0] == 0 && m[1][0] != -32768) {
        run(VectorColumnwise<LinesOfBand, true>(job));
    } else {
        run(VectorColumnwise<LinesOfBand, false>(job));
    }
}

#endif  // HWY_TARGET

// ---- Kernels
// -----------------------------------------------------------------------------------------------

void Planar420ToRGB32(const ConversionJob& job) {
    Convert<Planar420Reader, Columnwise<2>, Rgb32Writer, 16, simd::LinePairs>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertPlanar420ToRGB32, Planar420ToRGB32);

}  // namespace Zan

#endif  // HWY_ONCE
