//===- Data/BoxCollect/BoxTest.cpp - Key/value bag for payloads -----------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

using Vemlo::Data::Object;
using Vemlo::Data::BoxCollect::Box;
using Vemlo::Data::BoxCollect::ReqBox;
using Vemlo::Data::Collection::HashElement;
using VemloTest::CountingObject;

namespace {

std::vector<std::pair<std::string, std::string>> entries(Box& box) {
    std::vector<std::pair<std::string, std::string>> out;
    box.Reset();
    while (box.MoveNext()) {
        HashElement* e = box.getCurrent();
        const char* value = e->getStringValue();
        out.emplace_back(e->getKey(), value ? value : "<object>");
    }
    return out;
}

using Entries = std::vector<std::pair<std::string, std::string>>;

} // namespace

TEST(BoxTest, AutomaticKeysAreNumberedByTheEntryCount) {
    Box box;
    EXPECT_EQ(box.Add(5), 1);
    EXPECT_EQ(box.Add("x"), 1);
    EXPECT_EQ(box.Add(1.5f), 1);
    EXPECT_EQ(entries(box), (Entries{{"KEY_0", "5"}, {"KEY_1", "x"}, {"KEY_2", "1.500000"}}));

    // After an explicit key the count skips a number.
    Box mixed;
    mixed.Add("name", "v");
    mixed.Add(7);
    EXPECT_EQ(entries(mixed), (Entries{{"name", "v"}, {"KEY_1", "7"}}));

    // A hand-made entry under the key the count produces is replaced.
    Box clash;
    clash.Add("KEY_1", "by hand");
    clash.Add("auto");
    EXPECT_EQ(entries(clash), (Entries{{"KEY_1", "auto"}}));
}

TEST(BoxTest, StoresTypedValuesAsTheirFormattedText) {
    Box box;
    box.Add("i", -12);
    box.Add("f", 0.25f);
    box.Add("n", 3ul);
    box.Add("big", 2147483648ul);
    EXPECT_STREQ(box.getValue("i"), "-12");
    EXPECT_STREQ(box.getValue("f"), "0.250000");
    // "%I64d": width 64, the value read as a signed 32-bit int.
    EXPECT_EQ(std::string(box.getValue("n")), std::string(63, ' ') + "3");
    const std::string negative = "-2147483648";
    EXPECT_EQ(std::string(box.getValue("big")), std::string(64 - negative.size(), ' ') + negative);
    if (sizeof(unsigned long) > 4) {
        box.Add("wide", static_cast<unsigned long>((1ull << 32) + 5));
        EXPECT_EQ(std::string(box.getValue("wide")), std::string(63, ' ') + "5");
    }
}

TEST(BoxTest, AddingUnderAPresentKeyReplacesWithTheTableRules) {
    std::atomic<int> deaths{0};
    Box box;
    box.Add("a", 7);
    box.Add("a", "b");
    EXPECT_EQ(entries(box), (Entries{{"a", "b"}}));

    EXPECT_STREQ(box.getValue("absent"), "");
    EXPECT_EQ(box.getObjValue("absent"), nullptr);

    auto* first = new CountingObject(deaths);
    auto* second = new CountingObject(deaths);
    box.Add("o", first);
    box.Add("o", second); // pointer replaced; `first` is the caller's again
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(box.getObjValue("o"), second);
    EXPECT_STREQ(box.getValue("o"), "");
    delete first;
    box.Add("o", "text"); // a text deletes the owned object
    EXPECT_EQ(deaths, 2);
    EXPECT_STREQ(box.getValue("o"), "text");

    box.Add("kept", new CountingObject(deaths));
}

TEST(BoxTest, ClearDeletesEntriesAndForgetsTheirKeys) {
    std::atomic<int> deaths{0};
    Box box;
    box.Add("a", new CountingObject(deaths));
    box.Add("b", "x");
    box.Clear();
    EXPECT_EQ(deaths, 1);
    box.Reset();
    EXPECT_FALSE(box.MoveNext());

    // Keys are usable again (no entry refers to deleted memory).
    EXPECT_STREQ(box.getValue("b"), "");
    EXPECT_EQ(box.getObjValue("a"), nullptr);
    box.Add("b", "y");
    box.Add(1);
    EXPECT_EQ(entries(box), (Entries{{"b", "y"}, {"KEY_1", "1"}}));
}

TEST(BoxTest, CopiesShareEntriesUntilTheLastGoesAndAssignmentDoesNothing) {
    std::atomic<int> deaths{0};
    Box* original = new Box();
    original->Add("v", new CountingObject(deaths));
    original->Add("t", "1");
    original->Reset();
    original->MoveNext();

    Box* copy = new Box(*original);
    ASSERT_NE(copy->getCurrent(), nullptr); // the cursor is copied
    EXPECT_STREQ(copy->getCurrent()->getKey(), "v");
    copy->Add("added", "by copy");
    EXPECT_STREQ(original->getValue("added"), "by copy");

    Box* copyOfCopy = new Box(*copy);
    delete original; // the copies live on
    EXPECT_EQ(deaths, 0);
    EXPECT_STREQ(copy->getValue("t"), "1");
    delete copy;
    EXPECT_EQ(deaths, 0);
    EXPECT_STREQ(copyOfCopy->getValue("added"), "by copy");
    delete copyOfCopy;
    EXPECT_EQ(deaths, 1);

    Box a, b;
    a.Add("a", "1");
    b.Add("b", "2");
    a = b;
    EXPECT_EQ(entries(a), (Entries{{"a", "1"}}));
    EXPECT_EQ(entries(b), (Entries{{"b", "2"}}));

    // The request variant shares in the same way.
    ReqBox request;
    request.Add("q", "1");
    {
        ReqBox requestCopy(request);
        requestCopy.Add("r", "2");
    }
    EXPECT_EQ(entries(request), (Entries{{"q", "1"}, {"r", "2"}}));
}
