// The kinds of arithmetic of the integer kernels, portable and for vectors.

#if defined(TESSELU_SRC_CONVERT_KERNELS_ARITHMETIC_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_CONVERT_KERNELS_ARITHMETIC_INL_H
#undef TESSELU_SRC_CONVERT_KERNELS_ARITHMETIC_INL_H
#else
#define TESSELU_SRC_CONVERT_KERNELS_ARITHMETIC_INL_H
#endif

#include <algorithm>

#include "convert/kernels/Conversion-inl.h"
#include "convert/kernels/ConversionFormulas.h"
#include "convert/kernels/Formats-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

/// Two words as the factor of MulAddPairs.
HWY_INLINE HWY_ATTR VI16 WordPairs(int first, int second) {
    const auto low = static_cast<std::uint32_t>(first) & 0xFFFFU;
    const auto high = static_cast<std::uint32_t>(second) & 0xFFFFU;
    return hn::BitCast(DI16(), hn::Set(DU32(), low | high << 16));
}

/// The high halves of the lanes of `even` and `odd`, in turn.
HWY_INLINE HWY_ATTR VI16 HighHalves(VI32 even, VI32 odd) {
    const DI16 d;
    return MergeEvenOdd(hn::BitCast(d, hn::ShiftRight<16>(even)), hn::BitCast(d, odd));
}

#endif  // HWY_TARGET

// ---- Seven-bit input -------------------------------------------------------------------------------------

/// Sources without alpha; the destination gets the fill.
class SevenBit {
public:
    static constexpr std::size_t kUnitColumns = 2;

    explicit SevenBit(const ConversionJob& job) : c(*job.coefficients), fill(job.alphaFill) {}

    template <class Reader, class Writer>
    void Unit(const Reader& reader, const Writer& writer, const Band& band, std::size_t x) const {
        const ChromaPair in = reader.Pair(band, 0, x, 2);
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
        writer.Put(band, 0, x, out, 2);
    }

