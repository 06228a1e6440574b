// Conversions with input as it is and output in whole code values; chroma out of the sum of its pixels.

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/EightBit.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"
#include "convert/kernels/Planar-inl.h"
#include "convert/kernels/Shaping-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Pixels to a luma sample each and chroma of `1 << Shift` neighbours, the pixels of a block, together.
template <Shaping Kind, int Shift>
class EightBit {
public:
    explicit EightBit(const ConversionJob& job)
        : c(*job.coefficients), offsets(*job.coefficients), inDoubles(job.inDoubles) {}

    void Formula(Block& block) const {
        if constexpr (Kind == Shaping::kUnshapedFirst) {
            ForEachPixel(block, UnshapeRgbPixel);
        }
        int sums[4] = {};
        ForEachPixel(block, [&](const Pixel& pixel) {
            for (std::size_t j = 0; j < 4; ++j) {
                sums[j] += pixel.sample[j];
            }
        });
        const std::uint8_t cb = EightBitChroma(c, offsets, 0, sums, Shift);
        const std::uint8_t cr = EightBitChroma(c, offsets, 2, sums, Shift);
        ForEachPixel(block, [&](Pixel& pixel) {
            pixel = {{cb, EightBitLuma(c, offsets, pixel), cr, pixel.sample[3]}};
        });
        if constexpr (Kind == Shaping::kShapedAfter) {
            ShapePairs(block);
        }
    }

    void Doubles(Block& block) const {
        if constexpr (Kind == Shaping::kUnshapedFirst) {
            inDoubles ? ForEachPixel(block, UnshapeRgbPixelInDoubles) : ForEachPixel(block, UnshapeRgbPixel);
        }
        ForEachPixel(block, [&](Pixel& pixel) { pixel = ColorInDoubles(c, pixel); });
        if constexpr (Kind == Shaping::kShapedAfter) {
            const std::uint8_t cb = MeanOf(block, 0, 0, block.columns);
            const std::uint8_t cr = MeanOf(block, 2, 0, block.columns);
            ForEachPixel(block, [&](Pixel& pixel) {
                pixel.sample[0] = cb;
                pixel.sample[2] = cr;
            });
            ShapePairs(block);
        }
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    const FixedPointCoefficients& c;
    EightBitOffsets offsets;
    bool inDoubles;
};

#if HWY_TARGET == HWY_SCALAR

template <Shaping Kind, int Shift>
template <class Run>
void EightBit<Kind, Shift>::WithForm(const ConversionJob&, const Run& run) {
    run(std::type_identity<EightBit>());
}

#else

/// Components 0 and 2, and 1 and 3, of the even and the odd pixel of each pair, in 16-bit lanes.
struct SplitPixels {
    VI16 even02, even13, odd02, odd13;

    HWY_INLINE HWY_ATTR explicit SplitPixels(const PixelPairs& in) {
        const DI16 d;
        const DU16 du;
        const VU16 low = hn::Set(du, 0xFF);
        even02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.even), low));
        even13 = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(du, in.even)));
        odd02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.odd), low));
        odd13 = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(du, in.odd)));
    }
};

/// The sums of 32-bit lanes and their neighbours, those of `low`, then those of `high`, in every block.
HWY_INLINE HWY_ATTR VI16 AddNeighbours(VI16 low, VI16 high) {
    const DI16 d;
    const VU32 a = hn::BitCast(DU32(), low), b = hn::BitCast(DU32(), high);
    return hn::Add(hn::BitCast(d, EvenLanes(a, b)), hn::BitCast(d, OddLanes(a, b)));
}

/// The same value, which the compiler makes here: in long steps GCC puts off what is used once, and then
/// needs more registers than there are.
HWY_INLINE HWY_ATTR VI16 MadeHere(VI16 v) {
#if HWY_ARCH_X86
    __asm__("" : "+v"(v.raw));
#endif
    return v;
}

