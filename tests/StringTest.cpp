//===- StringTest.cpp - String and its editing operations -----------------===//
#include "support/VemloTest.h"

TEST(StringTest, NullTextIsEmptyAndAppendsNothing) {
    const char* null = nullptr;
    String s("abc");
    s = null;
    s.append(null).append("x");
    EXPECT_EQ(s, "x");
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
    EXPECT_EQ(s.Replace("a", "b", 0), ""); // count 0 gives an empty text
    // Inserted text can match again, and passes stop at the string's length.
    EXPECT_EQ(String("ab").Replace("a", "aa", 5), "aaab");
}

TEST(StringTest, TrimAndCaseConversionKeepTheirLimits) {
    EXPECT_EQ(String("  \t\r\nx ").TrimLeft(), "x ");
    EXPECT_EQ(String("   ").TrimRight(), " "); // position 0 is never examined

    String source("mixed Case");
    EXPECT_EQ(source.ToUpper(), "MIXED CASe"); // the last character is left
    EXPECT_EQ(String("").ToUpper(), "");
}
