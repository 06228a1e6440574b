#ifndef TESSELU_IMAGE_IMAGECOMPARE_H
#define TESSELU_IMAGE_IMAGECOMPARE_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Zan {

/// One difference: where, and the two words (or bytes) that stand there.
struct Miscompare {
    ULong32 x;  ///< in pixels, also where a word is two of them
    ULong32 y;
    ULong32 first;
    ULong32 second;
};

/// Tells whether two pictures in plain memory are equal within a tolerance, and how much they differ if not.
///
/// A channel is a byte of a word, the lowest being channel 0. A difference is first - second. Tolerances are
/// set for each channel and direction; differences within them count for nothing. The counts, and the largest
/// difference of each channel, add up from call to call until `ResetDiffs`.
///
/// Nothing is allocated but by the constructors. An object serves one thread at a time.
class TESSELU_API ImageCompare {
public:
    /// Channels beyond the bytes of a word have no differences. No tolerance at first.
    ImageCompare(unsigned int numberOfChannels);

    /// Allows differences from -`negative` to `positive`. A channel that there is not is left alone.
    void SetLargestAllowableError(unsigned int channel, ULong32 negative, ULong32 positive) noexcept;

    /// Forgets all differences, and keeps the tolerances.
    void ResetDiffs() noexcept;

    /// The difference of largest magnitude among those that were not allowed, with its sign; the lowest
    /// channel wins a tie, and within a channel the first. 0 without one.
    Long32 GetLargestDiff() const noexcept;
    /// Its magnitude.
    ULong32 GetAbsLargestDiff() const noexcept;
    /// Samples whose difference was not allowed.
    std::int64_t GetNumComponentDiffs() const noexcept { return componentDiffs; }

    /// Compares two pictures of `width` pixels and `height` rows, pitches in bytes. Both formats must be the
    /// same one of
    /// - 0: packed pixels of 32 bits
    /// - 1: a plane of bytes
    /// - 2: packed 4:2:2, a word for each two pixels
    ///
    /// Words that differ more than is allowed are reported in the order of rows: the n-th since `ResetDiffs`
    /// takes the place of `report[n - 1]`, if there is one. The vector does not grow.
    ///
    /// Returns 1 when there is no difference, this time and since `ResetDiffs`; else 0. Returns, with nothing
    /// counted, -1 for other or different formats, for null, and for pitches of words that are no multiple of
    /// 4; -2 for 4:2:2 of an odd width.
    Long32 AreImagesEqual(ULong32* first, ULong32* second, ULong32 width, ULong32 height, ULong32 pitchFirst,
                          ULong32 pitchSecond, ULong32 formatFirst, ULong32 formatSecond,
                          std::vector<Miscompare>& report) noexcept;

    /// The same for pictures of two planes: a packed 4:2:2 plane and one of alpha bytes, each with a pitch of
    /// its own. Both formats must be 3. Alpha is compared, as channel 0, only where colour gave 1.
    Long32 AreImagesEqual(ULong32** first, ULong32** second, ULong32 width, ULong32 height,
                          ULong32* pitchFirst, ULong32* pitchSecond, ULong32 formatFirst,
                          ULong32 formatSecond, std::vector<Miscompare>& report) noexcept;

private:
    friend class CompareSeam;

    unsigned int CountComponents(ULong32 first, ULong32 second) noexcept;
    template <class Word>
    Long32 Compare(const void* first, const void* second, std::size_t wordsPerRow, ULong32 height,
                   ULong32 pitchFirst, ULong32 pitchSecond, ULong32 pixelsPerWord,
                   std::vector<Miscompare>& report) noexcept;

    unsigned int numberOfChannels;
    std::int64_t componentDiffs = 0;
    std::int64_t pixelDiffs = 0;
    std::vector<Long32> largestDiffs;
    std::vector<std::pair<ULong32, ULong32>> allowed;
    ULong32 limit = 0xFFFFFFFFU;
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_IMAGECOMPARE_H
