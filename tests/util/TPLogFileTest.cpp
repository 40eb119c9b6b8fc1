// The log file: its framing lines byte for byte, line ends, appending, truncation, the folder it
// makes, and the line the string class leaves in it.
#include <tnpackage/tnpackage.h>

#include <sys/mman.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::TPLogFile;
using tn::TPString;

const std::string kStars20(20, '*');
const std::string kClosing = std::string(62, '*') + "\r\n";
// With the clock pinned at 12:01:00 on 15 July 2012 (below): DDMMYYHHMMSS.
const std::string kOpening = kStars20 + " 150712120100 " + kStars20 + "\r\n";

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

class TPLogFileTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = tn::test::ScratchFolder();
        savedLog_ = tn::LogFile;
        savedIdeRun_ = tn::IDERun;
        // The counted clock: noon of 15 July 2012 plus 600 tenths, two hours ahead of UTC.
        savedTimer_ = tn::ZehntelTimer;
        savedResetTime_ = tn::ResetTime;
        savedOffsetHours_ = static_cast<int>(std::lround(tn::UTCOffset() * 24));
        tn::ResetTime = tn::TPDateTime(15, 7, 2012) + 0.5;
        tn::ZehntelTimer = 600;
        tn::SetUTCOffset(2);
    }
    void TearDown() override {
        tn::LogFile = savedLog_;
        tn::IDERun = savedIdeRun_;
        tn::ZehntelTimer = savedTimer_;
        tn::ResetTime = savedResetTime_;
        tn::SetUTCOffset(savedOffsetHours_);
    }

    std::string Path(const char* name) const { return (dir_ / name).string(); }

    // The file's contents with the opening line taken off.
    static std::string AfterOpening(const std::string& contents) {
        if (contents.rfind(kOpening, 0) != 0) return "<no opening line> " + contents;
        return contents.substr(kOpening.size());
    }

    fs::path dir_;

  private:
    TPLogFile* savedLog_ = nullptr;
    bool savedIdeRun_ = false;
    std::int32_t savedTimer_ = 0;
    tn::TPDateTime savedResetTime_;
    int savedOffsetHours_ = 0;
};

TEST_F(TPLogFileTest, LinesEndInCarriageReturnLineFeedBetweenOpeningAndClosingLines) {
    const std::string path = Path("plain.log");
    {
        TPLogFile log(path.c_str(), false);
        EXPECT_EQ(ReadFile(path), kOpening);
        log.Write("erste Zeile");
        log.Write(TPString());
        log.Write(
            "Gr\xFC\xDF"
            "e");
    }
    EXPECT_EQ(AfterOpening(ReadFile(path)),
              "erste Zeile\r\n\r\nGr\xFC\xDF"
              "e\r\n" +
                  kClosing);
}

TEST_F(TPLogFileTest, AppendContinuesTheLastLine) {
    const std::string path = Path("append.log");
    {
        TPLogFile log(path.c_str(), false);
        log.Append(" weiter");  // right after the opening line: at its end
        log.Write("a");
        log.Append("b");
        log.Append("");
    }
    EXPECT_EQ(ReadFile(path),
              kStars20 + " 150712120100 " + kStars20 + " weiter\r\nab\r\n" + kClosing);

    // On an emptied file the text goes to the start; on a one-byte file after that byte.
    {
        TPLogFile log(path.c_str(), false);
        fs::resize_file(path, 0);
        log.Append("leer");
    }
    EXPECT_EQ(ReadFile(path), "leer\r\n" + kClosing);
    {
        TPLogFile log(path.c_str(), false);
        fs::resize_file(path, 1);
        log.Append("x");
    }
    EXPECT_EQ(ReadFile(path), "*x\r\n" + kClosing);
}

