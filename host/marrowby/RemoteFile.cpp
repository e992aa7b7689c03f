#include "host/marrowby/RemoteFile.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/RemoteError.h"

#include <algorithm>

namespace {

const quint32 kNoDataNode = 0xFFFFFFFEu; // a result of a read; it and the one above it are no byte counts
const int kAttemptsAtOnce = 10;
const int kPauses[] = {500, 2500, 6000}; // milliseconds
const int kPauseCount = sizeof kPauses / sizeof kPauses[0];

/// Whether a read that failed with fresh block locations would fail the same way again and again.
bool isForGood(quint32 result, const QStringList &log)
{
    return result == kNoDataNode || couldNotBeEncoded(log);
}

} // namespace

RemoteFile::RemoteFile(FileSystem &files, const QByteArray &path, quint64 blockSize, const QByteArray &shown)
    : m_files(files), m_path(path), m_blockSize(std::max<quint64>(blockSize, 1)), m_shown(shown), m_hasFailed(false),
      m_reader(nullptr), m_length(0), m_offset(0)
{
    open();
    m_length = static_cast<quint64>(m_files.session()->fileLength(m_reader));
}

RemoteFile::~RemoteFile()
{
    close();
}

void RemoteFile::open()
{
    m_reader = m_files.openReader(m_path);
}

void RemoteFile::close()
{
    m_files.session()->deleteReader(m_reader);
    m_reader = nullptr;
}

quint32 RemoteFile::atMostOneBlock(quint32 count) const
{
    return static_cast<quint32>(std::min<quint64>(count, m_blockSize - m_offset % m_blockSize));
}

quint32 RemoteFile::read(char *buffer, quint32 count)
{
    Session &session = m_files.session();
    const quint64 left = m_length - std::min(m_offset, m_length);
    count = static_cast<quint32>(std::min<quint64>(count, left));
    if (count == 0)
        return 0;
    for (int attempt = 1;; ++attempt) {
        checkForInterrupt();
        session.forgetLog();
        session->setPosition(m_reader, static_cast<qint64>(m_offset));
        const quint32 wanted = m_hasFailed ? atMostOneBlock(count) : count;
        const quint32 result = session->read(m_reader, buffer, wanted, nullptr);
        if (result > 0 && result < kNoDataNode) {
            m_offset += result;
            return result;
        }
        checkForInterrupt();
        if (result == 0)
            throw Failure('`' + m_shown + "': it has become shorter while it was read");
        m_hasFailed = true;
        const int pause = attempt / kAttemptsAtOnce - 1;
        if (pause == kPauseCount || (attempt > 1 && isForGood(result, session.log())))
            throw Failure("Could not obtain block: `" + m_shown + "' from byte " + QByteArray::number(m_offset) +
                          " on: " + reasonIn(session.log()));
        if (attempt % kAttemptsAtOnce == 0)
            waitUnlessInterrupted(kPauses[pause]);
        close();
        open();
    }
}
