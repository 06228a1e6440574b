// Noise from draws of the generator.

#include "filter/kernels/Noise.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/Noise.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

/// Every byte of every row by its formula, one draw after another.
template <class Noise>
void RunByFormula(const NoiseJob& job, const Noise& noise, std::uint32_t state) {
    for (std::size_t y = 0; y < job.height; ++y) {
        const std::uint8_t* const from = job.source[0].Row(y);
        std::uint8_t* const to = job.destination[0].Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint32_t draws[Noise::kDraws];
            for (std::uint32_t& draw : draws) {
                draw = Draw(state);
            }
            to[x] = noise.Unit(from[x], draws);
        }
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class Noise>
void Run(const NoiseJob& job, const Noise& noise, std::uint32_t state) {
    RunByFormula(job, noise, state);
}

#else

// ---- The generator in lanes -------------------------------------------------------------------------------
//
// 2^16 draws on, the lower half of the state is the same, and the upper half has changed by what depends on
// the lower one alone. So each draw follows from the one 2^16 before by a sum in 16 bits. Bytes of a picture
// are therefore made in blocks: first those bytes of all periods that the first draws of a period belong to.

constexpr std::uint32_t kPeriod = 65536;
constexpr RandomLeap kPeriodLeap = LeapOver(kPeriod);
static_assert((kPeriodLeap.factor - 1) % kPeriod == 0 && kPeriodLeap.summand % kPeriod == 0);

constexpr std::size_t kBytesAtOnce = HWY_LANES(std::uint8_t);

/// Draws of a block of bytes, as 2 * draw - 32768, and what is added to them from period to period. With
/// several planes a byte's draws lie apart; with one they follow each other.
template <std::size_t DrawsOfByte, std::size_t Planes>
class DrawnBlock {
public:
    static constexpr std::size_t kBytes = 4096 / DrawsOfByte;
    static constexpr std::size_t kPerByte = DrawsOfByte / Planes;

    /// The draws for the first `bytes` from a state.
    HWY_ATTR void Begin(std::uint32_t state, std::size_t bytes) {
        const DU32 d;
        constexpr std::size_t kLanes = HWY_LANES(std::uint32_t);
        const hn::Rebind<std::int16_t, DU32> d16;
        constexpr RandomLeap kLeap = LeapOver(kLanes * Planes);
        const VU32 factor = hn::Set(d, kLeap.factor), summand = hn::Set(d, kLeap.summand);
        const VU32 more = hn::Set(d, kPeriodLeap.factor - 1), sum = hn::Set(d, kPeriodLeap.summand);
        const VU32 even = hn::Set(d, 0xFFFE), middle = hn::Set(d, 0x8000);
        alignas(64) std::uint32_t states[Planes][kLanes];
        for (std::size_t i = 0; i < kLanes; ++i) {
            for (auto& plane : states) {
                state = kRandomStep(state);
                plane[i] = state;
            }
        }
        used = (bytes * kPerByte + kMultiple - 1) / kMultiple * kMultiple;
        for (std::size_t plane = 0; plane < Planes; ++plane) {
            VU32 s = hn::Load(d, states[plane]);
            for (std::size_t i = 0; i < used; i += kLanes) {
                const VU32 drawn = hn::Xor(hn::And(hn::ShiftRight<15>(s), even), middle);
                const VU32 step = hn::And(hn::ShiftRight<15>(hn::Add(hn::Mul(s, more), sum)), even);
                hn::StoreU(hn::BitCast(d16, hn::TruncateTo(hn::Rebind<std::uint16_t, DU32>(), drawn)), d16,
                           draws[plane] + i);
                hn::StoreU(hn::BitCast(d16, hn::TruncateTo(hn::Rebind<std::uint16_t, DU32>(), step)), d16,
                           steps[plane] + i);
                s = hn::Add(hn::Mul(s, factor), summand);
            }
        }
    }

    /// On to the next period.
    HWY_ATTR void Advance() {
        const DI16 d;
        for (std::size_t plane = 0; plane < Planes; ++plane) {
            for (std::size_t i = 0; i < used; i += HWY_LANES(std::int16_t)) {
                hn::Store(hn::Add(hn::Load(d, draws[plane] + i), hn::Load(d, steps[plane] + i)), d,
                          draws[plane] + i);
            }
        }
    }

    /// Those of a byte and the ones after it, in one plane.
    const std::int16_t* At(std::size_t byte, std::size_t plane = 0) const {
        return draws[plane] + byte * kPerByte;
    }

private:
    static constexpr std::size_t kMultiple = HWY_LANES(std::int16_t);
    // A partial vector of bytes reads beyond its own.
    static constexpr std::size_t kLength = kBytes * kPerByte + kBytesAtOnce * kPerByte;

    std::size_t used = 0;
    alignas(64) std::int16_t draws[Planes][kLength] = {};
    alignas(64) std::int16_t steps[Planes][kLength];
};

/// Runs a kernel with
///
///     using Block = DrawnBlock<...>;
///     void Step(const Block&, i, from, to) const;    // kBytesAtOnce bytes with the draws of byte i on
template <class K>
HWY_ATTR void RunInBlocks(const K kernel, const NoiseJob& job, std::uint32_t state, std::size_t draws) {
    using Block = typename K::Block;
    const std::size_t rowBytes = job.width, total = job.width * job.height, period = kPeriod / draws;
    const RandomLeap leap = LeapOver(Block::kBytes * draws);
    Block block;
    for (std::size_t first = 0; first < std::min(period, total);
         first += Block::kBytes, state = leap(state)) {
        block.Begin(state, std::min(Block::kBytes, total - first));
        for (std::size_t start = first;;) {
            const std::size_t bytes = std::min(Block::kBytes, total - start);
            std::size_t y = start / rowBytes, x = start % rowBytes;
            for (std::size_t i = 0; i < bytes; ++y, x = 0) {
                const std::size_t end = i + std::min(bytes - i, rowBytes - x);
                const std::uint8_t* from = job.source[0].Row(y) + x;
                std::uint8_t* to = job.destination[0].Row(y) + x;
                for (; i + kBytesAtOnce <= end; i += kBytesAtOnce, from += kBytesAtOnce, to += kBytesAtOnce) {
                    kernel.Step(block, i, from, to);
                }
                if (i < end) {
                    alignas(64) std::uint8_t buffer[kBytesAtOnce] = {};
                    std::memcpy(buffer, from, end - i);
                    kernel.Step(block, i, buffer, buffer);
                    std::memcpy(to, buffer, end - i);
                    i = end;
                }
            }
            if (total - start <= period) {
                break;
            }
            start += period;
            block.Advance();
        }
    }
}

// ---- Steps ------------------------------------------------------------------------------------------------

using DF32 = hn::ScalableTag<float>;
using VF32 = hn::Vec<DF32>;

/// Bytes from two vectors of 16-bit lanes in their order, limited.
HWY_INLINE HWY_ATTR VU8 OrderedBytes(VI16 low, VI16 high) {
    return hn::BitCast(DU8(), HalvesApart(hn::BitCast(DU64(), PackToBytes(low, high))));
}

struct UniformStep {
    using Block = DrawnBlock<1, 1>;
    UniformLine line;

    HWY_INLINE HWY_ATTR VI16 Added(const std::int16_t* draws) const {
        const DI16 d;
        const DI32 d32;
        const VI16 drawn = hn::LoadU(d, draws);
        const VI16 rest = hn::MulHigh(drawn, hn::Set(d, line.fraction));
        const VI16 factors = hn::BitCast(
            d, hn::Set(d32, static_cast<std::int32_t>(static_cast<std::uint16_t>(line.factor) | 0x10000U)));
        const VI32 offset = hn::Set(d32, line.offset);
        const VI32 low = hn::Add(MulAddPairs(hn::InterleaveLower(d, drawn, rest), factors), offset);
        const VI32 high = hn::Add(MulAddPairs(hn::InterleaveUpper(d, drawn, rest), factors), offset);
        return PackToShorts(hn::ShiftRightSame(low, line.shift), hn::ShiftRightSame(high, line.shift));
    }

    HWY_INLINE HWY_ATTR void Step(const Block& block, std::size_t i, const std::uint8_t* from,
                                  std::uint8_t* to) const {
        const DI16 d;
        const hn::Rebind<std::uint8_t, DI16> dHalf;
        constexpr std::size_t kHalf = kBytesAtOnce / 2;
        const VI16 base = hn::Set(d, line.base);
        const VI16 a = hn::Add(hn::PromoteTo(d, hn::LoadU(dHalf, from)), base);
        const VI16 b = hn::Add(hn::PromoteTo(d, hn::LoadU(dHalf, from + kHalf)), base);
        hn::StoreU(OrderedBytes(hn::Add(a, Added(block.At(i))), hn::Add(b, Added(block.At(i + kHalf)))),
                   DU8(), to);
    }
};

/// In single precision, where that leaves no doubt of the rounding; each other byte by its formula.
struct GaussianStep {
    using Block = DrawnBlock<2, 2>;
    static constexpr std::size_t kLanes = HWY_LANES(float);

    explicit GaussianStep(const GaussianNoise& noise)
        : formula(noise),
          log2(static_cast<float>(noise.variance * -2 * 0.6931471805599453)),
          offset(static_cast<float>(noise.mean + 0.5)),
          doubt(static_cast<float>(Doubt(noise))) {
        // log(1 + f) / f from -0.293 to 0.415, at most 1.2e-6 of it off.
        static constexpr double kSeries[kTerms] = {0.118961088, -0.186678544, 0.204963282, -0.249097437,
                                                   0.333145082, -0.500011146, 1.00000095};
        for (std::size_t i = 0; i < kTerms; ++i) {
            series[i] = static_cast<float>(noise.variance * -2 * kSeries[i]);
        }
    }

    /// How far a value may be off: deviations, of which all have been looked at, by 4.3e-6 of the standard
    /// one, and the rounding of the sum, which stays below 257 + |mean| + 6 deviations.
    static double Doubt(const GaussianNoise& noise) {
        const double deviation = std::sqrt(noise.variance);
        return deviation * 9e-6 + (std::fabs(noise.mean) + 257 + 6 * deviation) * 2.5e-7;
    }

    static bool Suits(const GaussianNoise& noise) {
        return noise.variance >= 1e-12 && noise.variance <= 1e8 && std::fabs(noise.mean) <= 1e5;
    }

    HWY_INLINE HWY_ATTR VF32 Load(const std::int16_t* draws) const {
        const hn::Rebind<std::int16_t, DF32> d16;
        return hn::ConvertTo(DF32(), hn::PromoteTo(DI32(), hn::LoadU(d16, draws)));
    }

    /// The square root of log(1 - draw / 32767.1) * variance * -2, of 2 * draw - 32768.
    HWY_INLINE HWY_ATTR VF32 Radius(VF32 drawn) const {
        const DF32 d;
        const DI32 d32;
        constexpr double kInverse = 1 / 65534.2;
        const VI32 root = hn::Set(d32, 0x3F3504F3);  // of 1/2
        const VF32 u =
            hn::MulAdd(hn::Sub(hn::Set(d, 32766.0F), drawn), hn::Set(d, static_cast<float>(kInverse)),
                       hn::Set(d, static_cast<float>(0.2 * kInverse)));
        const VI32 above = hn::Sub(hn::BitCast(d32, u), root);
        const VI32 exponent = hn::ShiftRight<23>(above);
        const VF32 mantissa = hn::BitCast(d, hn::Add(hn::And(above, hn::Set(d32, 0x7FFFFF)), root));
        // Near 1 the difference from it is had without rounding u.
        const VF32 fromOne =
            hn::Mul(hn::Add(drawn, hn::Set(d, 32768.0F)), hn::Set(d, static_cast<float>(-kInverse)));
        const VF32 f = hn::IfThenElse(hn::RebindMask(d, hn::Eq(exponent, hn::Zero(d32))), fromOne,
                                      hn::Sub(mantissa, hn::Set(d, 1.0F)));
        VF32 p = hn::Set(d, series[0]);
        for (std::size_t i = 1; i < kTerms; ++i) {
            p = hn::MulAdd(p, f, hn::Set(d, series[i]));
        }
        return hn::Sqrt(hn::MulAdd(p, f, hn::Mul(hn::ConvertTo(d, exponent), hn::Set(d, log2))));
    }

    /// The cosine of draw * 2 pi / 32767 - pi, which is (2 * draw - 32767) * pi / 32767.
    HWY_INLINE HWY_ATTR VF32 Cos(VF32 drawn) const {
        const DF32 d;
        const VF32 turned = hn::Abs(hn::Add(drawn, hn::Set(d, 1.0F)));
        // From a quarter turn to minus that; the sine, at most 6e-7 off.
        const VF32 h = hn::MulAdd(turned, hn::Set(d, static_cast<float>(-1.0 / 32767)), hn::Set(d, 0.5F));
        const VF32 square = hn::Mul(h, h);
        VF32 p = hn::Set(d, -0.554657102F);
        for (const float c : {2.54190898F, -5.1671443F, 3.14158201F}) {
            p = hn::MulAdd(p, square, hn::Set(d, c));
        }
        return hn::Mul(p, h);
    }

    /// Lanes of 16 or so bytes, and which of them are in doubt.
    HWY_INLINE HWY_ATTR VI32 Lanes(const std::int16_t* first, const std::int16_t* second,
                                   const std::uint8_t* from, hn::Mask<DF32>& doubted) const {
        const DF32 d;
        const DI32 d32;
        const VF32 byte =
            hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::uint8_t, DF32>(), from)));
        const VF32 value =
            hn::MulAdd(Cos(Load(second)), Radius(Load(first)), hn::Add(byte, hn::Set(d, offset)));
        doubted = hn::Lt(hn::Abs(hn::Sub(value, hn::Round(value))), hn::Set(d, doubt));
        return hn::ConvertTo(d32, value);
    }

    HWY_INLINE HWY_ATTR void Step(const Block& block, std::size_t i, const std::uint8_t* from,
                                  std::uint8_t* to) const {
        const std::int16_t *first = block.At(i, 0), *second = block.At(i, 1);
        VI32 made[4];
        hn::Mask<DF32> doubted[4];
        for (std::size_t k = 0; k < 4; ++k) {
            made[k] = Lanes(first + k * kLanes, second + k * kLanes, from + k * kLanes, doubted[k]);
        }
        const DU64 d64;
        const auto inOrder = [&](VI32 a, VI32 b) {
            return hn::BitCast(DI16(), HalvesApart(hn::BitCast(d64, PackToShorts(a, b))));
        };
        const VU8 bytes = OrderedBytes(inOrder(made[0], made[1]), inOrder(made[2], made[3]));
        const auto any = hn::Or(hn::Or(doubted[0], doubted[1]), hn::Or(doubted[2], doubted[3]));
        if (HWY_UNLIKELY(!hn::AllFalse(DF32(), any))) {
            Redo(doubted, first, second, from, bytes, to);
            return;
        }
        hn::StoreU(bytes, DU8(), to);
    }

    /// The bytes in doubt by their formula.
    HWY_NOINLINE HWY_ATTR void Redo(const hn::Mask<DF32>* doubted, const std::int16_t* first,
                                    const std::int16_t* second, const std::uint8_t* from, VU8 bytes,
                                    std::uint8_t* to) const {
        alignas(64) std::uint8_t made[kBytesAtOnce];
        hn::Store(bytes, DU8(), made);
        for (std::size_t k = 0; k < 4; ++k) {
            std::uint8_t bits[8] = {};
            hn::StoreMaskBits(DF32(), doubted[k], bits);
            std::uint32_t left = bits[0] | static_cast<std::uint32_t>(bits[1]) << 8;
            for (std::size_t lane = k * kLanes; left != 0; left >>= 1, ++lane) {
                if ((left & 1) != 0) {
                    const auto drawn = [lane](const std::int16_t* draws) {
                        return static_cast<std::uint32_t>(draws[lane] + 32768) / 2;
                    };
                    const std::uint32_t draws[2] = {drawn(first), drawn(second)};
                    made[lane] = formula.Unit(from[lane], draws);
                }
            }
        }
        hn::StoreU(hn::Load(DU8(), made), DU8(), to);
    }

    static constexpr std::size_t kTerms = 7;

    GaussianNoise formula;
    float series[kTerms], log2, offset, doubt;
};

