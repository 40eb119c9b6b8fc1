#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using tn::TPString;
using tn::TPStringList;

std::vector<std::string> Items(const TPStringList& list) {
    std::vector<std::string> out;
    for (int i = 0; i < list.Count; ++i) {
        const char* s = list.Items[i].c_str();
        out.emplace_back(s != nullptr ? s : "");
    }
    return out;
}

using Fields = std::vector<std::string>;

TEST(TPStringList, SplitsAtACharacter) {
    EXPECT_EQ(Items(TPStringList("a,,b", ',')), (Fields{"a", "", "b"}));
    EXPECT_EQ(Items(TPStringList("a,,b", ',', true)), (Fields{"a", "b"}));
    EXPECT_EQ(Items(TPStringList("a,,b", ',', false)), (Fields{"a", "", "b"}));
    EXPECT_EQ(Items(TPStringList(" a , b ,", ',')), (Fields{"a", "b"}));
    EXPECT_EQ(Items(TPStringList("   ", ',')), Fields{});
    EXPECT_EQ(Items(TPStringList("", ',')), Fields{});
    EXPECT_EQ(Items(TPStringList(",a", ',')), (Fields{"", "a"}));
    EXPECT_EQ(Items(TPStringList("one", ',')), (Fields{"one"}));
    // Non-breaking spaces (160) are trimmed as well.
    EXPECT_EQ(Items(TPStringList("\xA0x\xA0;y", ';')), (Fields{"x", "y"}));
    // Several blanks between words: one separation with SetExt.
    EXPECT_EQ(Items(TPStringList("B   1234  ZK", ' ', true)), (Fields{"B", "1234", "ZK"}));
    EXPECT_EQ(Items(TPStringList("B   1234", ' ')), (Fields{"B", "", "", "1234"}));

    // The capacity is the number of delimiters plus one; a new split clears the old fields.
    TPStringList list("a;b;c;", ';');
    EXPECT_EQ(list.Capacity, 4);
    list.Set("x", ';');
    EXPECT_EQ(Items(list), Fields{"x"});
    EXPECT_EQ(list.Type, 3);
    EXPECT_EQ(list.Size, 20);
    EXPECT_EQ(list.Version, 1);
}

TEST(TPStringList, SplitsAtASeparator) {
    EXPECT_EQ(Items(TPStringList("a :: b::::c", TPString("::"))), (Fields{"a", "b", "", "c"}));
    EXPECT_EQ(Items(TPStringList("a::b::", TPString("::"))), (Fields{"a", "b"}));
    EXPECT_EQ(Items(TPStringList("ab", TPString(""))), Fields{"ab"});
    EXPECT_EQ(Items(TPStringList(" ", TPString("::"))), Fields{});
    EXPECT_EQ(Items(TPStringList("aXb", TPString("x"))), Fields{"aXb"});  // case-sensitive
}

TEST(TPStringList, GrowsByTenAndKeepsItsStringsWhenItGrows) {
    TPStringList list;
    EXPECT_EQ(list.Capacity, 10);
    EXPECT_EQ(list.Count, 0);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(list.Add(TPString(i)), i);
    const char* first = list.Items[0].c_str();
    EXPECT_EQ(list.Add("ten"), 10);
    EXPECT_EQ(list.Capacity, 20);
    EXPECT_EQ(list.Items[0].c_str(), first);  // moved, not copied
    EXPECT_STREQ(list.Items[10].c_str(), "ten");
    EXPECT_EQ(list.Items[11].c_str(), nullptr);

    TPStringList sized(3);
    EXPECT_EQ(sized.Capacity, 3);
    sized.Add("a");
    sized.Add("b");
    sized.SetCapacity(1);  // shrinking releases what no longer fits
    EXPECT_EQ(Items(sized), Fields{"a"});
}

