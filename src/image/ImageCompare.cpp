#include <TesselU/image/ImageCompare.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Zan {
namespace {

// What `formatFirst` and `formatSecond` say.
constexpr ULong32 kPackedWords = 0;
constexpr ULong32 kBytePlane = 1;
constexpr ULong32 kPacked422 = 2;
constexpr ULong32 kPacked422AndAlpha = 3;

constexpr Long32 kRefused = -1;
constexpr Long32 kOddWidth = -2;

constexpr unsigned int kBytesOfWord = 4;
constexpr std::size_t kRun = 1024;  // bytes that are passed over at once where they are equal

template <class Word>
ULong32 WordAt(const std::uint8_t* at) noexcept {
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

}  // namespace

ImageCompare::ImageCompare(unsigned int newNumberOfChannels)
    : numberOfChannels(newNumberOfChannels),
      largestDiffs(newNumberOfChannels),
      allowed(newNumberOfChannels) {}

void ImageCompare::SetLargestAllowableError(unsigned int channel, ULong32 negative,
                                            ULong32 positive) noexcept {
    if (channel < allowed.size()) {
        allowed[channel] = {negative, positive};
    }
}

void ImageCompare::ResetDiffs() noexcept {
    componentDiffs = 0;
    pixelDiffs = 0;
    std::fill(largestDiffs.begin(), largestDiffs.end(), 0);
}

Long32 ImageCompare::GetLargestDiff() const noexcept {
    Long32 largest = 0;
    for (const Long32 diff : largestDiffs) {
        if (std::abs(diff) > std::abs(largest)) {
            largest = diff;
        }
    }
    return largest;
}

ULong32 ImageCompare::GetAbsLargestDiff() const noexcept {
    return static_cast<ULong32>(std::abs(GetLargestDiff()));
}

/// How many bytes of two words differ more than is allowed.
unsigned int ImageCompare::CountComponents(ULong32 first, ULong32 second) noexcept {
    unsigned int count = 0;
    const unsigned int channels = std::min(numberOfChannels, kBytesOfWord);
    for (unsigned int i = 0; i < channels; ++i) {
        const auto a = static_cast<Long32>(first >> (8 * i) & 0xFF);
        const auto b = static_cast<Long32>(second >> (8 * i) & 0xFF);
        const Long32 difference = a - b;
        const auto magnitude = static_cast<ULong32>(std::abs(difference));
        if (magnitude > (difference < 0 ? allowed[i].first : allowed[i].second)) {
            ++count;
            if (std::abs(difference) > std::abs(largestDiffs[i])) {
                largestDiffs[i] = difference;
            }
        }
    }
    return count;
}

template <class Word>
Long32 ImageCompare::Compare(const void* first, const void* second, std::size_t wordsPerRow, ULong32 height,
                             ULong32 pitchFirst, ULong32 pitchSecond, ULong32 pixelsPerWord,
                             std::vector<Miscompare>& report) noexcept {
    std::int64_t components = 0;  // of this call
    const std::size_t rowBytes = wordsPerRow * sizeof(Word);
    const ULong32 rows = rowBytes > 0 ? height : 0;
    for (std::size_t y = 0; y < rows && components < limit; ++y) {
        const std::uint8_t* const rowA = static_cast<const std::uint8_t*>(first) + y * pitchFirst;
        const std::uint8_t* const rowB = static_cast<const std::uint8_t*>(second) + y * pitchSecond;
        for (std::size_t begin = 0; begin < rowBytes && components < limit; begin += kRun) {
            const std::size_t end = std::min(rowBytes, begin + kRun);
            if (std::memcmp(rowA + begin, rowB + begin, end - begin) == 0) {
                continue;
            }
            for (std::size_t at = begin; at < end && components < limit; at += sizeof(Word)) {
                const ULong32 a = WordAt<Word>(rowA + at), b = WordAt<Word>(rowB + at);
                const unsigned int count = a != b ? CountComponents(a, b) : 0;
                if (count == 0) {
                    continue;
                }
                const auto place = static_cast<std::uint64_t>(pixelDiffs);
                if (place < report.size()) {
                    report[static_cast<std::size_t>(place)] = {
                        static_cast<ULong32>(at / sizeof(Word)) * pixelsPerWord, static_cast<ULong32>(y), a,
                        b};
                }
                ++pixelDiffs;
                componentDiffs += count;
                components += count;
            }
        }
    }
    return componentDiffs == 0 && pixelDiffs == 0 ? 1 : 0;
}

Long32 ImageCompare::AreImagesEqual(ULong32* first, ULong32* second, ULong32 width, ULong32 height,
                                    ULong32 pitchFirst, ULong32 pitchSecond, ULong32 formatFirst,
                                    ULong32 formatSecond, std::vector<Miscompare>& report) noexcept {
    const bool isEmpty = width == 0 || height == 0;
    if (formatFirst != formatSecond || formatFirst > kPacked422 ||
        (!isEmpty && (first == nullptr || second == nullptr))) {
        return kRefused;
    }
    if (formatFirst == kBytePlane) {
        return Compare<std::uint8_t>(first, second, width, height, pitchFirst, pitchSecond, 1, report);
    }
    if ((pitchFirst | pitchSecond) % kBytesOfWord != 0) {
        return kRefused;
    }
    if (formatFirst == kPackedWords) {
        return Compare<ULong32>(first, second, width, height, pitchFirst, pitchSecond, 1, report);
    }
    if (width % 2 != 0) {
        return kOddWidth;
    }
    return Compare<ULong32>(first, second, width / 2, height, pitchFirst, pitchSecond, 2, report);
}

Long32 ImageCompare::AreImagesEqual(ULong32** first, ULong32** second, ULong32 width, ULong32 height,
                                    ULong32* pitchFirst, ULong32* pitchSecond, ULong32 formatFirst,
                                    ULong32 formatSecond, std::vector<Miscompare>& report) noexcept {
    const bool isEmpty = width == 0 || height == 0;
    if (formatFirst != kPacked422AndAlpha || formatSecond != kPacked422AndAlpha || first == nullptr ||
        second == nullptr || pitchFirst == nullptr || pitchSecond == nullptr ||
        (!isEmpty && (first[1] == nullptr || second[1] == nullptr))) {
        return kRefused;
    }
    const Long32 colour = AreImagesEqual(first[0], second[0], width, height, pitchFirst[0], pitchSecond[0],
                                         kPacked422, kPacked422, report);
    if (colour != 1) {
        return colour;
    }
    return AreImagesEqual(first[1], second[1], width, height, pitchFirst[1], pitchSecond[1], kBytePlane,
                          kBytePlane, report);
}

}  // namespace Zan
