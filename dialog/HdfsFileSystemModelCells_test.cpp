#include "dialog/HdfsFileSystemModel.h"

#include "dialog/FileIcon.h"
#include "testing/FileModelTest.h"

#include <QtCore/QDateTime>
#include <QtGui/QBrush>
#include <QtGui/QIcon>
#include <QtGui/QPixmapCache>

#include <QApplication>
#include <QStyle>

#include <limits>

namespace {

class HdfsFileSystemModelCells : public FileModelTest
{
protected:
    /// What the first row's cells show, of one entry.
    std::string shown(const hadoop::oracle::HdfsFileStatusProto &entry, int column, int role = Qt::DisplayRole)
    {
        listHdfs({entry});
        return text(0, column, role);
    }
    std::string typeOf(const char *name) { return shown(fileStatus(name), 2); }
    std::string header(int section, int role = Qt::DisplayRole) const
    {
        return model.headerData(section, Qt::Horizontal, role).toString().toStdString();
    }
    static QPixmap picture(const QVariant &icon) { return icon.value<QIcon>().pixmap(16); }
    static QPixmap picture(QStyle::StandardPixmap which)
    {
        return QApplication::style()->standardIcon(which).pixmap(16);
    }
    static bool isSame(const QPixmap &first, const QPixmap &second)
    {
        return !first.isNull() && first.toImage() == second.toImage();
    }
};

hadoop::oracle::HdfsFileStatusProto fileOfLength(std::uint64_t length)
{
    hadoop::oracle::HdfsFileStatusProto status = fileStatus("f");
    status.set_length(length);
    return status;
}

hadoop::oracle::HdfsFileStatusProto modifiedAt(std::uint64_t time)
{
    hadoop::oracle::HdfsFileStatusProto status = fileStatus("f");
    status.set_modification_time(time);
    return status;
}

// --- headers ---

TEST_F(HdfsFileSystemModelCells, HeadersOfADirectory)
{
    listHdfs({});
    const char *const texts[] = {"Name", "Size", "Type", "Last Accessed", "Owner", "Group"};
    for (int section = 0; section < 6; ++section) {
        EXPECT_EQ(texts[section], header(section));
        EXPECT_EQ(texts[section], header(section, Qt::ToolTipRole));
        for (int role : {Qt::DecorationRole, Qt::EditRole, Qt::TextAlignmentRole, Qt::SizeHintRole, Qt::UserRole})
            EXPECT_FALSE(model.headerData(section, Qt::Horizontal, role).isValid()) << section << " " << role;
        EXPECT_FALSE(model.headerData(section, Qt::Vertical).isValid());
    }
    EXPECT_FALSE(model.headerData(6, Qt::Horizontal).isValid());
    EXPECT_FALSE(model.headerData(-1, Qt::Horizontal).isValid());
}

TEST_F(HdfsFileSystemModelCells, HeadersOfTheComputerLevelAreThereForEachRole)
{
    model.listDirectory(QString());
    const char *const texts[] = {"Drive", "Capacity", "Remaining", "Under Replicated Blocks"};
    for (int role : {Qt::DisplayRole, Qt::ToolTipRole, Qt::DecorationRole, Qt::EditRole, Qt::UserRole}) {
        for (int section = 0; section < 4; ++section) {
            EXPECT_EQ(texts[section], header(section, role));
            EXPECT_FALSE(model.headerData(section, Qt::Vertical, role).isValid());
        }
        EXPECT_FALSE(model.headerData(4, Qt::Horizontal, role).isValid());
        EXPECT_FALSE(model.headerData(5, Qt::Horizontal, role).isValid());
    }
}

// --- a directory's cells ---

TEST_F(HdfsFileSystemModelCells, NameOwnerAndGroupAreTheRecordsTexts)
{
    hadoop::oracle::HdfsFileStatusProto status = fileStatus("\xe6\xb1\x89 \xc3\xbc.csv");
    status.set_owner("\xc3\xa4nne");
    status.set_group("g");
    listHdfs({status});
    for (int role : {Qt::DisplayRole, Qt::EditRole, Qt::UserRole}) {
        EXPECT_EQ("\xe6\xb1\x89 \xc3\xbc.csv", text(0, 0, role));
        EXPECT_EQ("\xc3\xa4nne", text(0, 4, role));
        EXPECT_EQ("g", text(0, 5, role));
    }
    EXPECT_EQ("\xe6\xb1\x89 \xc3\xbc.csv", model.fileName(at(0, 3)).toStdString());
    EXPECT_EQ("hdfs:/d/\xe6\xb1\x89 \xc3\xbc.csv", model.filePath(at(0)).toStdString());
    EXPECT_EQ("\xc3\xa4nne", model.owner(at(0)).toStdString());
    EXPECT_EQ("g", model.group(at(0)).toStdString());
}

TEST_F(HdfsFileSystemModelCells, SizesAreTextsExceptForSorting)
{
    EXPECT_EQ("1,023 bytes", shown(fileOfLength(1023), 1));
    EXPECT_EQ("1 KB", shown(fileOfLength(1024), 1));
    EXPECT_EQ("1,023 KB", shown(fileOfLength(1048575), 1));
    EXPECT_EQ("1.0 MB", shown(fileOfLength(1048576), 1));
    EXPECT_EQ("1.000 TB", shown(fileOfLength(std::uint64_t(1) << 40), 1, Qt::EditRole));
    const QVariant sortKey = model.data(at(0, 1), Qt::UserRole);
    EXPECT_EQ(QVariant::LongLong, sortKey.type());
    EXPECT_EQ(qlonglong(1) << 40, sortKey.toLongLong());
    EXPECT_EQ("0 bytes", shown(fileOfLength(0), 1));
    EXPECT_EQ("-1 bytes", shown(fileOfLength(std::numeric_limits<std::uint64_t>::max()), 1));
    EXPECT_EQ(-1, model.data(at(0, 1), Qt::UserRole).toLongLong());
}

TEST_F(HdfsFileSystemModelCells, ADirectoryHasAnEmptySize)
{
    listHdfs({directoryStatus("d")});
    for (int role : {Qt::DisplayRole, Qt::EditRole}) {
        EXPECT_TRUE(model.data(at(0, 1), role).isValid());
        EXPECT_EQ("", text(0, 1, role));
    }
    EXPECT_EQ(QVariant(qlonglong(0)), model.data(at(0, 1), Qt::UserRole));
}

TEST_F(HdfsFileSystemModelCells, TheTypeIsTheEndingWithItsDot)
{
    EXPECT_EQ(".csv File", typeOf("data.csv"));
    EXPECT_EQ(".gz File", typeOf("archive.tar.gz"));
    EXPECT_EQ(".bashrc File", typeOf(".bashrc"));
    EXPECT_EQ("Unknown File", typeOf("README"));
    EXPECT_EQ(". File", typeOf("a."));
    EXPECT_EQ(".%1%2 File", typeOf("a.%1%2"));
    EXPECT_EQ(".\xc3\xbc File", typeOf("a.\xc3\xbc"));
    EXPECT_EQ("File Folder", shown(directoryStatus("d.csv"), 2));
    EXPECT_EQ("File Folder", text(0, 2, Qt::UserRole));
}

TEST_F(HdfsFileSystemModelCells, LastAccessedIsTheModificationTimesLow32BitsAsSeconds)
{
    const struct {
        std::uint64_t time;
        uint seconds;
    } cases[] = {{0, 0},
                 {1600000000, 1600000000},
                 // What a NameNode sends are milliseconds: 1700000000123 mod 2^32.
                 {1700000000123ull, 3487918203u},
                 {0x100000000ull, 0},
                 {0xFFFFFFFFull, 0xFFFFFFFFu},
                 {std::numeric_limits<std::uint64_t>::max(), 0xFFFFFFFFu}};
    for (const auto &one : cases) {
        const std::string expected =
            QLocale::system().toString(QDateTime::fromTime_t(one.seconds), QLocale::ShortFormat).toStdString();
        EXPECT_NE("", expected);
        EXPECT_EQ(expected, shown(modifiedAt(one.time), 3)) << one.time;
        EXPECT_EQ(expected, text(0, 3, Qt::EditRole));
        EXPECT_EQ(expected, text(0, 3, Qt::UserRole));
    }
}

TEST_F(HdfsFileSystemModelCells, OnlySizesAreAlignedToTheRight)
{
    listHdfs({fileStatus("a")});
    for (int column = 0; column < 6; ++column) {
        const QVariant alignment = model.data(at(0, column), Qt::TextAlignmentRole);
        EXPECT_EQ(column == 1 ? QVariant(2) : QVariant(), alignment) << column;
    }
}

TEST_F(HdfsFileSystemModelCells, OtherRolesHaveNoValue)
{
    listHdfs({fileStatus("a")});
    for (int role : {Qt::ToolTipRole, Qt::FontRole, Qt::ForegroundRole, Qt::CheckStateRole, Qt::ItemDataRole(33)}) {
        for (int column = 0; column < 6; ++column)
            EXPECT_FALSE(model.data(at(0, column), role).isValid()) << role << " " << column;
    }
}

TEST_F(HdfsFileSystemModelCells, AnInvalidIndexHasNothing)
{
    listHdfs({fileStatus("a")});
    const QModelIndex none;
    EXPECT_FALSE(model.data(none).isValid());
    EXPECT_TRUE(model.fileName(none).isNull());
    EXPECT_TRUE(model.filePath(none).isNull());
    EXPECT_TRUE(model.owner(none).isNull());
    EXPECT_TRUE(model.group(none).isNull());
    EXPECT_FALSE(model.isDir(none));
    EXPECT_FALSE(model.canExecute(none));
    EXPECT_FALSE(model.canWrite(none));
    EXPECT_FALSE(model.canRead(none));
    EXPECT_EQ(0, model.permissions(none));
    EXPECT_EQ(Qt::ItemFlags(), model.flags(none));
    EXPECT_EQ(nullptr, model.record(none));
}

TEST_F(HdfsFileSystemModelCells, AnIndexThatTheRowsHaveOutrunHasNothing)
{
    listHdfs({fileStatus("a"), fileStatus("b")});
    const QModelIndex second = at(1);
    listHdfs({fileStatus("c")});
    EXPECT_FALSE(model.data(second).isValid());
    EXPECT_TRUE(model.filePath(second).isNull());
    EXPECT_FALSE(model.canRead(second));
    EXPECT_FALSE(model.setData(second, QLatin1String("x")));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelCells, OnlyNamesCanBeEdited)
{
    listHdfs({fileStatus("a"), directoryStatus("d")});
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 6; ++column) {
            const Qt::ItemFlags flags = model.flags(at(row, column));
            EXPECT_EQ(column == 0, bool(flags & Qt::ItemIsEditable)) << column;
            EXPECT_TRUE(flags & Qt::ItemIsSelectable);
            EXPECT_TRUE(flags & Qt::ItemIsEnabled);
        }
    }
    nameNode.answer("getFsStats", fsStats());
    model.listDirectory(QString());
    EXPECT_FALSE(model.flags(at(0)) & Qt::ItemIsEditable);
    EXPECT_TRUE(model.flags(at(0)) & Qt::ItemIsEnabled);
}

