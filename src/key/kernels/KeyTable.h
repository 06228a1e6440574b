#ifndef TESSELU_SRC_KEY_KERNELS_KEYTABLE_H
#define TESSELU_SRC_KEY_KERNELS_KEYTABLE_H

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

using KeyTableJob = simd::Job<1, 1>;
/// Pairs and the key so far.
using KeyProductJob = simd::Job<2, 1>;

/// Bytes through one table of 256. Columns are bytes.
extern const simd::Kernel<void(const KeyTableJob&, const std::uint8_t* table)> kKeyOfBytes;
/// The luma of 4:2:2 pairs through a table. Columns are pixels, in whole pairs.
extern const simd::Kernel<void(const KeyTableJob&, const std::uint8_t* table)> kKeyOfLuma;
/// The same, times the key so far.
extern const simd::Kernel<void(const KeyProductJob&, const std::uint8_t* table)> kKeyTimesLuma;

}  // namespace Zan

#endif  // TESSELU_SRC_KEY_KERNELS_KEYTABLE_H
