// `tnpkg convert`: the package's character-set and mark-up conversions as a filter.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/HostFiles.h"
#include "cli/Output.h"

namespace tnpkg {
namespace {

// The conversions with a fixed work buffer get pieces small enough for their longest
// expansion: six bytes per character into 1024 (Ansi2HTML), three into 4096 (HTMLCodierung),
// two into 4096 (UmlautCodierung).
constexpr std::size_t kHtmlPiece = 150;
constexpr std::size_t kUrlPiece = 1000;
constexpr std::size_t kSpellingPiece = 1000;

enum class Source { Ansi, Utf8, Html };

struct Conversion {
    Source source = Source::Ansi;
    std::string target;
    bool markup = false;
    bool upper = false;
};

tn::TPString Owned(const std::string& text) {
    return tn::TPString(const_cast<char*>(text.c_str()));
}

template <class Convert>
std::string InPieces(const std::string& text, std::size_t piece, Convert convert) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += piece)
        out += convert(text.substr(i, piece));
    return out;
}

// Text without line ends or NUL bytes, in the source form, to the target form.
std::string ConvertText(const Conversion& c, const std::string& text) {
    if (text.empty()) return text;
    if (c.source == Source::Utf8 && c.target == "html") {
        return tn::ToStdString(Owned(text).UTF8toHTML(c.markup ? 1 : 0));
    }
    std::string ansi = text;
    if (c.source == Source::Utf8) {
        ansi = tn::ToStdString(Owned(text).UTF8toAscii());
    } else if (c.source == Source::Html) {
        std::vector<char> decoded(text.size() + 1);
        tn::HTMLDecodierung2(text.c_str(), decoded.data());
        ansi = decoded.data();
    }
    if (c.target == "oem") return tn::ToStdString(Owned(ansi).Ansi2OEM());
    if (c.target == "ansi") {
        return c.source == Source::Ansi ? tn::ToStdString(Owned(ansi).OEM2Ansi()) : ansi;
    }
    if (c.target == "uml") {
        if (!c.upper) return tn::ToStdString(tn::KeinUmlaut(Owned(ansi)));
        return InPieces(ansi, kSpellingPiece, [](const std::string& s) {
            return tn::ToStdString(Owned(s).UmlautCodierung(true));
        });
    }
    if (c.target == "html") {
        return InPieces(ansi, kHtmlPiece, [&c](const std::string& s) {
            return tn::ToStdString(Owned(s).Ansi2HTML(c.markup));
        });
    }
    if (c.target == "url") {
        return InPieces(ansi, kUrlPiece, [](const std::string& s) {
            tn::TPString url = Owned(s);
            url.HTMLCodierung();
            return tn::ToStdString(url);
        });
    }
    return tn::Win1252ToUtf8(ansi);  // "utf8"
}

int RunConvert(const Args& args) {
    Conversion c;
    const auto target = args.Option("--to");
    if (!target) return UsageError("convert", "needs --to oem|ansi|uml|html|url|utf8");
    c.target = *target;
    if (c.target != "oem" && c.target != "ansi" && c.target != "uml" && c.target != "html" &&
        c.target != "url" && c.target != "utf8") {
        return UsageError("convert", "unknown --to " + c.target);
    }
    if (const auto from = args.Option("--from")) {
        if (*from == "utf8") {
            c.source = Source::Utf8;
        } else if (*from == "html") {
            c.source = Source::Html;
        } else {
            return UsageError("convert", "unknown --from " + *from);
        }
    }
    c.markup = args.Flag("--markup");
    c.upper = args.Flag("--upper");
    const std::string file =
        args.Positional().empty() ? std::string(kStandardInput) : args.Positional()[0];
    std::vector<unsigned char> bytes;
    std::string problem;
    if (!ReadInputFile(file, bytes, problem)) {
        RecordFailure(problem);
        std::fprintf(stderr, "tnpkg convert: %s\n", problem.c_str());
        return kFailure;
    }
    BinaryOutput();
    const std::string input(bytes.begin(), bytes.end());
    // Line by line: line ends ("\n", "\r\n") and NUL bytes pass through unchanged.
    std::string out;
    std::size_t start = 0;
    while (start < input.size()) {
        std::size_t end = input.find_first_of(std::string("\r\n\0", 3), start);
        if (end == std::string::npos) end = input.size();
        out += ConvertText(c, input.substr(start, end - start));
        if (end < input.size()) out += input[end];
        start = end + 1;
    }
    WriteOutput(out);
    return kSuccess;
}

const CommandRegistration reg(
    {"convert",
     "convert text between Windows-1252, OEM, ASCII spellings, HTML, URL and UTF-8",
     "usage: tnpkg convert --to oem|ansi|uml|html|url|utf8 [--from utf8|html] [--markup]\n"
     "                     [--upper] [FILE]\n\n"
     "Converts FILE (default, or -: standard input) to standard output, line by line (line\n"
     "ends pass through).\n"
     "The input is Windows-1252 text unless --from says otherwise; for --to ansi it is OEM\n"
     "text (code page 437/850, or the 7-bit German forms [ \\ ] { | } _).\n\n"
     "  --to oem    the German letters in the OEM code page\n"
     "  --to ansi   to Windows-1252\n"
     "  --to uml    the German letters spelled in ASCII (Ae, oe, ss); --upper: AE, OE, UE\n"
     "  --to html   the German letters and the degree sign as HTML references; --markup also\n"
     "              escapes & < >; from UTF-8, characters Windows-1252 lacks become\n"
     "              numeric references\n"
     "  --to url    percent-encoded for a URL (every byte from 0x80 on becomes %FF)\n"
     "  --to utf8   to UTF-8\n"
     "  --from utf8 the input is UTF-8; characters Windows-1252 lacks become ?\n"
     "  --from html the input's character references are decoded first\n\n"
     "Example: echo 'a < b' | tnpkg convert --to html --markup   ->  a &#60; b\n",
     {{nullptr,
       "[FILE]",
       0,
       1,
       {{"--to", Takes::Value}, {"--from", Takes::Value}, {"--markup"}, {"--upper"}}}},
     RunConvert});

}  // namespace
}  // namespace tnpkg
