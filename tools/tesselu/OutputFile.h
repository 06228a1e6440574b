#ifndef TESSELU_TOOLS_OUTPUTFILE_H
#define TESSELU_TOOLS_OUTPUTFILE_H

#include <string>

namespace tool {

/// A file that is being written: created empty at once, so that a bad place is found before the work starts,
/// and removed again unless `Keep` is called. What is no regular file (a device, a pipe) is never removed.
class OutputFile {
public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const noexcept { return path; }
    void Keep() noexcept { armed = false; }

private:
    std::string path;
    bool armed = false;
};

/// Throws `UsageError` when both names lead to one file.
void RefuseSameFile(const std::string& option, const std::string& output, const std::string& input);

}  // namespace tool

#endif  // TESSELU_TOOLS_OUTPUTFILE_H
