#include "ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace tool {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 700ms;
constexpr auto kRefresh = 100ms;
constexpr long kCells = 40;

}  // namespace

ProgressBar::ProgressBar(std::string newLabel, long newTotal)
    : label(std::move(newLabel)),
      total(std::max(newTotal, 1L)),
      terminal(isatty(STDERR_FILENO) == 1),
      next(started + kPatience) {}

ProgressBar::~ProgressBar() {
    if (drawn)
        std::fputs("\r\033[K", stderr);
}

void ProgressBar::Show(long done) {
    const auto now = Clock::now();
    if (!terminal || now < next)
        return;
    next = now + kRefresh;
    drawn = true;
    const long capped = std::clamp(done, 0L, total);
    const auto filled = static_cast<std::size_t>(capped * kCells / total);
    const std::string bar =
        std::string(filled, '#') + std::string(static_cast<std::size_t>(kCells) - filled, '.');
    const double elapsed = std::chrono::duration<double>(now - started).count();
    const double left =
        capped > 0 ? elapsed * static_cast<double>(total - capped) / static_cast<double>(capped) : 0;
    std::fprintf(stderr, "\r\033[K%s [%s] %ld/%ld, %.0f s left", label.c_str(), bar.c_str(), capped, total,
                 left);
    std::fflush(stderr);
}

}  // namespace tool
