#include "media/Writer.h"

#include "Errors.h"
#include "media/EncodedWriter.h"
#include "media/FileNames.h"
#include "media/PngSequenceWriter.h"
#include "media/RawWriter.h"
#include "media/SampleWriter.h"
#include "media/Samples.h"
#include "media/Y4mWriter.h"

namespace tool {
namespace {

constexpr const char* kRawFrames = "raw";  ///< of the samples that were asked for

/// The kind by option or name: one of `OutputKinds`, raw frames, a pixel format, or nothing.
std::string KindOf(const std::string& path, const OutputOptions& options) {
    if (!options.kind.empty()) {
        return options.kind;
    }
    if (path == kStandardStream) {
        return options.ofSamples ? kRawFrames : "y4m";
    }
    const std::string extension = ExtensionOf(path);
    for (const std::string& kind : OutputKinds()) {
        if (extension == "." + kind) {
            return kind;
        }
    }
    return options.ofSamples ? kRawFrames : "";
}

/// FFV1, in one container or another.
bool IsLossless(const std::string& kind) {
    return kind == "mkv" || kind == "mov";
}

/// What a kind holds of such pictures. `AV_PIX_FMT_NONE`: nothing.
AVPixelFormat StoredAs(const std::string& kind, Zan::ConverterFormat samples) {
    const AVPixelFormat frames = FramesOf(samples);
    switch (frames) {
        case AV_PIX_FMT_YUV422P:
        case AV_PIX_FMT_YUV420P:
            return kind != "png" ? frames : AV_PIX_FMT_NONE;
        case AV_PIX_FMT_YUV411P:
        case AV_PIX_FMT_YUV444P:
            return IsLossless(kind) || kind == "y4m" ? frames : AV_PIX_FMT_NONE;
        case AV_PIX_FMT_GRAY8:
            return kind != "mp4" ? frames : AV_PIX_FMT_NONE;
        case AV_PIX_FMT_YUVA422P:
        case AV_PIX_FMT_YUVA444P:
            return IsLossless(kind) ? frames : AV_PIX_FMT_NONE;
        case AV_PIX_FMT_BGRA:
            return IsLossless(kind) ? frames : kind == "png" ? AV_PIX_FMT_RGBA : AV_PIX_FMT_NONE;
        case AV_PIX_FMT_BGR24:
            return IsLossless(kind) ? AV_PIX_FMT_BGR0 : kind == "png" ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_NONE;
        default:
            return AV_PIX_FMT_NONE;
    }
}

bool IsNamedKind(const std::string& kind) {
    if (kind == kRawFrames) {
        return true;
    }
    for (const std::string& known : OutputKinds()) {
        if (kind == known) {
            return true;
        }
    }
    return false;
}

}  // namespace

const std::vector<std::string>& OutputKinds() {
    static const std::vector<std::string> kinds = {"mkv", "mov", "mp4", "y4m", "png"};
    return kinds;
}

void CheckOutputName(const std::string& path, const OutputOptions& options) {
    const std::string kind = KindOf(path, options);
    if (kind.empty()) {
        throw UsageError(
            options.option + " " + path +
            ": unknown kind of output; .mkv, .mov, .mp4, .y4m or .png with %04d in its name, or --to "
            "says what it is");
    }
    if (!IsNamedKind(kind)) {
        RawPixelFormat(options.kindOption, kind);
    }
    if (kind == "png" && !NumberedName::Is(path)) {
        throw UsageError(options.option + " " + path +
                         ": a PNG output needs one number in its name, such as out-%04d.png");
    }
}

bool HoldsAlpha(const std::string& path, const OutputOptions& options) {
    const std::string kind = KindOf(path, options);
    if (!IsNamedKind(kind)) {
        return (av_pix_fmt_desc_get(RawPixelFormat(options.kindOption, kind))->flags &
                AV_PIX_FMT_FLAG_ALPHA) != 0;
    }
    return kind == "png" || IsLossless(kind);
}

bool HoldsFullChroma(const std::string& path, const OutputOptions& options) {
    const std::string kind = KindOf(path, options);
    return kind == "png" || kind == "y4m" || IsLossless(kind);
}

bool IsSequenceOutput(const std::string& path, const OutputOptions& options) {
    return KindOf(path, options) == "png";
}

std::unique_ptr<Writer> OpenWriter(const std::string& path, const OutputOptions& options,
                                   const PictureFormat& format) {
    CheckOutputName(path, options);
    const std::string kind = KindOf(path, options);
    if (kind == kRawFrames) {
        return std::make_unique<SampleWriter>(path, format);
    }
    StoredFrames stored;
    if (format.samples && IsNamedKind(kind)) {
        stored = {*format.samples, StoredAs(kind, *format.samples)};
        if (stored.format == AV_PIX_FMT_NONE) {
            throw UsageError(options.option + " " + path + ": a " + kind + " output does not hold " +
                             AliasesOf(*format.samples)[0] + "; raw frames do (.raw, .yuv or -)");
        }
    } else if (format.hasFullChroma) {
        stored.format = format.hasAlpha ? AV_PIX_FMT_YUVA444P : AV_PIX_FMT_YUV444P;
    } else {
        stored.format = format.hasAlpha ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUV422P;
    }
    if (IsLossless(kind)) {
        return std::make_unique<EncodedWriter>(
            path, format, stored,
            kind == "mov" ? EncodedWriter::kLosslessQuickTime : EncodedWriter::kLosslessMatroska,
            options.threads);
    }
    if (kind == "mp4") {
        return std::make_unique<EncodedWriter>(path, format, stored, EncodedWriter::kH264Mp4,
                                               options.threads);
    }
    if (kind == "y4m") {
        return std::make_unique<Y4mWriter>(path, format, stored);
    }
    if (kind == "png") {
        return std::make_unique<PngSequenceWriter>(path, format, stored, options.first, options.threads);
    }
    return std::make_unique<RawWriter>(path, format, RawPixelFormat(options.kindOption, kind));
}

}  // namespace tool
