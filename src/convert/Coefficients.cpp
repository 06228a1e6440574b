#include "convert/Coefficients.h"

#include <array>

#include "convert/DefaultMatrices.h"
#include "convert/kernels/ConversionFormulas.h"

namespace Zan {
namespace {

constexpr double kMatrixScale = 8192;

constexpr std::int16_t RoundToWord(double value) noexcept {
    return TruncateToWord(value < 0 ? value - 0.5 : value + 0.5);
}

constexpr void Fill(PreparedCoefficients& block, const CoefficientForm& form) noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            const std::size_t row = form.isTransposed ? j : i;
            const std::size_t column = form.isTransposed ? i : j;
            const std::int16_t fixed = RoundToWord(block.matrix[i][j] * kMatrixScale);
            block.matrixFixed[row][column] = fixed;
            block.matrixPaired[row][column] = fixed;
            block.matrixPaired[row][column + 4] = fixed;
        }
    }
    for (std::size_t row = 0; row < 2; ++row) {
        const double scale = row == 0 ? form.offsetsBefore : form.offsetsAfter;
        for (std::size_t column = 0; column < 4; ++column) {
            const std::int16_t fixed = TruncateToWord(block.offset[row][column] * scale);
            block.offsetFixed[row][column] = fixed;
            block.offsetPaired[row][column] = fixed;
            block.offsetPaired[row][column + 4] = fixed;
            block.wholeOffsets[row][column] = TruncateToWord(block.offset[row][column]);
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        std::int64_t offsets = std::int64_t{block.offsetFixed[1][i]} * 65536;
        for (std::size_t j = 0; j < 4; ++j) {
            offsets += std::int32_t{block.matrixFixed[i][j]} * block.offsetFixed[0][j];
        }
        block.sevenBitOffsets[i] = static_cast<std::int32_t>(offsets >> 7);
    }
    const auto& before = block.wholeOffsets[0];
    block.hasNeutralGrey =
        before[0] == 0 && before[1] == 0 && before[2] == 0 && before[3] == 0 && EightBitGreyIsNeutral(block);
}

constexpr std::array kForms = {kOffsetsIn16ths, kWholeOffsets, kTransposed};

using BlocksOfKind = std::array<PreparedCoefficients, kForms.size()>;

constexpr std::array<BlocksOfKind, kDefaultMatrices.size()> kDefaults = [] {
    std::array<BlocksOfKind, kDefaultMatrices.size()> all{};
    for (std::size_t kind = 0; kind < all.size(); ++kind) {
        for (std::size_t form = 0; form < kForms.size(); ++form) {
            PreparedCoefficients& block = all[kind][form];
            for (std::size_t i = 0; i < 4; ++i) {
                for (std::size_t j = 0; j < 4; ++j) {
                    block.matrix[i][j] = kDefaultMatrices[kind].matrix[i][j];
                }
                block.offset[0][i] = kDefaultMatrices[kind].offset[0][i];
                block.offset[1][i] = kDefaultMatrices[kind].offset[1][i];
            }
            Fill(block, kForms[form]);
        }
    }
    return all;
}();

// Kernels do not test the default matrices of the pairs that they serve.
static_assert([] {
    for (std::size_t kind = 0; kind < kDefaults.size(); ++kind) {
        const bool toYCrCb = kind == kKindStudioRGBToYCrCb || kind == kKindFullRGBToYCrCb;
        for (const PreparedCoefficients& block : kDefaults[kind]) {
            if (toYCrCb && !EightBitSumsFit(block, EightBitOffsets(block))) {
                return false;
            }
        }
        if (!SevenBitSumsFit(kDefaults[kind][0])) {
            return false;
        }
    }
    return true;
}());

}  // namespace

const PreparedCoefficients& DefaultCoefficients(ConversionKind kind, const CoefficientForm& form) noexcept {
    std::size_t index = 0;
    while (index + 1 < kForms.size() && !(kForms[index] == form)) {
        ++index;
    }
    return kDefaults[static_cast<std::size_t>(kind)][index];
}

void MakeCoefficients(const double* matrix, const double* offset, const CoefficientForm& form,
                      bool alphaTakesPart, PreparedCoefficients& block) noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            block.matrix[i][j] = matrix[4 * i + j];
        }
        if (!alphaTakesPart && i < 3) {
            block.matrix[i][3] = 0;
        }
        block.offset[0][i] = offset[i];
        block.offset[1][i] = offset[4 + i];
    }
    Fill(block, form);
}

}  // namespace Zan
