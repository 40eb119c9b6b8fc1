// The log file: its lines byte for byte, appending, truncation, the folder it makes, and the
// line the string class leaves in it.
#include <tnpackage/tnpackage.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "support/Files.h"
#include "support/Platform.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::TPLogFile;

const std::string kStars(20, '*'), kClosing = std::string(62, '*') + "\r\n";
const std::string kOpening = kStars + " 150712120100 " + kStars + "\r\n";  // DDMMYYHHMMSS

std::string ReadFile(const fs::path& path) {
    return tn::test::LoadText(path);
}

// The clock counts from noon of 15 July 2012, 600 tenths on (12:01:00), two hours ahead of UTC.
class TPLogFileTest : public ::testing::Test {
  protected:
    TPLogFileTest() {
        tn::ResetTime = tn::TPDateTime(15, 7, 2012) + 0.5;
        tn::ZehntelTimer = 600;
        tn::SetUTCOffset(2);
    }
    ~TPLogFileTest() override {
        tn::LogFile = log_;
        tn::IDERun = ideRun_;
        tn::ZehntelTimer = timer_;
        tn::ResetTime = resetTime_;
        tn::SetUTCOffset(offsetHours_);
    }
    std::string Path(const char* name) const { return (dir_ / name).string(); }
    const fs::path dir_ = tn::test::ScratchFolder();

  private:
    TPLogFile* log_ = tn::LogFile;
    bool ideRun_ = tn::IDERun;
    std::int32_t timer_ = tn::ZehntelTimer;
    tn::TPDateTime resetTime_ = tn::ResetTime;
    int offsetHours_ = static_cast<int>(std::lround(tn::UTCOffset() * 24));
};

TEST_F(TPLogFileTest, LinesEndInCrLfBetweenOpeningAndClosingLinesAndOpeningAppendsOrEmpties) {
    const std::string path = Path("plain.log");
    {
        TPLogFile log(path.c_str(), false);
        EXPECT_EQ(ReadFile(path), kOpening);
        log.Append(" weiter");  // right after the opening line: at its end
        log.Write("erste Zeile");
        log.Write(tn::TPString());
        log.Write("gr\xFC\xDFt");
        log.Append("!");
        log.TimeWrite("t");  // 12:01:00 local is 10:01:00 UTC
    }
    EXPECT_EQ(ReadFile(path), kOpening.substr(0, kOpening.size() - 2) +
                                  " weiter\r\nerste Zeile\r\n\r\ngr\xFC\xDFt!\r\n" +
                                  "10:01:00, t\r\n" + kClosing);
    {
        TPLogFile log(path.c_str(), false);
        fs::resize_file(path, 0);
        log.Append("x");  // on an empty file: at the start
    }
    EXPECT_EQ(ReadFile(path), "x\r\n" + kClosing);

    // Opening appends to an existing log or empties it, and makes missing folders.
    const std::string fresh = Path("a/b/fresh.log");
    std::ofstream(path, std::ios::binary) << "alt\r\n";
    { TPLogFile log(path.c_str(), true); }
    EXPECT_EQ(ReadFile(path), "alt\r\n" + kOpening + kClosing);
    { TPLogFile log(path.c_str(), false); }
    EXPECT_EQ(ReadFile(path), kOpening + kClosing);
    { TPLogFile log(fresh.c_str(), true); }  // appending to a missing log in missing folders
    EXPECT_EQ(ReadFile(fresh), kOpening + kClosing);

    tn::IDERun = false;
    tn::test::SetEnv(TPLogFile::kDevelopmentVariable, "1");  // marks the development environment
    fs::create_directories(dir_ / "taken.log");              // a folder where the file should be
    TPLogFile(Path("taken.log").c_str(), false).TimeWrite("ins Leere");
    tn::test::UnsetEnv(TPLogFile::kDevelopmentVariable);
    EXPECT_TRUE(tn::IDERun);
    EXPECT_TRUE(fs::is_empty(dir_ / "taken.log"));
}

TEST_F(TPLogFileTest, AStringFaultLeavesALineInTheLogWhileOneExists) {
    // A page that exists but cannot be read stands for a bad text pointer.
    const tn::test::UnreadablePage page;
    ASSERT_NE(page.get(), nullptr);
    const auto fault = [&] { EXPECT_TRUE(tn::TPString(page.get(), 0).IsEmpty()); };
    tn::LogFile = nullptr;
    fault();  // no log: nothing happens
    {
        TPLogFile log(Path("fault.log").c_str(), false);
        tn::LogFile = &log;
        fault();
    }
    EXPECT_EQ(tn::LogFile, nullptr);  // the log cleared the pointer as it closed
    EXPECT_EQ(ReadFile(Path("fault.log")), kOpening + "TP-String-Exception\r\n" + kClosing);
}

}  // namespace
