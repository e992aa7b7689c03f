#include "host/marrowby/Glob.h"

#include "host/marrowby/Errors.h"

#include <gtest/gtest.h>

namespace {

bool matches(const char *pattern, const char *name)
{
    return Glob(pattern).matches(name);
}

QByteArray refusalOf(const QByteArray &pattern)
{
    try {
        Glob glob(pattern);
    } catch (const Failure &failure) {
        return failure.text();
    }
    return "accepted";
}

} // namespace

TEST(Glob, AStarStandsForAnyCharactersAlsoNone)
{
    EXPECT_TRUE(matches("*", "anything"));
    EXPECT_TRUE(matches("part-*", "part-"));
    EXPECT_TRUE(matches("*.txt", "a.b.txt"));
    EXPECT_TRUE(matches("a*b*c", "aXbXbXc"));
    EXPECT_FALSE(matches("a*b*c", "aXcXb"));
    EXPECT_FALSE(matches("*.txt", "a.txt2"));
}

TEST(Glob, ALeadingDotIsNothingSpecial)
{
    EXPECT_TRUE(matches("*", ".hidden"));
}

TEST(Glob, AQuestionMarkStandsForOneCharacterNotForOneByte)
{
    EXPECT_TRUE(matches("gr??e", "gr\xC3\xB6\xC3\x9F"
                                 "e"));
    EXPECT_TRUE(matches("?", "\xF0\x9F\x98\x80"));
    EXPECT_FALSE(matches("?", ""));
    EXPECT_FALSE(matches("?", "ab"));
}

TEST(Glob, BracketsStandForOneOfTheirCharacters)
{
    EXPECT_TRUE(matches("[abc]x", "bx"));
    EXPECT_TRUE(matches("[a-cx-z]", "y"));
    EXPECT_FALSE(matches("[a-cx-z]", "m"));
    EXPECT_TRUE(matches("[^a-c]", "d"));
    EXPECT_TRUE(matches("[!a-c]", "d"));
    EXPECT_FALSE(matches("[^a-c]", "b"));
    EXPECT_TRUE(matches("[a-]", "-"));
    EXPECT_TRUE(matches("[\\]]", "]"));
    EXPECT_TRUE(matches("[*]", "*"));
    EXPECT_FALSE(matches("[*]", "a"));
}

TEST(Glob, BracesStandForOneOfTheirTexts)
{
    EXPECT_TRUE(matches("{small,empty}", "empty"));
    EXPECT_TRUE(matches("s{m,n}all", "snall"));
    EXPECT_TRUE(matches("{,x}small", "small"));
    EXPECT_TRUE(matches("s{m{a,b},n}ll", "smbll"));
    EXPECT_TRUE(matches("{a*,?}1", "abc1"));
    EXPECT_TRUE(matches("{a,b}{1,2}", "b1"));
    EXPECT_FALSE(matches("{small,empty}", "small,empty"));
}

TEST(Glob, ABackslashTakesAMeaningAway)
{
    EXPECT_TRUE(matches("\\*", "*"));
    EXPECT_FALSE(matches("\\*", "a"));
    EXPECT_TRUE(matches("a\\{b,c\\}", "a{b,c}"));
    EXPECT_TRUE(matches("a\\\\*", "a\\b"));
}

TEST(Glob, OutsideBracesCommaAndClosingBraceAreThemselves)
{
    EXPECT_TRUE(matches("a,b", "a,b"));
    EXPECT_TRUE(matches("a}*", "a}b"));
}

TEST(Glob, ManyStarsAreDecidedInReasonableTime)
{
    const QByteArray name(2000, 'a');
    EXPECT_FALSE(Glob("*a*a*a*a*a*a*a*a*a*a*b").matches(name));
}

TEST(Glob, BracesThatStandForVeryManyTextsAreRefused)
{
    const QByteArray refusal("Illegal file pattern: {} stand for more than 1000 texts");
    EXPECT_EQ(refusalOf(QByteArray("{a,b}").repeated(9)), "accepted");
    EXPECT_EQ(refusalOf(QByteArray("{a,b}").repeated(22)), refusal);
    EXPECT_EQ(refusalOf("{" + QByteArray("{a,b}").repeated(9) + "," + QByteArray("{a,b}").repeated(9) + "}"), refusal);
    EXPECT_EQ(refusalOf("{" + QByteArray(999, ',') + "}"), "accepted");
    EXPECT_EQ(refusalOf("{" + QByteArray(1000, ',') + "}"), refusal);
    EXPECT_THROW(Glob::withoutSlashesInBraces(QByteArray("{a,b/c}").repeated(22)), Failure);
}

