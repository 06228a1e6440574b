#include "platform/posix/ProcessorFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Zan {
namespace {

// Hands the lines of a text file to `take`. Of a line that is longer than the buffer the rest is dropped.
template <typename Take>
void ForEachLine(const char* path, Take&& take) {
    int file = -1;
    do {
        file = ::open(path, O_RDONLY | O_CLOEXEC);
    } while (file < 0 && errno == EINTR);
    if (file < 0) {
        return;
    }
    std::array<char, 512> line;
    std::size_t length = 0;
    std::array<char, 4096> block;
    for (;;) {
        const ssize_t got = ::read(file, block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        for (const char c : std::string_view(block.data(), static_cast<std::size_t>(got))) {
            if (c == '\n') {
                take(std::string_view(line.data(), length));
                length = 0;
            } else if (length < line.size()) {
                line[length++] = c;
            }
        }
    }
    if (length != 0) {
        take(std::string_view(line.data(), length));
    }
    ::close(file);
}

}  // namespace

bool TakeNumber(std::string_view& text, std::size_t& number) noexcept {
    std::size_t digits = 0;
    number = 0;
    while (digits < text.size() && digits < 9 && text[digits] >= '0' && text[digits] <= '9') {
        number = number * 10 + static_cast<std::size_t>(text[digits] - '0');
        ++digits;
    }
    text.remove_prefix(digits);
    return digits != 0;
}

ProcessorSet ParseProcessorList(std::string_view text) noexcept {
    ProcessorSet set;
    std::size_t first = 0;
    while (TakeNumber(text, first)) {
        std::size_t last = first;
        if (!text.empty() && text.front() == '-') {
            text.remove_prefix(1);
            if (!TakeNumber(text, last)) {
                break;
            }
        }
        for (std::size_t bit = first; bit <= last && bit < set.size(); ++bit) {
            set.set(bit);
        }
        if (text.empty() || text.front() != ',') {
            break;
        }
        text.remove_prefix(1);
    }
    return set;
}

ProcessorSet ReadProcessorList(const char* path) noexcept {
    ProcessorSet set;
    ForEachLine(path, [&set](std::string_view line) { set |= ParseProcessorList(line); });
    return set;
}

ApicIds::ApicIds(const char* path) noexcept {
    ids.fill(kUnknown);
    std::size_t processor = ids.size();
    ForEachLine(path, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            return;
        }
        std::string_view key = line.substr(0, colon);
        key = key.substr(0, key.find_last_not_of(" \t") + 1);
        std::string_view value = line.substr(colon + 1);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        std::size_t number = 0;
        if (key == "processor" && TakeNumber(value, number)) {
            processor = number;
        } else if (key == "initial apicid" && TakeNumber(value, number) && processor < ids.size()) {
            ids[processor] = static_cast<std::int16_t>(number & 0xFF);
        }
    });
}

bool ApicIds::Find(std::size_t processor, std::uint8_t& id) const noexcept {
    if (processor >= ids.size() || ids[processor] == kUnknown) {
        return false;
    }
    id = static_cast<std::uint8_t>(ids[processor]);
    return true;
}

}  // namespace Zan
