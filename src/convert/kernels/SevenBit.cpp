// Conversions with input as sample * 128 and output in 16ths.

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/SevenBit.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Shaping-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// 4:2:2 to pixels. Alpha is the reader's, or the caller's fill.
template <Shaping Kind>
class SevenBit {
public:
    explicit SevenBit(const ConversionJob& job) : c(*job.coefficients), inDoubles(job.inDoubles) {}

    void Formula(Block& block) const {
        if constexpr (Kind == Shaping::kUnshapedFirst) {
            UnshapePairs(block);
        }
        ForEachPixel(block, [&](Pixel& pixel) { pixel = SevenBitColor(c, pixel); });
        if constexpr (Kind == Shaping::kShapedAfter) {
            ForEachPixel(block, ShapeRgbPixel);
        }
    }

    void Doubles(Block& block) const {
        if constexpr (Kind == Shaping::kUnshapedFirst) {
            inDoubles ? UnshapePairsInDoubles(block) : UnshapePairs(block);
        }
        ForEachPixel(block, [&](Pixel& pixel) { pixel = ColorInDoubles(c, pixel); });
        if constexpr (Kind == Shaping::kShapedAfter) {
            ForEachPixel(block, ShapeRgbPixel);
        }
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    const FixedPointCoefficients& c;
    bool inDoubles;
};

#if HWY_TARGET == HWY_SCALAR

template <Shaping Kind>
template <class Run>
void SevenBit<Kind>::WithForm(const ConversionJob&, const Run& run) {
    run(std::type_identity<SevenBit>());
}

#else

/// A step of the vector forms: pairs as they are loaded, times 2^Shift, through `convert` to pixels.
template <Shaping Kind, int Shift, class Reader, class Writer, class Store, class ConvertPairs>
HWY_INLINE HWY_ATTR void StepPixels(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                    VI16 fill, Store store, const ConvertPairs& convert) {
    Components out[Writer::kSteps];
    for (std::size_t i = 0; i < Writer::kSteps; ++i) {
        PairLanes pairs;
        if constexpr (Kind == Shaping::kUnshapedFirst) {
            pairs = UnshapedPairs(reader.template LoadPairs<0>(at, 0, x + i * kVectorPixels));
            pairs.chroma = hn::ShiftLeft<Shift>(pairs.chroma);
            pairs.luma = hn::ShiftLeft<Shift>(pairs.luma);
        } else {
            pairs = reader.template LoadPairs<Shift>(at, 0, x + i * kVectorPixels);
        }
        convert(pairs, out[i].of);
        out[i].of[3] = Reader::kHasAlpha ? pairs.alpha : fill;
        if constexpr (Kind == Shaping::kShapedAfter) {
            for (std::size_t j = 0; j < 3; ++j) {
                out[i].of[j] = ShapedRgbLanes(out[i].of[j], pairs.alpha);
            }
        }
    }
    writer.PutComponents(at, 0, x, out, store);
}

/// ((sum of c * (128 x + before)) >> 16 + after) >> 4 as (sum of c * 8 x + start) >> 16, with every offset in
/// `start`. Holds where `SevenBitSumsFit`. `Fused` as in AddMulAddPairs.
template <Shaping Kind, bool SharedLuma, bool Fused = false>
class FoldedSevenBit : public SevenBit<Kind> {
    using SevenBit<Kind>::c;

public:
    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    HWY_INLINE HWY_ATTR explicit FoldedSevenBit(const ConversionJob& job) : SevenBit<Kind>(job) {
        for (std::size_t i = 0; i < 3; ++i) {
            start[i] = hn::Set(DI32(), job.coefficients->sevenBitOffsets[i] * 8);
            chromaWeights[i] = WordPairs(c.matrixFixed[i][0], c.matrixFixed[i][2]);
        }
        for (std::size_t i = 0; i < kLumaRows; ++i) {
            evenLuma[i] = WordPairs(c.matrixFixed[i][1], 0);
            oddLuma[i] = WordPairs(0, c.matrixFixed[i][1]);
        }
        fill = hn::Set(DI16(), job.alphaFill);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        StepPixels<Kind, 3>(reader, writer, at, x, fill, store,
                            [&](const PairLanes& pairs, VI16(&out)[4]) HWY_ATTR { Convert(pairs, out); });
    }

private:
    HWY_INLINE HWY_ATTR void Convert(const PairLanes& pairs, VI16 (&out)[4]) const {
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
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = row(i);
        }
    }

    static constexpr std::size_t kLumaRows = SharedLuma ? 1 : 3;
    VI16 chromaWeights[3];
    VI16 evenLuma[kLumaRows], oddLuma[kLumaRows];
    VI32 start[3];
    VI16 fill;
};

/// The formula to the letter, with the wraps and saturations of 16 bits: for coefficients that fit no other.
template <Shaping Kind>
class LiteralSevenBit : public SevenBit<Kind> {
    using SevenBit<Kind>::c;

public:
    static constexpr bool kStaysInCache = true;

    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    HWY_INLINE HWY_ATTR explicit LiteralSevenBit(const ConversionJob& job) : SevenBit<Kind>(job) {
        const DI16 d;
        chromaBefore = WordPairs(c.offsetFixed[0][0], c.offsetFixed[0][2]);
        lumaBefore = hn::Set(d, c.offsetFixed[0][1]);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& row = c.matrixFixed[i];
            cb[i] = WordPairs(row[0], 0);
            cr[i] = WordPairs(0, row[2]);
            evenLuma[i] = WordPairs(row[1], 0);
            oddLuma[i] = WordPairs(0, row[1]);
            after[i] = hn::Set(d, c.offsetFixed[1][i]);
        }
        fill = hn::Set(d, job.alphaFill);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        // 2^7 is no signed byte.
        StepPixels<Kind, 6>(reader, writer, at, x, fill, store,
                            [&](const PairLanes& half, VI16(&out)[4]) HWY_ATTR { Convert(half, out); });
    }

