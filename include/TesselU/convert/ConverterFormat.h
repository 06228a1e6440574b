#ifndef TESSELU_CONVERT_CONVERTERFORMAT_H
#define TESSELU_CONVERT_CONVERTERFORMAT_H

namespace Zan {

/// The pixel formats that `ColorSpaceConverter` tells apart. All samples have 8 bits. The layouts are given
/// from the lowest address; "shaped" pictures carry colour that is already multiplied by alpha. YCrCb formats
/// have the video levels of ITU-R BT.601 (16 to 235 for luma, 16 to 240 for chroma) unless told otherwise.
///
/// The numbers are part of the interface.
enum ConverterFormat : int {
    kFmtRGB32 = 0,                ///< B, G, R, A, unshaped, levels 0 to 255
    kFmtCbYCrA = 1,               ///< Cb, Y, Cr, A, unshaped
    kFmtCbYCrY = 2,               ///< 4:2:2, Cb, Y0, Cr, Y1
    kFmtRGB32NarrowClamp = 3,     ///< B, G, R, A, black at 0 and white at 255, clamp levels inside
    kFmtRGB32Studio = 4,          ///< B, G, R, A, black, white and clamp levels inside 0 to 255
    kFmtRGB32StudioOpen = 5,      ///< B, G, R, A, black and white inside 0 to 255, clamp levels at its ends
    kFmtPlanar420 = 6,            ///< planes Y, Cb, Cr; chroma halved both ways; progressive
    kFmtPlanar422 = 7,            ///< planes Y, Cb, Cr; chroma at half width
    kFmtPlanar420Interlaced = 8,  ///< as `kFmtPlanar420`, a chroma line belongs to one field
    kFmtPlanar411 = 9,            ///< planes Y, Cb, Cr; chroma at quarter width
    kFmtRGB24 = 10,               ///< B, G, R, levels 0 to 255
    kFmtYCbYCr = 11,              ///< 4:2:2, Y0, Cb, Y1, Cr
    kFmtPlanarGrouped = 12,       ///< plane Y; plane of 8 Cb then 8 Cr for each 16 columns
    kFmtYCbCrA = 13,              ///< Y, Cb, Cr, A, unshaped, any levels
    kFmtRGB32Shaped = 14,         ///< as `kFmtRGB32`, shaped
    kFmtCbYCrAShaped = 15,        ///< as `kFmtCbYCrA`, shaped
    kFmtCbYCrY4Shaped = 16,       ///< as `kFmtCbYCrY4`, shaped
    kFmtCbYCrY4 = 17,             ///< 4:2:2:4: a `kFmtCbYCrY` plane, and alpha in a plane of its own
    kFmtCbYCrYMono = 18,          ///< as `kFmtCbYCrY`, every chroma sample 128
    kFmtCbYCrY4Mono = 19,         ///< as `kFmtCbYCrY4`, every chroma sample 128
    kFmtRGB32ShapedOpaque = 20,   ///< as `kFmtRGB32Shaped`, alpha full everywhere
    kFmtCbYCr24 = 21,             ///< Cb, Y, Cr
    kFmtCbYCrY4MonoShaped = 22,   ///< as `kFmtCbYCrY4Mono`, shaped
    kFmtYCbCrAShaped = 23,        ///< Y, Cb, Cr, A, shaped
    kFmtYCbCr24 = 24,             ///< Y, Cb, Cr
    kFmtAlpha8 = 25,              ///< a single alpha or grey plane
    kFmtUnknown = 100             ///< none of these
};

}  // namespace Zan

#endif  // TESSELU_CONVERT_CONVERTERFORMAT_H
