#include "media/Writer.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Errors.h"
#include "media/EncodedWriter.h"
#include "media/PngSequenceWriter.h"
#include "media/Y4mWriter.h"

namespace tool {
namespace {

enum class OutputKind { kUnknown, kMatroska, kMp4, kY4m, kPngSequence };

OutputKind KindOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".mkv")
        return OutputKind::kMatroska;
    if (extension == ".mp4")
        return OutputKind::kMp4;
    if (extension == ".y4m")
        return OutputKind::kY4m;
    if (extension == ".png")
        return OutputKind::kPngSequence;
    return OutputKind::kUnknown;
}

}  // namespace

void CheckOutputName(const std::string& path) {
    switch (KindOf(path)) {
        case OutputKind::kUnknown:
            throw UsageError("-o " + path +
                             ": unknown kind of output; .mkv, .mp4, .y4m or .png with %04d in its name");
        case OutputKind::kPngSequence:
            NumberedName{path};
            break;
        default:
            break;
    }
}

std::unique_ptr<Writer> OpenWriter(const std::string& path, const PictureFormat& format) {
    CheckOutputName(path);
    switch (KindOf(path)) {
        case OutputKind::kMatroska:
            return std::make_unique<EncodedWriter>(path, format, EncodedWriter::kLosslessMatroska);
        case OutputKind::kMp4:
            return std::make_unique<EncodedWriter>(path, format, EncodedWriter::kH264Mp4);
        case OutputKind::kY4m:
            return std::make_unique<Y4mWriter>(path, format);
        default:
            return std::make_unique<PngSequenceWriter>(path, format);
    }
}

}  // namespace tool
