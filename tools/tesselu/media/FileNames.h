#ifndef TESSELU_TOOLS_MEDIA_FILENAMES_H
#define TESSELU_TOOLS_MEDIA_FILENAMES_H

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// Standard input or output.
inline constexpr const char* kStandardStream = "-";

/// ".png": in lower case, with its dot; empty for a name that has none.
std::string ExtensionOf(const std::string& path);

/// The name of one picture of a sequence, with a number in it, written %d, %4d or %04d.
class NumberedName {
public:
    /// Throws `UsageError` when there is no such number in the file's name, or more than one.
    explicit NumberedName(const std::string& pattern);

    /// The name is of this form.
    static bool Is(const std::string& pattern);

    std::string At(long number) const;
    /// The number in `path`, when that is a name out of this sequence, whatever way it is written.
    std::optional<long> NumberIn(const std::string& path) const;
    /// The numbers of all files that there are, in ascending order.
    std::vector<long> NumbersThatExist() const;

private:
    std::optional<long> NumberInFileName(const std::string& name) const;

    std::string before, after;
    std::size_t digits = 0;
};

/// Both names lead to one file, which need not exist.
bool IsSameFile(const std::string& a, const std::string& b);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_FILENAMES_H