TEST(Glob, ManyGroupsAreReadInReasonableTime)
{
    EXPECT_EQ(refusalOf(QByteArray("{a,b}").repeated(9) + QByteArray("{a}").repeated(2500)), "accepted");
    EXPECT_EQ(refusalOf(QByteArray(3900, '{') + QByteArray(3900, '}')), "accepted");
    EXPECT_TRUE(refusalOf(QByteArray(3900, '{')).contains("Unclosed group at pos 3900"));
}

TEST(Glob, UnclosedPatternsAreRefusedInTheWordsThatPeopleKnow)
{
    EXPECT_EQ(refusalOf("sma{ll"), "Illegal file pattern: error parsing regexp: Unclosed group at pos 6: `sma{ll`");
    EXPECT_EQ(refusalOf("sm[all"),
              "Illegal file pattern: error parsing regexp: Unclosed character class at pos 6: `sm[all`");
    EXPECT_EQ(refusalOf("[]"), "Illegal file pattern: error parsing regexp: missing closing ]: `[]`");
    EXPECT_TRUE(refusalOf("a\\").startsWith("Illegal file pattern: An escaped character does not present for glob"));
    EXPECT_EQ(refusalOf("a\\\\"), "accepted");
}

TEST(Glob, WildcardsAreToldFromPlainText)
{
    EXPECT_TRUE(Glob::hasWildcard("/a/*"));
    EXPECT_TRUE(Glob::hasWildcard("a?"));
    EXPECT_TRUE(Glob::hasWildcard("[a"));
    EXPECT_TRUE(Glob::hasWildcard("{a"));
    EXPECT_FALSE(Glob::hasWildcard("/a/b}],c"));
    EXPECT_FALSE(Glob::hasWildcard("\\*\\?\\[\\{"));
    EXPECT_FALSE(Glob::hasWildcard("a\\"));
}

TEST(Glob, EscapesVanishFromPlainText)
{
    EXPECT_EQ(Glob::withoutEscapes("with\\ space"), "with space");
    EXPECT_EQ(Glob::withoutEscapes("a\\\\b"), "a\\b");
    EXPECT_EQ(Glob::withoutEscapes("a\\"), "a\\");
}

TEST(Glob, AnEscapedTextStandsForItself)
{
    const QByteArray text = "/a*b?c[d]e{f,g}h\\i j";
    const QByteArray escaped = Glob::escaped(text);
    EXPECT_EQ(escaped, "/a\\*b\\?c\\[d\\]e\\{f,g\\}h\\\\i j");
    EXPECT_FALSE(Glob::hasWildcard(escaped));
    EXPECT_EQ(Glob::withoutEscapes(escaped), text);
    EXPECT_EQ(Glob::escaped("/plain/größe"), "/plain/größe");
}

TEST(Glob, BracesWithSlashesBecomePathsOfTheirOwnAndOthersStay)
{
    const QList<QByteArray> paths = {"/t/dir/a/{x,y}", "/t/b/{x,y}"};
    EXPECT_EQ(Glob::withoutSlashesInBraces("/t/{dir/a,b}/{x,y}"), paths);
    EXPECT_EQ(Glob::withoutSlashesInBraces("/t/{a,b}"), QList<QByteArray>() << "/t/{a,b}");
    const QList<QByteArray> several = {"/a{1,2}/x{1,2}", "/a{1,2}/y/z{1,2}", "/b{1,2}/x{1,2}", "/b{1,2}/y/z{1,2}"};
    EXPECT_EQ(Glob::withoutSlashesInBraces("/{a{1,2}/,b{1,2}/}{x,y/z}{1,2}"), several);
    const QList<QByteArray> nested = {"/a/x", "/a/y/z", "/b"};
    EXPECT_EQ(Glob::withoutSlashesInBraces("/{a/{x,y/z},b}"), nested);
}

TEST(Glob, APathIsTakenApartAtItsSlashes)
{
    const QList<QByteArray> names = {"a", "b*", "c"};
    EXPECT_EQ(Glob::names("/a/b*/c"), names);
    EXPECT_TRUE(Glob::names("/").isEmpty());
}
