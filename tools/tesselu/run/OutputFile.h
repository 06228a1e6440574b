#ifndef TESSELU_TOOLS_RUN_OUTPUTFILE_H
#define TESSELU_TOOLS_RUN_OUTPUTFILE_H

#include <cstddef>
#include <string>

namespace tool {

/// A file that is being written. It is written beside its place under another name and takes its place when
/// it is whole, so that a run that fails leaves what was there before. Standard output ("-"), devices and
/// pipes are written as they are.
class OutputFile {
public:
    /// Makes the file at once, so that a bad place is found before the work starts. Throws `Failure`.
    explicit OutputFile(std::string path);
    /// Removes what was written unless `Keep` was called.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The name as the user gave it.
    const std::string& Path() const noexcept { return path; }
    /// The name under which it stands until `Keep`, for whoever writes to names.
    const std::string& PlaceNow() const noexcept { return temporary.empty() ? target : temporary; }
    /// What is written can be gone back to.
    bool IsSeekable() const noexcept { return !temporary.empty(); }

    /// Throws `Failure` with what the system says.
    void Write(const void* bytes, std::size_t size);
    /// Moves the position; for a file with `IsSeekable`. Returns the new position or a negative number.
    long long Seek(long long offset, int whence);

    /// The file is whole: it takes its place. Throws `Failure`.
    void Keep();

    /// Removes all files that are not whole yet, and lets none be made or kept from here on. For the end of
    /// the process.
    static void RemoveUnfinished();

private:
    [[noreturn]] void Fail(int error) const;

    std::string path;
    std::string target;     ///< where it goes, with links followed
    std::string temporary;  ///< empty: written in place
    int descriptor = -1;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_OUTPUTFILE_H
