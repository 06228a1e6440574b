#ifndef TESSELU_IMAGE_FILEIO_H
#define TESSELU_IMAGE_FILEIO_H

#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// Raw pixel files and images: rows of pixels without a header, each pixel the bytes R, G, B or R, G, B, A.
/// For a plain address there is `ImageImport`.
///
/// Of the view only its image counts: the rows of its first plane, from the lowest address on, whatever the
/// region, the field and the origin. The image must have pixels of 32 bits, which are taken as B, G, R, A
/// from the low byte up.
///
/// `width` and `height` are those of the file, in pixels; the smaller of them and the image's are read or
/// written. `bytesPerPixel` is 3 or 4. The rows of a file hold as many pixels as are read of them: what a
/// file has beyond the image's width is read as the start of the next row.
///
/// Both return true when the file was closed with all that belongs there. They return false, with no file
/// made and no pixel changed, for another `bytesPerPixel`, an image without memory or with pixels of another
/// size, and a file that cannot be opened; and false when reading or writing it fails.
class TESSELU_API FileIO {
public:
    /// Reads a file into the image. Without a byte for it alpha is 255. A file that is too short is no error:
    /// pixels that it lacks are those that stand above them, and 0 in the first row.
    static bool ReadRaw(const char* path, ULong32 width, ULong32 height, ULong32 bytesPerPixel,
                        ImageView& view);

    /// Writes the image to a file, which is made or replaced. With 3 bytes alpha is left out.
    static bool WriteRaw(const char* path, ULong32 width, ULong32 height, ULong32 bytesPerPixel,
                         ImageView& view);
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_FILEIO_H