struct BitErrorStep {
    using Block = DrawnBlock<8, 1>;
    std::int16_t threshold;

    HWY_INLINE HWY_ATTR void Step(const Block& block, std::size_t i, const std::uint8_t* from,
                                  std::uint8_t* to) const {
        const DI16 d;
        constexpr std::size_t kLanes = HWY_LANES(std::int16_t);
        const VI16 limit = hn::Set(d, threshold);
        const std::int16_t* const draws = block.At(i);
        // Eight bytes at a time.
        for (std::size_t k = 0; k < kBytesAtOnce; k += 8) {
            std::uint64_t stays = 0;
            for (std::size_t bit = 0; bit < 64; bit += kLanes) {
                const auto mask = hn::Gt(hn::LoadU(d, draws + 8 * k + bit), limit);
#if HWY_TARGET == HWY_AVX3
                stays |= std::uint64_t{mask.raw} << bit;
#else
                std::uint8_t bits[8] = {};
                hn::StoreMaskBits(d, mask, bits);
                std::uint64_t word = bits[0] | static_cast<std::uint64_t>(bits[1]) << 8;
                stays |= word << bit;
#endif
            }
            std::uint64_t bytes;
            std::memcpy(&bytes, from + k, 8);
            bytes ^= ~stays;
            std::memcpy(to + k, &bytes, 8);
        }
    }
};

