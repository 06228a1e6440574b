#ifndef TESSELU_TESTS_TOOL_PROGRAMRUN_H
#define TESSELU_TESTS_TOOL_PROGRAMRUN_H

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

namespace tool::test {

struct Outcome {
    int status = -1;
    std::string out, err;
};

inline std::string Contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Runs the built program in a directory of its own, which goes with the test.
class ProgramTest : public ::testing::Test {
protected:
    ProgramTest() {
        std::string name = (std::filesystem::temp_directory_path() / "tesselu-test-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr)
            directory = name;
    }
    ~ProgramTest() override {
        std::error_code ignored;
        if (!directory.empty())
            std::filesystem::remove_all(directory, ignored);
    }
    void SetUp() override { ASSERT_FALSE(directory.empty()); }

    std::string In(const std::string& name) const { return (directory / name).string(); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(directory / name); }

    /// `arguments` as a shell reads them; relative names lie in the directory of the test.
    Outcome Run(const std::string& arguments, const std::string& before = "") const {
        const std::string command = "cd '" + directory.string() + "' && " + before +
                                    " '" TESSELU_PROGRAM "' " + arguments + " >.out 2>.err";
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Contents(directory / ".out"),
                Contents(directory / ".err")};
    }

    void ExpectOneLine(const Outcome& outcome, int status, const std::string& part) const {
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("tesselu: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    }

    /// Planar 4:2:2 samples of frame `frame`: luma and chroma as functions of (x, y, frame).
    using Sample = std::function<int(int x, int y, int frame)>;

    void WriteY4m(const std::string& name, int width, int height, int frames, const Sample& luma,
                  const Sample& cb, const Sample& cr, const std::string& scan = "Ip") const {
        std::ofstream file(directory / name, std::ios::binary);
        file << "YUV4MPEG2 W" << width << " H" << height << " F50:1 " << scan << " A1:1 C422\n";
        for (int frame = 0; frame < frames; ++frame) {
            file << "FRAME\n";
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    file.put(static_cast<char>(luma(x, y, frame)));
            for (const Sample& chroma : {cb, cr})
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width / 2; ++x)
                        file.put(static_cast<char>(chroma(x, y, frame)));
        }
    }

    /// A clip of one colour per frame: luma 40 + frame, or as given.
    void WriteFlat(const std::string& name, int frames, int luma = 40, int width = 32, int height = 16,
                   const std::string& scan = "Ip") const {
        const auto grey = [](int, int, int) { return 128; };
        WriteY4m(
            name, width, height, frames, [luma](int, int, int frame) { return luma + frame; }, grey, grey,
            scan);
    }

    std::filesystem::path directory;
};

}  // namespace tool::test

#endif  // TESSELU_TESTS_TOOL_PROGRAMRUN_H
