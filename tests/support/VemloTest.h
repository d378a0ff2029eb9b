//===- support/VemloTest.h - Helpers shared by the test programs ----------===//
#ifndef VEMLO_TESTS_SUPPORT_VEMLOTEST_H
#define VEMLO_TESTS_SUPPORT_VEMLOTEST_H

#include <Vemlo/Vemlo.h>

#include <gtest/gtest.h>

#include <string>

namespace VemloTest {

// Runs `body`, which must throw a pointer to exactly `E`; checks its code and
// message and deletes it. A null `message` skips the message check. Works for
// exceptions whose Exception base is private (PropertyException): the C cast
// is the one conversion the language allows there.
template <class E, class Body> void ExpectThrown(Body&& body, int code, const char* message) {
    try {
        body();
    } catch (E* e) {
        if (e == nullptr) {
            ADD_FAILURE() << "a null pointer was thrown";
            return;
        }
        EXPECT_EQ(typeid(*e), typeid(E));
        const auto* base = (const Vemlo::Common::Exception*)e;
        EXPECT_EQ(base->GetCode(), code);
        if (message) {
            EXPECT_STREQ(base->GetMessage(), message);
        }
        delete e;
        return;
    }
    ADD_FAILURE() << "expected a thrown " << typeid(E).name();
}

// A fresh folder under $TMPDIR (or /tmp), removed with its contents when the
// object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    // path() + "/" + name
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_VEMLOTEST_H
