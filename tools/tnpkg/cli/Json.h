// A minimal JSON writer for the commands' --json output: objects and arrays written in order,
// strings given as UTF-8 (convert package text with ToUtf8 first).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tnpkg {

class JsonWriter {
  public:
    JsonWriter& BeginObject();
    JsonWriter& EndObject();
    JsonWriter& BeginArray();
    JsonWriter& EndArray();
    /// The name of the next member inside an object.
    JsonWriter& Key(const std::string& name);
    JsonWriter& Value(const std::string& text);
    JsonWriter& Value(const char* text);
    JsonWriter& Value(std::int64_t number);
    JsonWriter& Value(std::uint64_t number);
    JsonWriter& Value(int number) { return Value(static_cast<std::int64_t>(number)); }
    JsonWriter& Value(unsigned number) { return Value(static_cast<std::uint64_t>(number)); }
    JsonWriter& Value(double number);
    JsonWriter& Value(bool flag);
    JsonWriter& Null();

    /// The document so far.
    const std::string& Text() const { return out_; }
    /// Prints the document and a line end to standard output.
    void Print() const;
    /// Prints what is written so far once it has grown past `bytes`, and forgets it: a long
    /// document then never sits in memory whole. Print writes the rest.
    void PrintSoFar(std::size_t bytes);

  private:
    void BeforeValue();
    std::string out_;
    std::vector<bool> first_;  // per open container: nothing written into it yet
    bool afterKey_ = false;
};

/// `text` as a JSON string literal, quotes included.
std::string JsonQuote(const std::string& text);
/// The same appended to `out`.
void AppendJsonQuoted(std::string& out, const std::string& text);

}  // namespace tnpkg
