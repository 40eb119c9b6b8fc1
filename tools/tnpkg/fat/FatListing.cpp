// `tnpkg fat ls`: a folder's entries as text lines or as JSON. A listing of a large volume
// prints tens of thousands of lines, so every line is put together in one reused buffer (no
// printf, no string per name) and written out in large pieces.
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"

namespace tnpkg {
namespace {

// A node's name without copying it: a long listing appends name after name into one buffer.
std::string_view View(const tn::TPString& name) {
    return name.c_str() != nullptr ? std::string_view(name.c_str()) : std::string_view();
}

// Output is handed on in pieces of about this size.
constexpr std::size_t kOutputPiece = 64 * 1024;
// Width of the size column and of the short-name column (-l); longer values push the line on.
constexpr std::size_t kSizeColumn = 10;
constexpr std::size_t kShortColumn = 12;

struct Listing {
    bool longList = false;
    bool recursive = false;
    JsonWriter* json = nullptr;  // null for text
    std::string out;             // text lines not yet written
};

void AppendPadded(std::string& out, const char* text, std::size_t length, std::size_t width,
                  bool alignRight) {
    const std::size_t pad = length < width ? width - length : 0;
    if (alignRight) out.append(pad, ' ');
    out.append(text, length);
    if (!alignRight) out.append(pad, ' ');
}

void AppendSize(std::string& out, const tn::TPDirEintrag& e) {
    if (e.IsDirectory()) {
        static constexpr char kFolder[] = "<DIR>";
        AppendPadded(out, kFolder, sizeof kFolder - 1, kSizeColumn, true);
        return;
    }
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, NodeSize(e)).ptr;
    AppendPadded(out, digits, static_cast<std::size_t>(end - digits), kSizeColumn, true);
}

// One text line; `path` is the entry's shown path (UTF-8) from the listed folder.
void TextLine(Listing& how, const tn::TPDirEintrag& e, const std::string& path) {
    std::string& out = how.out;
    AppendSize(out, e);
    out.append(2, ' ');
    AppendDateText(out, e.FileDate);
    out.append(2, ' ');
    if (how.longList) {
        const std::string shortName = ShortName(e);
        AppendPadded(out, shortName.data(), shortName.size(), kShortColumn, false);
        out.append(2, ' ');
    }
    out += path;
    out += '\n';
    if (out.size() >= kOutputPiece) {
        WriteOutput(out);
        out.clear();
    }
}

void JsonEntry(JsonWriter& j, const tn::TPDirEintrag& e) {
    const bool folder = e.IsDirectory();
    j.BeginObject();
    j.Key("name").Value(tn::Win1252ToUtf8(ShownName(e)));
    j.Key("path").Value(tn::Win1252ToUtf8(NodePath(e)));
    j.Key("short").Value(ShortName(e));
    j.Key("type").Value(folder ? "folder" : "file");
    j.Key("size").Value(NodeSize(e));
    j.Key("date").Value(DateText(e.FileDate));
    j.Key("attributes").Value(static_cast<unsigned>(e.Entry[11]));
    j.EndObject();
    j.PrintSoFar(kOutputPiece);
}

void ListLine(Listing& how, const tn::TPDirEintrag& e, const std::string& path) {
    if (how.json != nullptr) {
        JsonEntry(*how.json, e);
    } else {
        TextLine(how, e, path);
    }
}

// `path` holds the folder's shown path with its closing "/" (empty for the listed folder); it
// is lengthened for each entry and cut back afterwards.
void ListFolder(Listing& how, tn::TPDirEintrag* folder, std::string& path) {
    const std::size_t base = path.size();
    for (tn::TPDirEintrag* e : Children(folder)) {
        tn::AppendWin1252AsUtf8(path, View(e->Name));
        ListLine(how, *e, path);
        if (how.recursive && e->IsDirectory()) {
            path += '/';
            ListFolder(how, e, path);
        }
        path.resize(base);
    }
}

}  // namespace

int FatLs(FatRequest& r) {
    const auto mounted = MountRequested(r);
    if (!mounted) return kFailure;
    const WarningCapture reading("tnpkg fat: while reading " + r.image);
    MountedImage& m = *mounted;
    std::string problem;
    tn::TPDirEintrag* node = m.Find(r.operands.empty() ? "/" : r.operands[0], problem);
    if (node == nullptr) return FatFail(problem);

    JsonWriter json;
    Listing how;
    how.longList = r.args.Flag("-l");
    how.recursive = r.args.Flag("-R");
    how.json = r.args.Flag("--json") ? &json : nullptr;
    how.out.reserve(kOutputPiece + 1024);
    if (how.json != nullptr) {
        json.BeginObject();
        json.Key("path").Value(tn::Win1252ToUtf8(NodePath(*node)));
        json.Key("entries").BeginArray();
    }
    std::string path;
    if (node->IsDirectory()) {
        ListFolder(how, node, path);
    } else {
        tn::AppendWin1252AsUtf8(path, View(node->Name));
        ListLine(how, *node, path);
    }
    WriteOutput(how.out);
    if (how.json != nullptr) {
        json.EndArray();
        json.EndObject();
        json.Print();
    }
    return kSuccess;
}

}  // namespace tnpkg
