// The tool's text commands: igcname, mod36 and convert.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "ExternalTools.h"
#include "support/RunTool.h"

namespace tn {
namespace {

// `tnpkg convert <options>` with `input` on standard input.
test::ToolResult Convert(const std::string& options, const std::string& input) {
    const auto file = test::ScratchFolder() / "convert_input";
    { std::ofstream(file, std::ios::binary) << input; }
    auto result = test::RunTool("convert " + options + " < '" + file.string() + "'");
    std::filesystem::remove(file);
    return result;
}

TEST(TextTool, IgcNameAndMod36) {
    const auto name = test::RunTool("igcname 1234 1");
    EXPECT_EQ(name.status, 0);
    const std::string expected = IGCName(1234, 1).c_str();
    EXPECT_EQ(name.output, expected + "\n");
    EXPECT_EQ(name.output.substr(3), std::string(1, build::kIgcManufacturer) + "0YA1.IGC\n");
    EXPECT_EQ(test::RunTool("igcname 46656 1").status, 2);
    EXPECT_EQ(test::RunTool("igcname 1 36").status, 2);
    EXPECT_EQ(test::RunTool("igcname 1").status, 2);
    EXPECT_EQ(test::RunTool("igcname x 1").status, 2);

    EXPECT_EQ(test::RunTool("mod36 36 3").output, "010\n");
    EXPECT_EQ(test::RunTool("mod36 60466175").output, "ZZZZZ\n");
    EXPECT_EQ(test::RunTool("mod36 --decode 1z").output, "71\n");
    EXPECT_EQ(test::RunTool("mod36 --decode 9A0").output, "12024\n");
    EXPECT_EQ(test::RunTool("mod36").status, 2);
    EXPECT_EQ(test::RunTool("mod36 1 2 3").status, 2);
    EXPECT_EQ(test::RunTool("mod36 --decode").status, 2);
    EXPECT_EQ(test::RunTool("mod36 --frobnicate 1").status, 2);
}

TEST(TextTool, ConvertFilters) {
    const std::string letters = "\xC4\xD6\xDC\xE4\xF6\xFC\xDF";
    const std::string oem = test::RunReference("iconv -f CP1252 -t CP850", letters);
    auto r = Convert("--to oem", letters + "\r\n" + letters + "\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, oem + "\r\n" + oem + "\n");  // line ends pass through
    EXPECT_EQ(Convert("--to ansi", oem + "[_~\n").output, letters + "\xC4\xDF~\n");
    EXPECT_EQ(Convert("--to uml", "\xD6l\n").output, "Oel\n");
    EXPECT_EQ(Convert("--to uml --upper", "\xD6l\n").output, "OEl\n");
    EXPECT_EQ(Convert("--to html", "a<\xB0").output, "a<&#176;");
    EXPECT_EQ(Convert("--to html --markup", "a<\xB0").output, "a&#60;&#176;");
    EXPECT_EQ(Convert("--to url", "a b\xE4\n").output, "a%20b%FF\n");
    EXPECT_EQ(Convert("--to utf8", letters).output,
              test::RunReference("iconv -f CP1252 -t UTF-8", letters));
    const std::string utf8 = test::RunReference("iconv -f CP1252 -t UTF-8", letters);
    EXPECT_EQ(Convert("--from utf8 --to ansi", utf8 + "\xE2\x86\x92").output, letters + "?");
    EXPECT_EQ(Convert("--from utf8 --to html", "\xC3\xA4\xE2\x86\x92<").output, "&#228;&#8594;<");
    EXPECT_EQ(Convert("--from html --to utf8", "M&uuml;nchen &euro;").output,
              "M\xC3\xBCnchen \xE2\x82\xAC");
    EXPECT_EQ(Convert("--from html --to oem", "&auml;").output, "\x84");

    // Long lines go through the conversions with fixed work buffers whole.
    const std::string longLine(10000, '\xE4');
    EXPECT_EQ(Convert("--to html", longLine).output.size(), 60000u);
    EXPECT_EQ(Convert("--to uml --upper", longLine).output.size(), 20000u);
    EXPECT_EQ(Convert("--to url", std::string(10000, ' ')).output.size(), 30000u);
    EXPECT_EQ(Convert("--from html --to ansi", std::string(10000, 'x') + "&amp;").output,
              std::string(10000, 'x') + "&");

    EXPECT_EQ(Convert("", "x").status, 2);
    EXPECT_EQ(Convert("--to klingon", "x").status, 2);
    EXPECT_EQ(Convert("--to oem --from latin9", "x").status, 2);
    EXPECT_EQ(Convert("--to oem extra", "x").status, 2);
}

}  // namespace
}  // namespace tn
