#include <cstdio>
#include <string>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/Routes.h"
#include "media/Samples.h"

namespace tool {
namespace {

constexpr std::size_t kWidth = 96, kIndent = 15;

/// The names that are written by, in lines that begin with what they are.
std::string Listed(const std::string& title, const std::vector<Zan::ConverterFormat>& formats) {
    std::string text, line = "     " + title;
    line.resize(kIndent, ' ');
    for (const Zan::ConverterFormat format : formats) {
        const std::string& name = AliasesOf(format)[0];
        if (line.size() + 1 + name.size() > kWidth) {
            text += line + "\n";
            line.assign(kIndent, ' ');
        }
        line += (line.size() > kIndent ? " " : "") + name;
    }
    return text + line + "\n";
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

void PrintText() {
    for (const Zan::ConverterFormat format : AllSamples()) {
        std::string aliases;
        for (const std::string& alias : AliasesOf(format)) {
            aliases += (aliases.empty() ? "" : ", ") + alias;
        }
        std::printf("%2d  %-24s %s\n     %s; %g bytes a pixel\n", static_cast<int>(format),
                    NameOf(format).c_str(), aliases.c_str(), LayoutOf(format).c_str(), BytesOfPixel(format));
        for (const PathName& path : PathsWithPairs()) {
            const auto destinations = DestinationsOf(path.style, format);
            if (!destinations.empty()) {
                std::fputs(Listed(path.name, destinations).c_str(), stdout);
            }
        }
        if (!GeneralPathReads(format)) {
            std::printf("     general   reads black, writes nothing\n");
        }
    }
    std::printf(
        "Below each format those that a code path converts it to. The general path converts all but where "
        "told.\n");
}

void PrintJson() {
    std::printf("[");
    for (const Zan::ConverterFormat format : AllSamples()) {
        std::printf("%s\n{\"code\":%d,\"name\":%s,\"aliases\":[", format == Zan::kFmtRGB32 ? "" : ",",
                    static_cast<int>(format), Quoted(NameOf(format)).c_str());
        const char* comma = "";
        for (const std::string& alias : AliasesOf(format)) {
            std::printf("%s%s", comma, Quoted(alias).c_str());
            comma = ",";
        }
        std::printf("],\"layout\":%s,\"bytes\":%g", Quoted(LayoutOf(format)).c_str(), BytesOfPixel(format));
        for (const PathName& path : PathsWithPairs()) {
            std::printf(",\"%s\":[", path.name);
            comma = "";
            for (const Zan::ConverterFormat to : DestinationsOf(path.style, format)) {
                std::printf("%s%d", comma, static_cast<int>(to));
                comma = ",";
            }
            std::printf("]");
        }
        std::printf(",\"general\":{\"reads\":%s,\"writes\":%s}}", GeneralPathReads(format) ? "true" : "false",
                    GeneralPathWrites(format) ? "true" : "false");
    }
    std::printf("\n]\n");
}

int ListFormats(const Arguments& arguments) {
    if (arguments.Has("json")) {
        PrintJson();
    } else {
        PrintText();
    }
    return kExitSuccess;
}

}  // namespace

const Command kFormatsCommand = {
    .name = "formats",
    .summary = "list the sample formats and the conversions between them",
    .description =
        "Lists the sample formats of the converter: number, name, what else they are called, how they lie in "
        "memory, bytes a pixel, and the formats that each code path converts them to.",
    .options = {{.name = "json", .help = "as JSON, an object for each format"}},
    .examples = {{"tesselu formats", "the list"},
                 {"tesselu formats --json | jq '.[2].int'", "what the integer path makes of UYVY"}},
    .execute = ListFormats,
};

}  // namespace tool
