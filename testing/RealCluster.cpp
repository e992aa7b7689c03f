#include "testing/RealCluster.h"

#include "rpc/NameNodeConnection.h"
#include "rpc/WireBytes.h"
#include "testing/HostPath.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace {

const char kStateFile[] = QUOR_REAL_CLUSTER_STATE;
const char kPrivateHdfs[] = QUOR_PRIVATE_HDFS;

// As in ClusterClient.java.
const std::int64_t kTileSize = 1048573;

std::vector<char> makeTile()
{
    std::vector<char> tile(kTileSize);
    std::uint32_t state = 12345;
    for (char &byte : tile) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return tile;
}

const std::vector<char> &tile()
{
    static const std::vector<char> bytes = makeTile();
    return bytes;
}

[[noreturn]] void fail(const QByteArray &text)
{
    throw std::runtime_error(text.constData());
}

QByteArray joined(const QList<QByteArray> &words)
{
    return words.join(' ');
}

void appendNumber(QByteArray *bytes, int number)
{
    unsigned char encoded[4];
    writeBigEndian32(encoded, static_cast<std::uint32_t>(number));
    bytes->append(reinterpret_cast<const char *>(encoded), sizeof encoded);
}

int receiveNumber(TcpSocket *socket)
{
    unsigned char encoded[4];
    if (socket->receiveExactly(encoded, sizeof encoded) != 0)
        fail("the Java client of the cluster has gone away");
    return static_cast<int>(readBigEndian32(encoded));
}

QByteArray receiveBytes(TcpSocket *socket)
{
    QByteArray bytes(receiveNumber(socket), '\0');
    if (socket->receiveExactly(bytes.data(), static_cast<std::uint32_t>(bytes.size())) != 0)
        fail("the Java client of the cluster has gone away");
    return bytes;
}

struct ClosingSocket : TcpSocket {
    ~ClosingSocket() { close(); }
};

} // namespace

RealCluster::RealCluster()
{
    QFile file(localPathOf(kStateFile));
    if (!file.open(QIODevice::ReadOnly))
        fail(QByteArray("no private HDFS: run these tests through ctest, or first\n"
                        "    testing/cluster/real-cluster start ") +
             QByteArray(kStateFile).left(QByteArray(kStateFile).lastIndexOf('/')));
    m_state = QJsonDocument::fromJson(file.readAll()).object();
}

QByteArray RealCluster::value(const char *name) const
{
    if (!m_state.contains(QLatin1String(name)))
        fail(QByteArray(kStateFile) + " does not say " + name);
    return m_state.value(QLatin1String(name)).toString().toUtf8();
}

QByteArray RealCluster::host() const
{
    return value("PRIVATE_HDFS_NAMENODE_HOST");
}

std::uint32_t RealCluster::port() const
{
    return value("PRIVATE_HDFS_NAMENODE_PORT").toUInt();
}

QByteArray RealCluster::superuser() const
{
    return value("PRIVATE_HDFS_SUPERUSER");
}

std::unique_ptr<NameNodeConnection> RealCluster::connect(const QByteArray &user, const QByteArray &host_) const
{
    std::unique_ptr<NameNodeConnection> connection(new NameNodeConnection);
    if (connection->connect(host_.isEmpty() ? host() : host_, port(), user.isEmpty() ? superuser() : user, 0, false,
                            false, 10000, 10000) != 0)
        fail("the NameNode cannot be reached");
    return connection;
}

CommandResult RealCluster::ask(const QByteArray &user, const QList<QByteArray> &verbAndArguments) const
{
    const QList<QByteArray> texts = QList<QByteArray>() << (user.isEmpty() ? superuser() : user) << verbAndArguments;
    QByteArray request;
    appendNumber(&request, texts.size());
    for (const QByteArray &text : texts) {
        appendNumber(&request, text.size());
        request.append(text);
    }
    ClosingSocket socket;
    if (socket.connectTo("127.0.0.1", m_state.value(QLatin1String("client_port")).toInt(), 0) != 0 ||
        socket.sendAll(request.constData(), static_cast<std::uint32_t>(request.size())) != 0)
        fail("the Java client of the cluster cannot be reached");
    CommandResult result;
    result.status = receiveNumber(&socket);
    result.out = receiveBytes(&socket);
    result.err = receiveBytes(&socket);
    return result;
}

CommandResult RealCluster::tryDfs(const QList<QByteArray> &arguments, const QByteArray &user) const
{
    return ask(user, QList<QByteArray>() << "dfs" << arguments);
}

QByteArray RealCluster::dfs(const QList<QByteArray> &arguments, const QByteArray &user) const
{
    const CommandResult result = tryDfs(arguments, user);
    if (result.status != 0)
        fail("hdfs dfs " + joined(arguments) + " failed: " + result.err);
    return result.out;
}

QByteArray RealCluster::dfsadmin(const QList<QByteArray> &arguments) const
{
    return client(QList<QByteArray>() << "dfsadmin" << arguments);
}

QByteArray RealCluster::client(const QList<QByteArray> &verbAndArguments) const
{
    const CommandResult result = ask(QByteArray(), verbAndArguments);
    if (result.status != 0)
        fail(joined(verbAndArguments) + " failed: " + result.out + result.err);
    return result.out;
}

QByteArray RealCluster::freshDirectory() const
{
    const ::testing::TestInfo *test = ::testing::UnitTest::GetInstance()->current_test_info();
    const QByteArray path = QByteArray("/") + test->test_suite_name() + "/" + test->name();
    dfs({"-rm", "-r", "-f", path});
    dfs({"-mkdir", "-p", path});
    dfs({"-chmod", "777", path});
    return path;
}

