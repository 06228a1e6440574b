#include "Table.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <set>

#include "Processor.h"

namespace bench {

namespace {

/// The value below which the given part of a sorted list lies.
double Quantile(const std::vector<double>& sorted, double part) {
    const double at = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (at - static_cast<double>(below));
}

__attribute__((format(printf, 1, 2))) std::string Text(const char* format, ...) {
    char text[160];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

const Timing* Fastest(const Row& row, Column column) {
    const Timing* best = nullptr;
    for (const Timing& timing : row.timings) {
        if (timing.column == column && (best == nullptr || timing.median < best->median)) {
            best = &timing;
        }
    }
    return best;
}

const Timing* BestPeer(const Row& row) {
    const Timing* best = nullptr;
    for (std::size_t column = row.aim.besidePlain ? kLibyuv : kPlain; column < kCopy; ++column) {
        const Timing* timing = Fastest(row, static_cast<Column>(column));
        if (timing != nullptr && (best == nullptr || timing->median < best->median)) {
            best = timing;
        }
    }
    return best;
}

/// An aim, and the same for our kernels on AVX2 at most if that is another.
double Wanted(double best, double withAVX2) {
    return withAVX2 != 0 && Zan::simd::CurrentTarget() <= Zan::simd::kAVX2 ? withAVX2 : best;
}

double RatioWanted(const Row& row) {
    const Aim& aim = row.aim;
    if (aim.onSmall != 0 && row.size.pixels() <= kSmallSize.pixels()) {
        return Wanted(aim.onSmall, aim.onSmallWithAVX2);
    }
    const bool fitsSecond = Caches().size() > 1 && row.bytes <= static_cast<double>(Caches()[1].bytes);
    if (aim.inCache != 0 && fitsSecond) {
        return aim.inCache;
    }
    const double ratio = Wanted(aim.ratio, aim.withAVX2);
    return row.size.pixels() >= 3840 * 2160 ? std::min(ratio, aim.onLargest) : ratio;
}

double CopyWanted(const Row& row) {
    return Wanted(row.aim.ofCopy, row.aim.ofCopyWithAVX2);
}

/// As precise as it is printed.
bool Reaches(double ratio, double aim) {
    return std::round(100 * ratio) >= std::round(100 * aim);
}

const char* Verdict(const Row& row, double ratio, double toCopy) {
    if (Reaches(ratio, RatioWanted(row))) {
        return "met";
    }
    return CopyWanted(row) != 0 && Reaches(toCopy, CopyWanted(row)) ? "met by the copy" : "short";
}

/// Rows of one operation together, in the order of their first ones.
std::vector<Row> Grouped(std::vector<Row> rows) {
    std::vector<const char*> order;
    for (const Row& row : rows) {
        if (std::find(order.begin(), order.end(), row.title) == order.end()) {
            order.push_back(row.title);
        }
    }
    std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        return std::find(order.begin(), order.end(), a.title) <
               std::find(order.begin(), order.end(), b.title);
    });
    return rows;
}

std::string Times(const Row& row, const char* format) {
    std::string text;
    for (std::size_t column = 0; column < kColumnCount; ++column) {
        const Timing* timing = Fastest(row, static_cast<Column>(column));
        text += timing != nullptr ? Text(format, timing->median) : Text(" %8s", "-");
    }
    return text;
}

void PrintColumns(std::ostream& out, const std::string& before, const std::string& after) {
    std::string heading = before;
    for (std::size_t column = 0; column < kColumnCount; ++column) {
        heading += Text(" %8s", ColumnName(static_cast<Column>(column)));
    }
    heading += after;
    out << heading << "\n" << std::string(heading.size() + 10, '-') << "\n";
}

}  // namespace

Timing Summarize(const Entrant& entrant, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    Timing timing = {entrant.column, entrant.name, entrant.difference};
    timing.median = Quantile(times, 0.5);
    const double spread = (Quantile(times, 0.75) - Quantile(times, 0.25)) / 1.349;
    timing.uncertainty = 1.2533 * spread / std::sqrt(static_cast<double>(times.size())) / timing.median;
    return timing;
}

void PrintTable(std::ostream& out, const std::vector<Row>& rows) {
    PrintColumns(out, Text("%-26s %-9s %-3s", "operation", "size", "in"),
                 Text(" %7s %4s  %-8s %7s %7s", "ratio", "+-%", "to", "to copy", "aim"));
    const char* last = nullptr;
    for (const Row& row : Grouped(rows)) {
        if (last != nullptr && last != row.title) {
            out << "\n";
        }
        out << Text("%-26s %-9s %-3s", row.title == last ? "" : row.title, row.size.Text().c_str(),
                    CacheOf(row.bytes).c_str())
            << Times(row, " %8.4f");
        last = row.title;
        const Timing *ours = Fastest(row, kOurs), *peer = BestPeer(row), *copy = Fastest(row, kCopy);
        if (ours == nullptr) {
            out << "  not there\n";
            continue;
        }
        const double toCopy = copy != nullptr ? copy->median / ours->median : 0;
        double ratio = 0;
        if (peer != nullptr) {
            ratio = peer->median / ours->median;
            out << Text(" %7.2f %4.1f  %-8s", ratio, 100 * std::hypot(ours->uncertainty, peer->uncertainty),
                        ColumnName(peer->column));
        } else {
            out << Text(" %7s %4s  %-8s", "-", "", "");
        }
        out << (copy != nullptr ? Text(" %7.2f", toCopy) : Text(" %7s", "-"));
        if (RatioWanted(row) != 0 && peer != nullptr) {
            out << Text(" %7.2f  %s", RatioWanted(row), Verdict(row, ratio, toCopy));
        } else if (CopyWanted(row) != 0 && copy != nullptr) {
            out << Text(" %7.2f  %s", CopyWanted(row),
                        Reaches(toCopy, CopyWanted(row)) ? "met by the copy" : "short");
        }
        out << "\n";
    }
}

void PrintCalls(std::ostream& out, const std::vector<Row>& rows) {
    PrintColumns(out, Text("%-26s %-9s", "operation", "size"), Text(" %7s", "aim"));
    for (const Row& row : rows) {
        const Timing* ours = Fastest(row, kOurs);
        if (ours == nullptr) {
            continue;
        }
        out << Text("%-26s %-9s", row.title, row.size.Text().c_str()) << Times(row, " %8.1f");
        if (row.aim.nanoseconds != 0) {
            out << Text(" %7.0f  %s", row.aim.nanoseconds,
                        ours->median <= row.aim.nanoseconds ? "met" : "short");
        }
        out << "\n";
    }
}

void PrintEntrants(std::ostream& out, const std::vector<Row>& rows) {
    std::set<std::string> said;
    const auto differenceOf = [&](const char* title, const std::string& name) {
        int difference = -1;
        for (const Row& row : rows) {
            for (const Timing& timing : row.timings) {
                if (row.title == title && timing.name == name) {
                    difference = std::max(difference, timing.difference);
                }
            }
        }
        return difference;
    };
    for (const Row& row : rows) {
        std::string line;
        for (const Timing& timing : row.timings) {
            const int difference = differenceOf(row.title, timing.name);
            if (timing.column == kOurs || timing.name == ColumnName(kPlain) || timing.column == kCopy ||
                difference < 0) {
                continue;
            }
            line += line.empty() ? "" : "; ";
            line +=
                timing.name + (difference == 0 ? " (same bytes)" : Text(" (off by up to %d)", difference));
        }
        if (!line.empty() && said.insert(row.title).second) {
            out << Text("%-26s ", row.title) << line << "\n";
        }
    }
}

}  // namespace bench
