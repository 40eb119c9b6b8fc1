// A fixed grid of strings: rows of equally many columns, made at construction.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/text/TPStringList.h>

#include <cstdint>

namespace tn {

class TN_EXPORT TPStringArray : public TPObject {
  public:
    std::int32_t Rows = 0;
    std::int32_t Columns = 0;
    TPStringList* Lines = nullptr;  ///< Rows lists of Columns (empty) strings each

    TPStringArray();
    TPStringArray(int rows, int columns);
    ~TPStringArray();
    TPStringArray(const TPStringArray&) = delete;
    TPStringArray& operator=(const TPStringArray&) = delete;

    /// The row's list (its items are the columns), or null outside the grid.
    TPStringList* Line(int row) const;
    /// Fields joined by `columnSeparator` within a row, rows by `lineSeparator`.
    TPString Text(TPString columnSeparator, TPString lineSeparator) const;
};

}  // namespace tn
