//===- StringTest.cpp - String and its editing operations -----------------===//
#include "support/VemloTest.h"

#include <memory>
#include <string>

TEST(StringTest, NullTextIsEmptyAndAppendsNothing) {
    String s(static_cast<const char*>(nullptr));
    EXPECT_TRUE(s.empty());
    s = "abc";
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.empty());
    s.append(static_cast<const char*>(nullptr)).append("x");
    s += static_cast<const char*>(nullptr);
    EXPECT_EQ(s, "x");
    EXPECT_TRUE(String() == static_cast<const char*>(nullptr));
    EXPECT_TRUE(s != static_cast<const char*>(nullptr));
}

TEST(StringTest, AssigningToItselfEmptiesAndAssignmentStopsAtNul) {
    String s("keep me");
    String& alias = s;
    s = alias;
    EXPECT_TRUE(s.empty());

    const std::string withNul("ab\0cd", 5);
    String original(withNul);
    String copy(original); // copy construction keeps every byte
    EXPECT_EQ(copy.size(), 5u);
    String assigned("old text");
    assigned = original; // assignment copies up to the first NUL
    EXPECT_EQ(assigned, "ab");
    EXPECT_EQ(assigned.size(), 2u);
}

TEST(StringTest, FormatKeeps2047CharactersAndCutsLongerOutput) {
    String s("previous");
    s.Format("%s-%d-%.2f", "id", 42, 1.5);
    EXPECT_EQ(s, "id-42-1.50");

    const std::string exact(2047, 'x');
    s.Format("%s", exact.c_str());
    EXPECT_EQ(s.size(), 2047u);

    // Past the contract: cut at 2047, never written beyond the buffer (ASan
    // watches the build that runs this).
    const std::string longer(5000, 'y');
    s.Format("%s%s", longer.c_str(), "tail");
    EXPECT_EQ(s.str(), std::string(2047, 'y'));

    s.Format(nullptr);
    EXPECT_TRUE(s.empty());
}

TEST(StringTest, ReplaceChangesFirstOccurrenceInPlace) {
    String s("aaa");
    EXPECT_EQ(s.Replace("a", "b"), "baa");
    EXPECT_EQ(s, "baa");

    String path("/var/lib/app/app.db");
    EXPECT_EQ(path.Replace("app", "device-service"), "/var/lib/device-service/app.db");
    EXPECT_EQ(path, "/var/lib/device-service/app.db");
    EXPECT_EQ(path.Replace("/var/lib/", ""), "device-service/app.db");
    EXPECT_EQ(path.Replace("device-service/app.db", ""), "");
    EXPECT_TRUE(path.empty());

    String same("abc");
    EXPECT_EQ(same.Replace("", "x"), "abc");
    EXPECT_EQ(same.Replace(nullptr, "x"), "abc");
    EXPECT_EQ(same.Replace("zz", "x"), "abc");
    EXPECT_EQ(same, "abc");
    EXPECT_EQ(same.Replace("b", nullptr), "ac");
}

TEST(StringTest, CountedReplaceWorksOnACopyWithItsLimits) {
    String s("aaa");
    EXPECT_EQ(s.Replace("a", "b", 2), "bba");
    EXPECT_EQ(s, "aaa");
    EXPECT_EQ(s.Replace("a", "b", 100), "bbb");
    // Count 0 gives an empty text, not an unchanged one.
    EXPECT_EQ(s.Replace("a", "b", 0), "");
    EXPECT_EQ(String().Replace("a", "b", 3), "");

    // Inserted text can match again, and passes stop at the string's length.
    EXPECT_EQ(String("ab").Replace("a", "aa", 5), "aaab");
    EXPECT_EQ(String("k=v;k=v;k=v").Replace(";", "\n", 10), "k=v\nk=v\nk=v");
    EXPECT_EQ(String("xyz").Replace("q", "r", 3), "xyz");
}

TEST(StringTest, TrimsOnlyTheFourBlanksWithTrimRightLimits) {
    EXPECT_EQ(String("  \t\r\nx ").TrimLeft(), "x ");
    EXPECT_EQ(String("    ").TrimLeft(), "");
    EXPECT_EQ(String("").TrimLeft(), "");
    EXPECT_EQ(String("\v\fx").TrimLeft(), "\v\fx"); // vertical tab, form feed are not blank

    EXPECT_EQ(String(" x \n").TrimRight(), " x");
    EXPECT_EQ(String("value\r\n").TrimRight(), "value");
    EXPECT_EQ(String("   ").TrimRight(), " "); // position 0 is never examined
    EXPECT_EQ(String(" ").TrimRight(), " ");  // one character is never trimmed
    EXPECT_EQ(String("x").TrimRight(), "x");
    EXPECT_EQ(String("x\v").TrimRight(), "x\v");

    String source(" both ");
    source.TrimLeft();
    source.TrimRight();
    EXPECT_EQ(source, " both ");
}

TEST(StringTest, CaseConversionLeavesTheLastCharacter) {
    EXPECT_EQ(String("abc").ToUpper(), "ABc");
    EXPECT_EQ(String("ABC").ToLower(), "abC");
    EXPECT_EQ(String("a").ToUpper(), "a");
    EXPECT_EQ(String("").ToUpper(), "");
    EXPECT_EQ(String("").ToLower(), "");
    String source("mixed Case");
    EXPECT_EQ(source.ToUpper(), "MIXED CASe");
    EXPECT_EQ(source, "mixed Case");
    // Bytes above 0x7F go through tolower/toupper as unsigned values.
    EXPECT_EQ(String("\xe9\xff!").ToLower().size(), 3u);
}

TEST(StringTest, StandardOperationsReturnStrings) {
    String s("key=value;");
    EXPECT_EQ(s.substr(4, 5), "value"); // a String, not a std::string
    EXPECT_THROW(s.at(10), std::out_of_range);
    (s += "more") += String("!");
    EXPECT_EQ(s.str(), std::string("key=value;more!"));
    EXPECT_EQ(String("a") + "b" + String("c"), "abc");
}

TEST(StringTest, IsAnObjectDeletedThroughItsBase) {
    std::unique_ptr<Vemlo::Data::Object> item(new String("kept in a collection"));
    auto* text = dynamic_cast<String*>(item.get());
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(*text, "kept in a collection");
}
