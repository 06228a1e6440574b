// Conversions with input as it is and output in whole code values; chroma out of the sum of two neighbours.

#include "convert/Coefficients.h"
#include "convert/kernels/ConversionKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/EightBit.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Pixels to 4:2:2.
class EightBit {
public:
    static constexpr std::size_t kUnit = 2;

    explicit EightBit(const ConversionJob& job) : c(*job.coefficients), offsets(*job.coefficients) {}

    template <ReadsPixelPair Reader, WritesChromaPair Writer>
    void Unit(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x) const {
        const PixelPair in = reader.Pair(at, 0, x, 2);
        int sums[4];
        for (std::size_t j = 0; j < 4; ++j)
            sums[j] = in.pixel[0][j] + in.pixel[1][j];
        const ChromaPair out = {
            EightBitChroma(c, offsets, 0, sums, 1),
            EightBitChroma(c, offsets, 2, sums, 1),
            {EightBitLuma(c, offsets, in.pixel[0]), EightBitLuma(c, offsets, in.pixel[1])}};
        writer.Put(at, 0, x, out, 2);
    }

    template <ReadsPixelPair Reader, WritesChromaPair Writer>
    void Tail(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
              std::size_t columns) const {
        const PixelPair in = reader.Pair(at, 0, x, columns);
        double first[4], second[4], average[4];
        for (std::size_t j = 0; j < 4; ++j) {
            first[j] = in.pixel[0][j];
            second[j] = in.pixel[1][j];
            average[j] = (first[j] + second[j]) / 2;
        }
        const ChromaPair out = {InDoubles(c, 0, average),
                                InDoubles(c, 2, average),
                                {InDoubles(c, 1, first), InDoubles(c, 1, second)}};
        writer.Put(at, 0, x, out, columns);
    }

    template <class Run>
    static void WithForm(const ConversionJob& job, const Run& run);

protected:
    const FixedPointCoefficients& c;
    EightBitOffsets offsets;
};

#if HWY_TARGET == HWY_SCALAR

template <class Run>
void EightBit::WithForm(const ConversionJob& job, const Run& run) {
    run(EightBit(job));
}

#else

/// Pixels apart: components 0 and 2, and 1 and 3, in 16-bit lanes.
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

/// Offsets in the starts of the sums. Holds where `EightBitSumsFit`.
class FoldedEightBit : public EightBit {
public:
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit FoldedEightBit(const ConversionJob& job) : EightBit(job) {
        const auto& m = c.matrixFixed;
        luma02 = WordPairs(m[1][0], m[1][2]);
        luma13 = WordPairs(m[1][1], m[1][3]);
        cb02 = WordPairs(4 * m[0][0], 4 * m[0][2]);
        cb13 = WordPairs(4 * m[0][1], 4 * m[0][3]);
        cr02 = WordPairs(4 * m[2][0], 4 * m[2][2]);
        cr13 = WordPairs(4 * m[2][1], 4 * m[2][3]);
        // Only the sum is sure to fit 32 bits.
        std::int64_t start = offsets.after[1] * 8192;
        for (std::size_t j = 0; j < 4; ++j)
            start += std::int32_t{m[1][j]} * offsets.before[j];
        lumaStart = hn::Set(DI32(), static_cast<std::int32_t>(start));
        cbStart = hn::Set(DI32(), offsets.after[0] * 65536);
        crStart = hn::Set(DI32(), offsets.after[2] * 65536);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        const DI16 d;
        const DU16 du;
        const PixelPairs in = reader.template LoadPairs<kPairsInOrder>(at, 0, x);
        const VU16 low = hn::Set(du, 0xFF);
        const VI16 even02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.even), low));
        const VI16 even13 = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(du, in.even)));
        const VI16 odd02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.odd), low));
        const VI16 odd13 = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(du, in.odd)));
        const VI16 sum02 = hn::Add(even02, odd02), sum13 = hn::Add(even13, odd13);
        const VI32 cb = hn::Add(hn::Add(MulAddPairs(sum02, cb02), cbStart), MulAddPairs(sum13, cb13));
        const VI32 cr = hn::Add(hn::Add(MulAddPairs(sum02, cr02), crStart), MulAddPairs(sum13, cr13));
        const VI32 evenLuma = Luma(even02, even13), oddLuma = Luma(odd02, odd13);
        const VI16 luma = MergeEvenOdd(hn::BitCast(d, hn::ShiftRight<13>(evenLuma)),
                                       hn::BitCast(d, hn::ShiftLeft<3>(oddLuma)));
        writer.template PutPairs<kPairsInOrder>(at, 0, x, ChromaPairs{HighHalves(cb, cr), luma}, store);
    }

private:
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of13) const {
        return hn::Add(hn::Add(MulAddPairs(of02, luma02), lumaStart), MulAddPairs(of13, luma13));
    }

    // Of components 0 and 2, and of 1 and 3. Those of chroma come four times as large: the sum of two
    // pixels then needs a shift by 16, which for every other result is none at all.
    VI16 luma02, luma13, cb02, cb13, cr02, cr13;
    VI32 lumaStart, cbStart, crStart;
};

