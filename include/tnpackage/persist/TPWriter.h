// The byte writer through which records and strings save themselves: one call per byte, with
// the 32-bit device address the byte belongs at.
#pragma once

#include <tnpackage/Export.h>

#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace tn {

class TPWriter {
  public:
    /// An empty writer: savers then only count the bytes and adjust their addresses.
    TPWriter() = default;
    TPWriter(std::nullptr_t) {}

    /// Any callable `void(int address, char byte)`, such as a lambda or a function pointer.
    /// A null function pointer gives an empty writer.
    template <class F>
    requires(!std::same_as<std::remove_cvref_t<F>, TPWriter> &&
             std::is_invocable_v<std::decay_t<F>&, int, char>) TPWriter(F&& function)
        : function_(std::forward<F>(function)) {}

    /// An object together with one of its member functions; the object must outlive the writer.
    template <class T>
    TPWriter(T& object, void (T::*method)(int, char))
        : function_(
              [&object, method](int address, char byte) { (object.*method)(address, byte); }) {
        if (method == nullptr) function_ = nullptr;
    }

    /// Whether there is a function to call.
    explicit operator bool() const noexcept { return static_cast<bool>(function_); }

    /// Hands one byte to the function; nothing happens for an empty writer.
    void operator()(int address, char byte) const {
        if (function_) function_(address, byte);
    }

  private:
    std::function<void(int, char)> function_;
};

}  // namespace tn
