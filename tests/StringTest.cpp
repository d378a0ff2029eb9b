//===- StringTest.cpp - String and its editing operations -----------------===//
#include "support/VemloTest.h"

#include <string>

TEST(StringTest, NullTextIsEmptyAndAppendsNothing) {
    const char* null = nullptr;
    String s(null);
    EXPECT_TRUE(s.empty());
    s = "abc";
    s = null;
    s.append(null).append("x");
    s += null;
    EXPECT_EQ(s, "x");
    EXPECT_TRUE(String() == null);
    EXPECT_TRUE(s != null);
}

TEST(StringTest, AssigningToItselfEmptiesAndAssignmentStopsAtNul) {
    String s("keep me");
    String& alias = s;
    s = alias;
    EXPECT_TRUE(s.empty());

    String original(std::string("ab\0cd", 5));
    EXPECT_EQ(String(original).size(), 5u); // copy construction keeps every byte
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
    s.Format(nullptr);
    EXPECT_TRUE(s.empty());
}

TEST(StringTest, ReplaceEditsInPlaceButCountedReplaceWorksOnACopy) {
    String path("/var/lib/app/app.db");
    EXPECT_EQ(path.Replace("app", "device-service"), "/var/lib/device-service/app.db");
    EXPECT_EQ(path, "/var/lib/device-service/app.db");
    String same("abc");
    EXPECT_EQ(same.Replace("", "x"), "abc");
    EXPECT_EQ(same.Replace(nullptr, "x"), "abc");
    EXPECT_EQ(same.Replace("b", nullptr), "ac");

    String s("aaa");
    EXPECT_EQ(s.Replace("a", "b", 2), "bba");
    EXPECT_EQ(s, "aaa");
    EXPECT_EQ(s.Replace("a", "b", 0), ""); // count 0 gives an empty text
    // Inserted text can match again, and passes stop at the string's length.
    EXPECT_EQ(String("ab").Replace("a", "aa", 5), "aaab");
}

TEST(StringTest, TrimAndCaseConversionKeepTheirLimits) {
    EXPECT_EQ(String("  \t\r\nx ").TrimLeft(), "x ");
    EXPECT_EQ(String("\v\fx").TrimLeft(), "\v\fx"); // vertical tab, form feed are not blank
    EXPECT_EQ(String("value\r\n").TrimRight(), "value");
    EXPECT_EQ(String("   ").TrimRight(), " "); // position 0 is never examined
    EXPECT_EQ(String("").TrimLeft(), "");

    String source("mixed Case");
    EXPECT_EQ(source.ToUpper(), "MIXED CASe"); // the last character is left
    EXPECT_EQ(source.ToLower(), "mixed case");
    EXPECT_EQ(source, "mixed Case");
    EXPECT_EQ(String("").ToUpper(), "");
    // Bytes above 0x7F go through tolower/toupper as unsigned values.
    EXPECT_EQ(String("\xe9\xff!").ToLower().size(), 3u);
    EXPECT_EQ(String("key=value;").substr(4, 5), "value");
}