/// A step of a vector form. `Form` makes luma of a pair's pixels, a sum for chroma of them, which can be
/// added up, and chroma of the sum.
template <Shaping Kind, class Form, class Reader, class Writer, class Store>
HWY_INLINE HWY_ATTR void StepLanes(const Form& form, const Reader& reader, const Writer& writer,
                                   const Rows& at, std::size_t x, Store store) {
    constexpr std::size_t kSteps = Writer::kSteps, kLines = Writer::kLines;
    constexpr bool kInOrder = kSteps == 1 && kPairsInOrder;
    typename Writer::Lanes lanes;
    typename Form::Sum sums[kSteps];
    for (std::size_t line = 0; line < kLines; ++line) {
        VI16 luma[kSteps];
        for (std::size_t i = 0; i < kSteps; ++i) {
            PixelPairs pairs = reader.template LoadPairs<kInOrder>(at, line, x + i * kVectorPixels);
            if constexpr (Kind == Shaping::kUnshapedFirst) {
                pairs = {UnshapedPixels(pairs.even), UnshapedPixels(pairs.odd)};
            }
            auto sum = form.Take(pairs, luma[i]);
            if constexpr (kSteps > 1 && std::same_as<typename Form::Sum, VI16>) {
                luma[i] = MadeHere(luma[i]);
                sum = MadeHere(sum);
            }
            sums[i] = line == 0 ? sum : Form::Added(sums[i], sum);
            if constexpr (Writer::kHasAlpha) {
                lanes.alpha[i] = AlphaOfPairs(pairs);
            }
        }
        lanes.TakeLuma(line, luma);
    }
    for (std::size_t i = 0; i < kSteps; ++i) {
        if constexpr (Writer::kColumns == 2) {
            lanes.chroma[i] = form.Chroma(sums[i]);
        } else if (i < kSteps / 2) {
            lanes.chroma[i] = form.Chroma(Form::AddedNeighbours(sums[2 * i], sums[2 * i + 1]));
        }
    }
    if constexpr (Kind == Shaping::kShapedAfter) {
        for (std::size_t i = 0; i < kSteps; ++i) {
            const PairLanes shaped = ShapedPairs({lanes.chroma[i], lanes.luma[i], lanes.alpha[i]});
            lanes.chroma[i] = shaped.chroma;
            lanes.luma[i] = shaped.luma;
        }
    }
    writer.template PutLanes<kInOrder>(at, x, lanes, store);
}

/// What chroma is made of: the sums of components 0 and 2, and of 1 and 3.
struct SplitSum {
    VI16 of02, of13;
};

template <Shaping Kind, int Shift>
class SplitEightBit : public EightBit<Kind, Shift> {
public:
    using Sum = SplitSum;
    using EightBit<Kind, Shift>::EightBit;

    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    static HWY_INLINE HWY_ATTR Sum Added(const Sum& a, const Sum& b) {
        return {hn::Add(a.of02, b.of02), hn::Add(a.of13, b.of13)};
    }
    static HWY_INLINE HWY_ATTR Sum AddedNeighbours(const Sum& low, const Sum& high) {
        return {AddNeighbours(low.of02, high.of02), AddNeighbours(low.of13, high.of13)};
    }
};

/// Offsets in the starts of the sums. Holds where `EightBitSumsFit`.
template <Shaping Kind, int Shift>
class FoldedEightBit : public SplitEightBit<Kind, Shift> {
    using EightBit<Kind, Shift>::c;
    using EightBit<Kind, Shift>::offsets;

public:
    HWY_INLINE HWY_ATTR explicit FoldedEightBit(const ConversionJob& job) : SplitEightBit<Kind, Shift>(job) {
        // The sum of several pixels then needs a shift by 16, which for every other result is none at all.
        constexpr int kScale = 8 >> Shift;
        const auto& m = c.matrixFixed;
        luma02 = WordPairs(m[1][0], m[1][2]);
        luma13 = WordPairs(m[1][1], m[1][3]);
        for (std::size_t k = 0; k < 2; ++k) {
            chroma02[k] = WordPairs(kScale * m[2 * k][0], kScale * m[2 * k][2]);
            chroma13[k] = WordPairs(kScale * m[2 * k][1], kScale * m[2 * k][3]);
            chromaStart[k] = hn::Set(DI32(), offsets.after[2 * k] * 65536);
        }
        // Only the sum is sure to fit 32 bits.
        std::int64_t start = offsets.after[1] * 8192;
        for (std::size_t j = 0; j < 4; ++j) {
            start += std::int32_t{m[1][j]} * offsets.before[j];
        }
        lumaStart = hn::Set(DI32(), static_cast<std::int32_t>(start));
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        StepLanes<Kind>(*this, reader, writer, at, x, store);
    }

