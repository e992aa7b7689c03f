#include "host/marrowby/Transfer.h"

#include "host/marrowby/PieceSize.h"
#include "host/marrowby/Progress.h"
#include "host/marrowby/RemoteFile.h"
#include "host/marrowby/Terminal.h"

#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <memory>

namespace {

const quint64 kPeek = 1024; // bytes that `head` and `tail` show

void mustBeFile(const Item &item)
{
    mustExist(item);
    if (item.entry.isDirectory)
        throw Failure(isADirectory(item.shown));
}

void printPart(CommandContext &context, const Item &file, quint64 offset, quint64 count)
{
    mustBeFile(file);
    transfer(context, file, offset, count, !standardOutputIsTerminal(),
             [&context](const char *bytes, std::size_t size) { context.output.write(bytes, size); });
    context.output.flush();
}

} // namespace

void transfer(CommandContext &context, const Item &file, quint64 offset, quint64 count, bool showProgress,
              const std::function<void(const char *bytes, std::size_t count)> &takePiece)
{
    RemoteFile remote(context.files, file.path, file.entry.blockSize, file.shown);
    remote.seek(offset);
    const quint64 total = std::min(count, remote.length() - std::min(offset, remote.length()));
    if (total == 0)
        return;
    Progress progress(QString::fromUtf8(lastName(file.path)), total, showProgress);
    PieceSize pieceSize;
    const std::unique_ptr<char[]> buffer(new char[std::min<quint64>(total, PieceSize::kLargest)]);
    QElapsedTimer timer;
    for (quint64 done = 0; done < total;) {
        timer.start();
        const quint32 size =
            remote.read(buffer.get(), static_cast<quint32>(std::min<quint64>(pieceSize.bytes(), total - done)));
        pieceSize.took(timer.elapsed());
        takePiece(buffer.get(), size);
        done += size;
        progress.advance(size);
    }
}

void printFile(CommandContext &context, const Item &file)
{
    printPart(context, file, 0, kWholeFile);
}

void printFiles(CommandContext &context)
{
    forEach(context, expandAll(context, context.arguments.operands),
            [&context](const Item &file) { printFile(context, file); });
}

void printBeginning(CommandContext &context)
{
    printPart(context, lookUp(context, context.arguments.operands.front()), 0, kPeek);
}

void printEnd(CommandContext &context)
{
    const Item file = lookUp(context, context.arguments.operands.front());
    const quint64 length = file.entry.length;
    printPart(context, file, length - std::min(length, kPeek), kPeek);
}
