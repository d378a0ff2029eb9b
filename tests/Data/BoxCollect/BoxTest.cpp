//===- Data/BoxCollect/BoxTest.cpp - Key/value bags for payloads ----------===//
#include "support/VemloTest.h"

using Vemlo::Data::BoxCollect::Box;
using Vemlo::Data::BoxCollect::RespBox;

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
    box.Add("name", 1.5f);
    box.Add(7); // after an explicit key the count skips a number
    EXPECT_EQ(entries(box), (Entries{{"KEY_0", "5"}, {"name", "1.500000"}, {"KEY_2", "7"}}));

    // "%I64d": width 64, the value read as a signed 32-bit int.
    box.Add("big", 2147483648ul);
    EXPECT_EQ(std::string(box.getValue("big")), std::string(53, ' ') + "-2147483648");
}

TEST(BoxTest, ClearDeletesTheEntriesAndForgetsTheKeys) {
    Box box;
    box.Add("a", new Vemlo::Data::Object); // a leak shows under the sanitizers
    box.Clear();
    box.Add("o", "y"); // no key refers to deleted memory
    EXPECT_EQ(box.getObjValue("a"), nullptr);
    EXPECT_EQ(entries(box), (Entries{{"o", "y"}}));
}

// Copies share one table: a double delete or a leak shows under the sanitizers.
TEST(BoxTest, CopiesShareEntriesUntilTheLastGoesAndAssignmentDoesNothing) {
    Box* original = new Box();
    original->Add("v", new Vemlo::Data::Object);
    Box* copy = new Box(*original);
    copy->Add("added", "by copy");
    EXPECT_STREQ(original->getValue("added"), "by copy");
    delete original; // the copy lives on
    EXPECT_STREQ(copy->getValue("added"), "by copy");
    delete copy;

    Box a, b;
    a.Add("a", "1");
    b.Add("b", "2");
    a = b;
    EXPECT_EQ(entries(a), (Entries{{"a", "1"}}));
}

TEST(BoxTest, ResponseCarriesAResultTextThatCopiesAndAssignmentTake) {
    RespBox response, other;
    response.SetResult("done");
    response.Add("k", "v");
    EXPECT_STREQ(RespBox(response).GetResult(), "done");
    // Assignment copies the result only; the entries stay.
    other.Add("mine", "1");
    other = response;
    EXPECT_STREQ(other.GetResult(), "done");
    EXPECT_EQ(entries(other), (Entries{{"mine", "1"}}));
}
