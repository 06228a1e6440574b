#include "media/Writer.h"

#include "Errors.h"
#include "media/EncodedWriter.h"
#include "media/FileNames.h"
#include "media/PngSequenceWriter.h"
#include "media/RawWriter.h"
#include "media/Y4mWriter.h"

namespace tool {
namespace {

/// The kind by option or name: one of `OutputKinds`, a pixel format, or nothing.
std::string KindOf(const std::string& path, const OutputOptions& options) {
    if (!options.kind.empty()) {
        return options.kind;
    }
    if (path == kStandardStream) {
        return "y4m";
    }
    const std::string extension = ExtensionOf(path);
    for (const std::string& kind : OutputKinds()) {
        if (extension == "." + kind) {
            return kind;
        }
    }
    return "";
}

bool IsNamedKind(const std::string& kind) {
    for (const std::string& known : OutputKinds()) {
        if (kind == known) {
            return true;
        }
    }
    return false;
}

}  // namespace

const std::vector<std::string>& OutputKinds() {
    static const std::vector<std::string> kinds = {"mkv", "mp4", "y4m", "png"};
    return kinds;
}

void CheckOutputName(const std::string& path, const OutputOptions& options) {
    const std::string kind = KindOf(path, options);
    if (kind.empty()) {
        throw UsageError("-o " + path +
                         ": unknown kind of output; .mkv, .mp4, .y4m or .png with %04d in its name, or --to "
                         "says what it is");
    }
    if (!IsNamedKind(kind)) {
        RawPixelFormat("--to", kind);
    }
    if (kind == "png" && !NumberedName::Is(path)) {
        throw UsageError("-o " + path + ": a PNG output needs one number in its name, such as out-%04d.png");
    }
}

bool HoldsAlpha(const std::string& path, const OutputOptions& options) {
    const std::string kind = KindOf(path, options);
    if (!IsNamedKind(kind)) {
        return (av_pix_fmt_desc_get(RawPixelFormat("--to", kind))->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    }
    return kind == "png" || kind == "mkv";
}

bool IsSequenceOutput(const std::string& path, const OutputOptions& options) {
    return KindOf(path, options) == "png";
}

std::unique_ptr<Writer> OpenWriter(const std::string& path, const OutputOptions& options,
                                   const PictureFormat& format) {
    CheckOutputName(path, options);
    const std::string kind = KindOf(path, options);
    if (kind == "mkv") {
        return std::make_unique<EncodedWriter>(path, format, EncodedWriter::kLosslessMatroska,
                                               options.threads);
    }
    if (kind == "mp4") {
        return std::make_unique<EncodedWriter>(path, format, EncodedWriter::kH264Mp4, options.threads);
    }
    if (kind == "y4m") {
        return std::make_unique<Y4mWriter>(path, format);
    }
    if (kind == "png") {
        return std::make_unique<PngSequenceWriter>(path, format, options.first, options.threads);
    }
    return std::make_unique<RawWriter>(path, format, RawPixelFormat("--to", kind));
}

}  // namespace tool
