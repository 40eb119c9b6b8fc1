// A table of lines, each line a list of fields.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPList.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/text/TPStringList.h>

namespace tn {

class TN_EXPORT TPStringTable : public TPObject {
  public:
    /// The lines, each a TPStringList owned by the table.
    TPList Lines;

    TPStringTable();
    ~TPStringTable();
    TPStringTable(const TPStringTable&) = delete;
    TPStringTable& operator=(const TPStringTable&) = delete;

    /// Appends a copy of `line`; its index.
    int AddLine(const TPStringList& line);
    /// The line at `index`, or null outside the table.
    TPStringList* Line(int index) const;
    int LineCount() const { return Lines.Count; }
    /// Releases every line.
    void Clear();
    /// Fields joined by `columnSeparator` within a line, lines by `lineSeparator`.
    TPString Text(TPString columnSeparator, TPString lineSeparator) const;
};

}  // namespace tn