TEST_F(TPLogFileTest, OpeningAppendsToAnExistingLogOrEmptiesIt) {
    const std::string path = Path("old.log");
    WriteFile(path, "alt\r\n");
    { TPLogFile log(path.c_str(), true); }
    std::string contents = ReadFile(path);
    EXPECT_EQ(contents.substr(0, 5), "alt\r\n");
    EXPECT_EQ(AfterOpening(contents.substr(5)), kClosing);

    { TPLogFile log(path.c_str(), false); }
    EXPECT_EQ(AfterOpening(ReadFile(path)), kClosing);

    // Appending to a log that is not there yet creates it.
    const std::string fresh = Path("fresh.log");
    { TPLogFile log(fresh.c_str(), true); }
    EXPECT_EQ(AfterOpening(ReadFile(fresh)), kClosing);
}

TEST_F(TPLogFileTest, MissingFoldersAreCreatedAndAnUnopenableLogIsHarmless) {
    const fs::path nested = dir_ / "a" / "b" / "nested.log";
    { TPLogFile log(nested.string().c_str(), false); }
    EXPECT_EQ(AfterOpening(ReadFile(nested)), kClosing);

    fs::create_directories(dir_ / "taken.log");  // a folder where the file should be
    TPLogFile blocked(Path("taken.log").c_str(), false);
    EXPECT_EQ(blocked.Handle, -1);
    blocked.Write("ins Leere");
    blocked.Append("auch");
    blocked.TimeWrite("nichts");
    EXPECT_TRUE(fs::is_empty(dir_ / "taken.log"));
}

TEST_F(TPLogFileTest, TimeWritePutsTheUtcTimeOfDayBeforeTheText) {
    const std::string path = Path("time.log");
    {
        TPLogFile log(path.c_str(), false);
        log.TimeWrite("Start");
        tn::ZehntelTimer += 36000;  // one hour later
        log.TimeWrite("");
    }
    // 12:01:00 local is 10:01:00 UTC.
    EXPECT_EQ(AfterOpening(ReadFile(path)), "10:01:00, Start\r\n11:01:00, \r\n" + kClosing);
}

TEST_F(TPLogFileTest, TheDevelopmentEnvironmentIsRecognisedFromItsVariable) {
    const std::string path = Path("ide.log");
    tn::IDERun = false;
    ::setenv(TPLogFile::kDevelopmentVariable, "0", 1);
    { TPLogFile log(path.c_str(), false); }
    EXPECT_FALSE(tn::IDERun);
    ::setenv(TPLogFile::kDevelopmentVariable, "1", 1);
    { TPLogFile log(path.c_str(), false); }
    EXPECT_TRUE(tn::IDERun);
    ::unsetenv(TPLogFile::kDevelopmentVariable);
}

// A log that keeps its lines: the package must write through the first virtual operation.
class RecordingLog : public TPLogFile {
  public:
    using TPLogFile::TPLogFile;
    void Write(TPString text) override {
        lines += std::string(text.IsEmpty() ? "" : text.c_str()) + "|";
    }
    std::string lines;
};

TEST_F(TPLogFileTest, AStringFaultLeavesALineInTheLogWhileOneExists) {
    // A page that exists but cannot be read stands for a bad text pointer.
    void* page = ::mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    char* bad = static_cast<char*>(page);

    tn::LogFile = nullptr;
    EXPECT_TRUE(TPString(bad, 0).IsEmpty());  // no log: nothing happens

    const std::string path = Path("fault.log");
    {
        TPLogFile log(path.c_str(), false);
        tn::LogFile = &log;
        EXPECT_TRUE(TPString(bad, 0).IsEmpty());
    }
    EXPECT_EQ(tn::LogFile, nullptr);  // the log cleared the pointer as it closed
    EXPECT_EQ(AfterOpening(ReadFile(path)), "TP-String-Exception\r\n" + kClosing);

    RecordingLog recording(Path("recording.log").c_str(), false);
    tn::LogFile = &recording;
    (void)TPString(bad, 0);
    recording.TimeWrite("t");
    EXPECT_EQ(recording.lines, "TP-String-Exception|10:01:00, t|");
    tn::LogFile = nullptr;
    ::munmap(page, 4096);
}

}  // namespace
