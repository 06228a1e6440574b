#ifndef TESSELU_SRC_SIMD_LONGRUNS_H
#define TESSELU_SRC_SIMD_LONGRUNS_H

#include <cstddef>
#include <cstdint>

namespace Zan::simd {

/// True when a picture of `bytes` in all is better moved by the processor's own string instructions: it is
/// larger than a second-level cache, and they fetch no line which they are about to overwrite whole.
bool LongRunsPay(std::size_t bytes) noexcept;

/// Copies a run that belongs to such a picture. The runs must not overlap. What exceeds the cache goes around
/// it: strings write through it however long they are, and take half as long again then.
void CopyLongRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes, bool aroundCache) noexcept;

/// Writes `pattern` over and over, its low byte first.
void FillLongRun(std::uint8_t* to, std::size_t bytes, std::uint32_t pattern) noexcept;

}  // namespace Zan::simd

#endif  // TESSELU_SRC_SIMD_LONGRUNS_H
