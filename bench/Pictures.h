#ifndef TESSELU_BENCH_PICTURES_H
#define TESSELU_BENCH_PICTURES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Contest.h"

namespace bench {

/// The memory that all contests of one size work on: lines without padding, full of noise where nothing else
/// is said.
class Pictures {
    struct Release {
        void operator()(std::uint8_t* memory) const;
    };
    std::vector<std::unique_ptr<std::uint8_t, Release>> buffers;

public:
    /// `photo`: a picture file (P6) of which the photograph is made, or nothing.
    explicit Pictures(const Size& pictureSize, const std::string& photo = {});

    const Size size;
    std::uint8_t* const a;  ///< 4 bytes a pixel; 4:2:2 pictures use the first half
    std::uint8_t* const b;
    std::uint8_t* const key;         ///< 1 byte a pixel
    std::uint8_t* const planar;      ///< Y, then Cb, then Cr of a 4:2:0 picture
    std::uint8_t* const out;         ///< what every entrant writes
    std::uint8_t* const scratch;     ///< for entrants that need more than one step
    std::uint8_t* const shaped;      ///< as `a`, no colour above its alpha
    std::uint8_t* const photo;       ///< BGRA: the photograph, or a soft picture with a little noise
    std::uint8_t* const ramp;        ///< BGRA: colours rise along the lines, with a little noise
    std::uint8_t* const photoPairs;  ///< the photograph as UYVY, and alpha behind it
    std::uint8_t* const photoYcc;    ///< the photograph as Cb, Y, Cr, A
    std::uint8_t* const edgeKey;     ///< 1 byte a pixel: rises along the lines

    bool hasPhoto = false;

private:
    std::uint8_t* Allocate(std::size_t bytes);
    bool ReadPhoto(const std::string& path);
    void DrawPhoto();
    void DrawRamp();
    void MakePhotoYcc();
};

}  // namespace bench

#endif  // TESSELU_BENCH_PICTURES_H
