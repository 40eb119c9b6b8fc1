// TPStringTable and TPStringArray: lines of fields.
#include <tnpackage/text/TPStringArray.h>
#include <tnpackage/text/TPStringTable.h>

#include <new>

namespace tn {

namespace {

constexpr std::uint16_t kTableType = 0;
constexpr std::uint16_t kTableSize = 20;

template <class LineAt>
TPString JoinLines(int count, LineAt lineAt, const TPString& columnSeparator,
                   const TPString& lineSeparator) {
    TPString text;
    for (int i = 0; i < count; ++i) {
        if (i > 0) text += lineSeparator;
        text += lineAt(i)->Text(columnSeparator);
    }
    return text;
}

}  // namespace

// ---- TPStringTable ----------------------------------------------------------------------------

TPStringTable::TPStringTable() : TPObject(kTableType, kTableSize, 1) {}

TPStringTable::~TPStringTable() {
    Clear();
}

int TPStringTable::AddLine(const TPStringList& line) {
    auto* copy = new (std::nothrow) TPStringList(line);
    if (copy == nullptr) return -1;
    const int index = Lines.Add(copy);
    if (index < 0) delete copy;
    return index;
}

TPStringList* TPStringTable::Line(int index) const {
    if (index < 0 || index >= Lines.Count) return nullptr;
    return static_cast<TPStringList*>(Lines.Items[index]);
}

void TPStringTable::Clear() {
    for (int i = 0; i < Lines.Count; ++i)
        delete static_cast<TPStringList*>(Lines.Items[i]);
    Lines.Clear();
}

TPString TPStringTable::Text(TPString columnSeparator, TPString lineSeparator) const {
    return JoinLines(
        Lines.Count, [this](int i) { return Line(i); }, columnSeparator, lineSeparator);
}

// ---- TPStringArray ----------------------------------------------------------------------------

TPStringArray::TPStringArray() : TPObject(kTableType, kTableSize, 1) {}

TPStringArray::TPStringArray(int rows, int columns) : TPStringArray() {
    if (rows <= 0 || columns < 0) return;
    Lines = new (std::nothrow) TPStringList[static_cast<std::size_t>(rows)];
    if (Lines == nullptr) return;
    Rows = rows;
    Columns = columns;
    for (int r = 0; r < rows; ++r) {
        Lines[r].SetCapacity(columns);
        for (int c = 0; c < columns; ++c)
            Lines[r].Add(TPString());
    }
}

TPStringArray::~TPStringArray() {
    delete[] Lines;
}

TPStringList* TPStringArray::Line(int row) const {
    if (row < 0 || row >= Rows) return nullptr;
    return &Lines[row];
}

TPString TPStringArray::Text(TPString columnSeparator, TPString lineSeparator) const {
    return JoinLines(
        Rows, [this](int i) { return Line(i); }, columnSeparator, lineSeparator);
}

}  // namespace tn
