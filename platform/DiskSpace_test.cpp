#include "platform/DiskSpace.h"

#include <QtCore/QDir>
#include <QtCore/QStorageInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(DiskSpace, IsThatOfTheFileSystemWithThePath)
{
    quint64 capacity = 0;
    quint64 available = ~quint64(0);
    ASSERT_TRUE(platform::diskSpace(QDir::rootPath(), &capacity, &available));
    EXPECT_EQ(static_cast<quint64>(QStorageInfo(QDir::rootPath()).bytesTotal()), capacity);
    // Others write meanwhile.
    EXPECT_NEAR(static_cast<double>(QStorageInfo(QDir::rootPath()).bytesAvailable()), static_cast<double>(available),
                0.01 * static_cast<double>(capacity));
}

TEST(DiskSpace, TakesAPathWithOtherThanAsciiCharacters)
{
    const QTemporaryDir directory(QDir::tempPath() + QString::fromUtf8("/\xc3\xbc\xe6\xb1\x89-XXXXXX"));
    ASSERT_TRUE(directory.isValid());
    quint64 capacity = 0;
    quint64 available = 0;
    EXPECT_TRUE(platform::diskSpace(directory.path(), &capacity, &available));
    EXPECT_LT(0u, capacity);
}

TEST(DiskSpace, LeavesTheValuesAloneForAPathThatIsNotThere)
{
    quint64 capacity = 47;
    quint64 available = 11;
    for (const QString &path :
         {QString::fromLatin1("/no/such/directory"), QString::fromLatin1("//quor-no-such-server/share"),
          QLatin1Char('/') + QString::fromLatin1("directory/").repeated(30),
          QLatin1Char('/') + QString(100000, QLatin1Char('x'))}) {
        EXPECT_FALSE(platform::diskSpace(path, &capacity, &available)) << path.toStdString();
        EXPECT_EQ(47u, capacity);
        EXPECT_EQ(11u, available);
    }
}

} // namespace
