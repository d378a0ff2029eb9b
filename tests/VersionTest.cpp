//===- VersionTest.cpp - Dotted version strings ---------------------------===//
#include "support/VemloTest.h"

// The components, dot-joined, and the count.
static std::string parts(Version& v) {
    std::string out;
    for (int i = 0; i < v.getCount(); ++i)
        out += std::string(i ? "." : "") + v.getNthVer(i);
    return out + " (" + std::to_string(v.getCount()) + ")";
}

TEST(VersionTest, InvalidTextsAreIgnoredAndComponentsAreNotClearedFirst) {
    for (const char* bad : {"1.", "1..2", "1.a"})
        EXPECT_EQ(Version::isValidFormat(bad), 0) << bad;
    Version v("1.2.3.4");
    v = "1.a"; // changes nothing
    EXPECT_STREQ(v.getVersion(), "1.2.3.4");
    v.setVersion("5.6");
    EXPECT_EQ(parts(v), "5.6.3.4 (4)");
    v = ""; // the empty text leaves the components
    EXPECT_EQ(parts(v), "5.6.3.4 (4)");
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
