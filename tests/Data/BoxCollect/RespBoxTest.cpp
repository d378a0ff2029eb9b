//===- Data/BoxCollect/RespBoxTest.cpp - Response payload -----------------===//
#include "support/VemloTest.h"

using Vemlo::Data::BoxCollect::RespBox;

TEST(RespBoxTest, CarriesAResultTextThatCopiesAndAssignmentTake) {
    RespBox response;
    response.SetResult(nullptr);
    EXPECT_STREQ(response.GetResult(), "");
    response.SetResult("done");
    response.Add("k", "v");
    RespBox copy(response);
    EXPECT_STREQ(copy.GetResult(), "done");

    // Assignment copies the result only; the entries stay.
    RespBox other;
    other.Add("mine", "1");
    other = response;
    EXPECT_STREQ(other.GetResult(), "done");
    EXPECT_STREQ(other.getValue("mine"), "1");
    EXPECT_STREQ(other.getValue("k"), "");
}
