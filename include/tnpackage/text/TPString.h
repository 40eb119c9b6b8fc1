// The package's 8-bit Windows-1252 string value.
//
// A TPString either owns an exact-size heap buffer, borrows text it does not own (a literal, or
// text inside a mapped device image), or is empty. It never grows in place: every lengthening
// operation allocates a new buffer of exactly the needed size. Positions are 1-based.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>
#include <string>

namespace tn {

/// The platform wide string of the host's user interface.
using UnicodeString = std::wstring;

class TPWriter;

class TN_EXPORT TPString {
  public:
    // ---- construction -------------------------------------------------------------------------
    constexpr TPString() noexcept = default;
    /// Empty when the source IsEmpty, otherwise an owned copy.
    TPString(const TPString& other);
    /// Owned copy; with `len` non-zero and a longer text, the first `len` characters.
    TPString(char* s, unsigned len = 0);
    TPString(unsigned char* s, unsigned len = 0);
    /// Borrows the literal (no copy, size 0) unless `len` cuts it, which makes an owned copy.
    TPString(const char* s, unsigned len = 0);
    /// Decimal text of the number.
    TPString(int value);
    /// Two-byte owned buffer; empty for NUL.
    TPString(char c);
    /// Narrowed to Windows-1252; characters it lacks become "?".
    TPString(const UnicodeString& wide);
    /// External-buffer strings: the text is copied into a caller's buffer (at most `max`
    /// characters when `max` is non-zero) without a terminating NUL; see Setting().
    TPString(char* s, void* buffer, unsigned max);
    TPString(const char* s, void* buffer, unsigned max);
    TPString(const wchar_t* s, void* buffer, unsigned max);
    TPString(TPString s, void* buffer, unsigned max);
    ~TPString();
    /// Owned copy (up to the first NUL) of text the package vouches for itself: its own
    /// buffers, a std::string's data. Unlike the pointer constructors it does not probe the
    /// pointer first, which costs system calls per string on hot paths such as mounting.
    static TPString Trusted(const char* s);
    static TPString Trusted(const std::string& s) { return Trusted(s.c_str()); }

    /// Conversion to the platform wide string (all 256 byte values map one to one).
    explicit operator UnicodeString() const;

    // ---- assignment and appending -------------------------------------------------------------
    /// Exchanges the two strings' texts as they are (owned, borrowed, external or in a device
    /// window): no copy, no allocation.
    void Swap(TPString& other) noexcept;
    // Assignment releases the old buffer and always makes an owned copy, even of a literal.
    TPString operator=(const char* s);
    TPString operator=(char* s);
    TPString operator=(const TPString& s);

    TPString operator+=(char c);
    TPString operator+=(const TPString& s);
    TPString operator+=(const wchar_t* s);
    TPString operator+(const TPString& s) const;
    TPString operator+(const char* s) const;
    TPString operator+(char* s) const;
    TPString operator+(int value) const;
    /// A new owned string: `a` followed by `b`.
    static TPString Add(const char* a, const char* b);

    // ---- access and state ---------------------------------------------------------------------
    /// The text, or null for the empty string. Text saved into a device window is looked up
    /// through the window now: null while that address maps nowhere.
    const char* c_str() const noexcept {
        return storage_ == Storage::Device ? DeviceText() : text_;
    }
    char* c_str() noexcept { return storage_ == Storage::Device ? DeviceText() : text_; }
    /// Character at 1-based position `i`; not bounds-checked, like the original.
    char& operator[](int i) { return text_[i - 1]; }
    const char& operator[](int i) const { return text_[i - 1]; }
    /// strlen of the text; beeps first in the development environment when the buffer is corrupt.
    int Length() const;
    /// Bytes of the buffer this string accounts for, terminating NUL included; 0 when borrowed.
    int Size() const noexcept { return size_; }
    /// True for null text; false for borrowed text; else whether size - 1 equals the length.
    bool IsValid() const;
    /// True for a null or implausibly small pointer, an unreadable one, or an empty text.
    bool IsEmpty() const;
    /// The same test for any text pointer.
    static bool IsEmptyText(const char* text);
    char LastChar() const;
    static bool IsSpace(char c);
    int CountChar(char c) const;

