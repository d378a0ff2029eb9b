//===- Common/ExceptionTest.cpp - The exception family --------------------===//
#include "support/VemloTest.h"

using Vemlo::Common::Exception;

template <class E> class ExceptionFamilyTest : public testing::Test {};

using PublicFamily =
    testing::Types<Exception, Vemlo::Service::WorkException, Vemlo::Net::NetException,
                   Vemlo::Log::LogException, Vemlo::Event::EventException, Vemlo::DB::DBException,
                   Vemlo::Config::ConfigurationException, Vemlo::Common::Xml::XmlException>;
TYPED_TEST_SUITE(ExceptionFamilyTest, PublicFamily);

TYPED_TEST(ExceptionFamilyTest, NullMessagesReadEmptyAndPointersThrowThroughTheBase) {
    EXPECT_STREQ(TypeParam(nullptr, 7).GetMessage(), "");
    try {
        throw new TypeParam("Thread Stop Error", 7222);
    } catch (Exception* e) {
        EXPECT_EQ(typeid(*e), typeid(TypeParam));
        EXPECT_STREQ(e->GetMessage(), "Thread Stop Error");
        EXPECT_EQ(e->GetCode(), 7222);
        delete e;
    }
}

// Property failures are not in the family: a handler for the base must not
// catch them.
static_assert(!std::is_convertible<Vemlo::Data::Properties::PropertyException*, Exception*>::value,
              "");
