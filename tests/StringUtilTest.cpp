//===- StringUtilTest.cpp - Text helpers ----------------------------------===//
#include "support/VemloTest.h"

#include <future>
#include <string>
#include <vector>

using Vemlo::Data::Collection::Iterator;

namespace {

std::vector<std::string> items(Iterator& it) {
    std::vector<std::string> out;
    it.Reset();
    while (it.MoveNext())
        out.push_back(it.getCurrentString());
    return out;
}

using Items = std::vector<std::string>;

} // namespace

TEST(StringUtilTest, SplitKeepsEmptyPiecesAndMatchesTheWholeSeparator) {
    Iterator a;
    EXPECT_EQ(StringUtil::SplitString(&a, "a,,b,", ","), 1);
    EXPECT_EQ(items(a), (Items{"a", "", "b", ""}));

    Iterator b;
    EXPECT_EQ(StringUtil::SplitString(&b, "abc", ";"), 0);
    EXPECT_EQ(items(b), (Items{"abc"}));

    Iterator c;
    EXPECT_EQ(StringUtil::SplitString(&c, "x::y:z::", "::"), 1);
    EXPECT_EQ(items(c), (Items{"x", "y:z", ""}));

    // The separator's full length is skipped before searching on.
    Iterator d;
    EXPECT_EQ(StringUtil::SplitString(&d, "aaa", "aa"), 1);
    EXPECT_EQ(items(d), (Items{"", "a"}));

    // Pieces are appended after what the iterator holds.
    EXPECT_EQ(StringUtil::SplitString(&b, ",", ","), 1);
    EXPECT_EQ(items(b), (Items{"abc", "", ""}));
}

TEST(StringUtilTest, DegenerateArgumentsGiveOnePieceOrNothing) {
    Iterator it;
    EXPECT_EQ(StringUtil::SplitString(&it, "a,b", ""), 0);
    EXPECT_EQ(StringUtil::SplitString(&it, "c", nullptr), 0);
    EXPECT_EQ(StringUtil::SplitString(&it, nullptr, ","), 0);
    EXPECT_EQ(StringUtil::SplitString(&it, "", ","), 0);
    EXPECT_EQ(items(it), (Items{"a,b", "c", "", ""}));
    EXPECT_EQ(StringUtil::SplitString(nullptr, "a,b", ","), 0);
}

TEST(StringUtilTest, ConcurrentSplitsIntoSeparateIteratorsStayCorrect) {
    auto splitMany = [](const char* text, const char* sep, int times) {
        int pieces = 0;
        for (int i = 0; i < times; ++i) {
            Iterator it;
            StringUtil::SplitString(&it, text, sep);
            pieces += it.Count();
        }
        return pieces;
    };
    auto one = std::async(std::launch::async, splitMany, "1;2;3;4", ";", 300);
    auto two = std::async(std::launch::async, splitMany, "a--b", "--", 300);
    EXPECT_EQ(one.get(), 4 * 300);
    EXPECT_EQ(two.get(), 2 * 300);
}
