#ifndef TESSELU_TESTS_SUPPORT_SCRATCHFOLDER_H
#define TESSELU_TESTS_SUPPORT_SCRATCHFOLDER_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace test_support {

/// A folder of the test's own, which goes with it.
class ScratchFolder {
public:
    ScratchFolder() {
        std::random_device random;
        do {
            folder = std::filesystem::temp_directory_path() / ("tesselu-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(folder));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const std::string& name) const { return (folder / name).string(); }
    bool Has(const std::string& name) const { return std::filesystem::exists(folder / name); }
    std::string Folder() const { return folder.string(); }

    std::string Write(const std::string& name, const std::vector<std::uint8_t>& bytes) const {
        std::ofstream file(folder / name, std::ios::binary);
        for (const std::uint8_t byte : bytes) {
            file.put(static_cast<char>(byte));
        }
        return Path(name);
    }
    std::vector<std::uint8_t> Read(const std::string& name) const {
        std::ifstream file(folder / name, std::ios::binary);
        std::vector<std::uint8_t> bytes;
        for (std::istreambuf_iterator<char> at(file), end; at != end; ++at) {
            bytes.push_back(static_cast<std::uint8_t>(*at));
        }
        return bytes;
    }

private:
    std::filesystem::path folder;
};

/// The files that this process has open, as far as the system tells; else 0.
inline std::ptrdiff_t OpenFiles() {
    std::error_code unknown;
    const std::filesystem::directory_iterator files("/proc/self/fd", unknown);
    return unknown ? 0 : std::distance(begin(files), end(files));
}

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_SCRATCHFOLDER_H
