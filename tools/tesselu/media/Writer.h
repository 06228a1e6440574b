#ifndef TESSELU_TOOLS_MEDIA_WRITER_H
#define TESSELU_TOOLS_MEDIA_WRITER_H

#include <memory>
#include <string>
#include <vector>

#include "media/Picture.h"

namespace tool {

/// Takes the pictures of a run, one after the other. What was there before is replaced when the output is
/// whole, and stays when the writer is destroyed before `Finish`.
class Writer {
public:
    virtual ~Writer() = default;

    virtual void Write(const Zan::Image& picture) = 0;
    /// Completes the output. Throws `Failure` when that does not work out.
    virtual void Finish() = 0;
    /// Time spent in the library for this output.
    virtual double LibrarySeconds() const noexcept { return 0; }
};

struct OutputOptions {
    std::string kind;  ///< "mkv", "mov", "mp4", "y4m", "png" or a pixel format; empty: by the name
    std::string option = "-o", kindOption = "--to";  ///< that name the output and its kind, for complaints
    int threads = 0;                                 ///< of the encoder; 0: as many as there are processors
    long first = 0;  ///< the number of the first picture, for the names of a sequence
    /// Pictures have samples that were asked for: what is no kind by its name are raw frames of them.
    bool ofSamples = false;
};

/// Kinds that have a name of their own.
const std::vector<std::string>& OutputKinds();

/// Throws `UsageError` when no writer goes by that name and kind; nothing is touched.
void CheckOutputName(const std::string& path, const OutputOptions& options);

/// The output has a place for alpha.
bool HoldsAlpha(const std::string& path, const OutputOptions& options);

/// The output takes pictures with full chroma.
bool HoldsFullChroma(const std::string& path, const OutputOptions& options);

/// One file for each picture.
bool IsSequenceOutput(const std::string& path, const OutputOptions& options);

/// The writer by file name: .mkv and .mov lossless FFV1, .mp4 H.264, .y4m plain planes, .png with a number
/// such as %04d in its name a picture per file, "-" y4m to standard output. Throws `UsageError` when it does
/// not hold the samples of the pictures, `Failure` when it cannot be made.
std::unique_ptr<Writer> OpenWriter(const std::string& path, const OutputOptions& options,
                                   const PictureFormat& format);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_WRITER_H
