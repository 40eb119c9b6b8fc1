// TPStringList: splitting a text into trimmed fields.
#include <tnpackage/text/TPStringList.h>

#include <cstring>

namespace tn {

void TPStringList::Split(const TPString& text, char delimiter, bool skipRuns) {
    if (Count != 0) Clear();
    if (text.Trim().IsEmpty()) return;
    SetCapacity(text.CountChar(delimiter) + 1);
    const char* s = text.c_str();
    const int length = text.Length();
    int start = 1;  // 1-based, as the text's positions are
    for (int pos = start; pos <= length; ++pos) {
        if (s[pos - 1] != delimiter || delimiter == '\0') continue;
        Add(start < pos ? text.SubString(start, pos - start).Trim() : TPString());
        start = pos + 1;
        if (skipRuns) {
            while (start <= length && s[start - 1] == delimiter)
                ++start;
            pos = start - 1;
        }
    }
    if (start < length + 1) Add(text.SubString(start, length - start + 1).Trim());
}

void TPStringList::Set(TPString text, char delimiter) {
    Split(text, delimiter, false);
}

void TPStringList::SetExt(TPString text, char delimiter) {
    Split(text, delimiter, true);
}

void TPStringList::Set(TPString text, TPString separator) {
    if (Count != 0) Clear();
    if (text.Trim().IsEmpty()) return;
    const char* s = text.c_str();
    const int length = text.Length();
    const int step = separator.Length();
    int start = 1;
    if (step > 0) {
        for (const char* hit = std::strstr(s, separator.c_str()); hit != nullptr;
             hit = std::strstr(s + start - 1, separator.c_str())) {
            const int pos = static_cast<int>(hit - s) + 1;
            Add(start < pos ? text.SubString(start, pos - start).Trim() : TPString());
            start = pos + step;
            if (start > length) break;
        }
    }
    if (start < length + 1) Add(text.SubString(start, length - start + 1).Trim());
}

}  // namespace tn
