#ifndef TESSELU_FUZZ_HOSTILEPICTURE_H
#define TESSELU_FUZZ_HOSTILEPICTURE_H

#include "Input.h"

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "convert/Formats.h"

namespace fuzz {

/// An image of any format, good or bad, whose planes end exactly where the image believes: every byte that it
/// does not own is poisoned, so that the sanitizer stops at the first one touched.
class HostilePicture {
public:
    explicit HostilePicture(Input& input);
    /// Mostly of a format of the converter; of any kind if `known` is null.
    HostilePicture(Input& input, const Zan::FormatRecord* known);
    ~HostilePicture();
    HostilePicture(const HostilePicture&) = delete;
    HostilePicture& operator=(const HostilePicture&) = delete;

    /// A view of it with any region and field.
    Zan::ImageView View(Input& input);

    Zan::Image& GetImage() { return *image; }
    /// Makes it one of a kind that an operation takes; any other is refused before a plane is touched.
    void Suit(Zan::ColorSpaceEnum space, Zan::AggregateChannelSamplingEnum sampling);

    /// A sum over all bytes of the planes, by which a change shows.
    std::uint64_t Sum() const;

private:
    struct Block {
        unsigned char* memory;
        std::size_t size;
    };

    static unsigned char* Allocate(void* context, Zan::ULong32 totalSize, Zan::ULong32 bufferAlignment,
                                   Zan::ULong32 lineAlignment);
    static void Free(void* context, void* memory);

    unsigned char* HostPlane(std::size_t size, unsigned misaligned);
    void AddAlpha(Input& input);
    void Fit(const Zan::FormatRecord& format);
    void Disturb(Input& input);
    void FillAndGuard(unsigned char seed);

    std::vector<Block> blocks;
    std::vector<std::unique_ptr<unsigned char[]>> hostMemory;
    std::unique_ptr<Zan::Image> image;
};

/// A sum over all of them.
template <std::size_t kCount>
std::uint64_t Sum(const HostilePicture (&pictures)[kCount]) {
    std::uint64_t all = 0;
    for (const HostilePicture& picture : pictures) {
        all = all * 31 + picture.Sum();
    }
    return all;
}

}  // namespace fuzz

#endif  // TESSELU_FUZZ_HOSTILEPICTURE_H
