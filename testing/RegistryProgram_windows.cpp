#include "testing/RegistryProgram_windows.h"

#include <gtest/gtest.h>

#include <QtCore/QProcess>
#include <QtCore/QStringList>

namespace registry_program {

namespace {

struct Ended {
    int status;
    QString output;
};

Ended reg(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("reg", arguments);
    EXPECT_TRUE(process.waitForFinished(30000)) << process.errorString().toStdString();
    return Ended{process.exitCode(), QString::fromLocal8Bit(process.readAll())};
}

} // namespace

void add(const QString &key, const QString &name, const QString &type, const QString &data)
{
    const Ended ended = reg(QStringList() << "add" << key << "/v" << name << "/t" << type << "/d" << data << "/f");
    EXPECT_EQ(0, ended.status) << ended.output.toStdString();
}

std::string query(const QString &key, const QString &name)
{
    const Ended ended = reg(QStringList() << "query" << key << "/v" << name);
    if (ended.status != 0)
        return "";
    for (const QString &line : ended.output.split('\n')) {
        if (line.trimmed().startsWith(name))
            return line.simplified().toStdString();
    }
    return "unexpected: " + ended.output.toStdString();
}

} // namespace registry_program
