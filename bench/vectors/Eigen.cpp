// Eigen on the same memory, in single precision.

// Each build has one of its own: the linker would take the functions of either for both.
#define TESSELU_JOIN(A, B) A##B
#define TESSELU_EIGEN_OF(BUILD) TESSELU_JOIN(Eigen_, BUILD)
#define Eigen TESSELU_EIGEN_OF(TESSELU_VECTORS_BUILD)
#include <Eigen/Core>

#include "vectors/Work.h"

namespace bench::vectors {

namespace {

using Vectors = Eigen::Map<const Eigen::Matrix3Xf>;
using Results = Eigen::Map<Eigen::Matrix3Xf>;
using Array = Eigen::Map<const Eigen::ArrayXf>;
using ResultArray = Eigen::Map<Eigen::ArrayXf>;

Eigen::Index Count(const Work& w) {
    return static_cast<Eigen::Index>(w.n);
}

void Normals(const Work& w) {
    Results(w.out, 3, Count(w)) = Vectors(w.a, 3, Count(w)).colwise().normalized();
}

// In parts that stay in the cache.
void Arrays(const Work& w) {
    constexpr std::size_t kPart = 1024;
    for (std::size_t i = 0; i < w.n; i += kPart) {
        const auto n = static_cast<Eigen::Index>(w.n - i < kPart ? w.n - i : kPart);
        const Array x(w.x + i, n), y(w.y + i, n), z(w.z + i, n);
        Eigen::Array<float, Eigen::Dynamic, 1, 0, kPart, 1> scale =
            (x * x + y * y + z * z).max(1e-9F).rsqrt();
        ResultArray(w.out + i, n) = x * scale;
        ResultArray(w.outY + i, n) = y * scale;
        ResultArray(w.outZ + i, n) = z * scale;
    }
}

void Lengths(const Work& w) {
    Eigen::Map<Eigen::RowVectorXf>(w.out, Count(w)) = Vectors(w.a, 3, Count(w)).colwise().norm();
}

void Linear(const Work& w) {
    const Eigen::Matrix3f m = Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(w.matrix)
                                  .topLeftCorner<3, 3>()
                                  .cast<float>();
    Results(w.out, 3, Count(w)).noalias() = m.lazyProduct(Vectors(w.a, 3, Count(w)));
}

}  // namespace

std::vector<Entry> TESSELU_VECTORS_BUILD::EigenEntries() {
    return {{kSingleNormals, "Eigen", Normals},
            {kSingleArrays, "Eigen", Arrays},
            {kSingleLengths, "Eigen", Lengths},
            {kSingleLinear, "Eigen", Linear}};
}

}  // namespace bench::vectors
