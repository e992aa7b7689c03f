#include "dialog/Wildcard.h"

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>

#include <random>

namespace {

bool matches(const char *pattern, const char *name)
{
    return Wildcard(QString::fromUtf8(pattern)).matches(FoldedName(QString::fromUtf8(name)));
}

TEST(Wildcard, TakesTheWholeNameInAnyCase)
{
    EXPECT_TRUE(matches("*.txt", "a.TXT"));
    EXPECT_TRUE(matches("*.TXT", ".txt"));
    EXPECT_FALSE(matches("*.txt", "a.txt.gz"));
    EXPECT_FALSE(matches("*.txt", "txt"));
    EXPECT_TRUE(matches("a*b*c", "aXbYbc"));
    EXPECT_FALSE(matches("a*b*c", "aXcYb"));
    EXPECT_TRUE(matches("?", "\xc3\xbc"));
    EXPECT_FALSE(matches("?", ""));
    EXPECT_TRUE(matches("*", ""));
    EXPECT_TRUE(matches("*", "a\nb"));
    EXPECT_FALSE(matches("a.b", "axb"));
}

TEST(Wildcard, BracketsStandForOneOfTheirCharacters)
{
    EXPECT_TRUE(matches("[abc].x", "B.x"));
    EXPECT_FALSE(matches("[abc].x", "d.x"));
    EXPECT_TRUE(matches("[0-9]*", "7even"));
    // One that is not closed is no pattern.
    EXPECT_FALSE(matches("[abc", "a"));
}

TEST(Wildcard, KeepsItsPattern)
{
    EXPECT_EQ(QString::fromLatin1("*.CSV"), Wildcard(QLatin1String("*.CSV")).pattern());
}

TEST(Wildcard, PatternsAndNamesAtRandomMatchAsByQRegExp)
{
    // All that a filter line may hold, and in names also what its characters are the cases of.
    const QString often = QLatin1String("**??..aAbBkKsSiI");
    const QString patternCharacters = QLatin1String("xyzXYZ019_;#-+@{}/!<>$%&=^~:|[]");
    QString nameCharacters = QLatin1String("aAbBkKsSiI..xyzXYZ019_;#-+@{}/!<>$%&=^~:|[]() \n\\*?");
    for (ushort code : {0x212A, 0x017F, 0x0130, 0x0131, 0x00FC, 0x00DC, 0x00DF, 0x1E9E, 0xD83D, 0xDE00, 0x0301, 0xFFFF})
        nameCharacters += QChar(code);
    std::mt19937 random(30);
    int matched = 0;
    for (int i = 0; i < 20000; ++i) {
        QString pattern;
        for (std::size_t length = random() % 7; length > 0; --length) {
            const QString &characters = random() % 4 ? often : patternCharacters;
            pattern += characters.at(static_cast<int>(random() % static_cast<unsigned>(characters.size())));
        }
        const QRegExp expression(pattern, Qt::CaseInsensitive, QRegExp::Wildcard);
        const Wildcard wildcard(pattern);
        for (int k = 0; k < 20; ++k) {
            QString name;
            for (std::size_t length = random() % 7; length > 0; --length) {
                // Often a piece of the pattern itself.
                name +=
                    !pattern.isEmpty() && random() % 2
                        ? pattern.at(static_cast<int>(random() % static_cast<unsigned>(pattern.size())))
                        : nameCharacters.at(static_cast<int>(random() % static_cast<unsigned>(nameCharacters.size())));
            }
            const bool expected = expression.exactMatch(name);
            matched += expected;
            ASSERT_EQ(expected, wildcard.matches(FoldedName(name)))
                << pattern.toStdString() << " | " << name.toStdString();
        }
    }
    EXPECT_LT(10000, matched);
}

TEST(Wildcard, ManyStarsTakeNoLongTime)
{
    QString pattern;
    for (int i = 0; i < 100; ++i)
        pattern += QLatin1String("*a");
    const Wildcard wildcard(pattern + QLatin1String("*b*"));
    const FoldedName name(QString(5000, QLatin1Char('a')));
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(wildcard.matches(name));
    EXPECT_GT(5000, timer.elapsed());
}

} // namespace
