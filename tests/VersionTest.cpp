//===- VersionTest.cpp - Dotted version strings ---------------------------===//
#include "support/VemloTest.h"

TEST(VersionTest, FormatTestAcceptsDigitsBetweenSingleDots) {
    for (const char* good : {"", "1", "1.2.3.4", "01.002", "123456789012345678901234567890"})
        EXPECT_EQ(Version::isValidFormat(good), 1) << good;
    for (const char* bad : {".1", "1.", "1..2", "1.a", "1 .2", "-1", ".", "1.2.", "+1"})
        EXPECT_EQ(Version::isValidFormat(bad), 0) << bad;
    EXPECT_EQ(Version::isValidFormat(nullptr), 0);
}

TEST(VersionTest, SplitsIntoComponentsAndIgnoresInvalidTexts) {
    Version v("1.2.3.4");
    EXPECT_STREQ(v.getVersion(), "1.2.3.4");
    EXPECT_EQ(v.getCount(), 4);
    EXPECT_STREQ(v.getMajorVersion(), "1");
    EXPECT_STREQ(v.getMinorVersion(), "2");
    EXPECT_STREQ(v.getReleasePatchVersion(), "3");
    EXPECT_STREQ(v.getBuildNumber(), "4");
    EXPECT_EQ(v.getNthVer(4), nullptr);
    EXPECT_EQ(v.getNthVer(-1), nullptr);

    Version five("1.2.3.4.5");
    EXPECT_EQ(five.getCount(), 5);
    EXPECT_STREQ(five.getNthVer(4), "5");

    Version invalid("1..2");
    EXPECT_STREQ(invalid.getVersion(), "");
    EXPECT_EQ(invalid.getCount(), 0);
    EXPECT_EQ(invalid.getMajorVersion(), nullptr);

    // Invalid texts change nothing.
    v = "1.a";
    v.setVersion(nullptr);
    EXPECT_STREQ(v.getVersion(), "1.2.3.4");
    EXPECT_EQ(v.getCount(), 4);

    // The components are not cleared first.
    v.setVersion("5.6");
    EXPECT_STREQ(v.getVersion(), "5.6");
    ASSERT_EQ(v.getCount(), 4);
    EXPECT_STREQ(v.getNthVer(0), "5");
    EXPECT_STREQ(v.getNthVer(1), "6");
    EXPECT_STREQ(v.getNthVer(2), "3");
    EXPECT_STREQ(v.getNthVer(3), "4");

    // The empty text is valid: stored, components untouched.
    v = "";
    EXPECT_STREQ(v.getVersion(), "");
    EXPECT_EQ(v.getCount(), 4);

    // Setting a version from its own text.
    Version self("7.8");
    self.setVersion(self.getVersion());
    EXPECT_STREQ(self.getVersion(), "7.8");
}

TEST(VersionTest, ComponentSettersFillMissingLowerComponentsWithZero) {
    Version minor;
    minor.setMinorVersion("7");
    EXPECT_STREQ(minor.getVersion(), "");
    ASSERT_EQ(minor.getCount(), 2);
    EXPECT_STREQ(minor.getMajorVersion(), "0");
    EXPECT_STREQ(minor.getMinorVersion(), "7");

    Version build;
    build.setBuildNumber("99");
    ASSERT_EQ(build.getCount(), 4);
    EXPECT_STREQ(build.getNthVer(0), "0");
    EXPECT_STREQ(build.getNthVer(1), "0");
    EXPECT_STREQ(build.getNthVer(2), "0");
    EXPECT_STREQ(build.getBuildNumber(), "99");

    Version patch("3");
    patch.setReleasePatchVersion("x"); // no format test
    ASSERT_EQ(patch.getCount(), 3);
    EXPECT_STREQ(patch.getMajorVersion(), "3");
    EXPECT_STREQ(patch.getReleasePatchVersion(), "x");
    patch.setMajorVersion("4");
    EXPECT_STREQ(patch.getMajorVersion(), "4");
    EXPECT_STREQ(patch.getVersion(), "3");
    EXPECT_EQ(patch.getCount(), 3);
}

TEST(VersionTest, ComparesNumericallyOnlyWithEqualComponentCounts) {
    struct Case {
        const char *left, *right;
        int eq, ne, gt, lt, ge, le;
    };
    const Case cases[] = {
        {"1.10", "1.9", 0, 1, 1, 0, 1, 0},     // numbers, not texts
        {"1.2", "1.02", 1, 0, 0, 0, 1, 1},     // leading zeros
        {"1.9.9", "2.0.0", 0, 1, 0, 1, 0, 1},  // the first unequal pair decides
        {"2.0", "1.0.0", 0, 1, 0, 0, 0, 0},    // counts differ: never ordered
        {"1.2", "1.2.0", 0, 1, 0, 0, 0, 0},
        {"", "", 1, 0, 0, 0, 0, 0},            // no components: equal, yet not >= or <=
    };
    for (const Case& c : cases) {
        Version a(c.left), b(c.right);
        EXPECT_EQ(a == b, c.eq) << c.left << " == " << c.right;
        EXPECT_EQ(a != b, c.ne) << c.left << " != " << c.right;
        EXPECT_EQ(a > b, c.gt) << c.left << " > " << c.right;
        EXPECT_EQ(a < b, c.lt) << c.left << " < " << c.right;
        EXPECT_EQ(a >= b, c.ge) << c.left << " >= " << c.right;
        EXPECT_EQ(a <= b, c.le) << c.left << " <= " << c.right;
    }

    // A non-numeric component, set directly, counts as 0.
    Version letters("1.0");
    letters.setMinorVersion("beta");
    EXPECT_EQ(letters == Version("1.0"), 1);
}

TEST(VersionTest, AssignmentCopiesTheTextButNotTheComponents) {
    Version a("1.0"), b("2.5.1");
    a = b;
    EXPECT_STREQ(a.getVersion(), "2.5.1");
    EXPECT_EQ(a.getCount(), 2);
    EXPECT_STREQ(a.getMajorVersion(), "1");
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(a == Version("1.0"), 1);

    Version& same = a;
    a = same;
    EXPECT_STREQ(a.getVersion(), "2.5.1");
}