private:
    HWY_INLINE HWY_ATTR void Convert(const PairLanes& half, VI16 (&out)[4]) const {
        const VI16 chroma = hn::Add(hn::Add(half.chroma, half.chroma), chromaBefore);
        const VI16 luma = hn::Add(hn::Add(half.luma, half.luma), lumaBefore);
        const auto row = [&](std::size_t i) HWY_ATTR {
            const VI32 ofCb = MulAddPairs(chroma, cb[i]), ofCr = MulAddPairs(chroma, cr[i]);
            const VI16 sums =
                SaturatedHighSums(ofCb, ofCr, MulAddPairs(luma, evenLuma[i]), MulAddPairs(luma, oddLuma[i]));
            return hn::ShiftRight<4>(hn::Add(sums, after[i]));
        };
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = row(i);
        }
    }

    /// (a + b + even) >> 16 and (a + b + odd) >> 16 in turn, limited to 16 bits. The sums may take 34 bits:
    /// halves are added apart.
    static HWY_INLINE HWY_ATTR VI16 SaturatedHighSums(VI32 a, VI32 b, VI32 even, VI32 odd) {
        const DI32 d;
        const VI32 lowHalf = hn::Set(d, 0xFFFF);
        const auto high = [&](VI32 last) HWY_ATTR {
            const VI32 highs =
                hn::Add(hn::Add(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b)), hn::ShiftRight<16>(last));
            const VI32 lows =
                hn::Add(hn::Add(hn::And(a, lowHalf), hn::And(b, lowHalf)), hn::And(last, lowHalf));
            const VI32 sum = hn::Add(highs, hn::ShiftRight<16>(lows));
            return hn::Min(hn::Max(sum, hn::Set(d, -32768)), hn::Set(d, 32767));
        };
        const DI16 d16;
        return MergeEvenOdd(hn::BitCast(d16, high(even)), hn::BitCast(d16, hn::ShiftLeft<16>(high(odd))));
    }

    VI16 chromaBefore, lumaBefore, cb[3], cr[3], evenLuma[3], oddLuma[3], after[3], fill;
};

template <Shaping Kind>
template <class Run>
void SevenBit<Kind>::WithForm(const ConversionJob& job, const Run& run) {
    const FixedPointCoefficients& c = *job.coefficients;
    // The weight of luma is the same in all rows of every matrix that leads to RGB.
    const bool sharedLuma =
        c.matrixFixed[0][1] == c.matrixFixed[1][1] && c.matrixFixed[0][1] == c.matrixFixed[2][1];
    if (!job.hasDefaults && !SevenBitSumsFit(c)) {
        run(std::type_identity<LiteralSevenBit<Kind> >());
#if HWY_TARGET == HWY_AVX3
    } else if (sharedLuma && simd::CurrentTarget() == simd::kAVX512DL) {
        run(std::type_identity<FoldedSevenBit<Kind, true, true> >());
#endif
    } else if (sharedLuma) {
        run(std::type_identity<FoldedSevenBit<Kind, true> >());
    } else {
        run(std::type_identity<FoldedSevenBit<Kind, false> >());
    }
}

#endif  // HWY_TARGET

// ---- Kernels ---------------------------------------------------------------------------------------------

void CbYCrYToRGB32(const ConversionJob& job) {
    Convert<CbYCrYReader, SevenBit<Shaping::kNone>, Pixels32Writer>(job);
}
void CbYCrYToRGB24(const ConversionJob& job) {
    Convert<CbYCrYReader, SevenBit<Shaping::kNone>, Pixels24Writer>(job);
}
void YCbYCrToRGB32(const ConversionJob& job) {
    Convert<YCbYCrReader, SevenBit<Shaping::kNone>, Pixels32Writer>(job);
}
void YCbYCrToRGB24(const ConversionJob& job) {
    Convert<YCbYCrReader, SevenBit<Shaping::kNone>, Pixels24Writer>(job);
}
void CbYCrY4ToRGB32(const ConversionJob& job) {
    Convert<CbYCrY4Reader, SevenBit<Shaping::kNone>, Pixels32Writer>(job);
}
void CbYCrY4ShapedToRGB32(const ConversionJob& job) {
    Convert<CbYCrY4Reader, SevenBit<Shaping::kUnshapedFirst>, Pixels32Writer>(job);
}
void CbYCrY4ToRGB32Shaped(const ConversionJob& job) {
    Convert<CbYCrY4Reader, SevenBit<Shaping::kShapedAfter>, Pixels32Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertCbYCrYToRGB32, CbYCrYToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertCbYCrYToRGB24, CbYCrYToRGB24);
TESSELU_KERNEL(ConversionKernel, kConvertYCbYCrToRGB32, YCbYCrToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertYCbYCrToRGB24, YCbYCrToRGB24);
TESSELU_KERNEL(ConversionKernel, kConvertCbYCrY4ToRGB32, CbYCrY4ToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertCbYCrY4ShapedToRGB32, CbYCrY4ShapedToRGB32);
TESSELU_KERNEL(ConversionKernel, kConvertCbYCrY4ToRGB32Shaped, CbYCrY4ToRGB32Shaped);

}  // namespace Zan

#endif  // HWY_ONCE
