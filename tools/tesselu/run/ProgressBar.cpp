#include "run/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "run/Console.h"

namespace tool {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 700ms;
constexpr auto kRefresh = 100ms;
constexpr long kCells = 40;

}  // namespace

ProgressBar::ProgressBar(std::string newLabel, std::optional<long> newTotal)
    : label(std::move(newLabel)), total(newTotal), shows(console::CanShowBar()), next(started + kPatience) {
    if (total) {
        total = std::max(*total, 1L);
    }
}

ProgressBar::~ProgressBar() {
    console::ClearBar();
}

void ProgressBar::Show(long done) {
    const auto now = Clock::now();
    if (!shows || now < next) {
        return;
    }
    next = now + kRefresh;
    if (!total) {
        console::ShowBar(label + " " + std::to_string(done));
        return;
    }
    const long capped = std::clamp(done, 0L, *total);
    const auto filled = static_cast<std::size_t>(capped * kCells / *total);
    const std::string bar =
        std::string(filled, '#') + std::string(static_cast<std::size_t>(kCells) - filled, '.');
    const double elapsed = std::chrono::duration<double>(now - started).count();
    const double left =
        capped > 0 ? elapsed * static_cast<double>(*total - capped) / static_cast<double>(capped) : 0;
    char numbers[80];
    std::snprintf(numbers, sizeof numbers, "%ld/%ld, %.0f s left", capped, *total, left);
    console::ShowBar(label + " [" + bar + "] " + numbers);
}

}  // namespace tool
