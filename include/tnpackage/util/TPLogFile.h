// A plain-text log on the PC: one line per entry, each ended by CR LF, framed by a dated opening
// line and a closing line of stars:
//
//   ******************** 150712120100 ********************     (date and time as DDMMYYHHMMSS)
//   ...
//   **************************************************************
//
// All times come from the package clock (tn/time/Clock.h), so a host that counts ZehntelTimer
// gets its counted time in the log.
//
// The package keeps one log, LogFile, which the host creates and assigns. While it exists, the
// string class writes "TP-String-Exception" into it when it meets a text pointer it cannot read.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

class TN_EXPORT TPLogFile {
  public:
    /// Stars on each side of the opening line's date.
    static constexpr int kOpeningStars = 20;
    /// Stars of the closing line.
    static constexpr int kClosingStars = 62;
    /// Environment variable that marks a run inside the development environment: set to
    /// anything but "" or "0", the constructor sets IDERun.
    static constexpr const char* kDevelopmentVariable = "TN_IDE_RUN";

    /// Opens the log (creating its folder), appending when `append` is set and the file
    /// exists, otherwise emptying or creating it, and writes the opening line with the package
    /// clock's local date and time in the form of PDateTimeFlag::DateTime.
    TPLogFile(TPString name, bool append);

    /// Writes `text` as one line. The first virtual operation: TimeWrite and the string
    /// class's fault line go through it, so a derived log may send them elsewhere. The opening
    /// and closing lines use this class's own Write (C++ does not dispatch to a derived class
    /// that is not yet built or already destroyed).
    virtual void Write(TPString text);

    /// Writes the closing line and closes the file. Clears LogFile when it points here.
    virtual ~TPLogFile();
    TPLogFile(const TPLogFile&) = delete;
    TPLogFile& operator=(const TPLogFile&) = delete;

    /// Writes the package clock's UTC time of day (CurrentTime(), as HH:MM:SS), ", " and
    /// `text` as one line.
    void TimeWrite(TPString text);
    /// Continues the last line: writes `text` over the last line break.
    void Append(TPString text);

    std::intptr_t Handle = -1;  ///< the open file, or -1 when it could not be opened
    TPString FileName;
};

/// The package's log; null until the host creates one.
TN_EXPORT extern TPLogFile* LogFile;
/// The host's switch for its own logging; the package does not read it.
TN_EXPORT extern bool LogFileEnable;

}  // namespace tn
