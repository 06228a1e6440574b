// Include in a kernel file after defining HWY_TARGET_INCLUDE as the file itself: compiles the rest of the
// file once per target. No include guard, since Highway includes the file again for each target.

// The portable formula stands where Highway would emulate vectors, on every compiler. The targets left out
// add nothing to those below them for 8- and 16-bit arithmetic; those of SVE have vectors of unknown size,
// which kernels cannot keep in arrays.
#ifndef HWY_BROKEN_EMU128
#define HWY_BROKEN_EMU128 1
#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_DISABLED_TARGETS (HWY_SSE4 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#endif
#include <hwy/foreach_target.h>
// After it: the loop above decides what the next header is compiled for.
#include <hwy/cache_control.h>
#include <hwy/highway.h>