/// Where grey is neutral, chroma is made of the differences from green alone: two weights a row. Green comes
/// twice for luma, since eight times its weight fits two words only. Without offsets before the matrix the
/// one after it can be added to words.
template <bool WholeOffset>
class NeutralEightBit : public EightBit {
public:
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit NeutralEightBit(const ConversionJob& job) : EightBit(job) {
        const auto& m = c.matrixFixed;
        luma02 = WordPairs(8 * m[1][0], 8 * m[1][2]);
        luma1 = WordPairs(4 * m[1][1], 4 * m[1][1]);
        cb02 = WordPairs(4 * m[0][0], 4 * m[0][2]);
        cr02 = WordPairs(4 * m[2][0], 4 * m[2][2]);
        chromaOffset = WordPairs(offsets.after[0], offsets.after[2]);
        lumaOffset = hn::Set(DI16(), offsets.after[1]);
        std::int32_t start = offsets.after[1] * 8192;
        for (std::size_t j = 0; j < 3; ++j)
            start += std::int32_t{m[1][j]} * offsets.before[j];
        lumaStart = hn::Set(DI32(), start * 8);
    }

    template <class Reader, class Writer, class Store>
    HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Rows& at, std::size_t x,
                                  Store store) const {
        alignas(16) static constexpr std::uint8_t kGreenTwice[16] = {1, 0x80, 1, 0x80, 5,  0x80, 5,  0x80,
                                                                     9, 0x80, 9, 0x80, 13, 0x80, 13, 0x80};
        const DI16 d;
        const DU16 du;
        const DU8 d8;
        const PixelPairs in = reader.template LoadPairs<kPairsInOrder>(at, 0, x);
        const VU16 low = hn::Set(du, 0xFF);
        const VU8 green = InEveryBlock(kGreenTwice);
        const VI16 even02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.even), low));
        const VI16 odd02 = hn::BitCast(d, hn::And(hn::BitCast(du, in.odd), low));
        const VI16 even1 = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, in.even), green));
        const VI16 odd1 = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, in.odd), green));
        const VI16 apart = hn::Sub(hn::Add(even02, odd02), hn::Add(even1, odd1));
        const VI16 chroma =
            hn::Add(HighHalves(MulAddPairs(apart, cb02), MulAddPairs(apart, cr02)), chromaOffset);
        const VI16 luma = HighHalves(Luma(even02, even1), Luma(odd02, odd1));
        writer.template PutPairs<kPairsInOrder>(
            at, 0, x, ChromaPairs{chroma, WholeOffset ? hn::Add(luma, lumaOffset) : luma}, store);
    }

private:
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of1) const {
        const VI32 sum = hn::Add(MulAddPairs(of02, luma02), MulAddPairs(of1, luma1));
        return WholeOffset ? sum : hn::Add(sum, lumaStart);
    }

    VI16 luma02, luma1, cb02, cr02, chromaOffset;
    VI16 lumaOffset;
    VI32 lumaStart;
};

/// The formula to the letter, with the wraps of 16 bits: for coefficients that fit no other.
class LiteralEightBit : public EightBit {
public:
    static constexpr std::size_t kStep = kVectorPixels;

    HWY_INLINE HWY_ATTR explicit LiteralEightBit(const ConversionJob& job) : EightBit(job) {
        const auto& m = c.matrixFixed;
        for (std::size_t j = 0; j < 4; ++j) {
            luma[j] = j % 2 == 0 ? WordPairs(j == 0 ? m[1][0] : 0, j == 2 ? m[1][2] : 0)
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
        const SplitPixels in(reader.template LoadPairs<kPairsInOrder>(at, 0, x));
        const VI16 sum02 = hn::Add(in.even02, in.odd02), sum13 = hn::Add(in.even13, in.odd13);
        const auto chroma = [&](std::size_t k) HWY_ATTR {
            const VI32 sum = hn::Add(MulAddPairs(sum02, chroma02[k]), MulAddPairs(sum13, chroma13[k]));
            return hn::Add(hn::ShiftRight<14>(sum), chromaAfter[k]);
        };
        writer.template PutPairs<kPairsInOrder>(
            at, 0, x,
            ChromaPairs{Limited(chroma(0), chroma(1)),
                        Limited(Luma(in.even02, in.even13), Luma(in.odd02, in.odd13))},
            store);
    }

private:
    /// The sum may take 34 bits: what the shift drops is added apart.
    HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of13) const {
        const VI32 low = hn::Set(DI32(), 0x1FFF);
        VI32 highs = lumaAfter, lows = hn::Zero(DI32());
        for (std::size_t j = 0; j < 4; ++j) {
            const VI16 samples = j % 2 == 0 ? hn::Add(of02, before02) : hn::Add(of13, before13);
            const VI32 product = MulAddPairs(samples, luma[j]);
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

    VI16 luma[4], before02, before13, chroma02[2], chroma13[2];
    VI32 chromaAfter[2], lumaAfter;
};

template <class Run>
void EightBit::WithForm(const ConversionJob& job, const Run& run) {
    const FixedPointCoefficients& c = *job.coefficients;
    const EightBitOffsets offsets(c);
    if (!job.hasDefaults && !EightBitSumsFit(c, offsets)) {
        run(LiteralEightBit(job));
    } else if (!EightBitGreyIsNeutral(c)) {
        run(FoldedEightBit(job));
    } else if (std::all_of(offsets.before, offsets.before + 4, [](int offset) { return offset == 0; })) {
        run(NeutralEightBit<true>(job));
    } else {
        run(NeutralEightBit<false>(job));
    }
}

#endif  // HWY_TARGET

// ---- Kernels
// -----------------------------------------------------------------------------------------------

void RGB32ToCbYCrY(const ConversionJob& job) {
    Convert<Rgb32Reader, EightBit, CbYCrYWriter, 4>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kConvertRGB32ToCbYCrY, RGB32ToCbYCrY);

}  // namespace Zan

#endif  // HWY_ONCE
