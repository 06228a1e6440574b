#ifndef TESSELU_TESTS_TOOL_PROGRAMRUN_H
#define TESSELU_TESTS_TOOL_PROGRAMRUN_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

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

    /// Any command of a shell, in the directory of the test; "tesselu" is the program.
    Outcome Shell(const std::string& command) const {
        const std::string script = "cd '" + directory.string() +
                                   "' && tesselu() { '" TESSELU_PROGRAM "' \"$@\"; } && { " + command +
                                   "; } >.out 2>.err";
        std::ofstream(directory / ".script") << script;
        const int raw = std::system(("bash '" + In(".script") + "'").c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Contents(directory / ".out"),
                Contents(directory / ".err")};
    }

    /// Bytes of outputs that have not taken their place yet.
    std::uintmax_t SizeOfUnfinished() const {
        std::uintmax_t size = 0;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            std::error_code gone;
            if (entry.path().filename().string().rfind(".tesselu-", 0) == 0)
                if (const auto bytes = entry.file_size(gone); !gone)
                    size += bytes;
        }
        return size;
    }

    /// Asks again and again, for a long time at most.
    static bool WaitFor(const std::function<bool()>& condition) {
        constexpr int kAttempts = 10000;
        for (int i = 0; i < kAttempts && !condition(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return condition();
    }

    /// The program while it runs, its error stream in ".err".
    class Background {
    public:
        Background(const ProgramTest& test, std::vector<std::string> words, int ignored = 0) {
            process = fork();
            if (process != 0)
                return;
            if (ignored != 0)
                signal(ignored, SIG_IGN);
            const bool ready = chdir(test.directory.c_str()) == 0 &&
                               std::freopen(".err", "w", stderr) != nullptr &&
                               std::freopen(".out", "w", stdout) != nullptr;
            std::vector<char*> arguments;
            words.insert(words.begin(), "tesselu");
            for (std::string& word : words)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            if (ready)
                execv(TESSELU_PROGRAM, arguments.data());
            _exit(99);
        }
        ~Background() {
            if (process > 0 && !waited) {
                kill(process, SIGKILL);
                Wait();
            }
        }
        Background(const Background&) = delete;
        Background& operator=(const Background&) = delete;

        void Signal(int number) const { kill(process, number); }
        bool IsRunning() {
            int raw = 0;
            if (!waited && waitpid(process, &raw, WNOHANG) == process) {
                waited = true;
                status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
            }
            return !waited;
        }
        /// The exit status, or -1.
        int Wait() {
            int raw = 0;
            if (!waited && waitpid(process, &raw, 0) == process)
                status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
            waited = true;
            return status;
        }

    private:
        pid_t process = -1;
        bool waited = false;
        int status = -1;
    };

    void ExpectOneLine(const Outcome& outcome, int status, const std::string& part) const {
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("tesselu: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    }

    /// Planar 4:2:2 samples of frame `frame`: luma and chroma as functions of (x, y, frame).
    using Sample = std::function<int(int x, int y, int frame)>;

    void WriteY4m(const std::string& name, int width, int height, int frames, const Sample& luma,
                  const Sample& cb, const Sample& cr, const std::string& scan = "Ip",
                  const std::string& rate = "50:1") const {
        std::ofstream file(directory / name, std::ios::binary);
        file << "YUV4MPEG2 W" << width << " H" << height << " F" << rate << " " << scan << " A1:1 C422\n";
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
                   const std::string& scan = "Ip", const std::string& rate = "50:1") const {
        const auto grey = [](int, int, int) { return 128; };
        WriteY4m(
            name, width, height, frames, [luma](int, int, int frame) { return luma + frame; }, grey, grey,
            scan, rate);
    }

    /// Makes a clip with the ffmpeg program.
    void Ffmpeg(const std::string& arguments) const {
        const Outcome made = Shell("ffmpeg -nostdin -v error -y " + arguments);
        ASSERT_EQ(made.status, 0) << arguments << "\n" << made.err;
    }

    std::filesystem::path directory;
};

/// A YUV4MPEG2 clip in 4:2:2, as the program writes it.
class Y4mClip {
public:
    explicit Y4mClip(const std::string& bytes) {
        const std::size_t end = bytes.find('\n');
        header = bytes.substr(0, end);
        if (end == std::string::npos ||
            std::sscanf(header.c_str(), "YUV4MPEG2 W%d H%d", &width, &height) != 2) {
            return;
        }
        const std::string word = "FRAME\n";
        const std::size_t size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 2;
        for (std::size_t at = end + 1; bytes.compare(at, word.size(), word) == 0; at += word.size() + size) {
            pictures.push_back(bytes.substr(at + word.size(), size));
        }
    }

    int Frames() const { return static_cast<int>(pictures.size()); }
    int Luma(int frame, int x, int y) const { return Sample(frame, y * width + x); }
    int Cb(int frame, int x, int y) const { return Sample(frame, width * height + y * (width / 2) + x / 2); }
    int Cr(int frame, int x, int y) const {
        return Sample(frame, width * height * 3 / 2 + y * (width / 2) + x / 2);
    }

    std::string header;
    int width = 0, height = 0;

private:
    int Sample(int frame, int at) const {
        return static_cast<unsigned char>(
            pictures.at(static_cast<std::size_t>(frame)).at(static_cast<std::size_t>(at)));
    }

    std::vector<std::string> pictures;
};

}  // namespace tool::test

#endif  // TESSELU_TESTS_TOOL_PROGRAMRUN_H
