// Texts by language: rows of three columns (German, English, third language); a null entry
// stands for the German text of its row.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

namespace tn {

inline constexpr int kLanguageColumns = 3;

TN_EXPORT extern const char* const pcaGliderClass[7][kLanguageColumns];
TN_EXPORT extern const char* const pcaMonthName[14][kLanguageColumns];
TN_EXPORT extern const char* const pcaShortMonthName[14][kLanguageColumns];

/// row[index], or row[0] when that entry is null; empty for a null row. An empty entry is kept.
TN_EXPORT TPString GetLanguageString(const char* const* row, int index);
/// row[Language] when present and not empty, else row[0]; empty for a null row.
TN_EXPORT TPString SystemLanguage(const char* const* row);

}  // namespace tn
