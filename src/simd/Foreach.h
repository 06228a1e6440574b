// Include in a kernel file after defining HWY_TARGET_INCLUDE as the file itself: compiles the rest of the
// file once per target. No include guard, since Highway includes the file again for each target.

#ifndef HWY_BROKEN_EMU128
// The portable formula stands where Highway would emulate vectors, on every compiler.
#define HWY_BROKEN_EMU128 1
#define HWY_COMPILE_ALL_ATTAINABLE
// What is wanted, so that a newer Highway adds nothing that nobody asked for. The names of the bits are
// Highway's; they are read where the targets of a processor have been told.
#ifdef TESSELU_LEAST_TARGETS  // for builds that ask something else than how kernels come out
#define TESSELU_WANTED_TARGETS (HWY_SCALAR | HWY_SSSE3 | HWY_NEON)
#else
#define TESSELU_WANTED_TARGETS (HWY_SCALAR | HWY_SSSE3 | HWY_AVX2 | HWY_AVX3 | HWY_NEON)
#endif
#define HWY_DISABLED_TARGETS (~(TESSELU_WANTED_TARGETS))
#endif
#include <hwy/foreach_target.h>
// After it: the loop above decides what the next header is compiled for.
#include <hwy/cache_control.h>
#include <hwy/highway.h>
