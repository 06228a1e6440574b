#include "Threads.h"

#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "Pictures.h"
#include "foundation/Worker.h"

namespace bench {

namespace {

using namespace Zan;

constexpr ULong32 kWorkers = 2;
constexpr double kAim = 1.8;
constexpr std::size_t kBytesRead = 4, kBytesWritten = 2;  // a pixel

struct Copy {
    const std::uint8_t* from = nullptr;
    std::uint8_t* to = nullptr;
    std::size_t bytes = 0;

    Long32 Run() noexcept {
        std::memcpy(to, from, bytes);
        return 0;
    }
};

ImageDescriptor Format(const Size& size, ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
                       ComponentOrderEnum order) {
    return {static_cast<ULong32>(size.width),
            static_cast<ULong32>(size.height),
            space,
            sampling,
            order,
            kPacked,
            kProgressive,
            kNoFields,
            kTopLeft,
            1.0F,
            kUnshaped};
}

double Median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/// Seconds of a call, of as many calls as `least` seconds hold.
double Time(const std::function<void()>& run, double least) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    double passed = 0;
    int calls = 0;
    do {
        run();
        ++calls;
        passed = std::chrono::duration<double>(Clock::now() - start).count();
    } while (passed < least);
    return passed / calls;
}

}  // namespace

std::string ThreadsName(const Size& size) {
    return "BGRAToUYVYOn2Threads/" + size.Text();
}

ThreadsRow RunThreads(const Size& size, const Options& options) {
    const Pictures p(size);
    const std::size_t pixels = size.pixels(), written = kBytesWritten * pixels;
    Image from(p.a, static_cast<ULong32>(4 * size.width), Format(size, kRGB, k4444, kBGRA), 1U, 1U);
    Image to(p.out, static_cast<ULong32>(2 * size.width), Format(size, kYCrCb, k422, kCbYCrA), 1U, 1U);
    ImageView source(&from), destination(&to);
    ColorSpaceConverter converter;
    ColorSpaceConverterMT front(kWorkers);
    // A copy reads as many bytes as it writes.
    const std::size_t copied = (kBytesRead + kBytesWritten) / 2 * pixels;
    StripWorkers<Copy> copies(kWorkers, [] { return Copy(); });
    for (ULong32 i = 0; i < kWorkers; ++i) {
        const std::size_t first = copied / kWorkers * i;
        copies[i] = {p.a + first, p.out + first, copied / kWorkers};
    }

    const std::array<std::function<void()>, 4> entrants = {
        [&] { converter.Do(source, destination, kInt_MMXorSIMD, nullptr, nullptr); },
        [&] { front.Do(source, destination, kInt_MMXorSIMD, nullptr, nullptr); },
        [&] { std::memcpy(p.out, p.a, copied); },
        [&] { copies.RunAll(); },
    };
    entrants[0]();
    const std::vector<std::uint8_t> expected(p.out, p.out + written);
    std::memset(p.out, 0x5A, written);
    entrants[1]();
    if (!std::equal(expected.begin(), expected.end(), p.out)) {
        throw std::runtime_error(ThreadsName(size) + ": two threads give other bytes than one");
    }

    std::array<std::vector<double>, entrants.size()> times;
    for (int round = 0; round < options.repetitions; ++round) {
        for (std::size_t i = 0; i < entrants.size(); ++i) {
            const std::size_t entrant = (i + static_cast<std::size_t>(round)) % entrants.size();
            times[entrant].push_back(Time(entrants[entrant], options.seconds) * 1e9 /
                                     static_cast<double>(pixels));
        }
    }
    return {ThreadsName(size), size, Median(times[0]), Median(times[1]), Median(times[2]), Median(times[3])};
}

void PrintThreads(std::ostream& out, const std::vector<ThreadsRow>& rows) {
    char line[160];
    std::snprintf(line, sizeof line, "%-26s %-9s %8s %9s %7s %8s %9s %7s %7s", "operation", "size", "ours",
                  "2 workers", "ratio", "copy", "2 threads", "ratio", "aim");
    out << line << "\n" << std::string(std::strlen(line) + 10, '-') << "\n";
    const char* title = "BGRA to UYVY, 2 workers";
    for (const ThreadsRow& row : rows) {
        const double ratio = row.converter / row.workers, ofCopy = row.copy / row.copies;
        std::snprintf(line, sizeof line, "%-26s %-9s %8.4f %9.4f %7.2f %8.4f %9.4f %7.2f", title,
                      row.size.Text().c_str(), row.converter, row.workers, ratio, row.copy, row.copies,
                      ofCopy);
        out << line;
        if (row.size.pixels() >= 3840 * 2160) {
            // Memory that gives two threads no more gives it to no conversion.
            std::snprintf(line, sizeof line, " %7.2f  %s", kAim,
                          ratio >= kAim     ? "met"
                          : ratio >= ofCopy ? "met by the copy"
                                            : "short");
            out << line;
        }
        out << "\n";
        title = "";
    }
}

}  // namespace bench
