// The binary contract with hosts: the order of the table of virtual functions, checked against the pointers that
// hosts compile into their calls.
#include "plugin/ImplementationQuorHDFSPluginInterface.h"
#include "plugin/QuorHDFSPluginInterface.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

/// The entry of the virtual table that a member pointer stands for. In the Itanium C++ ABI it holds the entry's offset
/// in bytes plus 1; a virtual destructor takes two entries there.
template <class Function> int entryOf(Function function)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof function == sizeof words, "a pointer and an adjustment");
    std::memcpy(words, &function, sizeof words);
    EXPECT_EQ(1, words[0] & 1) << "not virtual";
    EXPECT_EQ(0, words[1]);
    return static_cast<int>((words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void *)));
}

/// The place in the binary contract, where the destructor is entry 0.
template <class Function> int slotOf(Function function)
{
    return entryOf(function) - 1;
}

TEST(QuorHDFSPluginInterface, HasItsOperationsInTheOrderOfTheContract)
{
    typedef QuorHDFSPluginInterface Interface;
    EXPECT_EQ(1, slotOf(&Interface::initialize));
    EXPECT_EQ(2, slotOf(&Interface::connect));
    EXPECT_EQ(3, slotOf(&Interface::deleteConnection));
    EXPECT_EQ(4, slotOf(&Interface::disconnect));
    EXPECT_EQ(5, slotOf(&Interface::openReader));
    EXPECT_EQ(6, slotOf(&Interface::createWriter));
    EXPECT_EQ(7, slotOf(&Interface::fileExists));
    EXPECT_EQ(8, slotOf(&Interface::fileInfo));
    EXPECT_EQ(9, slotOf(&Interface::getListing));
    EXPECT_EQ(10, slotOf(&Interface::copy));
    EXPECT_EQ(11, slotOf(&Interface::rename));
    EXPECT_EQ(12, slotOf(&Interface::delete_));
    EXPECT_EQ(13, slotOf(&Interface::mkdirs));
    EXPECT_EQ(14, slotOf(&Interface::setReplication));
    EXPECT_EQ(15, slotOf(&Interface::freeListing));
    EXPECT_EQ(16, slotOf(&Interface::setPermission));
    EXPECT_EQ(17, slotOf(&Interface::setOwner));
    EXPECT_EQ(18, slotOf(&Interface::deleteReader));
    EXPECT_EQ(19, slotOf(&Interface::freeBlockList));
    EXPECT_EQ(20, slotOf(&Interface::setPosition));
    EXPECT_EQ(21, slotOf(&Interface::fileLength));
    EXPECT_EQ(22, slotOf(&Interface::position));
    EXPECT_EQ(23, slotOf(&Interface::read));
    EXPECT_EQ(24, slotOf(&Interface::deleteWriter));
    EXPECT_EQ(25, slotOf(&Interface::closeWriter));
    EXPECT_EQ(26, slotOf(&Interface::bytesWritten));
    EXPECT_EQ(27, slotOf(&Interface::write));
    EXPECT_EQ(28, slotOf(&Interface::setSyncBlock));
    EXPECT_EQ(29, slotOf(&Interface::syncBlock));
    EXPECT_EQ(30, slotOf(&Interface::setChunkSize));
    EXPECT_EQ(31, slotOf(&Interface::chunkSize));
    EXPECT_EQ(32, slotOf(&Interface::getOpenFileName));
    EXPECT_EQ(33, slotOf(&Interface::getSaveFileName));
    EXPECT_EQ(34, slotOf(&Interface::getExistingDirectory));
}

TEST(QuorHDFSPluginInterface, HasTheIdentifierThatHostsAskFor)
{
    EXPECT_STREQ("QuorHDFSPluginInterface/1.0", qobject_interface_iid<QuorHDFSPluginInterface *>());
}

TEST(QuorHDFSPluginInterface, HoldsNoData)
{
    EXPECT_EQ(sizeof(void *), sizeof(QuorHDFSPluginInterface));
    EXPECT_EQ(sizeof(QObject) + sizeof(void *), sizeof(ImplementationQuorHDFSPluginInterface));
}

