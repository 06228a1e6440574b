#include "run/Console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace tool::console {
namespace {

std::mutex lock;
bool barIsShown = false;
bool isQuiet = false;

void Clear() {
    if (barIsShown) {
        std::fputs("\r\033[K", stderr);
    }
    barIsShown = false;
}

void PrintLine(std::string line) {
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\033'; }, ' ');
    Clear();
    std::fprintf(stderr, "tesselu: %s\n", line.c_str());
}

}  // namespace

bool CanShowBar() {
    const char* terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr && *terminal != '\0' &&
           std::string(terminal) != "dumb";
}

void ShowBar(const std::string& text) {
    const std::lock_guard guard(lock);
    if (isQuiet) {
        return;
    }
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
    barIsShown = true;
}

void ClearBar() {
    const std::lock_guard guard(lock);
    Clear();
}

void Complain(const std::string& text) {
    const std::lock_guard guard(lock);
    PrintLine(text);
}

void Note(const std::string& text) {
    const std::lock_guard guard(lock);
    if (!isQuiet) {
        PrintLine(text);
    }
}

void BeQuiet() {
    const std::lock_guard guard(lock);
    isQuiet = true;
}

}  // namespace tool::console