// --- icons ---

TEST_F(HdfsFileSystemModelCells, DirectoriesHaveTheStylesIconAndFilesThatOfTheirEnding)
{
    QPixmapCache::clear();
    QPixmap red(16, 16);
    red.fill(Qt::red);
    QPixmapCache::insert(QLatin1String("qt_.CSV"), red);
    // Known not to have any, for desktops that have one for everything.
    QPixmapCache::insert(QLatin1String("none_qt_.NOSUCHENDING"), red);
    listHdfs({directoryStatus("d.csv"), fileStatus("a.csv"), fileStatus("README"), fileStatus("a.nosuchending")});
    EXPECT_TRUE(isSame(picture(QStyle::SP_DirIcon), picture(model.data(at(0), Qt::DecorationRole))));
    EXPECT_TRUE(isSame(red, picture(model.data(at(1), Qt::DecorationRole))));
    EXPECT_TRUE(isSame(picture(QStyle::SP_FileIcon), picture(model.data(at(2), Qt::DecorationRole))));
    EXPECT_TRUE(isSame(picture(QStyle::SP_FileIcon), picture(model.data(at(3), Qt::DecorationRole))));
    for (int column = 1; column < 6; ++column)
        EXPECT_FALSE(model.data(at(0, column), Qt::DecorationRole).isValid());
    QPixmapCache::clear();
}

