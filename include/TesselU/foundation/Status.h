#ifndef TESSELU_FOUNDATION_STATUS_H
#define TESSELU_FOUNDATION_STATUS_H

#include <TesselU/foundation/Types.h>

namespace Zan {

/// The values that the `long` operations of the library return. Operations document only what they add.
inline constexpr Long32 kStatusOk = 0;
/// A required image or memory pointer is null; for level setters: a level outside [0, 1].
inline constexpr Long32 kStatusNullPointer = 1;
/// A colour space, packing or pitch that the operation never takes; for level setters: a bad channel index.
inline constexpr Long32 kStatusUnsupportedKind = 2;
/// The sources of one operation disagree in colour space, or a width is negative.
inline constexpr Long32 kStatusMismatch = 3;
/// The format of a view, or the pair of formats, is not supported by this operation.
inline constexpr Long32 kStatusUnsupportedFormat = 4;
/// `ColorSpaceConverter`: an unknown plus function, or a processor without the instructions of the path.
inline constexpr Long32 kStatusUnsupportedFunction = 5;
/// The `CPUfeatures` singleton is not available.
inline constexpr Long32 kStatusNoProcessorFeatures = 72;
/// A selection that the operation cannot take: a field of interest, or a region that leaves its image.
inline constexpr Long32 kStatusUnsupportedField = 98;
/// The requested style or code path has no implementation for this operation.
inline constexpr Long32 kStatusUnsupportedStyle = 100;
/// Construction: no memory for the descriptor, or inconsistent arguments; a channel out of range.
inline constexpr Long32 kStatusBadArgument = -1;
/// Construction: the memory for the pixels could not be obtained.
inline constexpr Long32 kStatusNoPixelMemory = -2;
/// `DeepDefocus::Do`: the accumulator of the requested kernel would overflow 32 bits.
inline constexpr Long32 kStatusAccumulatorOverflow = -10;

/// Base of the extended status values of the overlay and base colour correction families: base + n.
inline constexpr ULong32 kExtendedStatusBase = 0x80000000U;
/// How many extended status values there are; n runs from 0 to this number minus 1.
inline constexpr ULong32 kExtendedStatusCount = 33;

/// The words for an extended status. `status` is the value that an operation returned (0x80000000 + n) or
/// plain n. Returns a constant string, or a null pointer for anything else.
TESSELU_API const char* ExtendedStatusText(ULong32 status) noexcept;

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_STATUS_H
