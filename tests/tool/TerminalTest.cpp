#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>

#include "ProgramRun.h"

namespace tool::test {
namespace {

/// What the program says on a terminal, and how it takes signals.
class TerminalTest : public ProgramTest {
protected:
    /// Runs a testcard whose output nobody reads for a while, both streams on a terminal.
    std::string OnTerminal(const std::string& type) const {
        const std::string fifo = In("out.y4m");
        if (mkfifo(fifo.c_str(), 0600) != 0) {
            return "no pipe";
        }
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            setenv("TERM", type.c_str(), 1);
            execl(TESSELU_PROGRAM, TESSELU_PROGRAM, "testcard", "-o", fifo.c_str(), "--length", "60",
                  "--size", "320x240", static_cast<char*>(nullptr));
            _exit(99);
        }
        std::thread reader([&fifo] {
            std::ifstream pipe(fifo, std::ios::binary);
            // The bar comes after 0.7 s; the run goes on after it.
            std::this_thread::sleep_for(std::chrono::milliseconds(1000));
            std::ostringstream all;
            all << pipe.rdbuf();
        });
        std::string said;
        char buffer[4096];
        for (ssize_t got = 0; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
            said.append(buffer, static_cast<std::size_t>(got));
        }
        reader.join();
        int raw = 0;
        waitpid(child, &raw, 0);
        close(terminal);
        EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0);
        std::filesystem::remove(fifo);
        return said;
    }
};

TEST_F(TerminalTest, TheSummaryHasALineOfItsOwn) {
    const std::string said = OnTerminal("xterm");
    const std::size_t bar = said.find("testcard [");
    ASSERT_NE(bar, std::string::npos) << said;
    const std::size_t summary = said.find("60 frames of 320x240p");
    ASSERT_NE(summary, std::string::npos) << said;
    ASSERT_LT(bar, summary);
    const std::string cleared = "\r\033[K";
    ASSERT_GE(summary, cleared.size());
    EXPECT_EQ(said.substr(summary - cleared.size(), cleared.size()), cleared) << said;
    EXPECT_EQ(said.find('#', summary), std::string::npos) << said;
}

TEST_F(TerminalTest, ADumbTerminalGetsNoEscapeCodes) {
    const std::string said = OnTerminal("dumb");
    EXPECT_NE(said.find("60 frames of 320x240p"), std::string::npos) << said;
    EXPECT_EQ(said.find('\033'), std::string::npos) << said;
}

TEST_F(TerminalTest, APipeGetsNoEscapeCodes) {
    const Outcome outcome = Run("testcard -o out.y4m --length 300 --size 640x480", "TERM=xterm");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find('\033'), std::string::npos);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(TerminalTest, AWaitForAPipeCanBeInterrupted) {
    ASSERT_EQ(mkfifo(In("in.y4m").c_str(), 0600), 0);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Background run(*this, {"wipe", "in.y4m", "in.y4m", "-o", "out.y4m"});
        // A writer that says nothing: once it is let in, the program waits for bytes.
        int writer = -1;
        ASSERT_TRUE(WaitFor([&] {
            writer = open(In("in.y4m").c_str(), O_WRONLY | O_NONBLOCK);
            return writer >= 0;
        }));
        run.Signal(number);
        EXPECT_TRUE(WaitFor([&run] { return !run.IsRunning(); }));
        EXPECT_EQ(run.Wait(), 128 + number);
        EXPECT_EQ(Contents(In(".err")), "tesselu: interrupted\n");
        close(writer);
    }
}

// As nohup and shells without job control start it.
TEST_F(TerminalTest, ASignalThatIsIgnoredStaysIgnored) {
    ASSERT_EQ(mkfifo(In("out.y4m").c_str(), 0600), 0);
    for (const int number : {SIGHUP, SIGINT}) {
        Background run(*this, {"testcard", "-o", "out.y4m", "--length", "3", "--size", "64x64", "-q"},
                       number);
        std::ifstream pipe(In("out.y4m"), std::ios::binary);  // waits until the program writes
        run.Signal(number);
        std::ostringstream all;
        all << pipe.rdbuf();
        EXPECT_EQ(run.Wait(), 0);
        EXPECT_EQ(Y4mClip(all.str()).Frames(), 3);
    }
}

}  // namespace
}  // namespace tool::test
