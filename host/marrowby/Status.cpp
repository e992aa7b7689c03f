#include "host/marrowby/Status.h"

#include "host/marrowby/ExitStatus.h"
#include "host/marrowby/FileMode.h"
#include "host/marrowby/Operands.h"

#include <QtCore/QDateTime>

namespace {

QByteArray utcTime(quint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds))
        .toUTC()
        .toString(QLatin1String("yyyy-MM-dd HH:mm:ss"))
        .toLatin1();
}

QByteArray field(char letter, const Item &item)
{
    const FileEntry &entry = item.entry;
    switch (letter) {
    case 'a':
        return modeOctal(entry.mode);
    case 'A':
        return modeText(entry.mode);
    case 'b':
        return QByteArray::number(entry.length);
    case 'F':
        return entry.isDirectory ? "directory" : "regular file";
    case 'g':
        return entry.group;
    case 'n':
        return lastName(item.path);
    case 'o':
        return QByteArray::number(entry.blockSize);
    case 'r':
        return QByteArray::number(entry.replication);
    case 'u':
        return entry.owner;
    case 'x':
        return utcTime(entry.accessTime);
    case 'X':
        return QByteArray::number(entry.accessTime);
    case 'y':
        return utcTime(entry.modificationTime);
    case 'Y':
        return QByteArray::number(entry.modificationTime);
    default:
        return QByteArray(1, letter);
    }
}

QByteArray formatted(const QByteArray &format, const Item &item)
{
    QByteArray text;
    for (int at = 0; at < format.size(); ++at) {
        if (format.at(at) != '%')
            text += format.at(at);
        else if (++at < format.size())
            text += field(format.at(at), item);
    }
    return text;
}

/// Whether the user may read it, found out by doing so.
bool isReadable(CommandContext &context, const Item &item)
{
    try {
        if (item.entry.isDirectory)
            context.files.list(item.path);
        else
            context.files.session()->deleteReader(context.files.openReader(item.path));
        return true;
    } catch (const Failure &) {
        return false;
    }
}

const char *const kTests[] = {"-d", "-e", "-f", "-r", "-s", "-z"};

const char *onlyTest(const CommandArguments &arguments)
{
    const char *asked = nullptr;
    for (const char *test : kTests) {
        if (!arguments.has(test))
            continue;
        if (asked)
            throw UsageError("Only one test flag is allowed");
        asked = test;
    }
    if (!asked)
        throw UsageError("No test flag given");
    return asked;
}

bool passes(CommandContext &context, const Item &item, char test)
{
    switch (test) {
    case 'd':
        return item.entry.isDirectory;
    case 'f':
        return !item.entry.isDirectory;
    case 'r':
        return isReadable(context, item);
    case 's':
        return item.entry.length > 0;
    case 'z':
        return item.entry.length == 0;
    default:
        return true;
    }
}

} // namespace

void printStatus(CommandContext &context)
{
    std::vector<QByteArray> arguments = context.arguments.operands;
    QByteArray format("%y");
    if (arguments.front().contains('%')) {
        format = arguments.front();
        arguments.erase(arguments.begin());
    }
    if (arguments.empty())
        throw UsageError("Not enough arguments: expected 1 but got 0");
    forEach(context, expandAll(context, arguments), [&](const Item &item) {
        mustExist(item);
        context.output.line(formatted(format, item));
    });
}

void testPath(CommandContext &context)
{
    const char test = onlyTest(context.arguments)[1];
    forEach(context, expandAll(context, context.arguments.operands), [&](const Item &item) {
        // Nothing is said about a single missing path: that is what is asked.
        if (item.argument.hasWildcard)
            mustExist(item);
        if (!item.exists || !passes(context, item, test))
            context.exitStatus = kFailed;
    });
}
