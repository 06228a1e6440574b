#ifndef TESSELU_FILTER_NOISEREDUCTION_H
#define TESSELU_FILTER_NOISEREDUCTION_H

#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

/// Cleans video that the host holds as plain memory.
///
/// The object keeps no pictures: the host hands over the frames of each call, in the order of time, with the
/// one to be cleaned in the middle. Only noise levels live from call to call. Sizes are in pixels, pitches in
/// bytes; memory is trusted. An object serves one thread at a time; copying copies all levels.
class TESSELU_API NoiseReduction {
public:
    /// What becomes of the fractions of the three channels of a pixel, each from 0 (detail) to 1 (noise).
    enum AlphaControlEnum : int {
        kAlphaMinimum = 0,  ///< each is multiplied by its channel's weight; the smallest serves all channels
        kAlphaMaximum = 1,  ///< the same, the largest
        kAlphaWeightedSum = 2,  ///< the sum of the three products serves all; in implementations 2 and 3 only
        // Any other value: each channel keeps its own fraction, without a weight.
    };

    /// Levels are 0, and stay as they are set.
    NoiseReduction() = default;

    /// Whether what implementation 3 measures becomes the newest of the three levels.
    void AutomaticNoiseLevelAdjustment(bool enable);

    /// Sets all three levels, newest to oldest, of three channels, in code values. A level of 255 and more,
    /// or one that is not a number, is dropped: it becomes 0. Which channel is which follows from the
    /// implementation that is called next.
    void SetBaseNoiseLevel(float* levels);

    /// Writes four floats: what implementation 3 measured last, and a 0.
    void GetMeasuredNoiseLevel(float* levels);

    /// Moves each sample towards the mean of a window around it, the further the more the window looks like
    /// noise.
    ///
    /// `frames` are `windowFrames` pictures of one size and pitch; `dst` must be none of them. The window
    /// holds n = `windowWidth` * `windowHeight` * `windowFrames` samples around pixel (x, y) of the middle
    /// frame. N[c], the noise level of channel c, is the mean of the three levels, limited to 0...255, plus
    /// 0.5, truncated. For each channel c:
    ///
    ///     mean = the mean of the window, to the nearest whole number
    ///     dev = the mean of the absolute differences from it, likewise
    ///     fraction = 0 if N is 0, N / dev if N is below dev, else 1
    ///     keep = (1 - fraction) * detailStrength, at most 1
    ///     result = (1 - keep) * mean + keep * centre + 0.5, truncated, limited to 0...255
    ///
    /// where `alphaControl` may put one fraction, limited to 0...1, in place of all three. With
    /// `limitToNoiseLevel`, a result that lies further than N from the centre sample is brought to N from it.
    /// Arithmetic is in doubles, from left to right.
    ///
    /// `channelWeights` are three, or null for 1.0 each; with `kAlphaWeightedSum` where that counts, null
    /// means 0.4, 0.2, 0.2.
    ///
    /// `pixelFormat` 0: four 8-bit samples in each 32-bit word. Channel c is sample c; sample 3 is copied.
    /// Positions outside of the picture count as samples of 0, which darkens the borders. `implementation` is
    /// ignored, and `kAlphaWeightedSum` is as any other value.
    ///
    /// `pixelFormat` 2: packed 4:2:2 (Cb Y0 Cr Y1). Positions outside are those of the nearest edge. The
    /// chroma of a pair is that of its even pixel; the luma of an odd pixel has its own window and its own
    /// fractions. An odd width leaves the even luma in both lumas of the last word. `implementation`:
    /// - 0 and 1: channels 0, 1, 2 are luma, Cb, Cr.
    /// - 2: the same, with `kAlphaWeightedSum`.
    /// - 3: for real time, in single precision: channels 0, 1, 2 are Cb, luma, Cr, for levels, weights and
    /// what
    ///   is measured. dev is the sum of differences times the single-precision 1 / n, not rounded; fraction
    ///   is N / max(dev, N), so that with N = 0 it is not a number in a window without any difference: the
    ///   result is then 0, before the limit. Weights and `detailStrength` are rounded to single precision
    ///   once; nothing is fused. It measures: the three dev of the last pixel in reading order with 5 < x <
    ///   width - 5 and 5 < y < height - 5, at most 255; on a smaller picture they are 255. With automatic
    ///   adjustment they then become the newest level of each channel; also a call of this format and
    ///   implementation that is refused moves the levels on.
    ///
    /// Statuses: 0; -1: `pixelFormat` is neither 0 nor 2, or `frames` or `dst` is null; then -2: a size of
    /// the window is even; then 100: `pixelFormat` is 2 and `implementation` above 3.
    Long32 DoFilterSSF(ULong32** frames, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                       ULong32 dstPitch, double* channelWeights, ULong32 windowWidth, ULong32 windowHeight,
                       ULong32 windowFrames, AlphaControlEnum alphaControl, bool limitToNoiseLevel,
                       double detailStrength, ULong32 pixelFormat, ULong32 implementation);

    /// A weighted mean of three frames of packed 4:2:2 where they agree, the middle one where they differ,
    /// and a linear fade between two thresholds.
    ///
    /// Of the bytes a, b and c of `previous`, `current` and `next`, in doubles and from left to right:
    ///
    ///     filtered = frameWeights[0] * a + frameWeights[1] * b + frameWeights[2] * c, limited to 0...255
    ///     m = (motion - lowThreshold) / (highThreshold - lowThreshold)
    ///     motion not above lowThreshold: filtered + 0.5, truncated
    ///     else below highThreshold: filtered * (1 - m) + b * m + 0.5, truncated
    ///     else: b
    ///
    /// `motion` is the largest of |b - a| and |b - c| in bytes 0, 1 and 2 of the word, each times the weight
    /// of its byte, truncated. Byte 3, the odd pixel's luma, goes by its own two differences, times the
    /// weight of luma. `frameWeights` are three, or null for 0.3333333333333333 each; `channelWeights` are
    /// those of Cb, luma and Cr, or null for 1.0 each.
    ///
    /// Words are made for whole pairs of pixels: the last column of an odd width is not written. `dst` may be
    /// one of the frames. `unused` is not read.
    ///
    /// Statuses: 0; -1: one of the four pictures is null.
    Long32 DoFilterSAT(ULong32* previous, ULong32* current, ULong32* next, ULong32* dst, ULong32 width,
                       ULong32 height, ULong32 srcPitch, ULong32 dstPitch, unsigned char lowThreshold,
                       unsigned char highThreshold, double* frameWeights, double* channelWeights,
                       ULong32 unused);

    /// Does nothing and returns 0.
    Long32 DoFilterPureMedian(ULong32*, ULong32*, ULong32, ULong32, ULong32, ULong32, ULong32, ULong32,
                              ULong32);

private:
    bool automaticNoiseLevel = false;
    float measuredNoiseLevel[4] = {};
    float noiseLevelHistory[3][4] = {};  // newest first
};

}  // namespace Zan

#endif  // TESSELU_FILTER_NOISEREDUCTION_H
