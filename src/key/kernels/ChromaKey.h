#ifndef TESSELU_SRC_KEY_KERNELS_CHROMAKEY_H
#define TESSELU_SRC_KEY_KERNELS_CHROMAKEY_H

#include "key/kernels/ChromaKeyFormulas.h"
#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Foreground, background and the foreground's alpha (the fixed-point form takes none); result and key.
/// All but the foreground and the result may be missing. Columns are pixels, of pairs an even number.
using ChromaKeyJob = simd::Job<3, 2>;
using ChromaKeyKernel = simd::Kernel<void(const ChromaKeyJob&, const ChromaKeySettings&)>;

extern const ChromaKeyKernel kKeyPixelsDouble;
extern const ChromaKeyKernel kKeyPixelsFixed;
extern const ChromaKeyKernel kKeyPairsDouble;
extern const ChromaKeyKernel kKeyPairsSingle;
extern const ChromaKeyKernel kKeyPairsFixed;

}  // namespace Zan

#endif  // TESSELU_SRC_KEY_KERNELS_CHROMAKEY_H