    HWY_INLINE HWY_ATTR SplitSum Take(const PixelPairs& pairs, VI16& luma) const {
        const DI16 d;
        const SplitPixels in(pairs);
        luma = MergeEvenOdd(hn::BitCast(d, hn::ShiftRight<13>(Luma(in.even02, in.even13))),
                            hn::BitCast(d, hn::ShiftLeft<3>(Luma(in.odd02, in.odd13))));
        return {hn::Add(in.even02, in.odd02), hn::Add(in.even13, in.odd13)};
    }

    HWY_INLINE HWY_ATTR VI16 Chroma(const SplitSum& sum) const {
        const auto row = [&](std::size_t k) HWY_ATTR {
            return hn::Add(hn::Add(MulAddPairs(sum.of02, chroma02[k]), chromaStart[k]),
                           MulAddPairs(sum.of13, chroma13[k]));
        };
        return HighHalves(row(0), row(1));
    }

private:
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of13) const {
        return hn::Add(hn::Add(MulAddPairs(of02, luma02), lumaStart), MulAddPairs(of13, luma13));
    }

    VI16 luma02, luma13, chroma02[2], chroma13[2];
    VI32 lumaStart, chromaStart[2];
};

/// Where grey is neutral, chroma is made of the differences from green alone: two weights a row. Green comes
/// twice for luma, since eight times its weight fits two words only. Holds without offsets before the matrix:
/// the ones after it are added to words. `Fused` as in AddMulAddPairs.
template <Shaping Kind, int Shift, bool Fused = false>
class NeutralEightBit : public EightBit<Kind, Shift> {
    using EightBit<Kind, Shift>::c;
    using EightBit<Kind, Shift>::offsets;

public:
    /// Components 0 and 2 less component 1.
    using Sum = VI16;

    template <class Reader, class Writer>
    static constexpr std::size_t kStep = Writer::kSteps* kVectorPixels;

    HWY_INLINE HWY_ATTR explicit NeutralEightBit(const ConversionJob& job) : EightBit<Kind, Shift>(job) {
        constexpr int kScale = 8 >> Shift;
        const auto& m = c.matrixFixed;
        luma02 = WordPairs(8 * m[1][0], 8 * m[1][2]);
        luma1 = WordPairs(4 * m[1][1], 4 * m[1][1]);
        cb02 = WordPairs(kScale * m[0][0], kScale * m[0][2]);
        cr02 = WordPairs(kScale * m[2][0], kScale * m[2][2]);
        chromaOffset = WordPairs(offsets.after[0], offsets.after[2]);
        lumaOffset = hn::Set(DI16(), offsets.after[1]);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        StepLanes<Kind>(*this, reader, writer, at, x, store);
    }

    HWY_INLINE HWY_ATTR VI16 Take(const PixelPairs& in, VI16& luma) const {
        alignas(16) static constexpr std::uint8_t kGreenTwice[16] = {1, 0x80, 1, 0x80, 5,  0x80, 5,  0x80,
                                                                     9, 0x80, 9, 0x80, 13, 0x80, 13, 0x80};
        const DI16 d;
        const DU16 du;
        const DU8 d8;
        const VU16 low = hn::Set(du, 0xFF);
        const VU8 green = InEveryBlock(kGreenTwice);
        const VI16 even02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.even), low));
        const VI16 odd02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.odd), low));
        const VI16 even1 = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, in.even), green));
        const VI16 odd1 = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, in.odd), green));
        luma = hn::Add(HighHalves(Luma(even02, even1), Luma(odd02, odd1)), lumaOffset);
        return hn::Sub(hn::Add(even02, odd02), hn::Add(even1, odd1));
    }

    static HWY_INLINE HWY_ATTR VI16 Added(VI16 a, VI16 b) { return hn::Add(a, b); }
    static HWY_INLINE HWY_ATTR VI16 AddedNeighbours(VI16 low, VI16 high) { return AddNeighbours(low, high); }

    HWY_INLINE HWY_ATTR VI16 Chroma(VI16 apart) const {
        return hn::Add(HighHalves(MulAddPairs(apart, cb02), MulAddPairs(apart, cr02)), chromaOffset);
    }

