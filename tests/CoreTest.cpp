//===- CoreTest.cpp - String, its helpers, versions and exceptions --------===//
#include "support/VemloTest.h"

#include <type_traits>

using Vemlo::Common::Exception;
using Vemlo::Data::Collection::Iterator;
using Items = std::vector<std::string>;

// Assignment copies up to the first NUL. Format keeps 2047 characters: past
// the contract the output is cut there, never written beyond the buffer (ASan
// watches the build that runs this). (That a string assigned to itself is
// empty, the self-test checks.)
TEST(StringTest, EveryOperationReadsEveryOperandAndKeepsItsLimits) {
    const char* null = nullptr;
    String s("abc");
    s = null; // null text is empty
    s.append(null).append("x").append("yz", 1).append(2, '!').append(String("s")) += 'c';
    EXPECT_EQ(s.str(), "xy!!sc");
    const String ab("ab"), c("c");
    EXPECT_EQ((ab + c).str() + "|" + (ab + "d").str() + "|" + ("x" + ab).str(), "abc|abd|xab");
    EXPECT_EQ(
        (std::vector<int>{ab == String("ab"), "ab" == ab, ab != c, ab != "c", "c" != ab, ab < c,
                          ab == c, "c" == ab, ab != String("ab"), ab != "ab", "ab" != ab, c < ab}),
        (std::vector<int>{1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0}));

    String text(std::string("ab\0cd", 5)), assigned("old text");
    assigned = text;
    EXPECT_EQ(assigned.size(), 2u);
    s.Format("%s-%d-%.2f", "id", 42, 1.5);
    EXPECT_EQ(s, "id-42-1.50");
    const std::string longer(5000, 'y');
    s.Format("%s%s", longer.c_str(), "tail");
    EXPECT_EQ(s.str(), std::string(2047, 'y'));

    // Replace; then TrimLeft|TrimRight|ToLower|ToUpper of each text.
    String path("/var/lib/app/app.db");
    EXPECT_EQ(path.Replace("app", "device-service"), "/var/lib/device-service/app.db");
    EXPECT_EQ(path, "/var/lib/device-service/app.db");

    String three("aaa");
    EXPECT_EQ((Items{three.Replace("a", "b", 2).str(), three.str()}), (Items{"bba", "aaa"}));
    EXPECT_EQ(three.Replace("a", "b", 0), ""); // count 0 gives an empty text
    EXPECT_EQ(three.Replace("", "b") + three.Replace("x", "b"), "aaaaaa"); // nothing to replace
    // Inserted text can match again, and passes stop at the string's length.
    EXPECT_EQ(String("ab").Replace("a", "aa", 5), "aaab");

    auto all = [](String s) {
        return (s.TrimLeft() + "|" + s.TrimRight() + "|" + s.ToLower() + "|" + s.ToUpper()).str();
    };
    EXPECT_EQ(all("  \t\r\nx "), "x |  \t\r\nx|  \t\r\nx |  \t\r\nX ");
    EXPECT_EQ(all("Mixed Case"), "Mixed Case|Mixed Case|mixed case|MIXED CASe"); // not the last
    EXPECT_EQ(all("   "), "| |   |   "); // position 0 is never trimmed on the right
    EXPECT_EQ(all("aB"), "aB|aB|aB|AB");
    EXPECT_EQ(all(" "), "| | | "); // one character is never trimmed on the right
    EXPECT_EQ(all(""), "|||");
}

// Splits into a fresh iterator (holding `held` first, when given), checks
// the result and gives the items.
static Items split(const char* text, const char* sep, int result, const char* held = nullptr) {
    Iterator it;
    if (held)
        it.Add(held);
    EXPECT_EQ(StringUtil::SplitString(&it, text, sep), result);
    Items out;
    for (it.Reset(); it.MoveNext();)
        out.push_back(it.getCurrentString());
    return out;
}

TEST(StringUtilTest, SplitKeepsEmptyPiecesAndMatchesTheWholeSeparator) {
    EXPECT_EQ(split("a,,b,", ",", 1), (Items{"a", "", "b", ""}));
    // The separator's full length is skipped before searching on.
    EXPECT_EQ(split("aaa", "aa", 1), (Items{"", "a"}));
    EXPECT_EQ(split("a,b", "", 0), (Items{"a,b"}));               // no separator: one piece
    EXPECT_EQ(split(nullptr, ",", 0), (Items{""}));               // no text: one empty piece
    EXPECT_EQ(StringUtil::SplitString(nullptr, "a,b", ","), 0);   // nowhere to put the pieces
    EXPECT_EQ(split(",", ",", 1, "abc"), (Items{"abc", "", ""})); // appended after what it holds
}

// The components, dot-joined, and the count.
static std::string parts(Version& v) {
    std::string out;
    for (int i = 0; i < v.getCount(); ++i)
        out += std::string(i ? "." : "") + v.getNthVer(i);
    return out + " (" + std::to_string(v.getCount()) + ")";
}

// Invalid texts change nothing; valid ones and the setters keep the components
// the text has not got, the setters filling missing ones with zero.
TEST(VersionTest, ComparesNumericallyOnlyWithEqualCountsAndSettersKeepComponents) {
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

    for (const char* bad : {".1", "1.", "1..2", "1.a", "1/2", static_cast<const char*>(nullptr)})
        EXPECT_EQ(Version::isValidFormat(bad), 0) << (bad ? bad : "null");
    Version assigned("1.2.3.4");
    assigned = "1.a"; // changes nothing
    EXPECT_STREQ(assigned.getVersion(), "1.2.3.4");
    assigned = "5.6"; // as setVersion
    EXPECT_EQ(parts(assigned), "5.6.3.4 (4)");
    Version other("9");
    other = assigned; // the text only
    EXPECT_EQ(other.getVersion() + (" " + parts(other)), "5.6 9 (1)");
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
