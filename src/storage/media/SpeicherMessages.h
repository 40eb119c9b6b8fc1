// The texts the memory image reports through Warning.
#pragma once

#include <tnpackage/frame/Messages.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <string>

namespace tn::storage {

/// A short read or write of an image file.
inline constexpr const char* kInconsistency = "Widerspruch bei 'Speicher'";

/// An owned copy of a standard string (a TPString built from a const char* would only borrow).
inline TPString Owned(const std::string& text) {
    TPString result;
    result = text.c_str();
    return result;
}

/// "Widerspruch bei 'Speicher'", with " (detail)" when a detail is given.
inline void WarnInconsistency(const TPString& detail) {
    if (detail.IsEmpty()) {
        Warning(TPString(kInconsistency, 0));
    } else {
        Warning(TPString(kInconsistency, 0) + " (" + detail + ")");
    }
}

/// A byte range that does not lie inside the image's buffer.
inline void WarnOutsideBuffer(std::int64_t start, std::int64_t count) {
    Warning(
        Owned("Bereich au\xDF"
              "erhalb von 'Speicher' (" +
              std::to_string(start) + ", " + std::to_string(count) + ")"));
}

/// A file that was to be loaded into the image could not be opened.
inline void WarnCannotOpen(const TPString& fileName) {
    Warning(TPString("Datei '", 0) + fileName +
            "' kann nicht ge\xF6"
            "ffnet werden");
}

/// The image's buffer could not be allocated.
inline void WarnNoMemory(const TPString& name) {
    Warning(TPString("Zu wenig Arbeitsspeicher f\xFCr 'Speicher' (", 0) + name + ")");
}

}  // namespace tn::storage