// Blocks take time to begin.
constexpr std::size_t kFewBytes = 256;

void Run(const NoiseJob& job, const UniformNoise& noise, std::uint32_t state) {
    if (job.width * job.height >= 4 * kFewBytes) {
        const UniformStep step = {UniformLine::Of(noise)};
        if (step.line.holds) {
            RunInBlocks(step, job, state, UniformNoise::kDraws);
            return;
        }
    }
    RunByFormula(job, noise, state);
}

void Run(const NoiseJob& job, const GaussianNoise& noise, std::uint32_t state) {
    if (job.width * job.height >= kFewBytes && GaussianStep::Suits(noise)) {
        RunInBlocks(GaussianStep(noise), job, state, GaussianNoise::kDraws);
    } else {
        RunByFormula(job, noise, state);
    }
}

void Run(const NoiseJob& job, const BitErrors& noise, std::uint32_t state) {
    if (job.width * job.height >= kFewBytes / 8) {
        const auto threshold = static_cast<std::int16_t>(2 * static_cast<int>(noise.threshold) - 32768);
        RunInBlocks(BitErrorStep{threshold}, job, state, BitErrors::kDraws);
    } else {
        RunByFormula(job, noise, state);
    }
}

#endif  // HWY_TARGET

void RunAddGaussian(const NoiseJob& job, const GaussianNoise& noise, std::uint32_t state) {
    Run(job, noise, state);
}
void RunAddUniform(const NoiseJob& job, const UniformNoise& noise, std::uint32_t state) {
    Run(job, noise, state);
}
void RunFlipBits(const NoiseJob& job, const BitErrors& noise, std::uint32_t state) {
    Run(job, noise, state);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(NoiseKernel<GaussianNoise>, kAddGaussian, RunAddGaussian);
TESSELU_KERNEL(NoiseKernel<UniformNoise>, kAddUniform, RunAddUniform);
TESSELU_KERNEL(NoiseKernel<BitErrors>, kFlipBits, RunFlipBits);

}  // namespace Zan

#endif  // HWY_ONCE
