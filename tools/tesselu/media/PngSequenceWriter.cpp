#include "media/PngSequenceWriter.h"

#include <regex>

#include "Errors.h"
#include "media/PngWriter.h"

namespace tool {

NumberedName::NumberedName(const std::string& pattern) {
    static const std::regex number("([^%]*)%0?([0-9]?)d([^%]*)");
    std::smatch parts;
    if (!std::regex_match(pattern, parts, number))
        throw UsageError("-o " + pattern +
                         ": a PNG output needs one number in its name, such as out-%04d.png");
    before = parts[1];
    after = parts[3];
    digits = parts[2].length() == 0 ? 1 : static_cast<std::size_t>(std::stoi(parts[2]));
}

std::string NumberedName::At(long number) const {
    std::string text = std::to_string(number);
    if (text.size() < digits)
        text.insert(0, digits - text.size(), '0');
    return before + text + after;
}

PngSequenceWriter::PngSequenceWriter(const std::string& pattern, const PictureFormat& format)
    : name(pattern), conversion(format) {
    // The first file is made here, so that a bad place is found before the work.
    files.emplace_back(name.At(0));
}

void PngSequenceWriter::Write(Zan::Image& picture) {
    if (started)
        files.emplace_back(name.At(static_cast<long>(files.size())));
    started = true;
    WritePng(files.back().Path(), conversion.Convert(picture));
}

void PngSequenceWriter::Finish() {
    for (OutputFile& file : files)
        file.Keep();
}

}  // namespace tool
