// `tnpkg drives` on POSIX: the drive map from TN_DRIVES, in the tool's own words.
#include <gtest/gtest.h>

#include <string>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace tn {
namespace {

TEST(DrivesCommand, ReadsTheMapFromTheEnvironment) {
#ifdef _WIN32
    GTEST_SKIP() << "runs the tool through a POSIX shell";
#endif
    const std::string folder = test::ScratchFolder().string();
    const std::string env = "TN_DRIVES='T=" + folder + ";X=" + folder + "/missing' ";
    test::ToolResult r = test::RunCommand(env + "'" TN_TNPKG_PATH "' drives 2>&1");
    EXPECT_EQ(r.status, 0) << r.output;
    // The tool's own words: folders, not the package's German names and Windows fields.
    EXPECT_NE(r.output.find("T: the folder " + folder + "\n  label:        (none)\n"),
              std::string::npos)
        << r.output;
    EXPECT_NE(
        r.output.find("X: the folder " + folder + "/missing\n  not readable: no such folder\n"),
        std::string::npos)
        << r.output;
    EXPECT_EQ(r.output.find("VolumeNameBuffer"), std::string::npos) << r.output;
    EXPECT_EQ(r.output.find("Festplatte"), std::string::npos) << r.output;

    r = test::RunCommand(env + "'" TN_TNPKG_PATH "' drives --json");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output.rfind("[{\"letter\":\"T\",\"path\":\"" + folder + "\",\"found\":true,", 0),
              0u)
        << r.output;
    EXPECT_NE(r.output.find("{\"letter\":\"X\""), std::string::npos);
    EXPECT_NE(r.output.find("\"driveTypeName\":\"Existiert nicht!\",\"kind\":\"no such folder\"}]"),
              std::string::npos);

    // A bad entry is reported (in UTF-8) and makes the command fail; good ones still count.
    r = test::RunCommand("TN_DRIVES='T=" + folder + ";Tx=/y' '" TN_TNPKG_PATH "' drives 2>&1");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("Laufwerkszuordnung 'Tx=/y' ist ung\xC3\xBCltig!"), std::string::npos);
    EXPECT_NE(r.output.find("T: the folder " + folder), std::string::npos);

    r = test::RunCommand("TN_DRIVES= '" TN_TNPKG_PATH "' drives --json");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "[]\n");
}

}  // namespace
}  // namespace tn
