#ifndef TESSELU_IMAGE_IMAGEFORMAT_H
#define TESSELU_IMAGE_IMAGEFORMAT_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/ProcessingStyle.h>

/// \file
/// The vocabulary of picture formats. All enumerations have 32 bits and fixed values: hosts store them.
/// `WorkAround64KaliasEnum` stands beside `AlignedMemoryBuffer`, `ProcessingStyleEnum` and
/// `CPUinstructionSetEnum` in foundation/ProcessingStyle.h.

namespace Zan {

/// What the samples of a picture mean.
enum ColorSpaceEnum : int {
    kRGB = 0,          ///< red, green, blue samples
    kYCrCb = 1,        ///< luma and two colour-difference samples
    kColorSpace2 = 2,  ///< no meaning; an image of it has neither channels nor memory
    kAlphaOnly = 3     ///< a single alpha or grey channel
};

/// Sampling of the whole image.
enum AggregateChannelSamplingEnum : int {
    k4444 = 0,  ///< four channels, all at full rate, alpha included
    k444 = 1,   ///< three channels at full rate, no alpha
    k422 = 2,   ///< chroma at half rate horizontally
    k4224 = 3,  ///< as `k422`, with a full-rate alpha plane in a buffer of its own, always channel 3
    k420 = 4,   ///< chroma at half rate in both directions
    k411 = 5    ///< chroma at quarter rate horizontally
};

/// Sampling of one channel against the image.
enum ChannelSamplingEnum : int {
    kFullSampling = 0,       ///< full width, full height: one sample a pixel
    kHalfHorizontal = 1,     ///< half width, full height: 0.5 samples a pixel
    kQuarterHorizontal = 2,  ///< quarter width, full height: 0.25 samples a pixel
    kHalfBoth = 3            ///< half width, half height: 0.25 samples a pixel
};

/// The order of samples in memory, given from the lowest address.
enum ComponentOrderEnum : int {
    /// RGB and alpha-only images: B, G, R, A per pixel, or B, G, R with `k444`. Channel 0 is blue, 1 green,
    /// 2 red, 3 alpha.
    kBGRA = 0,
    /// YCrCb: Cb, Y, Cr, A per pixel with `k4444`; Cb, Y, Cr with `k444`; Cb, Y0, Cr, Y1 per pixel pair with
    /// `k422` and `k4224`. Channel 0 is Cb, 1 is Y, 2 is Cr, 3 alpha.
    kCbYCrA = 1,
    /// YCrCb packed 4:2:2 with luma first: Y0, Cb, Y1, Cr. Channel 0 is Y, 1 is Cb, 2 is Cr.
    kYCbYCr = 2,
    /// Three planes: Y, Cb, Cr in channels 0, 1, 2.
    kYCbCrPlanes = 3,
    /// Two planes: Y in channel 0, and one plane of chroma that holds channels 1 and 2 in groups: 8 bytes of
    /// Cb, then 8 bytes of Cr for each run of 16 luma columns.
    kYPlaneCbCrPlane = 4,
    /// YCrCb packed: Y, Cb, Cr, A per pixel with `k4444`; Y, Cb, Cr with `k444`. Channel 0 is Y, 1 is Cb,
    /// 2 is Cr, 3 alpha.
    kYCbCrA = 5
};

/// Whether the samples of a pixel lie together.
enum PixelPackingEnum : int {
    kPacked = 0,  ///< in one buffer; with `k4224` the alpha plane is still separate
    kPlanar = 1   ///< each channel, or channel group, in a buffer of its own
};

/// How the lines of a picture were scanned.
enum ScanStyleEnum : int {
    kProgressive = 0,      ///< in one pass
    kUpperFieldFirst = 1,  ///< interlaced, the field that holds the top line came first in time
    kLowerFieldFirst = 2   ///< interlaced, the other field came first
};

/// How the fields of a frame lie in memory.
enum FieldPackingEnum : int {
    kInterleavedFields = 0,  ///< in alternate lines of one buffer
    kFieldPacking1 = 1,      ///< no meaning; operations that look at this field refuse it
    kNoFields = 2            ///< no field structure
};

/// Which line of the picture comes first in memory.
enum OriginEnum : int {
    kTopLeft = 0,    ///< the top line
    kBottomLeft = 1  ///< the bottom line; a view walks the buffer backwards
};

/// The part of an interlaced frame that a view selects.
enum WhichFieldEnum : int {
    kFrame = 0,        ///< the whole frame
    kFirstField = 1,   ///< the field first in time
    kSecondField = 2,  ///< the field second in time
    kUpperField = 3,   ///< the even lines, counted from 0 at the top of the buffer
    kLowerField = 4    ///< the odd lines
};

/// Whether colour samples are multiplied by alpha (premultiplied).
enum ShapedEnum : int {
    kUnshaped = 0,  ///< not multiplied
    kShaped = 1,    ///< multiplied
    kShaped2 = 2    ///< only `ZanCompositor::AoverB` asks for it
};

/// What the alpha channel of a picture holds.
enum AlphaDescriptionEnum : int {
    kAlphaVarying = 0,     ///< real, varying data
    kNoAlpha = 1,          ///< no alpha to look at
    kAlphaOpaque = 2,      ///< full everywhere, so that shaped and unshaped data are the same
    kAlphaTransparent = 3  ///< zero everywhere
};

/// Bits of one sample.
enum AggregateBitsPerChannelEnum : int {
    k8BitsDefault = 0,  ///< 8 bits, as left by constructors without such an argument
    k8Bits = 1,         ///< 8 bits
    k16Bits = 2,        ///< 16 bits; only RGB `k4444` and `kAlphaOnly` honour it
    k32Bits = 4         ///< 32 bits; only RGB `k4444` and `kAlphaOnly` honour it
};

/// Gamma of one channel. Kept with the channel, read by no operation.
enum GammaCorrectionEnum : int {
    kGammaNone = 0,  ///< alpha channels
    kGammaVideo = 1  ///< colour channels
};

/// What a picture shows.
enum ColorEnum : int {
    kFullColor = 0,  ///< an ordinary colour picture
    kBlack = 1,      ///< its colour samples are black
    kColor2 = 2,     ///< no meaning
    kMonochrome = 3  ///< its chroma is neutral; a conversion into it writes 128 to every chroma sample
};

/// A note of the host's about the memory of a picture. Kept, and read by no operation; any value may be
/// stored.
enum MemoryTypeEnum : int {
    kMemoryType0 = 0  ///< the default
};

/// The curves of `LookUpTable::SetLUTtoGammaCorrect`.
enum TypeOfGamma : int {
    kGammaIdentity = 0,     ///< output equals input
    kGammaPower = 1,        ///< power curve, exponent 1.0
    kGammaVideoEncode = 2,  ///< linear to encoded video, exponent 0.45; inputs beyond [0, 1] pass unchanged
    kGammaVideoDecode = 3,  ///< its inverse, exponent 1/0.45
    kGammaVideoEncodeOpenRange = 4,  ///< `kGammaVideoEncode` without the upper limit
    kGammaVideoDecodeOpenRange = 5   ///< `kGammaVideoDecode` without the upper limit
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_IMAGEFORMAT_H
