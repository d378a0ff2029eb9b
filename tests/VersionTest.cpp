//===- VersionTest.cpp - Dotted version strings ---------------------------===//
#include "support/VemloTest.h"

// The components, dot-joined, and the count.
static std::string parts(Version& v) {
    std::string out;
    for (int i = 0; i < v.getCount(); ++i)
        out += std::string(i ? "." : "") + v.getNthVer(i);
    return out + " (" + std::to_string(v.getCount()) + ")";
}

TEST(VersionTest, NeitherInvalidTextsNorAssignmentClearComponents) {
    for (const char* bad : {".1", "1.", "1..2", "1.a"})
        EXPECT_EQ(Version::isValidFormat(bad), 0) << bad;
    Version v("1.2.3.4");
    v = "1.a"; // changes nothing
    EXPECT_STREQ(v.getVersion(), "1.2.3.4");
    v = "5.6"; // as setVersion
    EXPECT_EQ(parts(v), "5.6.3.4 (4)");
    Version other("9");
    other = v; // the text only
    EXPECT_EQ(other.getVersion() + (" " + parts(other)), "5.6 9 (1)");
}

TEST(VersionTest, ComparesNumericallyOnlyWithEqualComponentCounts) {
    const struct {
        const char *left, *right;
        int eq, ne, gt, lt, ge, le;
    } cases[] = {
        {"1.10", "1.9", 0, 1, 1, 0, 1, 0},  // numbers, not texts
        {"2.0", "1.0.0", 0, 1, 0, 0, 0, 0}, // counts differ: never ordered
        {"", "", 1, 0, 0, 0, 0, 0},         // no components: equal, yet not >= or <=
        {"1.4294967296", "1.2147483648", 1, 0, 0, 0, 1, 1}, // clamped to 32 bits everywhere
    };
    for (const auto& c : cases) {
        Version a(c.left), b(c.right);
        EXPECT_EQ((std::vector<int>{a == b, a != b, a > b, a < b, a >= b, a <= b}),
                  (std::vector<int>{c.eq, c.ne, c.gt, c.lt, c.ge, c.le}))
            << c.left << " vs " << c.right;
    }
}

TEST(VersionTest, SettersFillMissingComponentsWithZeroAndLeaveTheText) {
    Version empty, none, one("1"), v, two("1.2"), twoBuilt("1.2");
    empty.setBuildNumber("9");
    none.setReleasePatchVersion("5");
    one.setReleasePatchVersion("5");
    two.setReleasePatchVersion("5"); // components present are kept
    twoBuilt.setBuildNumber("9");
    v.setMinorVersion("7");
    v.setReleasePatchVersion("5");
    v.setBuildNumber("9");
    v.setMajorVersion("3");
    two.setBuildNumber("9");
    EXPECT_EQ(parts(empty) + " " + parts(none) + " " + parts(one) + " " + parts(v) + " " +
                  parts(two) + " " + parts(twoBuilt),
              "0.0.0.9 (4) 0.0.5 (3) 1.0.5 (3) 3.7.5.9 (4) 1.2.5.9 (4) 1.2.0.9 (4)");
    EXPECT_EQ(std::string(v.getMajorVersion()) + v.getMinorVersion() + v.getReleasePatchVersion() +
                  v.getBuildNumber() + v.getVersion(),
              "3759");
}
