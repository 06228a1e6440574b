#include "Threads.h"

#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/filter/DeepDefocusMT.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <stdexcept>

#include "Pictures.h"
#include "foundation/Worker.h"

namespace bench {

namespace {

using namespace Zan;

constexpr ULong32 kWorkers = 2;
constexpr double kAim = 1.8;

/// What is made on two threads: a conversion, or a blur by a box.
struct Work {
    const char *name, *title;
    unsigned box;              ///< none: the conversion
    std::size_t bytesWritten;  ///< a pixel; 4 are read
};
constexpr Work kWorks[] = {{"BGRAToUYVYOn2Threads", "BGRA to UYVY", 0, 2},
                           {"Blur5On2Threads", "blur, 5x5", 5, 4},
                           {"Blur31On2Threads", "blur, 31x31", 31, 4},
                           {"Blur101On2Threads", "blur, 101x101", 101, 4}};
constexpr std::size_t kBytesRead = 4;

std::string NameOf(const Work& work, const Size& size) {
    return std::string(work.name) + "/" + size.Text();
}

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

std::vector<std::string> ThreadsNames(const Size& size) {
    std::vector<std::string> names;
    for (const Work& work : kWorks) {
        names.push_back(NameOf(work, size));
    }
    return names;
}

ThreadsRow RunThreads(const std::string& name, const Size& size, const Options& options) {
    const Work& work = *std::find_if(std::begin(kWorks), std::end(kWorks),
                                     [&](const Work& each) { return NameOf(each, size) == name; });
    const Pictures p(size);
    const std::size_t pixels = size.pixels(), written = work.bytesWritten * pixels;
    const auto width = static_cast<ULong32>(size.width), height = static_cast<ULong32>(size.height);
    Image from(p.a, 4 * width, Format(size, kRGB, k4444, kBGRA), 1U, 1U);
    Image pixelsTo(p.out, 4 * width, Format(size, kRGB, k4444, kBGRA), 1U, 1U);
    Image pairsTo(p.out, 2 * width, Format(size, kYCrCb, k422, kCbYCrA), 1U, 1U);
    ImageView source(&from), destination(work.box == 0 ? &pairsTo : &pixelsTo);
    ColorSpaceConverter converter;
    ColorSpaceConverterMT converters(kWorkers);
    const DeepDefocus blur;
    DeepDefocusMT blurs(kWorkers, 8);
    const auto run = [&](auto& convert, auto& defocus) {
        if (work.box == 0) {
            convert.Do(source, destination, kInt_MMXorSIMD, nullptr, nullptr);
        } else {
            defocus.Do(source, destination, work.box, work.box, 0, width, 0, height, kBestAvailable);
        }
    };
    // A copy reads as many bytes as it writes.
    const std::size_t copied = (kBytesRead + work.bytesWritten) / 2 * pixels;
    StripWorkers<Copy> copies(kWorkers, [] { return Copy(); });
    for (ULong32 i = 0; i < kWorkers; ++i) {
        const std::size_t first = copied / kWorkers * i;
        copies[i] = {p.a + first, p.out + first, copied / kWorkers};
    }

    const std::array<std::function<void()>, 4> entrants = {
        [&] { run(converter, blur); },
        [&] { run(converters, blurs); },
        [&] { std::memcpy(p.out, p.a, copied); },
        [&] { copies.RunAll(); },
    };
    entrants[0]();
    const std::vector<std::uint8_t> expected(p.out, p.out + written);
    std::memset(p.out, 0x5A, written);
    entrants[1]();
    if (!std::equal(expected.begin(), expected.end(), p.out)) {
        throw std::runtime_error(name + ": two threads give other bytes than one");
    }

    std::array<std::vector<double>, entrants.size()> times;
    for (int round = 0; round < options.repetitions; ++round) {
        for (std::size_t i = 0; i < entrants.size(); ++i) {
            const std::size_t entrant = (i + static_cast<std::size_t>(round)) % entrants.size();
            times[entrant].push_back(Time(entrants[entrant], options.seconds) * 1e9 /
                                     static_cast<double>(pixels));
        }
    }
    return {name,
            std::string(work.title) + ", 2 workers",
            size,
            Median(times[0]),
            Median(times[1]),
            Median(times[2]),
            Median(times[3])};
}

void PrintThreads(std::ostream& out, const std::vector<ThreadsRow>& rows) {
    char line[160];
    std::snprintf(line, sizeof line, "%-26s %-9s %8s %9s %7s %8s %9s %7s %7s", "operation", "size", "ours",
                  "2 workers", "ratio", "copy", "2 threads", "ratio", "aim");
    out << line << "\n" << std::string(std::strlen(line) + 10, '-') << "\n";
    for (const ThreadsRow& row : rows) {
        const double ratio = row.alone / row.workers, ofCopy = row.copy / row.copies;
        std::snprintf(line, sizeof line, "%-26s %-9s %8.4f %9.4f %7.2f %8.4f %9.4f %7.2f", row.title.c_str(),
                      row.size.Text().c_str(), row.alone, row.workers, ratio, row.copy, row.copies, ofCopy);
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
    }
}

}  // namespace bench
