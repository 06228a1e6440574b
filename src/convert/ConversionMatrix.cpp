#include <TesselU/convert/ConversionMatrix.h>

#include "convert/DefaultMatrices.h"
#include "convert/Pairs.h"

namespace Zan {

ColorMatrix MatrixOfKind(ConversionKind kind) noexcept {
    const auto index = static_cast<std::size_t>(kind);
    return kDefaultMatrices[index < kDefaultMatrices.size() ? index : std::size_t{kKindIdentity}];
}

void MakeConversionMatrix(std::vector<std::vector<double>>& matrix, std::vector<std::vector<double>>& offsets,
                          ConversionKind kind) {
    const ColorMatrix made = MatrixOfKind(kind);
    matrix.resize(4);
    for (std::size_t row = 0; row < 4; ++row) {
        matrix[row].assign(made.matrix[row], made.matrix[row] + 4);
    }
    offsets.resize(2);
    for (std::size_t row = 0; row < 2; ++row) {
        offsets[row].assign(made.offset[row], made.offset[row] + 4);
    }
}

void DefaultMatrixForFormats(double* matrix16, double* offsets8, ULong32 sourceFormat,
                             ULong32 destinationFormat) {
    const PairRecord* pair =
        FindPair(static_cast<ConverterFormat>(sourceFormat), static_cast<ConverterFormat>(destinationFormat));
    const ColorMatrix made = MatrixOfKind(pair != nullptr ? pair->kind : kKindIdentity);
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            matrix16[4 * row + column] = made.matrix[row][column];
        }
    }
    for (std::size_t row = 0; row < 2; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            offsets8[4 * row + column] = made.offset[row][column];
        }
    }
}

}  // namespace Zan
