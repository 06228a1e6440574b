#ifndef TESSELU_GRADIENT_GRADIENTGENERATOR_H
#define TESSELU_GRADIENT_GRADIENTGENERATOR_H

#include <TesselU/foundation/Types.h>

/// Wipe maps by pattern number and soft masks, drawn into plain memory. Free functions without state.
namespace GradientGenerator {

/// The buffer that a map is drawn into, and how the pattern is to see it. Filled by the host, never written
/// by the library.
///
/// Hosts fill the record by its layout, which is that of the fields in this order: on 32-bit targets `pixels`
/// stands at byte 28 and the record has 44 bytes; where pointers have 64 bits, `pixels` stands at byte 32 and
/// the natural layout is larger. The least `structSize` is 44 on every target, as a version mark: the record
/// itself must always be a whole one of this declaration.
struct WgrGradientData {
    Zan::ULong32 structSize;       ///< size of the record as the caller knows it, at least 44
    Zan::ULong32 width;            ///< pixels per row, at least 8
    Zan::ULong32 height;           ///< rows, at least 8
    Zan::Long32 pitch;             ///< bytes from one row to the next, negative for an upside-down buffer
    Zan::ULong32 bitsPerSample;    ///< width of a sample in memory, 8 or 16
    Zan::ULong32 significantBits;  ///< bits of a sample that carry value, at most `bitsPerSample`
    Zan::ULong32 peakValue;        ///< sample that stands for 1.0, at most 2^`significantBits` - 1
    void* pixels;                  ///< first sample of the top row, at any address
    float aspectRatio;   ///< picture width over height as the pattern sees it; limited to 0.01...100. 1.0
                         ///< fills the buffer's shape
    float cellFraction;  ///< one repeat of a repeating pattern over the height; limited to 0.001...1
    Zan::ULong32 flags;  ///< bit 0: check everything, draw nothing
};

/// Draws the map of a wipe: a sample per pixel that says when the pixel changes. Samples of 16 bits have the
/// byte order of the machine.
///
/// `patternType` is a wipe code of SMPTE 258M: 1 to 74 edge and diagonal wipes, 101 to 131 shapes, 201 to 264
/// rotary, 301 to 353 matrix wipes. 501 to 504 draw one of each of these groups at random with `std::rand`,
/// 409 one of all four; the host seeds. A random choice may fall on a number without a generator.
///
/// Returns 0, or, tested in this order and with nothing drawn:
/// - 1: `data` is null
/// - 2: `structSize` is below 44
/// - 3: `bitsPerSample` is neither 8 nor 16
/// - 4: `significantBits` is above `bitsPerSample`, or `peakValue` above what it can hold
/// - 5: `width` or `height` is below 8, or `pitch` is shorter than a row
/// - 9: no generator for `patternType`
TESSELU_API int WgrGenerateGradient(WgrGradientData* data, Zan::ULong32 patternType);

/// The buffer that a mask is drawn into, and where. Filled by the host, never written by the library.
///
/// The first eight fields are those of `WgrGradientData`, and the layout follows the same rule: 64 bytes with
/// `aspectRatio` at byte 32 on 32-bit targets, the natural layout elsewhere; 64 is the least `structSize` on
/// every target.
struct WgrMaskData {
    Zan::ULong32 structSize;       ///< size of the record as the caller knows it, at least 64
    Zan::ULong32 width;            ///< pixels per row, at least 8
    Zan::ULong32 height;           ///< rows, at least 8
    Zan::Long32 pitch;             ///< bytes from one row to the next, negative for an upside-down buffer
    Zan::ULong32 bitsPerSample;    ///< width of a sample in memory, 8 or 16
    Zan::ULong32 significantBits;  ///< bits of a sample that carry value, at most `bitsPerSample`
    Zan::ULong32 peakValue;        ///< sample that stands for 1.0, at most 2^`significantBits` - 1
    void* pixels;                  ///< first sample of the top row, at any address
    float aspectRatio;             ///< limited to 0.01...100; no shape uses it
    Zan::ULong32 flags;            ///< bit 1: row 0 of a half plane is the last of the buffer
    float x0;                      ///< first point, in pixels from the left edge of the buffer
    float y0;                      ///< the same, from its top edge
    float x1;                      ///< second point
    float y1;                      ///< the same
    float softnessX;               ///< width of soft edges, limited to 0...1
    float softnessY;               ///< the same for the upper and lower edge of a rectangle
};

/// Draws a shape with soft edges. What counts of a pixel is its centre, at (x + 1/2, y + 1/2); coordinates
/// may lie outside of the buffer, and soft edges belong to the shape before it is cut to the buffer. Samples
/// are rounded to nearest.
///
/// `maskType` 1, half plane: `peakValue` on one side of the line through both points and 0 on the other. The
/// low side is on the left when the line runs downwards, and below when it runs to the right; exchanged
/// points exchange the sides. Between them the sample rises linearly with the distance from the line, over
/// `softnessX` times the larger of width and height, and no less than a pixel. The whole buffer is written.
///
/// `maskType` 2, rectangle between the points, in either order: `peakValue` times a ramp for each axis. The
/// soft band at the left and the right is b = `softnessX` * (x1 - x0) / 2 pixels wide, and a pixel whose
/// centre lies d inside of the nearer of both edges has the smaller of 1 and (d + 1/2) / (b + 1): a band of b
/// pixels passes b values between 0 and 1. Without softness all of the rectangle is at the peak. `softnessY`
/// in the same way.
///
/// `maskType` 3, ellipse inscribed in that rectangle: the smaller of 1 and (1 - r) / `softnessX` with r the
/// distance from the centre as a part of the radius, 0 from r = 1 on; without softness 1 inside.
///
/// Rectangle and ellipse write the pixels of the rectangle and no others.
///
/// Returns 0, or, tested in this order and with nothing drawn:
/// - 1: `data` is null
/// - 2: `structSize` is below 64
/// - 3: `bitsPerSample` is neither 8 nor 16
/// - 4: `significantBits` is above `bitsPerSample`, or `peakValue` above what it can hold
/// - 5: `width` or `height` is below 8, or `pitch` is shorter than a row
/// - 9: `maskType` is not 1, 2 or 3
TESSELU_API int WgrGenerateMask(WgrMaskData* data, Zan::ULong32 maskType);

/// Draws a pattern for a picture of 4:3 with twelve cells down its height, and writes it as a grey TGA file,
/// first row at the top. The file is made or replaced; it ends with the footer of TGA 2.0.
///
/// `bytesPerSample` is 1 or 2: samples of 8 bits up to 255 (image type 3), or of 16 bits, 14 of them
/// significant, up to 16320 (image type 0x23, which is not a standard one, and an extension area).
///
/// Returns 0, or
/// - 11: no memory for the pixels
/// - what `WgrGenerateGradient` returns, with no file made; 3 also for another `bytesPerSample`, and 5 for a
///   picture that a TGA file cannot tell: a side above 65535, or 4 gigabytes and more
/// - 10: the file cannot be opened or not be written to its end
TESSELU_API Zan::Long32 writeGradientPatternToTGAfile(const char* path, Zan::ULong32 patternType,
                                                      Zan::ULong32 width, Zan::ULong32 height,
                                                      Zan::ULong32 bytesPerSample);

}  // namespace GradientGenerator

#endif  // TESSELU_GRADIENT_GRADIENTGENERATOR_H
