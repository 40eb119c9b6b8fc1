// The tool's text commands: igcname, mod36 and convert.
#include "text/TextTestHelpers.h"

namespace tn::test {
namespace {

// `tnpkg convert <options>` with `input` on standard input.
std::string Convert(const std::string& options, const std::string& input) {
    return RunReference(std::string("'") + TN_TNPKG_PATH + "' convert " + options, input);
}

TEST(TextTool, IgcNameMod36AndConvert) {
    TN_REQUIRE_SHELL();
    EXPECT_EQ(RunTool("igcname 1234 1").output, ToStdString(IGCName(1234, 1)) + "\n");
    EXPECT_EQ(RunTool("mod36 36 3").output + RunTool("mod36 --decode 1z").output, "010\n71\n");
    for (const char* bad : {"igcname 46656 1", "igcname 1 36", "igcname x 1", "mod36",
                            "mod36 1 2 3", "mod36 --decode", "convert", "convert --to klingon",
                            "convert --to oem --from latin9", "convert --to oem one two"})
        EXPECT_EQ(RunTool(std::string(bad) + " </dev/null").status, 2) << bad;

    const std::string letters = "\xC4\xD6\xDC\xE4\xF6\xFC\xDF";
    const std::string oem = RunReference("iconv -f CP1252 -t CP850", letters);
    const std::string utf8 = RunReference("iconv -f CP1252 -t UTF-8", letters);
    EXPECT_EQ(Convert("--to oem", letters + "\r\n" + letters + "\n"), oem + "\r\n" + oem + "\n");
    EXPECT_EQ(Convert("--to ansi", oem + "[_~\n"), letters + "\xC4\xDF~\n");
    EXPECT_EQ(Convert("--to uml", "\xD6l\n") + Convert("--to uml --upper", "\xD6l\n"),
              "Oel\nOEl\n");
    EXPECT_EQ(Convert("--to html --markup", "a<\xB0"), "a&#60;&#176;");
    EXPECT_EQ(Convert("--to url", "a b\xE4\n"), "a%20b%FF\n");
    EXPECT_EQ(Convert("--to utf8", letters), utf8);
    EXPECT_EQ(Convert("--from utf8 --to ansi", utf8 + "\xE2\x86\x92"), letters + "?");
    EXPECT_EQ(Convert("--from utf8 --to html", "\xC3\xA4\xE2\x86\x92<"), "&#228;&#8594;<");
    EXPECT_EQ(Convert("--from html --to utf8", "&uuml; &euro;"), "\xC3\xBC \xE2\x82\xAC");
    // Long lines go whole through the conversions with fixed work buffers.
    const std::string longLine(10000, '\xE4');
    EXPECT_EQ(Convert("--to html", longLine).size(), 60000u);
    EXPECT_EQ(Convert("--to uml --upper", longLine).size(), 20000u);
    EXPECT_EQ(Convert("--to url", std::string(10000, ' ')).size(), 30000u);
    EXPECT_EQ(Convert("--from html --to ansi", longLine + "&amp;"), longLine + "&");
}

}  // namespace
}  // namespace tn::test