private:
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of1) const {
        return AddMulAddPairs<Fused>(MulAddPairs(of02, luma02), of1, luma1);
    }

    VI16 luma02, luma1, cb02, cr02, chromaOffset, lumaOffset;
};

/// The formula to the letter, with the wraps of 16 bits: for coefficients that fit no other.
template <Shaping Kind, int Shift>
class LiteralEightBit : public SplitEightBit<Kind, Shift> {
    using EightBit<Kind, Shift>::c;
    using EightBit<Kind, Shift>::offsets;

public:
    static constexpr bool kStaysInCache = true;

    HWY_INLINE HWY_ATTR explicit LiteralEightBit(const ConversionJob& job) : SplitEightBit<Kind, Shift>(job) {
        const auto& m = c.matrixFixed;
        for (std::size_t j = 0; j < 4; ++j) {
            weights[j] = j % 2 == 0 ? WordPairs(j == 0 ? m[1][0] : 0, j == 2 ? m[1][2] : 0)
                                    : WordPairs(j == 1 ? m[1][1] : 0, j == 3 ? m[1][3] : 0);
        }
        before02 = WordPairs(offsets.before[0], offsets.before[2]);
        before13 = WordPairs(offsets.before[1], offsets.before[3]);
        for (std::size_t k = 0; k < 2; ++k) {
            chroma02[k] = WordPairs(m[2 * k][0], m[2 * k][2]);
            chroma13[k] = WordPairs(m[2 * k][1], m[2 * k][3]);
            chromaAfter[k] = hn::Set(DI32(), offsets.after[2 * k]);
        }
        lumaAfter = hn::Set(DI32(), offsets.after[1]);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        StepLanes<Kind>(*this, reader, writer, at, x, store);
    }

    HWY_INLINE HWY_ATTR SplitSum Take(const PixelPairs& pairs, VI16& luma) const {
        const SplitPixels in(pairs);
        luma = Limited(Luma(in.even02, in.even13), Luma(in.odd02, in.odd13));
        return {hn::Add(in.even02, in.odd02), hn::Add(in.even13, in.odd13)};
    }

    HWY_INLINE HWY_ATTR VI16 Chroma(const SplitSum& sum) const {
        const auto row = [&](std::size_t k) HWY_ATTR {
            const VI32 products =
                hn::Add(MulAddPairs(sum.of02, chroma02[k]), MulAddPairs(sum.of13, chroma13[k]));
            return hn::Add(hn::ShiftRight<13 + Shift>(products), chromaAfter[k]);
        };
        return Limited(row(0), row(1));
    }

private:
    /// The sum may take 34 bits: what the shift drops is added apart.
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of13) const {
        const VI32 low = hn::Set(DI32(), 0x1FFF);
        VI32 highs = lumaAfter, lows = hn::Zero(DI32());
        for (std::size_t j = 0; j < 4; ++j) {
            const VI16 samples = j % 2 == 0 ? hn::Add(of02, before02) : hn::Add(of13, before13);
            const VI32 product = MulAddPairs(samples, weights[j]);
            highs = hn::Add(highs, hn::ShiftRight<13>(product));
            lows = hn::Add(lows, hn::And(product, low));
        }
        return hn::Add(highs, hn::ShiftRight<13>(lows));
    }

    /// Limited to 16 bits, in turn.
    static HWY_INLINE HWY_ATTR VI16 Limited(VI32 even, VI32 odd) {
        const DI32 d;
        const DI16 d16;
        const auto limited = [&](VI32 v) HWY_ATTR {
            return hn::Min(hn::Max(v, hn::Set(d, -32768)), hn::Set(d, 32767));
        };
        return MergeEvenOdd(hn::BitCast(d16, limited(even)),
                            hn::BitCast(d16, hn::ShiftLeft<16>(limited(odd))));
    }

    VI16 weights[4], before02, before13, chroma02[2], chroma13[2];
    VI32 chromaAfter[2], lumaAfter;
};

