#ifndef TESSELU_FOUNDATION_PROCESSINGSTYLE_H
#define TESSELU_FOUNDATION_PROCESSINGSTYLE_H

namespace Zan {

/// The caller's choice of code path, the last argument of most operations. The numbers are part of the
/// interface; raw-pointer operations take the first three of them as a plain number.
enum ProcessingStyleEnum : int {
    kFlp = 0,            ///< scalar floating point
    kFP = 1,             ///< scalar fixed point or integer
    kInt_MMXorSIMD = 2,  ///< integer on the best of MMX, SSE and SSE2
    kFlp_SIMD = 3,       ///< floating point on SSE
    kStyle4 = 4,         ///< no path of its own: the default branch of each operation
    kBestAvailable = 5,  ///< the fastest path that the operation has for the case
    kGeneralFormat = 6   ///< `ColorSpaceConverter` only: its most general path
};

/// What a processor offers to the code paths; each value includes those below it.
enum CPUinstructionSetEnum : int {
    kScalarOnly = 0,  ///< no SIMD at all
    kMMX = 1,         ///< MMX
    kSSE_MMX = 2,     ///< the integer additions of SSE to MMX
    kSIMD = 3,        ///< SSE, with operating-system support
    kSSE2 = 4         ///< SSE2
};

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_PROCESSINGSTYLE_H