// The arguments and results as the binary contract names them: this compiles or it does not.
TEST(QuorHDFSPluginInterface, HasTheArgumentTypesOfTheContract)
{
    typedef QuorHDFSPluginInterface I;
    typedef NameNodeConnection C;
    typedef HdfsFileReader R;
    typedef HdfsFileWriter W;
    qint32 (I::*const initialize)() = &I::initialize;
    C *(I::*const connect)() = &I::connect;
    void (I::*const deleteConnection)(C *) = &I::deleteConnection;
    qint32 (I::*const disconnect)(C *) = &I::disconnect;
    R *(I::*const openReader)(C *, QByteArray) = &I::openReader;
    W *(I::*const createWriter)(C *, QByteArray, quint32, quint16, qint64) = &I::createWriter;
    qint32 (I::*const fileExists)(C *, QByteArray, bool *, bool *) = &I::fileExists;
    HdfsFileStatus *(I::*const fileInfo)(C *, QByteArray, bool *) = &I::fileInfo;
    HdfsFileStatus *(I::*const getListing)(C *, QByteArray, qint32 *) = &I::getListing;
    qint32 (I::*const copy)(C *, QByteArray, QByteArray) = &I::copy;
    qint32 (I::*const rename)(C *, QByteArray, QByteArray) = &I::rename;
    qint32 (I::*const remove)(C *, QByteArray, quint8) = &I::delete_;
    qint32 (I::*const mkdirs)(C *, QByteArray, quint32, quint8) = &I::mkdirs;
    qint32 (I::*const setReplication)(C *, QByteArray, quint16) = &I::setReplication;
    void (I::*const freeListing)(HdfsFileStatus *) = &I::freeListing;
    qint32 (I::*const setPermission)(C *, QByteArray, quint16) = &I::setPermission;
    qint32 (I::*const setOwner)(C *, QByteArray, QByteArray, QByteArray) = &I::setOwner;
    void (I::*const deleteReader)(R *) = &I::deleteReader;
    void (I::*const freeBlockList)(R *) = &I::freeBlockList;
    void (I::*const setPosition)(R *, qint64) = &I::setPosition;
    qint64 (I::*const fileLength)(R *) = &I::fileLength;
    qint64 (I::*const position)(R *) = &I::position;
    quint32 (I::*const read)(R *, char *, quint32, qint32 *) = &I::read;
    void (I::*const deleteWriter)(W *) = &I::deleteWriter;
    qint32 (I::*const closeWriter)(W *, const char *, quint32) = &I::closeWriter;
    qint64 (I::*const bytesWritten)(W *) = &I::bytesWritten;
    qint32 (I::*const write)(W *, const char *, quint32) = &I::write;
    void (I::*const setSyncBlock)(W *, quint8) = &I::setSyncBlock;
    quint8 (I::*const syncBlock)(W *) = &I::syncBlock;
    bool (I::*const setChunkSize)(W *, quint32) = &I::setChunkSize;
    quint32 (I::*const chunkSize)(W *) = &I::chunkSize;
    QString (I::*const getOpenFileName)(QWidget *, QString, QString, QString) = &I::getOpenFileName;
    QString (I::*const getSaveFileName)(QWidget *, QString, QString, QString) = &I::getSaveFileName;
    QString (I::*const getExistingDirectory)(QWidget *, QString, QString) = &I::getExistingDirectory;
    EXPECT_TRUE(initialize && connect && deleteConnection && disconnect && openReader && createWriter && fileExists &&
                fileInfo && getListing && copy && rename && remove && mkdirs && setReplication && freeListing &&
                setPermission && setOwner && deleteReader && freeBlockList && setPosition && fileLength && position &&
                read && deleteWriter && closeWriter && bytesWritten && write && setSyncBlock && syncBlock &&
                setChunkSize && chunkSize && getOpenFileName && getSaveFileName && getExistingDirectory);
}

TEST(ImplementationQuorHDFSPluginInterface, HasItsOwnOperationBehindThoseOfQObject)
{
    typedef ImplementationQuorHDFSPluginInterface Implementation;
    // metaObject, qt_metacast, qt_metacall, the destructor's two entries, event, eventFilter, timerEvent, childEvent,
    // customEvent, connectNotify, disconnectNotify.
    EXPECT_EQ(12, entryOf(&Implementation::connectWithParameters));
    EXPECT_EQ(0, entryOf(&Implementation::metaObject));
    EXPECT_EQ(1, entryOf(&Implementation::qt_metacast));
    EXPECT_EQ(2, entryOf(&Implementation::qt_metacall));
    EXPECT_EQ(5, entryOf(&QObject::event));
}

TEST(ImplementationQuorHDFSPluginInterface, IsAQObjectFirst)
{
    // An address that nothing is read from.
    ImplementationQuorHDFSPluginInterface *const whole =
        reinterpret_cast<ImplementationQuorHDFSPluginInterface *>(std::uintptr_t(4096));
    EXPECT_EQ(static_cast<void *>(whole), static_cast<void *>(static_cast<QObject *>(whole)));
    EXPECT_EQ(4096 + sizeof(QObject), reinterpret_cast<std::uintptr_t>(static_cast<QuorHDFSPluginInterface *>(whole)));
}

} // namespace