TEST_F(HdfsFileSystemModelCells, DrivesHaveTheStylesIcons)
{
    model.listDirectory(QString());
    const int last = model.rowCount() - 1;
    for (int row = 0; row < last; ++row)
        EXPECT_TRUE(isSame(picture(QStyle::SP_DriveHDIcon), picture(model.data(at(row), Qt::DecorationRole))));
    EXPECT_TRUE(isSame(picture(QStyle::SP_DriveNetIcon), picture(model.data(at(last), Qt::DecorationRole))));
    EXPECT_FALSE(model.data(at(0, 1), Qt::DecorationRole).isValid());
}

// --- drives ---

TEST_F(HdfsFileSystemModelCells, DrivesAreDirectoriesThatAllowEverything)
{
    model.listDirectory(QString());
    const int last = model.rowCount() - 1;
    for (int row : {0, last}) {
        const std::string path = row == last ? "hdfs:/" : text(row, 0);
        EXPECT_TRUE(model.isDir(at(row)));
        EXPECT_TRUE(model.canExecute(at(row)));
        EXPECT_TRUE(model.canWrite(at(row)));
        EXPECT_TRUE(model.canRead(at(row)));
        EXPECT_EQ(0, model.permissions(at(row)));
        EXPECT_EQ(path, model.fileName(at(row)).toStdString());
        EXPECT_EQ(path, model.filePath(at(row)).toStdString());
        EXPECT_EQ(path, model.owner(at(row)).toStdString());
        EXPECT_EQ(path, model.group(at(row)).toStdString());
        for (int column = 0; column < 6; ++column) {
            EXPECT_EQ(column < 4, model.data(at(row, column), Qt::DisplayRole).isValid()) << column;
            EXPECT_EQ(model.data(at(row, column), Qt::DisplayRole), model.data(at(row, column), Qt::UserRole));
            for (int role : {Qt::EditRole, Qt::TextAlignmentRole, Qt::BackgroundRole, Qt::ToolTipRole})
                EXPECT_FALSE(model.data(at(row, column), role).isValid()) << column << " " << role;
        }
    }
}

