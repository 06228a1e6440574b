#ifndef TESSELU_IMAGE_IMAGEIMPORT_H
#define TESSELU_IMAGE_IMAGEIMPORT_H

#include <TesselU/foundation/Types.h>

/// Raw pixel files and plain memory: rows of pixels without a header, each pixel the first `bytesPerPixel` of
/// the bytes R, G, B, A. For an image there is `Zan::FileIO`.
///
/// `width` and `height` are those of the file, in pixels. `memory` holds `memoryHeight` rows of `memoryWidth`
/// words, B in the low byte, `pitch` bytes from one row to the next, taken in whole words. What lies outside
/// one of the two is left out, in the file, too: its rows hold as many pixels as are read of them, so a file
/// that is wider than the memory slides from row to row.
///
/// Both return true once the file is open, whatever becomes of it then. They return false, with no file made
/// and no word changed, for a `bytesPerPixel` that is not 1 to 4, for null, and when the file cannot be
/// opened.
class TESSELU_API ImageImport {
public:
    /// Bytes that a pixel has not, or that a short file lacks, are 0.
    static bool FileReadRaw(const char* path, Zan::ULong32 width, Zan::ULong32 height,
                            Zan::ULong32 bytesPerPixel, Zan::ULong32* memory, Zan::ULong32 memoryWidth,
                            Zan::ULong32 memoryHeight, Zan::ULong32 pitch);

    /// Makes or replaces the file.
    static bool FileWriteRaw(const char* path, Zan::ULong32 width, Zan::ULong32 height,
                             Zan::ULong32 bytesPerPixel, Zan::ULong32* memory, Zan::ULong32 memoryWidth,
                             Zan::ULong32 memoryHeight, Zan::ULong32 pitch);
};

#endif  // TESSELU_IMAGE_IMAGEIMPORT_H
