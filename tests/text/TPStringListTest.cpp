#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using tn::TPString;
using tn::TPStringList;
using Ints = std::vector<int>;

// The fields, each in brackets.
std::string Fields(const TPStringList& list) {
    std::string out;
    for (int i = 0; i < list.Count; ++i)
        out += "[" + ToStdString(list.Items[i]) + "]";
    return out;
}

TEST(TPStringList, SplitsAtACharacterOrASeparator) {
    // text, delimiter, extended (SetExt), fields; 160 (no-break space) is a blank too
    // clang-format off
    const std::tuple<const char*, char, bool, const char*> byCharacter[] = {
        {"a,,b", ',', false, "[a][][b]"}, {"a,,b", ',', true, "[a][b]"}, {"   ", ',', false, ""},
        {" a , b ,", ',', false, "[a][b]"}, {",a", ',', false, "[][a]"},
        {"\xA0x\xA0;y", ';', false, "[x][y]"}, {"B   1234", ' ', false, "[B][][][1234]"},
        {"B   1234  ZK", ' ', true, "[B][1234][ZK]"}};
    const std::tuple<const char*, const char*, const char*> bySeparator[] = {
        {"a :: b::::c", "::", "[a][b][][c]"}, {"a::b::", "::", "[a][b]"}, {"ab", "", "[ab]"},
        {" ", "::", ""}, {"aXb", "x", "[aXb]"}};
    // clang-format on
    for (const auto& [text, delimiter, extended, fields] : byCharacter)
        EXPECT_EQ(Fields(TPStringList(text, delimiter, extended)), fields) << text;
    for (const auto& [text, separator, fields] : bySeparator)
        EXPECT_EQ(Fields(TPStringList(text, TPString(separator))), fields) << text;
    TPStringList list("a;b;c;", ';');  // capacity: delimiters + 1; a new split starts afresh
    EXPECT_EQ(list.Capacity, 4);
    list.Set("x", ';');
    EXPECT_EQ(Fields(list), "[x]");
}

TEST(TPStringList, GrowsEditsSearchesAndJoins) {
    TPStringList list;
    EXPECT_EQ((Ints{list.Type, list.Size, list.Version, list.Capacity}), (Ints{3, 20, 1, 10}));
    for (int i = 0; i < 10; ++i)
        list.Add(TPString(i));
    const char* first = list.Items[0].c_str();
    EXPECT_EQ(list.Add("B"), 10);
    EXPECT_EQ(list.Capacity, 20);
    EXPECT_EQ(list.Items[0].c_str(), first);  // moved, not copied
    list.SetCapacity(3);                      // shrinking releases what no longer fits
    for (int at : {1, 9, -1})
        list.Insert(at, at == 1 ? "x" : "B");
    for (int at : {0, 7, -1})
        list.Delete(at);
    EXPECT_EQ(Fields(list), "[x][1][2][B]");
    EXPECT_EQ(list.Items[list.Count].c_str(), nullptr);
    tn::TPString::CaseSensitive = true;
    const int sensitive = list.IndexOf("b");
    tn::TPString::CaseSensitive = false;
    EXPECT_EQ((Ints{list.IndexOf("b"), sensitive}), (Ints{3, -1}));
    EXPECT_NE(list.String(2).c_str(), list.Items[2].c_str());  // a copy
    EXPECT_EQ(list.String(4).c_str(), nullptr);
    EXPECT_STREQ(list.Text(" - ").c_str(), "x - 1 - 2 - B");
    EXPECT_EQ(TPStringList().Text(",").c_str(), nullptr);

    TPStringList copy(list), assigned;
    assigned = std::vector<std::string>{"eins", "", "W\xE4rme"};
    EXPECT_EQ(Fields(assigned), "[eins][][W\xE4rme]");
    assigned = copy = copy;
    EXPECT_EQ(Fields(assigned), Fields(list));
    assigned.Clear();
    EXPECT_EQ((Ints{assigned.Count, assigned.Capacity, assigned.Add("a")}), (Ints{0, 10, 0}));
}

TEST(TPStringTable, AndArrayJoinColumnsAndLines) {
    tn::TPStringTable table;
    TPStringList line("a,b", ',');
    EXPECT_EQ(table.AddLine(line), 0);
    line.Set("c,d,e", ',');
    EXPECT_EQ(table.AddLine(line), 1);
    line.Clear();  // the table holds copies
    EXPECT_EQ(table.Line(2), nullptr);
    EXPECT_STREQ(table.Text(";", "\r\n").c_str(), "a;b\r\nc;d;e");
    tn::TPStringArray grid(2, 3), empty;
    EXPECT_EQ((Ints{table.Type, table.Size, grid.Type, grid.Size, grid.Version}),
              (Ints{0, 20, 0, 20, 1}));
    grid.Line(0)->Items[0] = "x";
    grid.Line(1)->Items[2] = "y";
    EXPECT_STREQ(grid.Text(",", "/").c_str(), "x,,/,,y");
    EXPECT_TRUE(grid.Line(2) == nullptr && grid.Line(-1) == nullptr && empty.Line(0) == nullptr);
}

}  // namespace
