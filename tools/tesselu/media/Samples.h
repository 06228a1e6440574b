#ifndef TESSELU_TOOLS_MEDIA_SAMPLES_H
#define TESSELU_TOOLS_MEDIA_SAMPLES_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/Libav.h"

namespace tool {

// The sample formats of the library's converter: what they are called, how they lie in frames of libav, and
// how they lie in files without a header.

constexpr int kSampleFormats = 26;

/// All formats by their numbers.
std::vector<Zan::ConverterFormat> AllSamples();

/// What people call a format, the name that we use for it first; then the enumerator's.
const std::vector<std::string>& AliasesOf(Zan::ConverterFormat samples);
std::string NameOf(Zan::ConverterFormat samples);

/// The format of that name, enumerator (with or without "kFmt") or number; upper and lower case are one.
/// Throws `UsageError` naming the option.
Zan::ConverterFormat SamplesNamed(const std::string& option, const std::string& name);

/// The name is one that people call the format by, and not its enumerator or number.
bool IsAlias(const std::string& name, Zan::ConverterFormat samples);

/// "Cb Y0 Cr Y1; 16 to 235": bytes from the lowest address, or planes; levels; what else there is to say.
std::string LayoutOf(Zan::ConverterFormat samples);
/// Bytes of a pixel over all planes: 4, 3, 2, 1.5 or 1.
double BytesOfPixel(Zan::ConverterFormat samples);

bool IsRgb(Zan::ConverterFormat samples);
bool HasAlpha(Zan::ConverterFormat samples);
bool IsShaped(Zan::ConverterFormat samples);
/// How many lines must go together, chroma being shared: 1, 2 or 4.
unsigned LinesTogether(Zan::ConverterFormat samples);
/// A width must be a multiple of it: 1, 2, 4.
unsigned ColumnsTogether(Zan::ConverterFormat samples);

/// How such pictures go as frames of libav without a change of a sample: `AV_PIX_FMT_NONE` if they cannot.
AVPixelFormat FramesOf(Zan::ConverterFormat samples);
/// Frames of that kind go from 0 to 255 when we write them: RGB, and grey, which is alpha or a matte.
bool HasFullRange(AVPixelFormat frames);
/// The format whose pictures take the samples of such frames best; `interlaced` chooses between the two in
/// 4:2:0. Without alpha frames in full-rate YCrCb get it, full.
Zan::ConverterFormat SamplesOf(const AVFrame& frame, bool interlaced);
/// The picture can take the frame's samples one by one, at video levels if those count.
bool HoldsSamplesOf(const AVFrame& frame, Zan::ConverterFormat samples, unsigned width, unsigned height);

/// Both copy samples by their meaning; alpha that one side lacks is full on the other. The frame has 8 bits a
/// sample.
void CopyToFrame(const Zan::Image& picture, Zan::ConverterFormat samples, AVFrame& frame);
void CopyFromFrame(const AVFrame& frame, Zan::ConverterFormat samples, Zan::Image& picture);

/// Frames without a header: plane after plane, line after line, without padding.
std::size_t BytesOfFrame(Zan::ConverterFormat samples, unsigned width, unsigned height);
void CopyToBytes(const Zan::Image& picture, Zan::ConverterFormat samples, std::uint8_t* bytes);
void CopyFromBytes(const std::uint8_t* bytes, Zan::ConverterFormat samples, Zan::Image& picture);
/// A pixel format with as many bytes a frame, as which libav can read them.
AVPixelFormat CarrierOf(Zan::ConverterFormat samples);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_SAMPLES_H
