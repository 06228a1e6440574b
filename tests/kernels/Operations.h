#ifndef TESSELU_TESTS_KERNELS_OPERATIONS_H
#define TESSELU_TESTS_KERNELS_OPERATIONS_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "kernels/Arena.h"

namespace kernelcheck {

/// The planes of one run. An operation asks for them when it is prepared; they outlive its runs.
class Case {
public:
    Case(Random& generator, std::size_t caseWidth, std::size_t caseHeight)
        : random(generator), width(caseWidth), height(caseHeight) {}

    /// A plane of `rowBytes` a row at any address and pitch that is a multiple of `alignment`.
    Plane& Add(std::size_t rowBytes, std::size_t rows, std::size_t alignment = 1, std::size_t reach = 0,
               Plane::Kind kind = Plane::Kind::kMemory) {
        return planes.emplace_back(random, rowBytes, rows, alignment, reach, kind);
    }

    Random& random;
    const std::size_t width, height;
    std::deque<Plane> planes;
};

/// An operation under comparison. `prepare` makes planes and settings for a case and gives back what runs on
/// them; that runs once for each target, each time on the same pictures, and returns a number that must be
/// the same as well.
struct Operation {
    using Run = std::function<Zan::Long32()>;

    /// What must be seen at least once on every target, or the comparison has compared nothing.
    enum class Proof {
        kWrites,   ///< status 0 and a byte that changed
        kReads,    ///< a result other than 0
        kRefuses,  ///< a status other than 0, always, and nothing written
    };

    std::string name;
    std::function<Run(Case&)> prepare;
    Zan::CPUinstructionSetEnum set = Zan::kSSE2;
    Proof proof = Proof::kWrites;
};

std::vector<Operation> AdjustmentOperations();
std::vector<Operation> CompositeOperations();
std::vector<Operation> ConvertOperations();
std::vector<Operation> CorrectionOperations();
std::vector<Operation> CubeOperations();
std::vector<Operation> DefocusOperations();
std::vector<Operation> GradientOperations();
std::vector<Operation> HistogramOperations();
std::vector<Operation> KeyOperations();
std::vector<Operation> KeyTableOperations();
std::vector<Operation> LookUpOperations();
std::vector<Operation> NoiseOperations();
std::vector<Operation> OverlayOperations();
std::vector<Operation> VectorOperations();

/// Operations that do on every target but the portable one what a kernel must not, or that prove nothing.
/// Each must be found out.
std::vector<Operation> BrokenOperations();

}  // namespace kernelcheck

#endif  // TESSELU_TESTS_KERNELS_OPERATIONS_H
