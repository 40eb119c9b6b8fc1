// TPDateTime: printing in a caller's pattern of fields.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/LanguageTables.h>
#include <tnpackage/time/TPDateTime.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <string>

#include "time/Calendar.h"

namespace tn {

namespace {

void AppendNumber(std::string& out, int value, int digits) {
    std::string text = std::to_string(value);
    if (static_cast<int>(text.size()) < digits) {
        text.insert(0, static_cast<std::size_t>(digits) - text.size(), '0');
    }
    out += text;
}

void AppendMonthName(std::string& out, int month, const char* const (*table)[kLanguageColumns]) {
    if (month < 1 || month > calendar::kMonths) return;
    const TPString name = GetLanguageString(table[month], Sprache);
    if (name.c_str() != nullptr) out += name.c_str();
}

// Length of the run of `letter` (either case) at `p`.
int RunOf(const char* p, char letter) {
    int n = 0;
    while (std::tolower(static_cast<unsigned char>(p[n])) == letter)
        ++n;
    return n;
}

}  // namespace

TPString TPDateTime::FormatString(const TPString& pattern) const {
    const calendar::Fields f = calendar::PrintedFields(value_);
    std::string out;
    const char* p = pattern.c_str();
    if (p == nullptr) return TPString();
    while (*p != '\0') {
        const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
        if (*p == '"' || *p == '\'') {
            const char* close = std::strchr(p + 1, *p);
            const char* end = close != nullptr ? close : p + std::strlen(p);
            out.append(p + 1, end);
            p = close != nullptr ? close + 1 : end;
            continue;
        }
        const int run = std::strchr("ymdhnsz", c) != nullptr ? RunOf(p, c) : 0;
        int used = run;
        switch (c) {
            case 'y':
                if (run >= 4) {
                    AppendNumber(out, f.year, 4);
                    used = 4;
                } else {
                    AppendNumber(out, f.year % 100, 2);
                    used = std::min(run, 2);
                }
                break;
            case 'm':
                used = std::min(run, 4);
                if (used == 4) {
                    AppendMonthName(out, f.month, pcaMonthName);
                } else if (used == 3) {
                    AppendMonthName(out, f.month, pcaShortMonthName);
                } else {
                    AppendNumber(out, f.month, used);
                }
                break;
            case 'd':
                used = std::min(run, 2);
                AppendNumber(out, f.day, used);
                break;
            case 'h':
                used = std::min(run, 2);
                AppendNumber(out, f.hour, used);
                break;
            case 'n':
                used = std::min(run, 2);
                AppendNumber(out, f.minute, used);
                break;
            case 's':
                used = std::min(run, 2);
                AppendNumber(out, f.second, used);
                break;
            case 'z':
                used = std::min(run, 2);
                AppendNumber(out, f.hundredths, 2);
                break;
            default:
                out += *p;
                used = 1;
                break;
        }
        p += used;
    }
    return TPString(out.data());
}

}  // namespace tn
