#include "cli/Json.h"

#include <cmath>
#include <cstdio>

#include "cli/Output.h"

namespace tnpkg {

std::string JsonQuote(const std::string& text) {
    std::string out;
    AppendJsonQuoted(out, text);
    return out;
}

void AppendJsonQuoted(std::string& out, const std::string& text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out += '"';
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    out += "\\u00";
                    out += kHex[c >> 4];
                    out += kHex[c & 0x0F];
                } else {
                    out += ch;
                }
        }
    }
    out += '"';
}

void JsonWriter::BeforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (!first_.empty()) {
        if (!first_.back()) out_ += ',';
        first_.back() = false;
    }
}

JsonWriter& JsonWriter::BeginObject() {
    BeforeValue();
    out_ += '{';
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndObject() {
    out_ += '}';
    if (!first_.empty()) first_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::BeginArray() {
    BeforeValue();
    out_ += '[';
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndArray() {
    out_ += ']';
    if (!first_.empty()) first_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::Key(const std::string& name) {
    BeforeValue();
    AppendJsonQuoted(out_, name);
    out_ += ':';
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::Value(const std::string& text) {
    BeforeValue();
    AppendJsonQuoted(out_, text);
    return *this;
}

JsonWriter& JsonWriter::Value(const char* text) {
    return text == nullptr ? Null() : Value(std::string(text));
}

JsonWriter& JsonWriter::Value(std::int64_t number) {
    BeforeValue();
    out_ += std::to_string(number);
    return *this;
}

JsonWriter& JsonWriter::Value(std::uint64_t number) {
    BeforeValue();
    out_ += std::to_string(number);
    return *this;
}

JsonWriter& JsonWriter::Value(double number) {
    if (!std::isfinite(number)) return Null();  // JSON has no NaN or infinity
    BeforeValue();
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", number);
    out_ += text;
    return *this;
}

JsonWriter& JsonWriter::Value(bool flag) {
    BeforeValue();
    out_ += flag ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::Null() {
    BeforeValue();
    out_ += "null";
    return *this;
}

void JsonWriter::Print() const {
    WriteOutput(out_);
    WriteOutput("\n", 1);
}

void JsonWriter::PrintSoFar(std::size_t bytes) {
    if (out_.size() < bytes) return;
    WriteOutput(out_);
    out_.clear();
}

}  // namespace tnpkg
