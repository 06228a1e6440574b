#include "media/FileNames.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <regex>

#include "Errors.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

std::optional<std::smatch> PartsOf(const std::string& pattern) {
    static const std::regex number("([^%]*)%0?([0-9]?)d([^%]*)");
    std::smatch parts;
    if (!std::regex_match(pattern, parts, number)) {
        return std::nullopt;
    }
    return parts;
}

/// Directory and name, with all links in the directory followed.
fs::path Resolved(const std::string& path) {
    std::error_code error;
    const fs::path directory = fs::weakly_canonical(fs::absolute(fs::path(path)).parent_path(), error);
    return directory / fs::path(path).filename();
}

}  // namespace

std::string ExtensionOf(const std::string& path) {
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

NumberedName::NumberedName(const std::string& pattern) {
    const auto parts = PartsOf(pattern);
    if (!parts || (*parts)[3].str().find('/') != std::string::npos) {
        throw UsageError(pattern + ": a sequence needs one number in its name, such as out-%04d.png");
    }
    before = (*parts)[1];
    after = (*parts)[3];
    digits = (*parts)[2].length() == 0 ? 1 : static_cast<std::size_t>(std::stoi((*parts)[2]));
}

bool NumberedName::Is(const std::string& pattern) {
    const auto parts = PartsOf(pattern);
    return parts && (*parts)[3].str().find('/') == std::string::npos;
}

std::string NumberedName::At(long number) const {
    std::string text = std::to_string(number);
    if (text.size() < digits) {
        text.insert(0, digits - text.size(), '0');
    }
    return before + text + after;
}

std::optional<long> NumberedName::NumberInFileName(const std::string& text) const {
    const std::string head = fs::path(before + "0").filename().string();
    const std::size_t lead = head.size() - 1;
    if (text.size() <= lead + after.size() || text.compare(0, lead, head, 0, lead) != 0 ||
        text.compare(text.size() - after.size(), after.size(), after) != 0) {
        return std::nullopt;
    }
    const char* first = text.data() + lead;
    const char* last = text.data() + text.size() - after.size();
    long number = 0;
    const auto [end, error] = std::from_chars(first, last, number);
    if (error != std::errc() || end != last || number < 0 ||
        fs::path(At(number)).filename().string() != text) {
        return std::nullopt;
    }
    return number;
}

std::optional<long> NumberedName::NumberIn(const std::string& path) const {
    if (Resolved(At(0)).parent_path() != Resolved(path).parent_path()) {
        return std::nullopt;
    }
    return NumberInFileName(fs::path(path).filename().string());
}

std::vector<long> NumberedName::NumbersThatExist() const {
    std::vector<long> numbers;
    std::error_code error;
    const fs::path directory = fs::absolute(fs::path(At(0))).parent_path();
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (const auto number = NumberInFileName(entry->path().filename().string())) {
            numbers.push_back(*number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code ignored;
    return Resolved(a) == Resolved(b) || fs::equivalent(a, b, ignored);
}

}  // namespace tool
