#ifndef TESSELU_TOOLS_MEDIA_PICTUREPOOL_H
#define TESSELU_TOOLS_MEDIA_PICTUREPOOL_H

#include <memory>
#include <mutex>
#include <vector>

#include "media/Picture.h"

namespace tool {

/// A picture that more than one may hold. Whoever got it from somebody else does not write into it.
using SharedPicture = std::shared_ptr<Zan::Image>;

/// Pictures whose memory is used again once nobody holds them. May be asked by several threads, and may go
/// before its pictures do.
class PicturePool {
public:
    explicit PicturePool(const PictureFormat& newFormat) : format(newFormat) {}

    SharedPicture Take() {
        ImagePtr picture;
        {
            const std::lock_guard guard(spare->lock);
            if (!spare->pictures.empty()) {
                picture = std::move(spare->pictures.back());
                spare->pictures.pop_back();
            }
        }
        if (!picture) {
            picture = NewPicture(format);
        }
        return {picture.release(), [back = spare](Zan::Image* image) {
                    const std::lock_guard guard(back->lock);
                    back->pictures.emplace_back(image);
                }};
    }

private:
    struct Spare {
        std::mutex lock;
        std::vector<ImagePtr> pictures;
    };

    PictureFormat format;
    std::shared_ptr<Spare> spare = std::make_shared<Spare>();
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PICTUREPOOL_H
