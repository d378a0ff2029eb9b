//===- StringUtilTest.cpp - Text helpers ----------------------------------===//
#include "support/VemloTest.h"

using Vemlo::Data::Collection::Iterator;
using Items = std::vector<std::string>;

static Items items(Iterator& it) {
    Items out;
    for (it.Reset(); it.MoveNext();)
        out.push_back(it.getCurrentString());
    return out;
}

// Splits into a fresh iterator, checks the result and gives the pieces.
static Items split(const char* text, const char* sep, int result) {
    Iterator it;
    EXPECT_EQ(StringUtil::SplitString(&it, text, sep), result);
    return items(it);
}

TEST(StringUtilTest, SplitKeepsEmptyPiecesAndMatchesTheWholeSeparator) {
    EXPECT_EQ(split("a,,b,", ",", 1), (Items{"a", "", "b", ""}));
    // The separator's full length is skipped before searching on.
    EXPECT_EQ(split("aaa", "aa", 1), (Items{"", "a"}));
    EXPECT_EQ(split("a,b", "", 0), (Items{"a,b"}));             // no separator: one piece
    EXPECT_EQ(split(nullptr, ",", 0), (Items{""}));             // no text: one empty piece
    EXPECT_EQ(StringUtil::SplitString(nullptr, "a,b", ","), 0); // nowhere to put the pieces

    // Pieces are appended after what the iterator holds.
    Iterator it;
    it.Add("abc");
    EXPECT_EQ(StringUtil::SplitString(&it, ",", ","), 1);
    EXPECT_EQ(items(it), (Items{"abc", "", ""}));
}
