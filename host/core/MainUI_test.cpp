#include "host/core/CapturedLog.h"
#include "host/core/MainUI.h"

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace {

/// With the system's own line ends as line feeds.
QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.readAll() : QByteArray();
}

/// Every test says itself where the log goes.
class MainUITest : public ::testing::Test
{
protected:
    MainUITest() { qunsetenv("MARROWBY_LOG"); }
    ~MainUITest() override { qunsetenv("MARROWBY_LOG"); }

    QString logTo(const QString &name)
    {
        const QString path = m_directory.filePath(name);
        qputenv("MARROWBY_LOG", QFile::encodeName(path));
        return path;
    }

    QTemporaryDir m_directory;
};

/// What reaches standard error while `action` runs.
template <typename Action> std::string standardErrorOf(Action action)
{
    ::testing::internal::CaptureStderr();
    action();
    return ::testing::internal::GetCapturedStderr();
}

void log(const char *text)
{
    MainUI::addLog(LogLevelWarning, QString::fromUtf8(text));
}

} // namespace

TEST_F(MainUITest, AnEntryIsOneLineOnStandardError)
{
    EXPECT_EQ(standardErrorOf([] {
                  log("gr\xC3\xB6\xC3\x9F"
                      "er");
              }),
              "gr\xC3\xB6\xC3\x9F"
              "er\n");
}

TEST_F(MainUITest, ATrailingLineFeedIsNotDoubled)
{
    EXPECT_EQ(standardErrorOf([] { log("Connection to HDFS failed.\n"); }), "Connection to HDFS failed.\n");
}

TEST_F(MainUITest, EntriesAreAppendedToTheFileOfTheEnvironment)
{
    const QString file = logTo("log");
    EXPECT_EQ(standardErrorOf([] {
                  log("one");
                  log("two");
              }),
              "");
    EXPECT_EQ(contentOf(file), "one\ntwo\n");
}

TEST_F(MainUITest, AFileThatCannotBeOpenedLeavesTheEntryToStandardError)
{
    logTo("no/such/directory/log");
    EXPECT_EQ(standardErrorOf([] { log("one"); }), "one\n");
}

TEST_F(MainUITest, ACaptureKeepsEntriesFromStandardErrorAndNotFromTheFile)
{
    const QString file = logTo("log");
    EXPECT_EQ(standardErrorOf([] {
                  CapturedLog capture;
                  log("one\n");
                  log("ExceptionClassName=a\nerrorMsg=b");
                  EXPECT_EQ(capture.entries(), QStringList({"one", "ExceptionClassName=a\nerrorMsg=b"}));
              }),
              "");
    EXPECT_EQ(contentOf(file), "one\nExceptionClassName=a\nerrorMsg=b\n");
}

TEST_F(MainUITest, AnEchoingCaptureLetsEntriesThrough)
{
    EXPECT_EQ(standardErrorOf([] {
                  CapturedLog capture(CapturedLog::AlsoToStandardError);
                  log("one");
                  EXPECT_EQ(capture.entries(), QStringList("one"));
              }),
              "one\n");
}

TEST_F(MainUITest, TheInnermostCaptureCollectsAndTheOuterOneGoesOnAfterIt)
{
    CapturedLog outer;
    {
        CapturedLog inner;
        log("inside");
        EXPECT_EQ(inner.entries(), QStringList("inside"));
    }
    log("outside");
    EXPECT_EQ(outer.entries(), QStringList("outside"));
    outer.clear();
    EXPECT_TRUE(outer.entries().isEmpty());
}

TEST_F(MainUITest, TheFontHeightIsAUsableUnit)
{
    EXPECT_EQ(MainUI::pixelSize(), 12);
}
