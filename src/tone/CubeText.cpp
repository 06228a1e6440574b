#include "tone/CubeText.h"

#include <TesselU/tone/CubeLUT.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace Zan {
namespace {

constexpr Long32 kRead = CubeLUT::kRead;

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// The words of a line.
class Words {
public:
    explicit Words(std::string_view line) noexcept : rest(line) { SkipBlanks(); }

    bool AtEnd() const noexcept { return rest.empty(); }
    std::string_view Rest() const noexcept { return rest; }

    std::string_view Next() noexcept {
        const auto end =
            static_cast<std::size_t>(std::find_if(rest.begin(), rest.end(), IsBlank) - rest.begin());
        const std::string_view word = rest.substr(0, end);
        rest.remove_prefix(end);
        SkipBlanks();
        return word;
    }

private:
    void SkipBlanks() noexcept {
        while (!rest.empty() && IsBlank(rest.front())) {
            rest.remove_prefix(1);
        }
    }

    std::string_view rest;
};

/// A decimal number that fits single precision: nothing else, so neither hexadecimal nor infinity.
bool ToNumber(std::string_view word, double& number) noexcept {
    if (!word.empty() && word.front() == '+') {
        word.remove_prefix(1);
        if (!word.empty() && word.front() == '-') {
            return false;
        }
    }
    const std::size_t sign = !word.empty() && word.front() == '-' ? 1 : 0;
    if (word.size() <= sign || (!IsDigit(word[sign]) && word[sign] != '.')) {
        return false;
    }
    const char* const end = word.data() + word.size();
    const auto [stopped, error] = std::from_chars(word.data(), end, number, std::chars_format::general);
    return error == std::errc{} && stopped == end &&
           std::abs(number) <= double{std::numeric_limits<float>::max()};
}

/// `count` numbers and nothing behind them.
bool ToNumbers(Words words, double* numbers, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        if (!ToNumber(words.Next(), numbers[i])) {
            return false;
        }
    }
    return words.AtEnd();
}

class Reader {
public:
    Reader(std::string_view newText, CubeTable& newTable) noexcept : text(newText), table(newTable) {}

    Long32 ReadAll(ULong32& line);

private:
    Long32 ReadLine(std::string_view line);
    Long32 ReadTitle(std::string_view rest);
    Long32 ReadSize(Words words, ULong32 dimensions);
    Long32 ReadDomain(Words words, double (&ends)[3], bool& isKnown);
    Long32 ReadInputRange(Words words);
    Long32 CheckDomain() const noexcept;

    std::string_view text;
    CubeTable& table;
    std::size_t rowsLeft = 0;
    bool hasRows = false;
    bool hasTitle = false, hasLow = false, hasHigh = false;
};

Long32 Reader::ReadTitle(std::string_view rest) {
    if (hasTitle) {
        return CubeLUT::kRepeated;
    }
    while (!rest.empty() && IsBlank(rest.back())) {
        rest.remove_suffix(1);
    }
    if (rest.size() < 2 || rest.front() != '"' || rest.back() != '"') {
        return CubeLUT::kBadTitle;
    }
    rest = rest.substr(1, rest.size() - 2);
    // Titles are shown: nothing that a terminal would obey.
    const auto isUnfit = [](char c) {
        return c == '"' || c == '\x7F' || static_cast<unsigned char>(c) < ' ';
    };
    if (std::any_of(rest.begin(), rest.end(), isUnfit)) {
        return CubeLUT::kBadTitle;
    }
    table.title = rest;
    hasTitle = true;
    return kRead;
}

Long32 Reader::ReadSize(Words words, ULong32 dimensions) {
    if (table.dimensions != 0) {
        return CubeLUT::kRepeated;
    }
    const std::string_view word = words.Next();
    const char* const end = word.data() + word.size();
    ULong32 size = 0;
    const auto [stopped, error] = std::from_chars(word.data(), end, size);
    if (word.empty() || stopped != end || !words.AtEnd() || error == std::errc::invalid_argument) {
        return CubeLUT::kBadNumber;
    }
    if (error != std::errc{} || size < 2 || size > (dimensions == 1 ? 65536U : 256U)) {
        return CubeLUT::kBadSize;
    }
    table.dimensions = dimensions;
    table.size = size;
    rowsLeft = table.Rows();
    // The text limits what its size asks for: a row takes six bytes at least.
    table.values.reserve(3 * std::min(rowsLeft, text.size() / 6 + 1));
    return kRead;
}

