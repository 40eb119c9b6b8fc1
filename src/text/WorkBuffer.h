// A fixed-size work buffer of the conversions. Its size bounds what they return; where the
// original let a long text run past the end, this one stops at the last piece that fits whole,
// so the result is truncated but never written beyond the buffer.
#pragma once

#include <cstring>

namespace tn::detail {

template <int N>
class WorkBuffer {
  public:
    static constexpr int kCapacity = N - 1;  // one byte stays for the terminating NUL

    /// Appends `s` whole, or nothing when it would not fit; false then.
    bool Put(const char* s) {
        const auto n = static_cast<int>(std::strlen(s));
        if (n > kCapacity - used_) return false;
        std::memcpy(data_ + used_, s, static_cast<std::size_t>(n));
        used_ += n;
        return true;
    }
    bool Put(char c) {
        if (used_ >= kCapacity) return false;
        data_[used_++] = c;
        return true;
    }
    int Used() const { return used_; }
    /// The NUL-terminated text written so far.
    char* Text() {
        data_[used_] = '\0';
        return data_;
    }

  private:
    char data_[N];
    int used_ = 0;
};

}  // namespace tn::detail
