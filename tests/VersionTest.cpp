//===- VersionTest.cpp - Dotted version strings ---------------------------===//
#include "support/VemloTest.h"

#include <string>
#include <vector>

// The components, dot-joined, and the count.
static std::string parts(Version& v) {
    std::string out;
    for (int i = 0; i < v.getCount(); ++i)
        out += std::string(i ? "." : "") + v.getNthVer(i);
    return out + " (" + std::to_string(v.getCount()) + ")";
}

TEST(VersionTest, FormatTestAcceptsDigitsBetweenSingleDots) {
    for (const char* good : {"", "1.2.3.4", "01.002", "123456789012345678901234567890"})
        EXPECT_EQ(Version::isValidFormat(good), 1) << good;
    for (const char* bad : {".1", "1.", "1..2", "1.a", "-1"})
        EXPECT_EQ(Version::isValidFormat(bad), 0) << bad;
    EXPECT_EQ(Version::isValidFormat(nullptr), 0);
}

TEST(VersionTest, SplitsIntoComponentsAndIgnoresInvalidTexts) {
    Version v("1.2.3.4"), five("1.2.3.4.5"), invalid("1..2");
    EXPECT_STREQ(v.getMajorVersion(), "1");
    EXPECT_STREQ(v.getBuildNumber(), "4");
    EXPECT_EQ(v.getNthVer(4), nullptr);
    EXPECT_EQ(v.getNthVer(-1), nullptr);
    EXPECT_EQ(parts(five), "1.2.3.4.5 (5)");
    EXPECT_EQ(invalid.getCount(), 0);
    EXPECT_EQ(invalid.getMajorVersion(), nullptr);

    // Invalid texts change nothing.
    v = "1.a";
    v.setVersion(nullptr);
    EXPECT_STREQ(v.getVersion(), "1.2.3.4");
    // The components are not cleared first; the empty text leaves them.
    v.setVersion("5.6");
    EXPECT_EQ(parts(v), "5.6.3.4 (4)");
    v = "";
    EXPECT_STREQ(v.getVersion(), "");
    EXPECT_EQ(parts(v), "5.6.3.4 (4)");
    Version self("7.8");
    self.setVersion(self.getVersion());
    EXPECT_STREQ(self.getVersion(), "7.8");
}

TEST(VersionTest, SettersFillLowerComponentsAndAssignmentCopiesOnlyTheText) {
    Version build, patch("3");
    build.setBuildNumber("99");
    EXPECT_STREQ(build.getVersion(), "");
    EXPECT_EQ(parts(build), "0.0.0.99 (4)");
    patch.setReleasePatchVersion("x"); // no format test
    patch.setMajorVersion("4");
    EXPECT_EQ(parts(patch), "4.0.x (3)");

    Version a("1.0"), b("2.5.1");
    a = b;
    EXPECT_STREQ(a.getVersion(), "2.5.1");
    EXPECT_EQ(parts(a), "1.0 (2)");
}

TEST(VersionTest, ComparesNumericallyOnlyWithEqualComponentCounts) {
    const struct {
        const char *left, *right;
        int eq, ne, gt, lt, ge, le;
    } cases[] = {
        {"1.10", "1.9", 0, 1, 1, 0, 1, 0},    // numbers, not texts
        {"1.2", "1.02", 1, 0, 0, 0, 1, 1},    // leading zeros
        {"1.9.9", "2.0.0", 0, 1, 0, 1, 0, 1}, // the first unequal pair decides
        {"2.0", "1.0.0", 0, 1, 0, 0, 0, 0},   // counts differ: never ordered
        {"", "", 1, 0, 0, 0, 0, 0},           // no components: equal, yet not >= or <=
    };
    for (const auto& c : cases) {
        Version a(c.left), b(c.right);
        EXPECT_EQ((std::vector<int>{a == b, a != b, a > b, a < b, a >= b, a <= b}),
                  (std::vector<int>{c.eq, c.ne, c.gt, c.lt, c.ge, c.le}))
            << c.left << " vs " << c.right;
    }
    Version letters("1.0"); // a non-numeric component, set directly, counts as 0
    letters.setMinorVersion("beta");
    EXPECT_EQ(letters == Version("1.0"), 1);
}