// --- permissions ---

TEST_F(HdfsFileSystemModelCells, PermissionsAreJudgedForTheUserAndTheGroupOfTheDialog)
{
    Entries entries;
    const char *const people[] = {"", "me", "Me", "other"};
    for (int mode = 0; mode < 01000; ++mode) {
        for (const char *owner : people) {
            for (const char *group : people) {
                hadoop::oracle::HdfsFileStatusProto status = fileStatus("f");
                status.mutable_permission()->set_perm(static_cast<std::uint32_t>(mode));
                status.set_owner(owner);
                status.set_group(group);
                entries.push_back(status);
            }
        }
    }
    listHdfs(entries);
    ASSERT_EQ(01000 * 16, model.rowCount());
    for (const char *user : {"", "me"}) {
        for (const char *group : {"", "me"}) {
            context.user = QLatin1String(user);
            context.group = QLatin1String(group);
            for (int row = 0; row < model.rowCount(); ++row) {
                const hadoop::oracle::HdfsFileStatusProto &entry = entries[static_cast<std::size_t>(row)];
                const std::uint32_t mode = entry.permission().perm();
                // Any of the three that applies to the user is enough: rwx bits of all that do, together.
                std::uint32_t allowed = mode & 7;
                if (entry.group() == group)
                    allowed |= mode >> 3 & 7;
                if (entry.owner() == user)
                    allowed |= mode >> 6 & 7;
                ASSERT_EQ(bool(allowed & 1), model.canExecute(at(row))) << std::oct << mode;
                ASSERT_EQ(bool(allowed & 2), model.canWrite(at(row))) << std::oct << mode;
                ASSERT_EQ(bool(allowed & 4), model.canRead(at(row))) << std::oct << mode;
                ASSERT_EQ(mode, model.permissions(at(row)));
            }
        }
    }
}

