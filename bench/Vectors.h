#ifndef TESSELU_BENCH_VECTORS_H
#define TESSELU_BENCH_VECTORS_H

#include <ostream>
#include <string>
#include <vector>

#include "Options.h"
#include "Processor.h"

namespace bench {

/// An operation on so many vectors: ours, what others have for it, and the copy of as many bytes.
struct VectorsRow {
    struct Timing {
        std::string name;
        double nanoseconds;  ///< a vector; the least of all rounds
    };

    const char* title;
    std::size_t vectors;
    double ours, copy;
    std::vector<Timing> others;
    double aim;         ///< times the best of the others
    bool copyIsEnough;  ///< or 0.95 of the speed of the copy
};

/// As in "operation/vectors".
std::vector<std::string> VectorsNames();

/// Whether the others are compiled for such processors.
bool HasVectors(Level level);

/// Times the operation of that name on the current level. Throws where ours is not what the plain loop makes:
/// the same bits in doubles, nearly the same in single precision.
VectorsRow RunVectors(const std::string& name, const Options& options);

void PrintVectors(std::ostream& out, const std::vector<VectorsRow>& rows);

}  // namespace bench

#endif  // TESSELU_BENCH_VECTORS_H
