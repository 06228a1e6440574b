#include "media/Samples.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <optional>

#include "Errors.h"
#include "convert/Formats.h"
#include "media/Picture.h"

namespace tool {
namespace {

using Zan::ConverterFormat;
using Zan::FormatRecord;

const FormatRecord& RecordOf(ConverterFormat samples) {
    return Zan::Formats()[static_cast<std::size_t>(samples)];
}

// By number. Names that the field gives to several layouts (yuva, ayuv, yv12 ...) are none of ours.
const std::array<std::vector<std::string>, kSampleFormats> kAliases = {{
    {"bgra", "bgra32", "rgb32"},
    {"v408", "cbycra"},
    {"uyvy", "uyvy422", "2vuy"},
    {"bgra-narrow"},
    {"bgra-studio"},
    {"bgra-studio-open"},
    {"i420", "yuv420p"},
    {"i422", "yuv422p"},
    {"i420-interlaced"},
    {"i411", "yuv411p"},
    {"bgr24", "bgr"},
    {"yuy2", "yuyv", "yuyv422"},
    {"grouped"},
    {"ycbcra"},
    {"bgra-shaped", "bgra-premultiplied"},
    {"v408-shaped", "cbycra-shaped"},
    {"uyva-shaped", "uyvy-alpha-shaped"},
    {"uyva", "uyvy-alpha"},
    {"uyvy-mono"},
    {"uyva-mono"},
    {"bgra-opaque"},
    {"iyu2", "cbycr24"},
    {"uyva-mono-shaped"},
    {"ycbcra-shaped"},
    {"ycbcr24"},
    {"gray8", "gray", "grey", "y800"},
}};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

constexpr const char* kPrefix = "kfmt";

/// Where a component (Y, Cb, Cr, A or R, G, B, A) of the pictures of a format lies.
struct SamplePlace {
    Zan::ULong32 channel = 0;  ///< that begins the plane
    int step = 0;              ///< bytes from sample to sample; 0: there is none
    int offset = 0;
    int log2Width = 0, log2Height = 0;  ///< of columns and lines that share one
};
using SamplePlaces = std::array<SamplePlace, 4>;

/// Nothing for the grouped chroma plane, which no frame has.
std::optional<SamplePlaces> PlacesOf(ConverterFormat samples) {
    const FormatRecord& record = RecordOf(samples);
    SamplePlaces places;
    const auto set = [&places](std::size_t component, SamplePlace place) { places[component] = place; };
    const int step = record.bytes;
    if (record.space == Zan::kAlphaOnly) {
        set(0, {0, 1, 0});
        return places;
    }
    if (record.space == Zan::kRGB) {
        for (int i = 0; i < 3; ++i) {
            set(static_cast<std::size_t>(i), {0, step, 2 - i});
        }
        if (record.sampling == Zan::k4444) {
            set(3, {0, step, 3});
        }
        return places;
    }
    if (record.packing == Zan::kPlanar) {
        if (record.order != Zan::kYCbCrPlanes) {
            return std::nullopt;
        }
        const int across = record.sampling == Zan::k411 ? 2 : 1, down = record.sampling == Zan::k420 ? 1 : 0;
        set(0, {0, 1, 0});
        set(1, {1, 1, 0, across, down});
        set(2, {2, 1, 0, across, down});
        return places;
    }
    if (record.sampling == Zan::k422 || record.sampling == Zan::k4224) {
        const int luma = record.order == Zan::kYCbYCr ? 0 : 1;
        set(0, {0, 2, luma});
        set(1, {0, 4, 1 - luma, 1});
        set(2, {0, 4, 3 - luma, 1});
        if (record.sampling == Zan::k4224) {
            set(3, {kAlphaChannel, 1, 0});
        }
        return places;
    }
    const bool lumaFirst = record.order == Zan::kYCbCrA;
    set(0, {0, step, lumaFirst ? 0 : 1});
    set(1, {0, step, lumaFirst ? 1 : 0});
    set(2, {0, step, 2});
    if (record.sampling == Zan::k4444) {
        set(3, {0, step, 3});
    }
    return places;
}

/// Samples of one component in a plane: columns `step` bytes apart.
struct Samples {
    std::uint8_t* first = nullptr;
    std::ptrdiff_t pitch = 0;
    int step = 0;
};

void CopySamples(const Samples& from, const Samples& to, int columns, int lines) {
    for (int y = 0; y < lines; ++y) {
        const std::uint8_t* in = from.first + y * from.pitch;
        std::uint8_t* out = to.first + y * to.pitch;
        if (from.step == 1 && to.step == 1) {
            std::memcpy(out, in, static_cast<std::size_t>(columns));
            continue;
        }
        for (int x = 0; x < columns; ++x, in += from.step, out += to.step) {
            *out = *in;
        }
    }
}

void FillSamples(const Samples& to, int columns, int lines, std::uint8_t value) {
    for (int y = 0; y < lines; ++y) {
        std::uint8_t* out = to.first + y * to.pitch;
        for (int x = 0; x < columns; ++x, out += to.step) {
            *out = value;
        }
    }
}

Samples SamplesIn(const Zan::Image& picture, const SamplePlace& place) {
    return {Line(picture, 0, place.channel) + place.offset,
            static_cast<std::ptrdiff_t>(picture.GetPitch(place.channel)), place.step};
}

/// Of component `i` of a frame; no step if it has none.
Samples SamplesIn(const AVFrame& frame, std::size_t i) {
    const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool isGrey = about.nb_components <= 2;
    const bool hasAlpha = (about.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    std::size_t component = i;
    if (i == 3) {
        if (!hasAlpha) {
            return {};
        }
        component = static_cast<std::size_t>(about.nb_components) - 1;
    } else if (isGrey && i != 0) {
        return {};
    }
    const AVComponentDescriptor& place = about.comp[component];
    return {frame.data[place.plane] + place.offset, frame.linesize[place.plane], place.step};
}

int Shifted(unsigned size, int log2) {
    return static_cast<int>((size + (1U << log2) - 1) >> log2);
}

/// Runs `copy(frame's, picture's, columns, lines)` over all components that the picture has.
template <class Copy>
void ForEachComponent(const Zan::Image& picture, ConverterFormat samples, const AVFrame& frame, Copy copy) {
    const std::optional<SamplePlaces> places = PlacesOf(samples);
    if (!places) {
        throw Failure(NameOf(samples) + ": no frames of libav have such samples");
    }
    for (std::size_t i = 0; i < places->size(); ++i) {
        const SamplePlace& place = (*places)[i];
        copy(SamplesIn(frame, i), place.step != 0 ? SamplesIn(picture, place) : Samples{},
             Shifted(picture.GetWidth(), place.log2Width), Shifted(picture.GetHeight(), place.log2Height));
    }
}

/// Calls `take(line, bytes)` for each line of each plane.
template <class Take>
void ForEachLine(const Zan::Image& picture, ConverterFormat samples, Take take) {
    const FormatRecord& record = RecordOf(samples);
    for (const Zan::simd::PlaneUse& use : record.planes) {
        // The two channels of grouped chroma are one plane.
        if (record.order == Zan::kYPlaneCbCrPlane && use.index == 2) {
            continue;
        }
        const std::size_t bytes = use.RowBytes(picture.GetWidth());
        const unsigned lines = use.halfHeight ? (picture.GetHeight() + 1) / 2 : picture.GetHeight();
        for (unsigned y = 0; y < lines; ++y) {
            take(Line(picture, y, static_cast<Zan::ULong32>(use.index)), bytes);
        }
    }
}

}  // namespace

std::vector<ConverterFormat> AllSamples() {
    std::vector<ConverterFormat> all;
    for (const FormatRecord& record : Zan::Formats()) {
        all.push_back(record.code);
    }
    return all;
}

const std::vector<std::string>& AliasesOf(ConverterFormat samples) {
    return kAliases.at(static_cast<std::size_t>(samples));
}

std::string NameOf(ConverterFormat samples) {
    return RecordOf(samples).name;
}

bool IsAlias(const std::string& name, ConverterFormat samples) {
    const std::vector<std::string>& aliases = AliasesOf(samples);
    return std::find(aliases.begin(), aliases.end(), Lower(name)) != aliases.end();
}

ConverterFormat SamplesNamed(const std::string& option, const std::string& name) {
    const std::string wanted = Lower(name);
    for (const ConverterFormat samples : AllSamples()) {
        const std::string enumerator = Lower(NameOf(samples));
        if (wanted == enumerator || kPrefix + wanted == enumerator ||
            wanted == std::to_string(static_cast<int>(samples)) || IsAlias(wanted, samples)) {
            return samples;
        }
    }
    throw UsageError(option + " " + name + ": no such sample format; 'tesselu formats' lists them");
}

std::string LayoutOf(ConverterFormat samples) {
    using Levels = FormatRecord::Levels;
    const FormatRecord& record = RecordOf(samples);
    std::string text;
    if (record.space == Zan::kAlphaOnly) {
        return "one plane of grey or alpha";
    }
    const bool isPair = record.sampling == Zan::k422 || record.sampling == Zan::k4224;
    if (record.space == Zan::kRGB) {
        text = record.sampling == Zan::k4444 ? "B G R A" : "B G R";
    } else if (record.packing == Zan::kPlanar) {
        text = record.order == Zan::kYPlaneCbCrPlane ? "plane Y, plane of 8 Cb then 8 Cr for each 16 columns"
               : record.sampling == Zan::k420        ? "planes Y, Cb, Cr, chroma halved both ways"
               : record.sampling == Zan::k411        ? "planes Y, Cb, Cr, chroma of a quarter of the width"
                                                     : "planes Y, Cb, Cr, chroma of half the width";
    } else if (isPair) {
        text = record.order == Zan::kYCbYCr ? "Y0 Cb Y1 Cr" : "Cb Y0 Cr Y1";
        text += record.sampling == Zan::k4224 ? ", plane of alpha" : "";
    } else {
        text = record.order == Zan::kYCbCrA ? "Y Cb Cr" : "Cb Y Cr";
        text += record.sampling == Zan::k4444 ? " A" : "";
    }
    switch (record.levels) {
        case Levels::kExtreme:
            text += "; 0 to 255";
            break;
        case Levels::kFullNarrowClamp:
            text += "; 0 to 255, clamped inside";
            break;
        case Levels::kStudio:
            text += "; 16 to 235, clamped";
            break;
        case Levels::kStudioOpenClamp:
            text += "; 16 to 235, beyond kept";
            break;
        default:
            break;
    }
    if (samples == Zan::kFmtPlanar420Interlaced) {
        text += "; a line of chroma belongs to one field";
    }
    if (record.content == FormatRecord::Content::kOnlyMonochrome) {
        text += "; chroma 128";
    }
    if (IsShaped(samples)) {
        text += samples == Zan::kFmtRGB32ShapedOpaque ? "; alpha 255" : "; multiplied by alpha";
    }
    return text;
}

double BytesOfPixel(ConverterFormat samples) {
    const FormatRecord& record = RecordOf(samples);
    double bytes = 0;
    for (const Zan::simd::PlaneUse& use : record.planes) {
        if (record.order != Zan::kYPlaneCbCrPlane || use.index != 2) {
            bytes += static_cast<double>(use.bytesPer16) / (use.halfHeight ? 32 : 16);
        }
    }
    return bytes;
}

bool IsRgb(ConverterFormat samples) {
    return RecordOf(samples).space == Zan::kRGB;
}

bool HasAlpha(ConverterFormat samples) {
    const FormatRecord& record = RecordOf(samples);
    return record.space != Zan::kAlphaOnly &&
           (record.sampling == Zan::k4444 || record.sampling == Zan::k4224) &&
           samples != Zan::kFmtRGB32ShapedOpaque;
}

bool IsShaped(ConverterFormat samples) {
    return RecordOf(samples).shaping == FormatRecord::Shaping::kOnlyShaped;
}

unsigned LinesTogether(ConverterFormat samples) {
    return samples == Zan::kFmtPlanar420Interlaced ? 4 : samples == Zan::kFmtPlanar420 ? 2 : 1;
}

unsigned ColumnsTogether(ConverterFormat samples) {
    return RecordOf(samples).sampling == Zan::k411 ? 4 : 1;
}

AVPixelFormat FramesOf(ConverterFormat samples) {
    switch (samples) {
        case Zan::kFmtRGB32:
        case Zan::kFmtRGB32ShapedOpaque:
            return AV_PIX_FMT_BGRA;
        case Zan::kFmtCbYCrA:
        case Zan::kFmtYCbCrA:
            return AV_PIX_FMT_YUVA444P;
        case Zan::kFmtCbYCrY:
        case Zan::kFmtYCbYCr:
        case Zan::kFmtCbYCrYMono:
        case Zan::kFmtPlanar422:
            return AV_PIX_FMT_YUV422P;
        case Zan::kFmtPlanar420:
        case Zan::kFmtPlanar420Interlaced:
            return AV_PIX_FMT_YUV420P;
        case Zan::kFmtPlanar411:
            return AV_PIX_FMT_YUV411P;
        case Zan::kFmtRGB24:
            return AV_PIX_FMT_BGR24;
        case Zan::kFmtCbYCrY4:
        case Zan::kFmtCbYCrY4Mono:
            return AV_PIX_FMT_YUVA422P;
        case Zan::kFmtCbYCr24:
        case Zan::kFmtYCbCr24:
            return AV_PIX_FMT_YUV444P;
        case Zan::kFmtAlpha8:
            return AV_PIX_FMT_GRAY8;
        default:
            // Shaped samples, studio RGB and grouped chroma are nothing that frames can say of themselves.
            return AV_PIX_FMT_NONE;
    }
}

bool HasFullRange(AVPixelFormat frames) {
    return frames == AV_PIX_FMT_GRAY8 || (av_pix_fmt_desc_get(frames)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

ConverterFormat SamplesOf(const AVFrame& frame, bool interlaced) {
    const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool hasAlpha = (about.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    if ((about.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0) {
        return hasAlpha ? Zan::kFmtRGB32 : Zan::kFmtRGB24;
    }
    if (about.nb_components <= 2) {
        return Zan::kFmtAlpha8;
    }
    const int across = about.log2_chroma_w, down = about.log2_chroma_h;
    if (hasAlpha) {
        return across == 1 && down == 0 ? Zan::kFmtCbYCrY4 : Zan::kFmtCbYCrA;
    }
    if (across == 1 && down == 1) {
        return interlaced ? Zan::kFmtPlanar420Interlaced : Zan::kFmtPlanar420;
    }
    if (across == 0 && down == 0) {
        return Zan::kFmtCbYCrA;
    }
    if (across == 2 && down == 0 && frame.width % 4 == 0) {
        return Zan::kFmtPlanar411;
    }
    return frame.format == AV_PIX_FMT_UYVY422   ? Zan::kFmtCbYCrY
           : frame.format == AV_PIX_FMT_YUYV422 ? Zan::kFmtYCbYCr
                                                : Zan::kFmtPlanar422;
}

bool HoldsSamplesOf(const AVFrame& frame, ConverterFormat samples, unsigned width, unsigned height) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor& about = *av_pix_fmt_desc_get(format);
    constexpr std::uint64_t kOther = AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL |
                                     AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
    const std::optional<SamplePlaces> places = PlacesOf(samples);
    if (!places || (about.flags & kOther) != 0 || frame.width != static_cast<int>(width) ||
        frame.height != static_cast<int>(height) ||
        IsRgb(samples) != ((about.flags & AV_PIX_FMT_FLAG_RGB) != 0)) {
        return false;
    }
    for (int i = 0; i < about.nb_components; ++i) {
        if (about.comp[i].depth != 8 || about.comp[i].shift != 0) {
            return false;
        }
    }
    const bool isGrey = about.nb_components <= 2;
    if (isGrey || samples == Zan::kFmtAlpha8) {
        return isGrey && samples == Zan::kFmtAlpha8;
    }
    return (*places)[1].log2Width == about.log2_chroma_w && (*places)[1].log2Height == about.log2_chroma_h;
}

void CopyToFrame(const Zan::Image& picture, ConverterFormat samples, AVFrame& frame) {
    // The byte beside three components says nothing.
    if (frame.format == AV_PIX_FMT_BGR0) {
        for (int y = 0; y < frame.height; ++y) {
            std::memset(frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0], 255,
                        static_cast<std::size_t>(frame.width) * 4);
        }
    }
    ForEachComponent(picture, samples, frame,
                     [](const Samples& ofFrame, const Samples& ofPicture, int columns, int lines) {
                         if (ofFrame.step != 0 && ofPicture.step != 0) {
                             CopySamples(ofPicture, ofFrame, columns, lines);
                         } else if (ofFrame.step != 0) {
                             FillSamples(ofFrame, columns, lines, 255);
                         }
                     });
}

void CopyFromFrame(const AVFrame& frame, ConverterFormat samples, Zan::Image& picture) {
    ForEachComponent(picture, samples, frame,
                     [](const Samples& ofFrame, const Samples& ofPicture, int columns, int lines) {
                         if (ofFrame.step != 0 && ofPicture.step != 0) {
                             CopySamples(ofFrame, ofPicture, columns, lines);
                         } else if (ofPicture.step != 0) {
                             FillSamples(ofPicture, columns, lines, 255);
                         }
                     });
}

std::size_t BytesOfFrame(ConverterFormat samples, unsigned width, unsigned height) {
    const FormatRecord& record = RecordOf(samples);
    std::size_t bytes = 0;
    for (const Zan::simd::PlaneUse& use : record.planes) {
        if (record.order != Zan::kYPlaneCbCrPlane || use.index != 2) {
            bytes += use.RowBytes(width) * (use.halfHeight ? (height + 1) / 2 : height);
        }
    }
    return bytes;
}

void CopyToBytes(const Zan::Image& picture, ConverterFormat samples, std::uint8_t* bytes) {
    ForEachLine(picture, samples, [&bytes](const std::uint8_t* line, std::size_t count) {
        std::memcpy(bytes, line, count);
        bytes += count;
    });
}

void CopyFromBytes(const std::uint8_t* bytes, ConverterFormat samples, Zan::Image& picture) {
    ForEachLine(picture, samples, [&bytes](std::uint8_t* line, std::size_t count) {
        std::memcpy(line, bytes, count);
        bytes += count;
    });
}

AVPixelFormat CarrierOf(ConverterFormat samples) {
    const FormatRecord& record = RecordOf(samples);
    if (record.space == Zan::kAlphaOnly) {
        return AV_PIX_FMT_GRAY8;
    }
    switch (record.sampling) {
        case Zan::k4444:
            return AV_PIX_FMT_BGRA;
        case Zan::k444:
            return AV_PIX_FMT_BGR24;
        case Zan::k4224:
            return AV_PIX_FMT_YUV444P;
        case Zan::k420:
            return AV_PIX_FMT_YUV420P;
        case Zan::k411:
            return AV_PIX_FMT_YUV411P;
        default:
            return record.packing == Zan::kPlanar ? AV_PIX_FMT_YUV422P : AV_PIX_FMT_UYVY422;
    }
}

}  // namespace tool
