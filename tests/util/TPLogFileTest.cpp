// The log file: its framing lines byte for byte, line ends, appending, truncation, the folder it
// makes, and the line the string class leaves in it.
#include <tnpackage/tnpackage.h>

#include <sys/mman.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using tn::TPLogFile;
using tn::TPString;

const std::string kStars20(20, '*');
const std::string kClosing = std::string(62, '*') + "\r\n";
// The opening line around its date and time (the clock's text is checked on its own below).
const std::regex kOpening(R"(\*{20} [^\r\n*]+ \*{20}\r\n)");

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
        const char* base = std::getenv("TN_TEST_TMP");
        const fs::path root = base != nullptr && *base != '\0'
                                  ? fs::path(base)
                                  : fs::temp_directory_path() / "tn-tests";
        dir_ = root / "util" / ::testing::UnitTest::GetInstance()->current_test_info()->name();
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        savedLog_ = tn::LogFile;
        savedIdeRun_ = tn::IDERun;
    }
    void TearDown() override {
        tn::LogFile = savedLog_;
        tn::IDERun = savedIdeRun_;
    }

    std::string Path(const char* name) const { return (dir_ / name).string(); }

    // The file's contents with the opening line taken off; empty when it does not open the file.
    static std::string AfterOpening(const std::string& contents) {
        std::smatch m;
        if (!std::regex_search(contents, m, kOpening, std::regex_constants::match_continuous)) {
            return "<no opening line>";
        }
        return m.suffix().str();
    }

    fs::path dir_;

  private:
    TPLogFile* savedLog_ = nullptr;
    bool savedIdeRun_ = false;
};

TEST_F(TPLogFileTest, LinesEndInCarriageReturnLineFeedBetweenOpeningAndClosingLines) {
    const std::string path = Path("plain.log");
    {
        TPLogFile log(path.c_str(), false);
        std::string opening = ReadFile(path);
        EXPECT_TRUE(std::regex_match(opening, kOpening)) << opening;
        EXPECT_EQ(opening.substr(0, 21), kStars20 + " ");
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
    const std::string contents = ReadFile(path);
    ASSERT_GE(contents.size(), 41u);
    const std::size_t firstBreak = contents.find("\r\n");
    EXPECT_EQ(contents.substr(firstBreak - 27), kStars20 + " weiter\r\nab\r\n" + kClosing);

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

TEST_F(TPLogFileTest, TimeWritePutsTheTimeBeforeTheText) {
    const std::string path = Path("time.log");
    {
        TPLogFile log(path.c_str(), false);
        log.TimeWrite("Start");
    }
    const std::string body = AfterOpening(ReadFile(path));
    EXPECT_TRUE(std::regex_match(body, std::regex(R"([^\r\n,]+, Start\r\n\*{62}\r\n)"))) << body;
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
    EXPECT_EQ(recording.lines.substr(0, 20), "TP-String-Exception|");
    EXPECT_TRUE(std::regex_match(recording.lines.substr(20), std::regex(R"([^|]+, t\|)")));
    tn::LogFile = nullptr;
    ::munmap(page, 4096);
}

}  // namespace
