//===- Data/BoxCollect/BoxTest.cpp - Key/value bags for payloads ----------===//
#include "support/VemloTest.h"

using Vemlo::Data::BoxCollect::Box;
using Vemlo::Data::BoxCollect::ReqBox;
using Vemlo::Data::BoxCollect::RespBox;

namespace {

// The entries in walking order, "key=value;" each ("key=<object>;" for an object).
std::string entries(Box& box) {
    std::string out;
    for (box.Reset(); box.MoveNext();) {
        const char* value = box.getCurrent()->getStringValue();
        out += std::string(box.getCurrent()->getKey()) + "=" + (value ? value : "<object>") + ";";
    }
    return out;
}

} // namespace

TEST(BoxTest, EveryAddFormStoresItsValueAndAutomaticKeysFollowTheEntryCount) {
    ReqBox box; // a request is a box with texts of its own
    const std::vector<int> added{box.Add(5),        box.Add("name", 1.5f),
                                 box.Add(7),        box.Add("n", -3),
                                 box.Add("t", "x"), box.Add(0.25f),
                                 box.Add("s"),      box.Add("o", new Vemlo::Data::Object)};
    EXPECT_EQ(added, std::vector<int>(8, 1));
    // After an explicit key the count skips a number.
    EXPECT_EQ(entries(box),
              "KEY_0=5;name=1.500000;KEY_2=7;n=-3;t=x;KEY_5=0.250000;KEY_6=s;o=<object>;");

    // "%I64d": width 64, the value read as a signed 32-bit int.
    EXPECT_EQ(box.Add("big", 2147483648ul), 1);
    EXPECT_EQ(std::string(box.getValue("big")), std::string(53, ' ') + "-2147483648");
}

TEST(BoxTest, ClearDeletesTheEntriesAndForgetsTheKeys) {
    Box box;
    box.Add("a", new Vemlo::Data::Object); // a leak shows under the sanitizers
    box.Clear();
    box.Add("o", "y"); // no key refers to deleted memory
    EXPECT_EQ(box.getObjValue("a"), nullptr);
    EXPECT_EQ(entries(box), "o=y;");
}

// Copies share one table: a double delete or a leak shows under the sanitizers.
TEST(BoxTest, CopiesShareEntriesUntilTheLastGoes) {
    Box* original = new Box();
    original->Add("v", new Vemlo::Data::Object);
    Box* copy = new Box(*original);
    copy->Add("added", "by copy");
    EXPECT_STREQ(original->getValue("added"), "by copy");
    delete original; // the copy lives on
    EXPECT_STREQ(copy->getValue("added"), "by copy");
    delete copy;
}

TEST(BoxTest, ResponseResultTravelsWithCopiesAndAssignmentWhichLeavesTheEntries) {
    RespBox response, other;
    response.SetResult("done");
    response.Add("k", "v");
    EXPECT_STREQ(RespBox(response).GetResult(), "done");
    // Assignment copies the result only; the entries stay.
    other.Add("mine", "1");
    other = response;
    EXPECT_STREQ(other.GetResult(), "done");
    EXPECT_EQ(entries(other), "mine=1;");
}