template <Shaping Kind, int Shift>
template <class Run>
void EightBit<Kind, Shift>::WithForm(const ConversionJob& job, const Run& run) {
    const PreparedCoefficients& c = *job.coefficients;
    if (!job.hasDefaults && !EightBitSumsFit(c, EightBitOffsets(c))) {
        run(std::type_identity<LiteralEightBit<Kind, Shift> >());
    } else if (!c.hasNeutralGrey) {
        run(std::type_identity<FoldedEightBit<Kind, Shift> >());
#if HWY_TARGET == HWY_AVX3
    } else if (simd::CurrentTarget() == simd::kAVX512DL) {
        run(std::type_identity<NeutralEightBit<Kind, Shift, true> >());
#endif
    } else {
        run(std::type_identity<NeutralEightBit<Kind, Shift> >());
    }
}

#endif  // HWY_TARGET

// ---- Kernels ---------------------------------------------------------------------------------------------

using OfTwo = EightBit<Shaping::kNone, 1>;
using OfFour = EightBit<Shaping::kNone, 2>;

void RGB32ToCbYCrY(const ConversionJob& job) {
    Convert<Pixels32Reader, OfTwo, CbYCrYWriter>(job);
}
void RGB24ToCbYCrY(const ConversionJob& job) {
    Convert<Pixels24Reader, OfTwo, CbYCrYWriter>(job);
}
void RGB24ToYCbYCr(const ConversionJob& job) {
    Convert<Pixels24Reader, OfTwo, YCbYCrWriter>(job);
}
void RGB32ToPlanar420(const ConversionJob& job) {
    Convert<Pixels32Reader, OfFour, Planar420Writer, simd::LinePairs>(job);
}
void RGB32ToPlanar420Interlaced(const ConversionJob& job) {
    Convert<Pixels32Reader, OfFour, Planar420Writer, simd::FieldLinePairs>(job);
}
void RGB32ToPlanar411(const ConversionJob& job) {
    Convert<Pixels32Reader, OfFour, Planar411Writer>(job);
}
void RGB32ToPlanarGrouped(const ConversionJob& job) {
    Convert<Pixels32Reader, OfTwo, GroupedWriter>(job);
}
void RGB32ToCbYCrY4(const ConversionJob& job) {
    Convert<Pixels32Reader, OfTwo, CbYCrY4Writer>(job);
}
void RGB32ToCbYCrY4Shaped(const ConversionJob& job) {
    Convert<Pixels32Reader, EightBit<Shaping::kShapedAfter, 1>, CbYCrY4Writer>(job);
}
void RGB32ShapedToCbYCrY4(const ConversionJob& job) {
    Convert<Pixels32Reader, EightBit<Shaping::kUnshapedFirst, 1>, CbYCrY4Writer>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToCbYCrY, RGB32ToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kConvertRGB24ToCbYCrY, RGB24ToCbYCrY);
TESSELU_KERNEL(ConversionKernel, kConvertRGB24ToYCbYCr, RGB24ToYCbYCr);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToPlanar420, RGB32ToPlanar420);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToPlanar420Interlaced, RGB32ToPlanar420Interlaced);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToPlanar411, RGB32ToPlanar411);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToPlanarGrouped, RGB32ToPlanarGrouped);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToCbYCrY4, RGB32ToCbYCrY4);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToCbYCrY4Shaped, RGB32ToCbYCrY4Shaped);
TESSELU_KERNEL(ConversionKernel, kConvertRGB32ShapedToCbYCrY4, RGB32ShapedToCbYCrY4);

}  // namespace Zan

#endif  // HWY_ONCE