TEST(TPStringList, InsertDeleteClearAndSearch) {
    TPStringList list("a,b,c", ',');
    list.Insert(1, "x");
    EXPECT_EQ(Items(list), (Fields{"a", "x", "b", "c"}));
    list.Insert(9, "end");
    list.Insert(-1, "never");
    EXPECT_EQ(Items(list), (Fields{"a", "x", "b", "c", "end"}));
    list.Delete(0);
    list.Delete(7);
    list.Delete(-1);
    EXPECT_EQ(Items(list), (Fields{"x", "b", "c", "end"}));
    EXPECT_EQ(list.Items[list.Count].c_str(), nullptr);

    EXPECT_EQ(list.IndexOf("B"), 1);  // without regard to case by default
    tn::TPString::CaseSensitive = true;
    EXPECT_EQ(list.IndexOf("B"), -1);
    tn::TPString::CaseSensitive = false;
    EXPECT_EQ(list.IndexOf("zz"), -1);
    EXPECT_STREQ(list.String(2).c_str(), "c");
    EXPECT_EQ(list.String(4).c_str(), nullptr);
    EXPECT_NE(list.String(2).c_str(), list.Items[2].c_str());  // a copy

    const int capacity = list.Capacity;
    list.Clear();
    EXPECT_EQ(list.Count, 0);
    EXPECT_EQ(list.Capacity, capacity);
    EXPECT_EQ(list.Add("again"), 0);

    // Many inserts at the front, through several growths.
    TPStringList front;
    for (int i = 0; i < 25; ++i)
        front.Insert(0, TPString(i));
    EXPECT_EQ(front.Count, 25);
    EXPECT_STREQ(front.Items[0].c_str(), "24");
    EXPECT_STREQ(front.Items[24].c_str(), "0");
}

TEST(TPStringList, JoinsAndCopies) {
    TPStringList list("a,b,c", ',');
    EXPECT_STREQ(list.Text(",").c_str(), "a,b,c");
    EXPECT_STREQ(list.Text(" - ").c_str(), "a - b - c");
    EXPECT_EQ(TPStringList().Text(",").c_str(), nullptr);
    EXPECT_STREQ(TPStringList("a,,b", ',').Text("|").c_str(), "a||b");

    TPStringList copy;
    copy.Add("old");
    copy = list;
    EXPECT_EQ(Items(copy), (Fields{"a", "b", "c"}));
    copy = copy;
    EXPECT_EQ(Items(copy), (Fields{"a", "b", "c"}));
    TPStringList constructed(list);
    EXPECT_EQ(Items(constructed), (Fields{"a", "b", "c"}));

    TPStringList host;
    host = std::vector<std::string>{"eins", "",
                                    "gr\xF6\xDF"
                                    "e"};
    EXPECT_EQ(Items(host), (Fields{"eins", "",
                                   "gr\xF6\xDF"
                                   "e"}));
}

TEST(TPStringTable, HoldsCopiesOfLinesAndJoinsThem) {
    tn::TPStringTable table;
    EXPECT_EQ(table.Type, 0);
    EXPECT_EQ(table.Size, 20);
    TPStringList line("a,b", ',');
    EXPECT_EQ(table.AddLine(line), 0);
    line.Set("c,d,e", ',');
    EXPECT_EQ(table.AddLine(line), 1);
    line.Clear();
    EXPECT_EQ(table.LineCount(), 2);
    EXPECT_EQ(Items(*table.Line(0)), (Fields{"a", "b"}));
    EXPECT_EQ(table.Line(2), nullptr);
    EXPECT_STREQ(table.Text(";", "\r\n").c_str(), "a;b\r\nc;d;e");
    table.Clear();
    EXPECT_EQ(table.Text(";", "\n").c_str(), nullptr);
}

TEST(TPStringArray, IsAFixedGrid) {
    tn::TPStringArray empty;
    EXPECT_EQ(empty.Rows, 0);
    EXPECT_EQ(empty.Line(0), nullptr);
    tn::TPStringArray grid(2, 3);
    EXPECT_EQ(grid.Type, 0);
    EXPECT_EQ(grid.Size, 20);
    ASSERT_NE(grid.Line(1), nullptr);
    EXPECT_EQ(grid.Line(1)->Count, 3);
    grid.Line(0)->Items[0] = "x";
    grid.Line(1)->Items[2] = "y";
    EXPECT_STREQ(grid.Text(",", "/").c_str(), "x,,/,,y");
    EXPECT_EQ(grid.Line(2), nullptr);
    EXPECT_EQ(grid.Line(-1), nullptr);
}

}  // namespace
