// Conversions with input as sample * 128 and output in 16ths.

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/SevenBit.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// 4:2:2 to pixels. Alpha is the caller's fill.
class SevenBit {
public:
    static constexpr std::size_t kUnit = 2;

    explicit SevenBit(const ConversionJob& job) : c(*job.coefficients), fill(job.alphaFill) {}

    template <ReadsChromaPair Reader, WritesPixelPair Writer>
    void Unit(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x) const {
        const ChromaPair in = reader.Pair(at, 0, x, 2);
        PixelPair out;
        for (std::size_t k = 0; k < 2; ++k) {
            const std::int16_t samples[4] = {
                SevenBitSample(in.cb, c.offsetFixed[0][0]),
                SevenBitSample(in.y[k], c.offsetFixed[0][1]),
                SevenBitSample(in.cr, c.offsetFixed[0][2]),
                SevenBitSample(0, c.offsetFixed[0][3]),
            };
            for (std::size_t i = 0; i < 3; ++i)
                out.pixel[k][i] = SevenBitRow(c, i, samples);
            out.pixel[k][3] = fill;
        }
        writer.Put(at, 0, x, out, 2);
    }

    template <ReadsChromaPair Reader, WritesPixelPair Writer>
    void Tail(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
              std::size_t columns) const {
        const ChromaPair in = reader.Pair(at, 0, x, columns);
        PixelPair out{};
        for (std::size_t k = 0; k < columns; ++k) {
            const double samples[4] = {static_cast<double>(in.cb), static_cast<double>(in.y[k]),
                                       static_cast<double>(in.cr), 0};
            for (std::size_t i = 0; i < 3; ++i)
                out.pixel[k][i] = InDoubles(c, i, samples);
            out.pixel[k][3] = fill;
        }
        writer.Put(at, 0, x, out, columns);
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    const FixedPointCoefficients& c;
    std::uint8_t fill;
};

#if HWY_TARGET == HWY_SCALAR

template <class Run>
void SevenBit::WithForm(const ConversionJob& job, const Run& run) {
    run(SevenBit(job));
}

#else

/// ((sum of c * (128 x + before)) >> 16 + after) >> 4 as (sum of c * 8 x + start) >> 16, with every offset in
/// `start`. Holds where `SevenBitSumsFit`. `Fused` as in AddMulAddPairs.
template <bool SharedLuma, bool Fused = false>
class FoldedSevenBit : public SevenBit {
public:
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit FoldedSevenBit(const ConversionJob& job) : SevenBit(job) {
        for (std::size_t i = 0; i < 3; ++i) {
            std::int64_t offsets = std::int64_t{c.offsetFixed[1][i]} * 65536;
            for (std::size_t j = 0; j < 4; ++j) {
                offsets += std::int32_t{c.matrixFixed[i][j]} * c.offsetFixed[0][j];
            }
            start[i] = hn::Set(DI32(), static_cast<std::int32_t>((offsets >> 7) * 8));
            chromaWeights[i] = WordPairs(c.matrixFixed[i][0], c.matrixFixed[i][2]);
        }
        for (std::size_t i = 0; i < kLumaRows; ++i) {
            evenLuma[i] = WordPairs(c.matrixFixed[i][1], 0);
            oddLuma[i] = WordPairs(0, c.matrixFixed[i][1]);
        }
        alpha = hn::Set(DI16(), fill);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        const ChromaPairs pairs = reader.template LoadShifted<3>(at, 0, x);
        VI32 even[kLumaRows], odd[kLumaRows];
        for (std::size_t i = 0; i < kLumaRows && !Fused; ++i) {
            even[i] = MulAddPairs(pairs.luma, evenLuma[i]);
            odd[i] = MulAddPairs(pairs.luma, oddLuma[i]);
        }
        const auto row = [&](std::size_t i) HWY_ATTR {
            const std::size_t weight = SharedLuma ? 0 : i;
            const VI32 both = AddMulAddPairs<Fused>(start[i], pairs.chroma, chromaWeights[i]);
            if constexpr (Fused) {
                return HighHalves(AddMulAddPairs<true>(both, pairs.luma, evenLuma[weight]),
                                  AddMulAddPairs<true>(both, pairs.luma, oddLuma[weight]));
            } else {
                return HighHalves(hn::Add(both, even[weight]), hn::Add(both, odd[weight]));
            }
        };
        const Components out = {{row(0), row(1), row(2), alpha}};
        writer.PutPixels(at, 0, x, out, store);
    }

private:
    static constexpr std::size_t kLumaRows = SharedLuma ? 1 : 3;
    VI16 chromaWeights[3];
    VI16 evenLuma[kLumaRows], oddLuma[kLumaRows];
    VI32 start[3];
    VI16 alpha;
};

/// The formula to the letter, with the wraps and saturations of 16 bits: for coefficients that fit no other.
class LiteralSevenBit : public SevenBit {
public:
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit LiteralSevenBit(const ConversionJob& job) : SevenBit(job) {
        const DI16 d;
        chromaBefore = WordPairs(c.offsetFixed[0][0], c.offsetFixed[0][2]);
        lumaBefore = hn::Set(d, c.offsetFixed[0][1]);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& row = c.matrixFixed[i];
            cb[i] = WordPairs(row[0], 0);
            cr[i] = WordPairs(0, row[2]);
            evenLuma[i] = WordPairs(row[1], 0);
            oddLuma[i] = WordPairs(0, row[1]);
            // Lane 3 has no sample.
            rest[i] = hn::Set(DI32(), std::int32_t{row[3]} * c.offsetFixed[0][3]);
            after[i] = hn::Set(d, c.offsetFixed[1][i]);
        }
        alpha = hn::Set(d, fill);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        // 2^7 is no signed byte.
        const ChromaPairs half = reader.template LoadShifted<6>(at, 0, x);
        const VI16 chroma = hn::Add(hn::Add(half.chroma, half.chroma), chromaBefore);
        const VI16 luma = hn::Add(hn::Add(half.luma, half.luma), lumaBefore);
        const auto row = [&](std::size_t i) HWY_ATTR {
            const VI32 ofCb = MulAddPairs(chroma, cb[i]), ofCr = MulAddPairs(chroma, cr[i]);
            const VI16 sums = SaturatedHighSums(ofCb, ofCr, rest[i], MulAddPairs(luma, evenLuma[i]),
                                                MulAddPairs(luma, oddLuma[i]));
            return hn::ShiftRight<4>(hn::Add(sums, after[i]));
        };
        const Components out = {{row(0), row(1), row(2), alpha}};
        writer.PutPixels(at, 0, x, out, store);
    }

private:
    /// (a + b + c + even) >> 16 and (a + b + c + odd) >> 16 in turn, limited to 16 bits. The sums may take 34
    /// bits: halves are added apart.
    static HWY_INLINE HWY_ATTR VI16 SaturatedHighSums(VI32 a, VI32 b, VI32 c, VI32 even, VI32 odd) {
        const DI32 d;
        const VI32 lowHalf = hn::Set(d, 0xFFFF);
        const auto high = [&](VI32 last) HWY_ATTR {
            const VI32 highs = hn::Add(hn::Add(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b)),
                                       hn::Add(hn::ShiftRight<16>(c), hn::ShiftRight<16>(last)));
            const VI32 lows = hn::Add(hn::Add(hn::And(a, lowHalf), hn::And(b, lowHalf)),
                                      hn::Add(hn::And(c, lowHalf), hn::And(last, lowHalf)));
            const VI32 sum = hn::Add(highs, hn::ShiftRight<16>(lows));
            return hn::Min(hn::Max(sum, hn::Set(d, -32768)), hn::Set(d, 32767));
        };
        const DI16 d16;
        return MergeEvenOdd(hn::BitCast(d16, high(even)), hn::BitCast(d16, hn::ShiftLeft<16>(high(odd))));
    }

    VI16 chromaBefore, lumaBefore, cb[3], cr[3], evenLuma[3], oddLuma[3], after[3], alpha;
    VI32 rest[3];
};

template <class Run>
void SevenBit::WithForm(const ConversionJob& job, const Run& run) {
    const FixedPointCoefficients& c = *job.coefficients;
    // The weight of luma is the same in all rows of every matrix that leads to RGB.
    const bool sharedLuma =
        c.matrixFixed[0][1] == c.matrixFixed[1][1] && c.matrixFixed[0][1] == c.matrixFixed[2][1];
    if (!job.hasDefaults && !SevenBitSumsFit(c)) {
        run(LiteralSevenBit(job));
#if HWY_TARGET == HWY_AVX3
    } else if (sharedLuma && simd::CurrentTarget() == simd::kAVX512DL) {
        run(FoldedSevenBit<true, true>(job));
#endif
    } else if (sharedLuma) {
        run(FoldedSevenBit<true>(job));
    } else {
        run(FoldedSevenBit<false>(job));
    }
}

#endif  // HWY_TARGET

// ---- Kernels
// -----------------------------------------------------------------------------------------------

void CbYCrYToRGB32(const ConversionJob& job) {
    Convert<CbYCrYReader, SevenBit, Rgb32Writer, 16>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertCbYCrYToRGB32, CbYCrYToRGB32);

}  // namespace Zan

#endif  // HWY_ONCE
