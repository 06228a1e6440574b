#include "ProgramRun.h"

namespace tool::test {
namespace {

/// What is installed beside the program.
class DocumentsTest : public ProgramTest {};

TEST_F(DocumentsTest, TheManualPageHasNoFaultAndAllCommands) {
    const std::string page = TESSELU_DOCUMENTS "/tesselu.1";
    ASSERT_TRUE(std::filesystem::exists(page)) << "help2man makes it";
    const Outcome shown =
        Shell("LC_ALL=C.UTF-8 MANROFFSEQ= MANWIDTH=100 man --warnings -l '" + page + "' | col -b");
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.err, "");
    for (const char* word :
         {"NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "EXAMPLES", "tesselu wipe [OPTION]",
          "The command testcard", "The command compare", "--keep-going", "--sheet=FILE.png"}) {
        EXPECT_NE(shown.out.find(word), std::string::npos) << word << shown.out;
    }
}

TEST_F(DocumentsTest, ShellsReadTheirCompletions) {
    const std::string place = TESSELU_DOCUMENTS "/completions/tesselu.";
    EXPECT_EQ(Shell("bash -n '" + place + "bash'").err, "");
    EXPECT_EQ(Shell("zsh -n '" + place + "zsh'").err, "");
    EXPECT_EQ(Shell("fish --no-execute '" + place + "fish'").err, "");
    for (const char* shell : {"bash", "zsh", "fish"}) {
        const Outcome printed = Run(std::string("--completion ") + shell);
        EXPECT_EQ(printed.out, Contents(place + shell));
        for (const char* word : {"wipe", "testcard", "patterns", "info", "keep-going", "mkv"}) {
            EXPECT_NE(printed.out.find(word), std::string::npos) << shell << " " << word;
        }
    }
}

/// What bash offers for the last of some words.
TEST_F(DocumentsTest, BashCompletesCommandsOptionsValuesAndFiles) {
    for (const char* name : {"a.mkv", "b.MP4", "notes.txt", "c.png", "look.cube"}) {
        std::ofstream(In(name)) << "x";
    }
    const auto offered = [this](const std::string& words) {
        return Shell("unset -f tesselu; source '" TESSELU_DOCUMENTS
                     "/completions/tesselu.bash'; COMP_WORDS=(" +
                     words +
                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tesselu; printf '%s\\n' \"${COMPREPLY[@]}\" "
                     "| LC_ALL=C sort | tr '\\n' ' '")
            .out;
    };
    EXPECT_EQ(offered("tesselu wi"), "wipe ");
    EXPECT_EQ(offered("tesselu wipe --softn"), "--softness ");
    EXPECT_EQ(offered("tesselu wipe --scan p"), "progressive ");
    EXPECT_EQ(offered("tesselu wipe ''"), "a.mkv b.MP4 c.png ");
    EXPECT_EQ(offered("tesselu wipe -o ''"), "a.mkv b.MP4 c.png ");
    EXPECT_EQ(offered("tesselu wipe --sheet ''"), "c.png ");
    EXPECT_EQ(offered("tesselu lut --cube ''"), "look.cube ");
    EXPECT_EQ(offered("tesselu lut --invert ''"), "a.mkv b.MP4 c.png ");
    EXPECT_EQ(offered("tesselu patterns --softness"), " ");
    EXPECT_EQ(offered("tesselu mask e"), "ellipse ");
    EXPECT_EQ(offered("tesselu pattern 4"), " ");
    EXPECT_EQ(offered("tesselu compare ''"), "a.mkv b.MP4 c.png ");
}

TEST_F(DocumentsTest, FishCompletesCommandsOptionsValuesAndFiles) {
    for (const char* name : {"a.mkv", "notes.txt", "c.png", "look.cube"}) {
        std::ofstream(In(name)) << "x";
    }
    const auto offered = [this](const std::string& line) {
        return Shell("HOME=$PWD fish -N -c \"source '" TESSELU_DOCUMENTS
                     "/completions/tesselu.fish'; complete -C '" +
                     line + "'\" | cut -f 1 | LC_ALL=C sort | tr '\\n' ' '")
            .out;
    };
    EXPECT_EQ(offered("tesselu wi"), "wipe ");
    EXPECT_EQ(offered("tesselu wipe --softn"), "--softness ");
    EXPECT_EQ(offered("tesselu wipe --scan p"), "progressive ");
    EXPECT_EQ(offered("tesselu wipe "), "a.mkv c.png ");
    EXPECT_EQ(offered("tesselu wipe --sheet "), "c.png ");
    EXPECT_EQ(offered("tesselu lut --cube "), "look.cube ");
}

// Completions of zsh can be asked for on a terminal only.
TEST_F(DocumentsTest, ZshCompletesCommandsOptionsAndValues) {
    std::ofstream(In("ask.zsh")) << R"(
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "PS1=; fpath=($1 \$fpath); autoload -Uz compinit; compinit -D -u; zstyle ':completion:*' list-separator '#'; bindkey '^I' complete-word"
zpty -w shell "tesselu() { : }; compdef _tesselu tesselu; echo READY"
zpty -r -m shell line '*READY*READY*'
zpty -w -n shell "$2"$'\t'
zpty -r -m shell answer "*$3*" && print FOUND
zpty -d shell
)";
    std::filesystem::create_directory(directory / "functions");
    std::filesystem::copy_file(TESSELU_DOCUMENTS "/completions/tesselu.zsh",
                               directory / "functions/_tesselu");
    const auto completes = [this](const std::string& line, const std::string& to) {
        const Outcome asked = Shell("TERM=xterm HOME=$PWD timeout 30 zsh -f ask.zsh \"$PWD/functions\" '" +
                                    line + "' '" + to + "'");
        return asked.out.find("FOUND") != std::string::npos;
    };
    EXPECT_TRUE(completes("tesselu wi", "tesselu wi*pe"));
    EXPECT_TRUE(completes("tesselu wipe --softn", "tesselu wipe --softness*="));
    EXPECT_TRUE(completes("tesselu wipe --scan=prog", "tesselu wipe --scan=progressive"));
}

TEST_F(DocumentsTest, ScriptsTellWhatTheyDo) {
    for (const char* script : {"demo", "test", "docs-images", "gallery"}) {
        const Outcome help = Shell(std::string("'" TESSELU_SOURCE_DIR "/scripts/") + script + "' --help");
        EXPECT_EQ(help.status, 0) << script << help.err;
        EXPECT_NE(help.out.find(std::string("scripts/") + script), std::string::npos) << help.out;
        EXPECT_EQ(help.err, "");
    }
}

}  // namespace
}  // namespace tool::test