    // ---- comparison ---------------------------------------------------------------------------
    static bool CaseSensitive;
    static bool StrCmpS(const char* a, const char* b);
    static bool StrCmpU(const char* a, const char* b);
    bool Equal(const TPString& other) const;
    bool operator==(const TPString& other) const { return Equal(other); }
    bool operator!=(const TPString& other) const { return !Equal(other); }
    bool operator==(const char* other) const;
    bool operator!=(const char* other) const { return !(*this == other); }

    // ---- search -------------------------------------------------------------------------------
    int Pos(const TPString& sub) const;
    int Pos(const TPString& sub, int start) const;
    int Pos(char c) const;
    int FirstDelimiter(const TPString& set) const;
    int LastDelimiter(const TPString& set) const;
    bool IsDelimiter(const TPString& set, int index) const;
    /// 1-based position of the n-th character that occurs in `set`; 0 when there are fewer.
    int Delimiter(const TPString& set, int n) const;
    TPString CutOnFirst(const TPString& s) const;
    TPString LookForPlaceholder(int& position, TPString open, TPString close) const;

    // ---- pieces -------------------------------------------------------------------------------
    TPString SubString(int start, int count) const;
    TPString Left(int n) const;
    TPString Right(int n) const;
    TPString SetLength(int n);
    static TPString StringOfChar(char c, int n);

    // ---- trimming and case --------------------------------------------------------------------
    TPString Trim() const;
    TPString TrimLeft() const;
    TPString TrimRight() const;
    TPString UpperCase() const;
    TPString LowerCase() const;
    TPString NormalCase() const;

    // ---- edits --------------------------------------------------------------------------------
    void DeleteDelimiter(const TPString& set);
    TPString ChangeChar(char from, char to) const;
    TPString WithoutChar(const TPString& set) const;
    TPString ReplaceStrings(const TPString& pattern, const TPString& replacement) const;
    /// Reverses the text in place.
    void SwapText();
    /// Releases an owned buffer; never memory in a mapped device window, never borrowed text.
    void Delete();

    // ---- numbers ------------------------------------------------------------------------------
    int ToIntDef(int def) const;
    int ToHexInt(int def) const;
    double ToDouble(double def) const;

    // ---- character-set and mark-up conversions ------------------------------------------------
    TPString Ansi2OEM() const;
    TPString OEM2Ansi() const;
    TPString Ansi2Uml() const;
    TPString UmlautCodierung(bool upper);
    TPString Ansi2HTML(bool markup) const;
    void HTMLCodierung();
    void HTMLDecodierung2();
    TPString UTF8toAscii() const;
    TPString UTF8toHTML(int mode) const;

    // ---- persistence into device memory -------------------------------------------------------
    // After Save (and after Saving into a device window) the string refers to its text at a
    // 32-bit device address, which it reads through the window mapped there and never releases.
    // Such a string must not outlive the window's mapping, as an external-buffer string must not
    // outlive its buffer.
    int Save(int& address, const TPWriter& writer, int offset);
    int Copy(int& address, const TPWriter& writer) const;
    int Saving(void* destination, int offset);
    void SetOffset(int delta);

    // ---- low-level buffer handling ------------------------------------------------------------
    /// Places `s` into a caller's buffer (external-buffer mode).
    void Setting(const char* s, void* buffer, unsigned max);
    /// Allocates an owned buffer of `n` bytes whose last byte is NUL.
    char* iAlloc(int n);
    /// Allocates an owned copy of `s`; null for null or empty text.
    char* Alloc(const char* s);

  private:
    enum class Storage : std::uint8_t { None, Heap, External, Device };
    void TakeCopyOf(const char* s);
    void Append(const char* s, int length);
    void ReplaceBuffer(char* buffer);
    char* DeviceText() const noexcept;
    void ReferToDevice(std::uint32_t address);
    void ReleaseOwnBuffer();

    char* text_ = nullptr;
    std::int32_t size_ = 0;
    Storage storage_ = Storage::None;  // who released text_ must be: only Heap is ours to free
    std::uint32_t device_ = 0;         // where Device text lies; text_ is its host view
};

/// The text as a std::string; "" for a string without text.
TN_EXPORT std::string ToStdString(const TPString& text);

/// Highest buffer address the allocator has handed out; a diagnostic only.
TN_EXPORT extern std::intptr_t HeapAdresse;

}  // namespace tn
