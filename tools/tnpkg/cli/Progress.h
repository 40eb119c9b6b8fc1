// A single updating progress line on standard error for long operations. It shows only when
// standard error is a terminal and the command was not given --quiet, and it is redrawn at most
// a few times a second so that it never slows the work it reports.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tnpkg {

class Progress {
  public:
    /// `label` starts the line ("extracting", "writing", ...); `quiet` silences it.
    Progress(std::string label, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Reports `done` of `total` units (total 0: unknown) and what is being worked on.
    void Update(std::uint64_t done, std::uint64_t total, const std::string& item = {});
    /// Clears the line; called by the destructor too.
    void Finish();

  private:
    std::string label_;
    bool enabled_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point last_{};
};

}  // namespace tnpkg