Long32 Reader::ReadDomain(Words words, double (&ends)[3], bool& isKnown) {
    if (isKnown) {
        return CubeLUT::kRepeated;
    }
    isKnown = true;
    if (!ToNumbers(words, ends, 3)) {
        return CubeLUT::kBadNumber;
    }
    // One end alone is held against the other's default only where the rows begin.
    return hasLow && hasHigh ? CheckDomain() : kRead;
}

Long32 Reader::ReadInputRange(Words words) {
    if (hasLow || hasHigh) {
        return CubeLUT::kRepeated;
    }
    hasLow = hasHigh = true;
    double ends[2];
    if (!ToNumbers(words, ends, 2)) {
        return CubeLUT::kBadNumber;
    }
    std::fill(std::begin(table.low), std::end(table.low), ends[0]);
    std::fill(std::begin(table.high), std::end(table.high), ends[1]);
    return CheckDomain();
}

Long32 Reader::CheckDomain() const noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        if (!(table.low[i] < table.high[i])) {
            return CubeLUT::kBadDomain;
        }
    }
    return kRead;
}

Long32 Reader::ReadLine(std::string_view line) {
    Words words(line);
    if (words.AtEnd() || words.Rest().front() == '#') {
        return kRead;
    }
    const char first = words.Rest().front();
    if (IsDigit(first) || first == '-' || first == '+' || first == '.') {
        if (table.dimensions == 0) {
            return CubeLUT::kOutOfPlace;
        }
        if (!hasRows && CheckDomain() != kRead) {
            return CubeLUT::kBadDomain;
        }
        if (rowsLeft == 0) {
            return CubeLUT::kTooManyRows;
        }
        double row[3];
        if (!ToNumbers(words, row, 3)) {
            return CubeLUT::kBadNumber;
        }
        for (const double value : row) {
            table.values.push_back(static_cast<float>(value));
        }
        hasRows = true;
        --rowsLeft;
        return kRead;
    }
    const std::string_view keyword = words.Next();
    const bool isDomain = keyword == "DOMAIN_MIN" || keyword == "DOMAIN_MAX";
    const bool isSize = keyword == "LUT_1D_SIZE" || keyword == "LUT_3D_SIZE";
    const bool isRange = keyword == "LUT_1D_INPUT_RANGE" || keyword == "LUT_3D_INPUT_RANGE";
    if (keyword != "TITLE" && !isDomain && !isSize && !isRange) {
        return CubeLUT::kUnknownLine;
    }
    if (hasRows) {
        return CubeLUT::kOutOfPlace;
    }
    if (isSize) {
        return ReadSize(words, keyword == "LUT_1D_SIZE" ? 1 : 3);
    }
    if (isRange) {
        return ReadInputRange(words);
    }
    if (!isDomain) {
        return ReadTitle(words.Rest());
    }
    return keyword == "DOMAIN_MIN" ? ReadDomain(words, table.low, hasLow)
                                   : ReadDomain(words, table.high, hasHigh);
}

Long32 Reader::ReadAll(ULong32& line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::string_view rest = text;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        rest.remove_prefix(kByteOrderMark.size());
    }
    line = 0;
    while (!rest.empty()) {
        ++line;
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view content = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (!content.empty() && content.back() == '\r') {
            content.remove_suffix(1);
        }
        if (const Long32 status = ReadLine(content); status != kRead) {
            return status;
        }
    }
    if (table.dimensions == 0) {
        return CubeLUT::kNoSize;
    }
    if (rowsLeft != 0) {
        return CubeLUT::kTooFewRows;
    }
    line = 0;
    return kRead;
}

}  // namespace

Long32 ReadCube(std::string_view text, CubeTable& table, ULong32& line) {
    return Reader(text, table).ReadAll(line);
}

}  // namespace Zan
