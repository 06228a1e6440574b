#ifndef TESSELU_VECTOR_TRANSFORM3D_H
#define TESSELU_VECTOR_TRANSFORM3D_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

/// One 4 by 4 matrix, applied to batches of 3D points. A point is a column, multiplied from the right: the
/// translation is the last column, the projective row the last one.
///
/// The matrix is looked at on each call, by exact comparison, and the cheapest arithmetic that it allows is
/// run. With m0 ... m15 row by row:
/// - linear, m3, m7 and m11 being 0 and the last row 0, 0, 0, 1: x' = m0 * x + m1 * y + m2 * z, and y' and z'
///   in the same way
/// - affine, the last row being 0, 0, 0, 1: the same, plus m3, m7 and m11
/// - projective, any other: x', y' and z' as for affine, rounded to float, then multiplied by 1.0 / w, w
/// being
///   m12 * x + m13 * y + m14 * z + m15 in double. With w = 0 they stay as they are: a point at infinity.
///
/// Components are taken to double, sums are formed from left to right, and results are rounded to float. Only
/// `kFlp_SIMD`, on a processor with SSE, and only for a linear matrix, works in single precision: on whole
/// blocks of four points, with the nine elements rounded to float; the last n mod 4 points go through
/// doubles. That is the fast style; every other one, `kBestAvailable` included, and every other matrix is in
/// doubles. Results are the same on every machine, in the default floating-point environment.
///
/// `Do` may run on several threads unless the matrix is set meanwhile. Copies have a matrix of their own.
class TESSELU_API Transform3D {
public:
    /// The identity. @throws std::bad_alloc
    Transform3D();
    Transform3D(const Transform3D& other);
    Transform3D& operator=(const Transform3D& other) noexcept;
    ~Transform3D();

    /// Resets the matrix to the identity, then puts a block into its top left corner: element (r, c) is
    /// values[r * columnsGiven + c] for r below `rowsGiven` and c below `columnsGiven`. Columns come first. A
    /// 3 by 3 block makes a linear matrix; what a block has beyond 4 by 4 is not read. Without `values` the
    /// identity stays.
    void SetMatrix(double* values, ULong32 columnsGiven, ULong32 rowsGiven) noexcept;

    /// Transforms `count` points, three floats x, y, z each, from `src` to `dst`, which may be the same;
    /// other overlaps are not supported. Arrays may start at any float. Memory is trusted. Returns 0.
    Long32 Do(float* src, float* dst, ULong32 count, ProcessingStyleEnum style) const;

private:
    static CPUcapabilities& CPUinstructionSet;

    double* matrix;  ///< by rows, owned
    ULong32 columns = 4;
    ULong32 rows = 4;
};

}  // namespace Zan

#endif  // TESSELU_VECTOR_TRANSFORM3D_H
