//===- OutOfMemoryTest.cpp - Allocation failures give documented results --===//
//
// A device runs out of memory now and then. This program replaces the global
// allocation functions so that one chosen allocation of the calling thread
// fails with std::bad_alloc (the library's other threads are never failed);
// each case fails every allocation of an operation in turn, the first, the
// second, and so on until it runs through, and checks what the caller saw
// each time: the operation's normal result or its failure as it reports it,
// never an abort (a throw from a destructor) or another exception, and the
// object still usable afterwards. The suite's last check finds any System V
// semaphore set a failed construction left behind.
//
// The sanitizers replace the allocation functions themselves, so the cases
// are built only without them (coverage, ARM, device).
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

#include <new>
#include <set>

#ifdef VEMLO_TEST_WITHOUT_SANITIZER
// Allocations of this thread still to succeed before one fails; -1: none fails.
static thread_local long t_allocationsBeforeFailure = -1;

// The library's deletes go to the standard operator delete, which frees.
void* operator new(std::size_t size) {
    // One failure, then memory comes back: the count ends at -1.
    const bool fail = t_allocationsBeforeFailure >= 0 && t_allocationsBeforeFailure-- == 0;
    if (void* block = fail ? nullptr : std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}

using namespace Vemlo;
using namespace VemloTest;

// Runs `call` with each of its allocations failing in turn, then with none
// failing (at most 10000 allocations), and checks what it gave: `success` on
// the last run, and on the others `success` or one of `failures` ("<code>
// <message>" of the library exception it threw, which is deleted; "-1
// std::bad_alloc" for the standard one). The allocations, and so the failures
// met, differ between platforms; the results allowed do not.
template <class Call>
static void ExpectEachAllocationFailing(Call call, const std::string& success,
                                        std::set<std::string> failures) {
    failures.insert(success);
    for (long n = 0; n < 10000; ++n) {
        std::unique_ptr<Common::Exception> error;
        long result = 0;
        t_allocationsBeforeFailure = n;
        try {
            result = call();
        } catch (Common::Exception* e) {
            error.reset(e);
        } catch (const std::bad_alloc& e) {
            error.reset(new Common::Exception(e.what(), -1)); // not the library's
        }
        const bool ranThrough = t_allocationsBeforeFailure != -1;
        t_allocationsBeforeFailure = -1;
        const std::string outcome =
            error ? std::to_string(error->GetCode()) + " " + error->GetMessage()
                  : std::to_string(result);
        if (ranThrough) {
            EXPECT_EQ(outcome, success) << "with no allocation failing";
            return;
        }
        EXPECT_EQ(failures.count(outcome), 1u) << outcome << " with allocation " << n << " failing";
    }
    ADD_FAILURE() << "more than 10000 allocations";
}

using OutOfMemoryTest = ConfiguredTest;

// A property error becomes the configuration's 7201; the XML reader's own
// passes through.
TEST_F(OutOfMemoryTest, EachAllocationFailingGivesTheResultOrTheFailureAsReported) {
    Event::EventMessage message(4242, 1, "to nobody", nullptr, nullptr, nullptr);
    Event::EventHandler* events = Event::EventHandler::getInstance();
    ExpectEachAllocationFailing([&] { return events->SendEventMsg(&message); }, "0",
                                {"7301 Cannot Send Event [std::bad_alloc]"});
    const std::string path = m_config.workingDirectory() + "/p.config",
                      xml = "7241 Error to load xml document : std::bad_alloc";
    WriteFile(path, "<FileProperty><A><B>1</B></A></FileProperty>");
    ExpectEachAllocationFailing(
        [&] {
            Data::Properties::XmlProperty property;
            return property.Load(path.c_str()) * 10 + property.getIntValue("A.B");
        },
        "11", {xml, "-1 std::bad_alloc"});
    const std::string config = "7201 Cannot Load Configuration File : " + path + "/ [";
    ExpectEachAllocationFailing(
        [&] {
            delete Config::ConfigurationManager::GetManager()->BuildProperty(path.c_str(), 6301);
            return 1;
        },
        "1",
        {xml, "-1 std::bad_alloc", config + "std::bad_alloc]",
         config + "Cannot Load Property File]"});
    Data::Collection::ArrayList commands;
    commands.Add("CREATE TABLE IF NOT EXISTS t(a)");
    ExpectEachAllocationFailing(
        [&] { return commands.SetValueAtString(0, "CREATE TABLE IF NOT EXISTS u(a)"); }, "0",
        {"0 std::bad_alloc"});
}
#endif
