//===- StringTest.cpp - String and its editing operations -----------------===//
#include "support/VemloTest.h"

TEST(StringTest, EveryAppendAddsItsOperandAndNullTextIsEmpty) {
    const char* null = nullptr;
    String s("abc");
    s = null;
    s.append(null).append("x").append("yz", 1).append(2, '!').append(String("s")) += 'c';
    EXPECT_EQ(s.str(), "xy!!sc");
}

TEST(StringTest, ConcatenationAndComparisonReadBothOperands) {
    const String ab("ab"), c("c");
    EXPECT_EQ((ab + c).str() + "|" + (ab + "d").str() + "|" + ("x" + ab).str(), "abc|abd|xab");
    EXPECT_EQ(
        (std::vector<int>{ab == String("ab"), "ab" == ab, ab != c, ab != "c", "c" != ab, ab < c,
                          ab == c, "c" == ab, ab != String("ab"), ab != "ab", "ab" != ab, c < ab}),
        (std::vector<int>{1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(StringTest, AssigningToItselfEmptiesAndAssignmentStopsAtNul) {
    String s("keep me");
    String& alias = s;
    s = alias;
    EXPECT_TRUE(s.empty());

    String original(std::string("ab\0cd", 5));
    String assigned("old text");
    assigned = original; // assignment copies up to the first NUL
    EXPECT_EQ(assigned.size(), 2u);
}

TEST(StringTest, FormatKeeps2047CharactersAndCutsLongerOutput) {
    String s("previous");
    s.Format("%s-%d-%.2f", "id", 42, 1.5);
    EXPECT_EQ(s, "id-42-1.50");
    // Past the contract: cut at 2047, never written beyond the buffer (ASan
    // watches the build that runs this).
    const std::string longer(5000, 'y');
    s.Format("%s%s", longer.c_str(), "tail");
    EXPECT_EQ(s.str(), std::string(2047, 'y'));
}

TEST(StringTest, ReplaceEditsInPlaceButCountedReplaceWorksOnACopy) {
    String path("/var/lib/app/app.db");
    EXPECT_EQ(path.Replace("app", "device-service"), "/var/lib/device-service/app.db");
    EXPECT_EQ(path, "/var/lib/device-service/app.db");

    String s("aaa");
    EXPECT_EQ(s.Replace("a", "b", 2), "bba");
    EXPECT_EQ(s, "aaa");
    EXPECT_EQ(s.Replace("a", "b", 0), "");                         // count 0 gives an empty text
    EXPECT_EQ(s.Replace("", "b") + s.Replace("x", "b"), "aaaaaa"); // nothing to replace
    // Inserted text can match again, and passes stop at the string's length.
    EXPECT_EQ(String("ab").Replace("a", "aa", 5), "aaab");
}

// TrimLeft|TrimRight|ToLower|ToUpper of each text.
TEST(StringTest, TrimAndCaseConversionKeepTheirLimits) {
    auto all = [](String s) {
        return (s.TrimLeft() + "|" + s.TrimRight() + "|" + s.ToLower() + "|" + s.ToUpper()).str();
    };
    EXPECT_EQ(all("  \t\r\nx "), "x |  \t\r\nx|  \t\r\nx |  \t\r\nX ");
    EXPECT_EQ(all("Mixed Case"), "Mixed Case|Mixed Case|mixed case|MIXED CASe"); // not the last
    EXPECT_EQ(all("   "), "| |   |   "); // position 0 is never trimmed on the right
    EXPECT_EQ(all("aB"), "aB|aB|aB|AB");
    EXPECT_EQ(all(" "), "| | | "); // one character is never trimmed on the right
    EXPECT_EQ(all(""), "|||");
}
