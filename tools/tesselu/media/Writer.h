#ifndef TESSELU_TOOLS_MEDIA_WRITER_H
#define TESSELU_TOOLS_MEDIA_WRITER_H

#include <memory>
#include <string>

#include "media/Picture.h"

namespace tool {

/// Takes the pictures of a run, one after the other. What was written is removed when a writer is destroyed
/// before `Finish`.
class Writer {
public:
    virtual ~Writer() = default;

    virtual void Write(Zan::Image& picture) = 0;
    /// Completes the output. Throws `Failure` when that does not work out.
    virtual void Finish() = 0;
    /// Time spent in the library for this output.
    virtual double LibrarySeconds() const noexcept { return 0; }
};

/// Throws `UsageError` when no writer goes by the name `path`; nothing is touched.
void CheckOutputName(const std::string& path);

/// The writer by file name: .mkv lossless FFV1, .mp4 H.264, .y4m plain 4:2:2, .png with a number such as %04d
/// in its name a picture per file. Throws `UsageError` for another name, `Failure` when the file cannot be
/// made.
std::unique_ptr<Writer> OpenWriter(const std::string& path, const PictureFormat& format);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_WRITER_H