TEST_F(HdfsFileSystemModelCells, WhatTheDialogCannotUseHasAPaleRedBackground)
{
    Entries entries;
    for (std::uint32_t mode = 0; mode < 8; ++mode) {
        for (bool isDirectory : {false, true}) {
            hadoop::oracle::HdfsFileStatusProto status = isDirectory ? directoryStatus("d") : fileStatus("f");
            status.mutable_permission()->set_perm(mode);
            entries.push_back(status);
        }
    }
    listHdfs(entries);
    for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
        context.askedFor = mode;
        for (int row = 0; row < model.rowCount(); ++row) {
            const int others = row / 2;
            const bool usable = row % 2 == 1             ? bool(others & 1)
                                : mode == DialogModeSave ? bool(others & 2)
                                : mode == DialogModeOpen ? bool(others & 4)
                                                         : true;
            for (int column = 0; column < 6; ++column) {
                const QVariant background = model.data(at(row, column), Qt::BackgroundRole);
                ASSERT_EQ(usable, !background.isValid()) << mode << " " << row << " " << column;
                if (!usable) {
                    EXPECT_EQ(QColor(255, 200, 200), background.value<QBrush>().color());
                    EXPECT_EQ(Qt::SolidPattern, background.value<QBrush>().style());
                }
            }
        }
    }
}

// --- hostile names ---

TEST_F(HdfsFileSystemModelCells, EachNameIsShownAsItIs)
{
    const std::vector<std::string> hostile = {"a\nb",
                                              "\ttab",
                                              "\xe2\x80\xae\xe2\x80\x8fright to left.txt",
                                              std::string(255, 'n'),
                                              "-rf",
                                              "..",
                                              "|",
                                              "a|b|c",
                                              "%1",
                                              "<b>bold</b>",
                                              "\xf0\x9f\x98\x80.\xf0\x9f\x98\x80",
                                              std::string("nul\0inside.x", 12)};
    Entries entries;
    for (const std::string &name : hostile)
        entries.push_back(fileStatus(name));
    listHdfs(entries);
    for (int row = 0; row < model.rowCount(); ++row) {
        const QString name = QString::fromUtf8(hostile[static_cast<std::size_t>(row)].data(),
                                               static_cast<int>(hostile[static_cast<std::size_t>(row)].size()));
        EXPECT_EQ(name, model.data(at(row)).toString());
        EXPECT_EQ(name, model.fileName(at(row)));
        EXPECT_EQ(QLatin1String("hdfs:/d/") + name, model.filePath(at(row)));
        for (int column = 0; column < 6; ++column) {
            for (int role = 0; role < 40; ++role)
                model.data(at(row, column), role);
        }
    }
}

TEST_F(HdfsFileSystemModelCells, BytesThatAreNoUtf8AreShownAsReplacements)
{
    connectToNameNode();
    // Not through the oracle's messages, which would complain.
    std::string page = listingPage({"bad@@name.x"}, 0).SerializeAsString();
    page.replace(page.find("@@"), 2, "\xff\xc3");
    nameNode.respond("getListing", [page](ScriptedConnection &peer, const NameNodeCall &call) {
        peer.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(page)));
    });
    model.listDirectory(QLatin1String("hdfs:/d"));
    ASSERT_EQ(1, model.rowCount());
    EXPECT_EQ("bad\xef\xbf\xbd\xef\xbf\xbdname.x", text(0, 0));
    EXPECT_EQ(".x File", text(0, 2));
}

} // namespace
