#include "dialog/NameFilter.h"

#include <gtest/gtest.h>

namespace {

bool matches(const char *filter, const char *name)
{
    NameFilter nameFilter;
    nameFilter.setFilter(QString::fromUtf8(filter));
    return nameFilter.matches(QString::fromUtf8(name));
}

TEST(NameFilter, LetsThroughWhatOneOfThePatternsInParenthesesMatches)
{
    EXPECT_TRUE(matches("Text files (*.txt *.csv)", "a.txt"));
    EXPECT_TRUE(matches("Text files (*.txt *.csv)", "a.csv"));
    EXPECT_FALSE(matches("Text files (*.txt *.csv)", "a.doc"));
    EXPECT_FALSE(matches("Text files (*.txt *.csv)", "txt"));
}

TEST(NameFilter, MatchesTheWholeNameInAnyCase)
{
    EXPECT_TRUE(matches("Text (*.txt)", "A.TXT"));
    EXPECT_FALSE(matches("Text (*.txt)", "a.txt.gz"));
    EXPECT_FALSE(matches("One (a.txt)", "ba.txt"));
    EXPECT_TRUE(matches("One (?.txt)", "\xc3\xbc.txt"));
}

TEST(NameFilter, AllFilesHidesNamesWithoutADot)
{
    EXPECT_TRUE(matches("All Files (*.*)", "a.b"));
    EXPECT_TRUE(matches("All Files (*.*)", ".bashrc"));
    EXPECT_FALSE(matches("All Files (*.*)", "README"));
    EXPECT_TRUE(matches("All Files (*)", "README"));
}

TEST(NameFilter, ALineWithoutClosedParenthesesAtItsEndMeansAllFilesWithADot)
{
    for (const char *filter :
         {"", "*.txt", "Text (*.txt", "Text (*.txt) ", "Text *.txt)", "(*.txt)x", "T (*.\xc3\xbc)"}) {
        EXPECT_TRUE(matches(filter, "a.doc")) << filter;
        EXPECT_FALSE(matches(filter, "README")) << filter;
    }
}

TEST(NameFilter, OnlyTheLastParenthesesCount)
{
    EXPECT_TRUE(matches("Tables (old) (*.csv)", "a.csv"));
    EXPECT_FALSE(matches("Tables (old) (*.csv)", "old"));
}

TEST(NameFilter, WithoutAnyPatternNothingIsLetThrough)
{
    EXPECT_FALSE(NameFilter().matches(QLatin1String("a.b")));
    EXPECT_FALSE(matches("Nothing ()", "a.b"));
    EXPECT_FALSE(matches("Nothing (   )", "a.b"));
}

TEST(NameFilter, ANewLineReplacesTheOneBefore)
{
    NameFilter filter;
    filter.setFilter(QLatin1String("Text (*.txt)"));
    filter.setFilter(QLatin1String("Tables (*.csv)"));
    EXPECT_FALSE(filter.matches(QLatin1String("a.txt")));
    EXPECT_TRUE(filter.matches(QLatin1String("a.csv")));
}

TEST(NameFilter, TakesAThousandPatterns)
{
    QString line = QLatin1String("Many (");
    for (int i = 0; i < 1000; ++i)
        line += QString::fromLatin1(" *.x%1").arg(i);
    NameFilter filter;
    filter.setFilter(line + QLatin1Char(')'));
    EXPECT_TRUE(filter.matches(QLatin1String("a.x0")));
    EXPECT_TRUE(filter.matches(QLatin1String("a.x999")));
    EXPECT_FALSE(filter.matches(QLatin1String("a.x1000")));
}

TEST(NameFilter, GivesItsFirstPattern)
{
    NameFilter filter;
    EXPECT_EQ(QString(), filter.firstPattern());
    filter.setFilter(QLatin1String("Tables (*.csv *.tsv)"));
    EXPECT_EQ(QString::fromLatin1("*.csv"), filter.firstPattern());
    filter.setFilter(QLatin1String("No patterns ()"));
    EXPECT_EQ(QString(), filter.firstPattern());
}

} // namespace
