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
    TypeParam withCode(nullptr, 7);
    EXPECT_STREQ(withCode.GetMessage(), "");
    EXPECT_EQ(withCode.GetCode(), 7);
    withCode.SetMessage(nullptr);
    EXPECT_STREQ(withCode.GetMessage(), "");
    try {
        throw new TypeParam("Thread Stop Error", 7222);
    } catch (Exception* e) {
        EXPECT_EQ(typeid(*e), typeid(TypeParam));
        EXPECT_STREQ(e->GetMessage(), "Thread Stop Error");
        EXPECT_EQ(e->GetCode(), 7222);
        delete e;
    }
}

TEST(ExceptionTest, PropertyExceptionEscapesHandlersForTheBase) {
    using Vemlo::Data::Properties::PropertyException;
    bool caughtByBase = false;
    try {
        try {
            throw new PropertyException("Cannot Load Property File", 201);
        } catch (Exception* e) {
            caughtByBase = true;
            delete e;
        }
    } catch (PropertyException* e) {
        delete e;
    }
    EXPECT_FALSE(caughtByBase);
    EXPECT_FALSE((std::is_convertible<PropertyException*, Exception*>::value));
}