QByteArray RealCluster::patternFile(const QByteArray &name, std::int64_t length, const FileLayout &layout) const
{
    const QByteArray path = "/shared/" + name;
    client({"pattern", path, QByteArray::number(qint64(length)), QByteArray::number(qint64(layout.blockSize)),
            QByteArray::number(layout.replication), QByteArray::number(layout.chunkSize), layout.checksum});
    return path;
}

::testing::AssertionResult RealCluster::holdsPattern(const QByteArray &path, std::int64_t length) const
{
    const CommandResult result = ask(QByteArray(), {"check-pattern", path, QByteArray::number(qint64(length))});
    if (result.status == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << result.err.constData();
}

::testing::AssertionResult RealCluster::isHealthy(const QByteArray &path) const
{
    const CommandResult result = ask(QByteArray(), {"fsck", path, "-files", "-blocks", "-openforwrite"});
    if (result.status == 0 && result.out.contains("is HEALTHY") && !result.out.contains("OPENFORWRITE:"))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << result.out.constData() << result.err.constData();
}

QByteArray RealCluster::nodeAtPort(std::uint32_t xferPort) const
{
    const QByteArray end = ":" + QByteArray::number(xferPort);
    for (int number = 1; number <= value("PRIVATE_HDFS_DATANODES").toInt(); ++number) {
        if (value(("PRIVATE_HDFS_DATANODE" + QByteArray::number(number)).constData()).endsWith(end))
            return "datanode" + QByteArray::number(number);
    }
    fail("no DataNode listens at port " + QByteArray::number(xferPort));
}

QList<QString> RealCluster::replicaFiles(std::uint64_t blockId) const
{
    const QStringList name(QLatin1String("blk_") + QString::number(blockId));
    QDirIterator files(localPathOf(value("PRIVATE_HDFS_DATA")), name, QDir::Files, QDirIterator::Subdirectories);
    QList<QString> found;
    while (files.hasNext())
        found.append(files.next());
    return found;
}

QByteArray RealCluster::run(const QList<QByteArray> &programAndArguments) const
{
    return client(QList<QByteArray>() << "run" << programAndArguments);
}

CommandResult RealCluster::runPrivateHdfs(const QList<QByteArray> &arguments) const
{
    return ask(QByteArray(), QList<QByteArray>()
                                 << "run" << kPrivateHdfs << arguments << "--data" << value("PRIVATE_HDFS_DATA"));
}

void RealCluster::privateHdfs(const QList<QByteArray> &arguments) const
{
    const CommandResult result = runPrivateHdfs(arguments);
    if (result.status != 0)
        fail("private-hdfs " + joined(arguments) + " failed: " + result.out);
}

void RealCluster::kill(const QByteArray &node) const
{
    privateHdfs({"node", "kill", node});
}

void RealCluster::pause(const QByteArray &node) const
{
    privateHdfs({"node", "pause", node});
}

void RealCluster::resume(const QByteArray &node) const
{
    privateHdfs({"node", "continue", node});
}

void RealCluster::restart(const QByteArray &node) const
{
    privateHdfs({"node", "restart", node});
}

void RealCluster::waitUntilDead(const QByteArray &node) const
{
    privateHdfs({"wait", "--dead", node});
}

void RealCluster::limitFiles(const QByteArray &node, std::int64_t bytes) const
{
    const QJsonObject nodes = QJsonDocument::fromJson(runPrivateHdfs({"status", "--json"}).out).object();
    const int process = nodes.value(QString::fromLatin1(node)).toObject().value(QLatin1String("pid")).toInt();
    if (process == 0)
        fail("no process of " + node);
    // Only what is written before the colon changes: the hard limit stays.
    const QByteArray limit = bytes < 0 ? QByteArray("unlimited") : QByteArray::number(qint64(bytes));
    run({"prlimit", "--pid", QByteArray::number(process), "--fsize=" + limit + ":"});
}

void RealCluster::mend() const
{
    const QByteArray status = runPrivateHdfs({"status", "--json"}).out;
    const QJsonObject nodes = QJsonDocument::fromJson(status).object();
    if (nodes.isEmpty())
        fail("private-hdfs status failed: " + status);
    bool wasWhole = true;
    for (const QString &name : nodes.keys()) {
        const QByteArray node = name.toUtf8();
        const QString state = nodes.value(name).toObject().value(QLatin1String("state")).toString();
        if (state == QLatin1String("paused"))
            resume(node);
        else if (state == QLatin1String("ended"))
            privateHdfs({"node", "restart", "--no-wait", node});
        wasWhole = wasWhole && state == QLatin1String("running");
    }
    if (!wasWhole)
        privateHdfs({"wait"});
}

char patternByte(std::int64_t offset)
{
    return tile()[static_cast<std::size_t>(offset % kTileSize)];
}

QByteArray patternFileBytes(std::int64_t offset, int size)
{
    QByteArray bytes(size, '\0');
    for (int done = 0; done < size;) {
        const std::int64_t start = (offset + done) % kTileSize;
        const int part = static_cast<int>(std::min<std::int64_t>(kTileSize - start, size - done));
        std::memcpy(bytes.data() + done, tile().data() + start, static_cast<std::size_t>(part));
        done += part;
    }
    return bytes;
}

std::int64_t firstDifferenceFromPattern(const char *bytes, std::int64_t size, std::int64_t offset)
{
    for (std::int64_t done = 0; done < size;) {
        const std::int64_t start = (offset + done) % kTileSize;
        const std::int64_t part = std::min(kTileSize - start, size - done);
        if (std::memcmp(bytes + done, tile().data() + start, static_cast<std::size_t>(part)) != 0) {
            while (bytes[done] == patternByte(offset + done))
                ++done;
            return done;
        }
        done += part;
    }
    return -1;
}
