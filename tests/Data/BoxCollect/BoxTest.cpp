//===- Data/BoxCollect/BoxTest.cpp - Key/value bags for payloads ----------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

using Vemlo::Data::BoxCollect::Box;
using Vemlo::Data::BoxCollect::ReqBox;
using Vemlo::Data::BoxCollect::RespBox;
using VemloTest::CountingObject;

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

Entries entries(Box& box) {
    Entries out;
    for (box.Reset(); box.MoveNext();) {
        const char* value = box.getCurrent()->getStringValue();
        out.emplace_back(box.getCurrent()->getKey(), value ? value : "<object>");
    }
    return out;
}

} // namespace

TEST(BoxTest, AutomaticKeysAreNumberedByTheEntryCountAndValuesFormatted) {
    Box box;
    EXPECT_EQ(box.Add(5), 1);
    box.Add("x");
    box.Add(1.5f);
    box.Add("name", -12);
    box.Add(7); // after an explicit key the count skips a number
    EXPECT_EQ(entries(box), (Entries{{"KEY_0", "5"},
                                     {"KEY_1", "x"},
                                     {"KEY_2", "1.500000"},
                                     {"name", "-12"},
                                     {"KEY_4", "7"}}));

    // "%I64d": width 64, the value read as a signed 32-bit int.
    box.Add("n", 3ul);
    box.Add("big", 2147483648ul);
    EXPECT_EQ(std::string(box.getValue("n")), std::string(63, ' ') + "3");
    EXPECT_EQ(std::string(box.getValue("big")), std::string(53, ' ') + "-2147483648");
    if (sizeof(unsigned long) > 4) {
        box.Add("wide", static_cast<unsigned long>((1ull << 32) + 5));
        EXPECT_EQ(std::string(box.getValue("wide")), std::string(63, ' ') + "5");
    }
}

TEST(BoxTest, ReplacingFollowsTheTableRulesAndClearForgetsTheKeys) {
    std::atomic<int> deaths{0};
    Box box;
    auto* first = new CountingObject(deaths);
    box.Add("o", first);
    box.Add("o", new CountingObject(deaths)); // pointer replaced; `first` is the caller's again
    EXPECT_EQ(deaths, 0);
    EXPECT_STREQ(box.getValue("o"), "");
    delete first;
    box.Add("o", "text"); // a text deletes the owned object
    EXPECT_EQ(deaths, 2);
    EXPECT_EQ(box.getObjValue("absent"), nullptr);

    box.Add("a", new CountingObject(deaths));
    box.Clear();
    EXPECT_EQ(deaths, 3);
    // Keys are usable again (no entry refers to deleted memory).
    EXPECT_EQ(box.getObjValue("a"), nullptr);
    box.Add("o", "y");
    box.Add(1);
    EXPECT_EQ(entries(box), (Entries{{"o", "y"}, {"KEY_1", "1"}}));
}

TEST(BoxTest, CopiesShareEntriesUntilTheLastGoesAndAssignmentDoesNothing) {
    std::atomic<int> deaths{0};
    Box* original = new Box();
    original->Add("v", new CountingObject(deaths));
    original->Reset();
    original->MoveNext();
    Box* copy = new Box(*original);
    ASSERT_NE(copy->getCurrent(), nullptr); // the cursor is copied
    copy->Add("added", "by copy");
    EXPECT_STREQ(original->getValue("added"), "by copy");

    delete original; // the copy lives on
    EXPECT_EQ(deaths, 0);
    EXPECT_STREQ(copy->getValue("added"), "by copy");
    delete copy;
    EXPECT_EQ(deaths, 1);

    Box a, b;
    a.Add("a", "1");
    b.Add("b", "2");
    a = b;
    EXPECT_EQ(entries(a), (Entries{{"a", "1"}}));

    // The request variant shares in the same way.
    ReqBox request;
    request.Add("q", "1");
    ReqBox(request).Add("r", "2");
    EXPECT_EQ(entries(request), (Entries{{"q", "1"}, {"r", "2"}}));
}

TEST(BoxTest, ResponseCarriesAResultTextThatCopiesAndAssignmentTake) {
    RespBox response;
    response.SetResult(nullptr);
    EXPECT_STREQ(response.GetResult(), "");
    response.SetResult("done");
    response.Add("k", "v");
    EXPECT_STREQ(RespBox(response).GetResult(), "done");

    // Assignment copies the result only; the entries stay.
    RespBox other;
    other.Add("mine", "1");
    other = response;
    EXPECT_STREQ(other.GetResult(), "done");
    EXPECT_EQ(entries(other), (Entries{{"mine", "1"}}));
}
