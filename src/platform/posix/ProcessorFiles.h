#ifndef TESSELU_SRC_PLATFORM_POSIX_PROCESSORFILES_H
#define TESSELU_SRC_PLATFORM_POSIX_PROCESSORFILES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/ProcessorProbe.h"

namespace Zan {

// The text files in which an operating system's kernel lists its processors. They are read while the library
// is loaded, so nothing here allocates.

/// Reads a decimal number of at most nine digits from the front of `text` and removes it there. False if
/// there is none.
bool TakeNumber(std::string_view& text, std::size_t& number) noexcept;

/// The processors of a list such as "0-3,8,10-11"; reading ends at the first character that does not fit.
ProcessorSet ParseProcessorList(std::string_view text) noexcept;

/// The processors that the lists in the file at `path` name; none without the file.
ProcessorSet ReadProcessorList(const char* path) noexcept;

/// The APIC ids of the system's processors, from the file at `path`, which has the form of /proc/cpuinfo.
class ApicIds {
public:
    explicit ApicIds(const char* path) noexcept;

    /// False for a processor whose id is not in the file.
    bool Find(std::size_t processor, std::uint8_t& id) const noexcept;

private:
    static constexpr std::int16_t kUnknown = -1;
    std::array<std::int16_t, ProcessorSet().size()> ids;
};

}  // namespace Zan

#endif  // TESSELU_SRC_PLATFORM_POSIX_PROCESSORFILES_H