    template <class Reader, class Writer>
    void Tail(const Reader& reader, const Writer& writer, const Band& band, std::size_t x,
              std::size_t columns) const {
        const ChromaPair in = reader.Pair(band, 0, x, columns);
        PixelPair out{};
        for (std::size_t k = 0; k < columns; ++k) {
            const double samples[4] = {static_cast<double>(in.cb), static_cast<double>(in.y[k]),
                                       static_cast<double>(in.cr), 0};
            for (std::size_t i = 0; i < 3; ++i)
                out.pixel[k][i] = InDoubles(c, i, samples);
            out.pixel[k][3] = fill;
        }
        writer.Put(band, 0, x, out, columns);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Run>
    HWY_INLINE bool RunVector(const Run& run) const {
        if (!SevenBitSumsFit(c))
            return false;
        // The weight of luma is the same in all rows of every matrix that leads to RGB.
        if (c.matrixFixed[0][1] == c.matrixFixed[1][1] && c.matrixFixed[0][1] == c.matrixFixed[2][1])
            run(Form<true>(c, fill));
        else
            run(Form<false>(c, fill));
        return true;
    }

private:
    /// ((sum of c * (128 x + before)) >> 16 + after) >> 4 as (sum of c * 8 x + start) >> 16, with every
    /// offset in `start`.
    template <bool SharedLuma>
    struct Form {
        static constexpr std::size_t kStep = kVectorPixels;
        static constexpr std::size_t kLumaRows = SharedLuma ? 1 : 3;
        VI16 chromaWeights[3];
        VI16 evenLuma[kLumaRows], oddLuma[kLumaRows];
        VI32 start[3];
        VI16 alpha;

        HWY_INLINE HWY_ATTR Form(const FixedPointCoefficients& c, std::uint8_t fill) {
            for (std::size_t i = 0; i < 3; ++i) {
                std::int64_t offsets = std::int64_t{c.offsetFixed[1][i]} * 65536;
                for (std::size_t j = 0; j < 4; ++j)
                    offsets += std::int32_t{c.matrixFixed[i][j]} * c.offsetFixed[0][j];
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
        HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Band& band,
                                      std::size_t x, Store store) const {
            const auto pairs = reader.template Load<3>(band, 0, x);
            VI32 even[kLumaRows], odd[kLumaRows];
            for (std::size_t i = 0; i < kLumaRows; ++i) {
                even[i] = MulAddPairs(pairs.luma, evenLuma[i]);
                odd[i] = MulAddPairs(pairs.luma, oddLuma[i]);
            }
            const auto row = [&](std::size_t i) HWY_ATTR {
                const VI32 both = hn::Add(MulAddPairs(pairs.chroma, chromaWeights[i]), start[i]);
                const std::size_t weight = SharedLuma ? 0 : i;
                return HighHalves(hn::Add(both, even[weight]), hn::Add(both, odd[weight]));
            };
            const Components out = {{row(0), row(1), row(2), alpha}};
            writer.Put(band, 0, x, out, store);
        }
    };
#else
private:
#endif

    const FixedPointCoefficients& c;
    std::uint8_t fill;
};

// ---- Eight-bit input -------------------------------------------------------------------------------------

/// Pixels to 4:2:2: chroma out of the sum of two neighbours.
class EightBit {
public:
    static constexpr std::size_t kUnitColumns = 2;

    explicit EightBit(const ConversionJob& job) : c(*job.coefficients), offsets(*job.coefficients) {}

    template <class Reader, class Writer>
    void Unit(const Reader& reader, const Writer& writer, const Band& band, std::size_t x) const {
        const PixelPair in = reader.Pair(band, 0, x, 2);
        int sums[4];
        for (std::size_t j = 0; j < 4; ++j)
            sums[j] = in.pixel[0][j] + in.pixel[1][j];
        const ChromaPair out = {
            EightBitChroma(c, offsets, 0, sums, 1),
            EightBitChroma(c, offsets, 2, sums, 1),
            {EightBitLuma(c, offsets, in.pixel[0]), EightBitLuma(c, offsets, in.pixel[1])}};
        writer.Put(band, 0, x, out, 2);
    }

    template <class Reader, class Writer>
    void Tail(const Reader& reader, const Writer& writer, const Band& band, std::size_t x,
              std::size_t columns) const {
        const PixelPair in = reader.Pair(band, 0, x, columns);
        double first[4], second[4], average[4];
        for (std::size_t j = 0; j < 4; ++j) {
            first[j] = in.pixel[0][j];
            second[j] = in.pixel[1][j];
            average[j] = (first[j] + second[j]) / 2;
        }
        const ChromaPair out = {InDoubles(c, 0, average),
                                InDoubles(c, 2, average),
                                {InDoubles(c, 1, first), InDoubles(c, 1, second)}};
        writer.Put(band, 0, x, out, columns);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Run>
    HWY_INLINE bool RunVector(const Run& run) const {
        if (!EightBitSumsFit(c, offsets))
            return false;
        if (!EightBitGreyIsNeutral(c))
            run(Form(c, offsets));
        else if (std::all_of(offsets.before, offsets.before + 4, [](int offset) { return offset == 0; }))
            run(NeutralForm<true>(c, offsets));
        else
            run(NeutralForm<false>(c, offsets));
        return true;
    }

private:
    struct Form {
        static constexpr std::size_t kStep = kVectorPixels;
        // Of components 0 and 2, and of 1 and 3. Those of chroma come four times as large: the sum of two
        // pixels then needs a shift by 16, which for every other result is none at all.
        VI16 luma02, luma13, cb02, cb13, cr02, cr13;
        VI32 lumaStart, cbStart, crStart;

        HWY_INLINE HWY_ATTR Form(const FixedPointCoefficients& c, const EightBitOffsets& offsets) {
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

        HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of13) const {
            return hn::Add(hn::Add(MulAddPairs(of02, luma02), lumaStart), MulAddPairs(of13, luma13));
        }

        template <class Reader, class Writer, class Store>
        HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Band& band,
                                      std::size_t x, Store store) const {
            const DI16 d;
            const DU16 du;
            const PixelPairs in = reader.template Load<kPairsInOrder>(band, 0, x);
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
            writer.template Put<kPairsInOrder>(band, 0, x, ChromaPairs{HighHalves(cb, cr), luma}, store);
        }
    };

    /// Where grey is neutral, chroma is made of the differences from green alone: two weights a row. Green
    /// comes twice for luma, since eight times its weight fits two words only. Without offsets before the
    /// matrix the one after it can be added to words.
    template <bool WholeOffset>
    struct NeutralForm {
        static constexpr std::size_t kStep = kVectorPixels;
        VI16 luma02, luma1, cb02, cr02, chromaOffset;
        VI16 lumaOffset;
        VI32 lumaStart;

        HWY_INLINE HWY_ATTR NeutralForm(const FixedPointCoefficients& c, const EightBitOffsets& offsets) {
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

        HWY_INLINE HWY_ATTR VI32 Luma(VI16 of02, VI16 of1) const {
            const VI32 sum = hn::Add(MulAddPairs(of02, luma02), MulAddPairs(of1, luma1));
            return WholeOffset ? sum : hn::Add(sum, lumaStart);
        }

        template <class Reader, class Writer, class Store>
        HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Band& band,
                                      std::size_t x, Store store) const {
            alignas(16) static constexpr std::uint8_t kGreenTwice[16] = {
                1, 0x80, 1, 0x80, 5, 0x80, 5, 0x80, 9, 0x80, 9, 0x80, 13, 0x80, 13, 0x80};
            const DI16 d;
            const DU16 du;
            const DU8 d8;
            const PixelPairs in = reader.template Load<kPairsInOrder>(band, 0, x);
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
            writer.template Put<kPairsInOrder>(
                band, 0, x, ChromaPairs{chroma, WholeOffset ? hn::Add(luma, lumaOffset) : luma}, store);
        }
    };
#else
private:
#endif

    const FixedPointCoefficients& c;
    EightBitOffsets offsets;
};

// ---- Planar sources --------------------------------------------------------------------------------------

/// Products column by column, chroma once for all pixels that share it. Alpha is its output offset alone.
template <std::size_t LinesOfBand>
class Columnwise {
public:
    static constexpr std::size_t kUnitColumns = 2;

    explicit Columnwise(const ConversionJob& job) : c(*job.coefficients) {}

    template <class Reader, class Writer>
    void Unit(const Reader& reader, const Writer& writer, const Band& band, std::size_t x) const {
        for (std::size_t line = 0; line < LinesOfBand; ++line) {
            const ChromaPair in = reader.Pair(band, line, x, 2);
            PixelPair out;
            for (std::size_t i = 0; i < 3; ++i) {
                const std::int16_t chroma = ColumnwiseChroma(c, i, in.cb, in.cr);
                out.pixel[0][i] = ColumnwiseSum(c, i, chroma, in.y[0]);
                out.pixel[1][i] = ColumnwiseSum(c, i, chroma, in.y[1]);
            }
            out.pixel[0][3] = out.pixel[1][3] = Alpha();
            writer.Put(band, line, x, out, 2);
        }
    }

    template <class Reader, class Writer>
    void Tail(const Reader& reader, const Writer& writer, const Band& band, std::size_t x,
              std::size_t columns) const {
        for (std::size_t line = 0; line < LinesOfBand; ++line) {
            const ChromaPair in = reader.Pair(band, line, x, columns);
            PixelPair out{};
            for (std::size_t k = 0; k < columns; ++k) {
                const double samples[4] = {static_cast<double>(in.cb), static_cast<double>(in.y[k]),
                                           static_cast<double>(in.cr), 0};
                for (std::size_t i = 0; i < 3; ++i)
                    out.pixel[k][i] = InDoubles(c, i, samples);
                out.pixel[k][3] = TruncateToByte(c.offset[1][3]);
            }
            writer.Put(band, line, x, out, columns);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Run>
    HWY_INLINE bool RunVector(const Run& run) const {
        const auto& m = c.matrixFixed;
        if (std::any_of(m[1], m[1] + 3, [](int entry) { return entry == -32768; }))
            return false;
        // Every matrix that leads to RGB weighs luma alike in all rows, and has no Cr in blue, no Cb in red.
        if (m[1][0] == m[1][1] && m[1][0] == m[1][2] && m[0][2] == 0 && m[2][0] == 0)
            run(Form<true>(c, Alpha()));
        else
            run(Form<false>(c, Alpha()));
        return true;
    }
#endif

private:
    std::uint8_t Alpha() const {
        return SaturateToByte(c.offsetFixed[1][3] >> 4);
    }

#if HWY_TARGET != HWY_SCALAR
    template <bool Usual>
    struct Form {
        static constexpr std::size_t kStep = 2 * kVectorPixels;
        static constexpr std::size_t kLumaRows = Usual ? 1 : 3;
        VI16 cbWeights[3], crWeights[3], start[3];
        VI16 minusLumaWeights[kLumaRows];
        VI16 alpha;

        HWY_INLINE HWY_ATTR Form(const FixedPointCoefficients& c, std::uint8_t alphaByte) {
            const DI16 d;
            for (std::size_t i = 0; i < 3; ++i) {
                cbWeights[i] = hn::Set(d, c.matrixFixed[0][i]);
                crWeights[i] = hn::Set(d, c.matrixFixed[2][i]);
                start[i] = hn::Set(d, c.offsetFixed[1][i]);
            }
            for (std::size_t i = 0; i < kLumaRows; ++i)
                minusLumaWeights[i] = hn::Set(d, static_cast<std::int16_t>(-c.matrixFixed[1][i]));
            alpha = hn::Set(d, alphaByte);
        }

        template <class Reader, class Writer, class Store>
        HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Band& band,
                                      std::size_t x, Store store) const {
            const DI16 d;
            VI16 cb, cr;
            reader.LoadChroma(band, x, cb, cr);
            VI16 chroma[2][3];
            for (std::size_t i = 0; i < 3; ++i) {
                VI16 once = start[i];
                if (!Usual || i != 2)
                    once = hn::Add(once, hn::MulHigh(cb, cbWeights[i]));
                if (!Usual || i != 0)
                    once = hn::Add(once, hn::MulHigh(cr, crWeights[i]));
                chroma[0][i] = hn::InterleaveLower(d, once, once);
                chroma[1][i] = hn::InterleaveUpper(d, once, once);
            }
            for (std::size_t line = 0; line < LinesOfBand; ++line) {
                VI16 luma[2];
                reader.LoadLuma(band, line, x, luma);
                for (std::size_t half = 0; half < 2; ++half) {
                    VI16 products[kLumaRows];
                    for (std::size_t i = 0; i < kLumaRows; ++i)
                        products[i] = hn::MulHigh(luma[half], minusLumaWeights[i]);
                    const auto sum = [&](std::size_t i) HWY_ATTR {
                        return hn::ShiftRight<4>(hn::Add(chroma[half][i], products[Usual ? 0 : i]));
                    };
                    const Components out = {{sum(0), sum(1), sum(2), alpha}};
                    writer.Put(band, line, x + half * kVectorPixels, out, store);
                }
            }
        }
    };
#endif

    const FixedPointCoefficients& c;
};

// ---- Repacks ---------------------------------------------------------------------------------------------

/// Bytes to bytes, pair by pair: `Op` is Bytes(in, out) on four and Vector(v) on many.
template <class Op>
class Repack {
public:
    static constexpr std::size_t kUnitColumns = 2;

    explicit Repack(const ConversionJob&) {}

    template <class Reader, class Writer>
    void Unit(const Reader& reader, const Writer& writer, const Band& band, std::size_t x) const {
        Tail(reader, writer, band, x, 2);
    }

    template <class Reader, class Writer>
    void Tail(const Reader& reader, const Writer& writer, const Band& band, std::size_t x,
              std::size_t columns) const {
        std::uint8_t out[4];
        Op::Bytes(reader.Bytes(band, 0, x), out);
        writer.Put(band, 0, x, out, columns);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Run>
    HWY_INLINE bool RunVector(const Run& run) const {
        run(Form());
        return true;
    }

private:
    struct Form {
        static constexpr std::size_t kVectors = 2;
        static constexpr std::size_t kStep = kVectors * kVectorPixels;

        template <class Reader, class Writer, class Store>
        HWY_INLINE HWY_ATTR void Step(const Reader& reader, const Writer& writer, const Band& band,
                                      std::size_t x, Store store) const {
            const DU8 d;
            VU8 v[kVectors];
            const std::uint8_t* in = reader.Bytes(band, 0, x);
            for (std::size_t i = 0; i < kVectors; ++i)
                v[i] = hn::LoadU(d, in + i * kVectorBytes);
            std::uint8_t* out = writer.Bytes(band, 0, x);
            for (std::size_t i = 0; i < kVectors; ++i)
                store(d, Op::Vector(v[i]), out + i * kVectorBytes);
        }
    };
#endif
};

/// Swaps the bytes of 16-bit words.
struct SwapInWords {
    static void Bytes(const std::uint8_t* in, std::uint8_t (&out)[4]) {
        out[0] = in[1];
        out[1] = in[0];
        out[2] = in[3];
        out[3] = in[2];
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Vector(VU8 v) {
        alignas(16) static constexpr std::uint8_t kSwap[16] = {1, 0, 3,  2,  5,  4,  7,  6,
                                                               9, 8, 11, 10, 13, 12, 15, 14};
        return hn::TableLookupBytes(v, InEveryBlock(kSwap));
    }
#endif
};

/// Keeps luma and makes chroma 128, in Cb, Y0, Cr, Y1.
struct NeutralChroma {
    static void Bytes(const std::uint8_t* in, std::uint8_t (&out)[4]) {
        out[0] = out[2] = 128;
        out[1] = in[1];
        out[3] = in[3];
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Vector(VU8 v) {
        const DU16 d;
        return hn::BitCast(DU8(), hn::Or(hn::And(hn::BitCast(d, v), hn::Set(d, 0xFF00)), hn::Set(d, 0x0080)));
    }
#endif
};

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
