#include "OutputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "Errors.h"

namespace tool {

OutputFile::OutputFile(std::string newPath) : path(std::move(newPath)) {
    errno = 0;
    const std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file)
        throw Failure(path + ": cannot be written (" + std::strerror(errno != 0 ? errno : EIO) + ")");
    std::error_code ignored;
    armed = std::filesystem::is_regular_file(path, ignored);
}

OutputFile::~OutputFile() {
    if (!armed)
        return;
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

void RefuseSameFile(const std::string& option, const std::string& output, const std::string& input) {
    std::error_code ignored;
    if (output == input || std::filesystem::equivalent(output, input, ignored))
        throw UsageError(option + " " + output + ": is also " + input);
}

}  // namespace tool
