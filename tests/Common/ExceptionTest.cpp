//===- Common/ExceptionTest.cpp - The exception family --------------------===//
#include "support/VemloTest.h"

using Vemlo::Common::Exception;

template <class E> class ExceptionFamilyTest : public testing::Test {};

using PublicFamily =
    testing::Types<Exception, Vemlo::Service::WorkException, Vemlo::Net::NetException,
                   Vemlo::Log::LogException, Vemlo::Event::EventException, Vemlo::DB::DBException,
                   Vemlo::Config::ConfigurationException, Vemlo::Common::Xml::XmlException>;
TYPED_TEST_SUITE(ExceptionFamilyTest, PublicFamily);

TYPED_TEST(ExceptionFamilyTest, ConstructorsSettersAndThrowConvention) {
    TypeParam plain;
    EXPECT_STREQ(plain.GetMessage(), "");
    EXPECT_EQ(plain.GetCode(), 0);

    TypeParam fromNull(nullptr);
    EXPECT_STREQ(fromNull.GetMessage(), "");
    TypeParam withCode(nullptr, 7);
    EXPECT_STREQ(withCode.GetMessage(), "");
    EXPECT_EQ(withCode.GetCode(), 7);

    TypeParam edited("first");
    EXPECT_EQ(edited.GetCode(), 0);
    edited.SetMessage("second");
    edited.SetCode(-1);
    EXPECT_STREQ(edited.GetMessage(), "second");
    EXPECT_EQ(edited.GetCode(), -1);
    edited.SetMessage(nullptr);
    EXPECT_STREQ(edited.GetMessage(), "");

    TypeParam copy(TypeParam("copied", 3));
    EXPECT_STREQ(copy.GetMessage(), "copied");
    EXPECT_EQ(copy.GetCode(), 3);

    // Thrown as a pointer, caught through the base, deleted through it.
    String message;
    message.Format("Thread %s Error", "Stop");
    try {
        throw new TypeParam(message.c_str(), 7222);
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
    bool caughtByName = false;
    try {
        try {
            throw new PropertyException("Cannot Load Property File", 201);
        } catch (Exception* e) {
            caughtByBase = true;
            delete e;
        }
    } catch (PropertyException* e) {
        caughtByName = true;
        delete e;
    }
    EXPECT_FALSE(caughtByBase);
    EXPECT_TRUE(caughtByName);
    EXPECT_FALSE((std::is_convertible<PropertyException*, Exception*>::value));
}
