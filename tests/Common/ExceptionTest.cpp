//===- Common/ExceptionTest.cpp - The exception family --------------------===//
#include "support/VemloTest.h"

#include <type_traits>

using Vemlo::Common::Exception;

// Every class of the family is caught, and deleted, through the base; property
// failures are not in the family: a handler for the base must not catch them.
template <class... E>
constexpr bool kFamily = (... && (std::is_convertible<E*, Exception*>::value &&
                                  std::has_virtual_destructor<E>::value));
static_assert(
    kFamily<Exception, Vemlo::Service::WorkException, Vemlo::Net::NetException,
            Vemlo::Log::LogException, Vemlo::Event::EventException, Vemlo::DB::DBException,
            Vemlo::Config::ConfigurationException, Vemlo::Common::Xml::XmlException> &&
    !std::is_convertible<Vemlo::Data::Properties::PropertyException*, Exception*>::value);

TEST(ExceptionTest, MessageAndCodeAreKeptAndANullMessageReadsEmpty) {
    const Vemlo::DB::DBException blank, named(nullptr);
    Vemlo::Service::WorkException e("Thread Stop Error", 7222);
    EXPECT_EQ(std::string(e.GetMessage()) + "," + std::to_string(e.GetCode()) + "," +
                  blank.GetMessage() + named.GetMessage() + std::to_string(blank.GetCode()),
              "Thread Stop Error,7222,0");
    e.SetMessage(nullptr);
    e.SetCode(3);
    EXPECT_EQ(std::string(e.GetMessage()) + std::to_string(e.GetCode()), "3");
}
