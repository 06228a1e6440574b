#ifndef TESSELU_VECTOR_OPERATIONS3D_H
#define TESSELU_VECTOR_OPERATIONS3D_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

/// Vectors as a structure of arrays: `count` values in each.
struct SoA_3D {
    float* x;
    float* y;
    float* z;
    ULong32 count;
};

/// Arithmetic on batches of 3D vectors. No state: an object is not needed, and calls on different arrays may
/// run on several threads.
///
/// Vectors are interleaved, three floats x, y, z each, unless an operation says otherwise; `n` counts
/// vectors, not floats. Arrays may start at any float. A destination may be one of the operands' own arrays;
/// other overlaps are not supported. With 0 vectors nothing is read or written. Memory is trusted. All
/// operations return 0.
///
/// **Which style is the fast one.** `kFlp_SIMD`, and no other, takes the single-precision form of
/// `LengthOfVectors`, of `NormalizeVectors` with a destination or on `SoA_3D`, and of
/// `NormalizeVectors_SoAoS`, on a processor with SSE. Every other style, `kBestAvailable` included, runs the
/// arithmetic in doubles, and all other operations run it whatever the style.
///
/// **In doubles.** Components are taken to double, sums are formed from left to right, and each result is
/// rounded to float once. `NormalizeVectors` multiplies by 1.0 / length; a length that is not above the float
/// 1e-9, or not a number, counts as 1e-9, so that a zero vector stays zero and a vector shorter than that
/// comes out shorter than 1.
///
/// **In single precision**, for whole blocks of four vectors; the last n mod 4 go through doubles. Sums run
/// from left to right, and nothing is fused, so that results are the same on every machine:
/// - Lengths: the square root of x * x + y * y + z * z.
/// - Interleaved vectors: the length l is limited as in doubles, and the components are multiplied by an
///   estimate of 1 / l that is at most 1.291e-4 of it off. y is the float with the bits 0x7EF31100 - bits(l),
///   e = 1 - l * y, and the estimate is y * (1 + (e + e * e)).
/// - `SoA_3D` and blocks of four: here the *square* s of the length is limited below by 1e-9, so that (1e-5,
///   0, 0) comes out 0.3162 long. The factor is an estimate of 1 / sqrt(s), at most 9.97e-5 of it off. y is
///   the float with the bits 0x5F375580 - (bits(s) >> 1), t = s * y * y, and the estimate is
///   y * (1.875 - t * (1.25 - 0.375 * t)).
/// - A length or square that is infinite in single precision gives the factor 0: the form serves lengths up
///   to 1.8e19. Squares below 1.2e-38 lose digits, and vanish at last.
///
/// All of this holds in the default floating-point environment: rounding to nearest, small numbers kept.
class TESSELU_API Operations3D {
public:
    /// length[i] = the Euclidean length of v[i]. `length` has `n` floats. `kFlp_SIMD` is the fast style.
    static Long32 LengthOfVectors(float* v, float* length, ULong32 n, ProcessingStyleEnum style);

    /// Scales each vector to length 1, in place, in doubles whatever the style.
    static Long32 NormalizeVectors(float* v, ULong32 n, ProcessingStyleEnum style);
    /// The same into `dst`, which may be `src`. `kFlp_SIMD` is the fast style.
    static Long32 NormalizeVectors(float* src, float* dst, ULong32 n, ProcessingStyleEnum style);
    /// The same on a structure of arrays, in place: the fastest form with `kFlp_SIMD`, since nothing needs to
    /// be shuffled.
    static Long32 NormalizeVectors(SoA_3D v, ProcessingStyleEnum style);
    /// The same from `src` to `dst`; the smaller of the two counts holds.
    static Long32 NormalizeVectors(SoA_3D src, SoA_3D dst, ProcessingStyleEnum style);
    /// Scales each vector to length 1, on blocks of four: twelve floats hold x of four vectors, then their y,
    /// then their z. Only whole blocks are worked on: the last n mod 4 vectors of `dst` stay as they were.
    ///
    /// Only `kFlp_SIMD` on a processor with SSE sees these blocks. Otherwise the call is that of
    /// `NormalizeVectors(src, dst, n, style)`: all `n` triples of floats are taken as x, y and z of a vector.
    static Long32 NormalizeVectors_SoAoS(float* src, float* dst, ULong32 n, ProcessingStyleEnum style);

    /// v[i] = s * v[i].
    static Long32 ScaleVectors(float s, float* v, ULong32 n, ProcessingStyleEnum style);

    /// result[i] = a[i] . b[i]. `result` has `n` floats.
    static Long32 DotProduct(float* a, float* b, float* result, ULong32 n, ProcessingStyleEnum style);
    /// result[i] = a[i] x b[i]: (ay bz - az by, az bx - ax bz, ax by - ay bx).
    static Long32 CrossProduct(float* a, float* b, float* result, ULong32 n, ProcessingStyleEnum style);

    /// dst[i] = v[i] + c, with one vector `c`, which is read before anything is written.
    static Long32 AddConstantVector(float* v, float* c, float* dst, ULong32 n, ProcessingStyleEnum style);
    /// dst[i] = v[i] - c.
    static Long32 SubtractConstantVector(float* v, float* c, float* dst, ULong32 n,
                                         ProcessingStyleEnum style);
    /// dst[i] = a[i] + b[i].
    static Long32 AddVectors(float* a, float* b, float* dst, ULong32 n, ProcessingStyleEnum style);

    /// dst[i] = sa[i] * a[i] + sb[i] * b[i]. `sa` and `sb` have `n` floats.
    static Long32 AddScaledVectors(float* sa, float* a, float* sb, float* b, float* dst, ULong32 n,
                                   ProcessingStyleEnum style);
    /// The same with one scale for all of `a`.
    static Long32 AddScaledVectors(float sa, float* a, float* sb, float* b, float* dst, ULong32 n,
                                   ProcessingStyleEnum style);
    /// The same with one scale for all of `b`.
    static Long32 AddScaledVectors(float* sa, float* a, float sb, float* b, float* dst, ULong32 n,
                                   ProcessingStyleEnum style);
    /// The same with one scale for each side.
    static Long32 AddScaledVectors(float sa, float* a, float sb, float* b, float* dst, ULong32 n,
                                   ProcessingStyleEnum style);

private:
    static CPUcapabilities& CPUinstructionSet;
};

}  // namespace Zan

#endif  // TESSELU_VECTOR_OPERATIONS3D_H
