#include "host/marrowby/RemoteFileWriter.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/Messages.h"
#include "host/marrowby/RemoteError.h"

RemoteFileWriter::RemoteFileWriter(FileSystem &files, const QByteArray &path, const QByteArray &shown,
                                   const WriteSettings &settings)
    : m_files(files), m_shown(shown), m_partial(files, path, shown),
      m_writer(files.createWriter(m_partial.path(), settings))
{
}

RemoteFileWriter::~RemoteFileWriter()
{
    // A writer that is dropped sends what it has gathered, up to a whole block. Nobody waits for that who wants an end:
    // without a connection it cannot.
    if (m_writer && endIsRequested()) {
        m_partial.remove();
        m_files.session()->disconnect(m_files.session().connection());
    }
    close();
}

void RemoteFileWriter::close()
{
    m_files.session()->deleteWriter(m_writer);
    m_writer = nullptr;
}

void RemoteFileWriter::check(qint32 result)
{
    if (result == 0)
        return;
    checkForInterrupt();
    if (requestWasTooLong(m_files.session().log()))
        throw Failure(pathTooLong(m_shown));
    const QByteArray reason = reasonIn(m_files.session().log());
    const bool isTheirs = !remoteErrorIn(m_files.session().log()).className.isEmpty();
    throw Failure(isTheirs ? reason : "Could not write: `" + m_shown + "': " + reason);
}

void RemoteFileWriter::write(const char *bytes, std::size_t count)
{
    checkForInterrupt();
    m_files.session().forgetLog();
    const StopWaits undisturbed;
    check(m_files.session()->write(m_writer, bytes, static_cast<quint32>(count)));
}

void RemoteFileWriter::finish(bool overwrite)
{
    checkForInterrupt();
    Session &session = m_files.session();
    session.forgetLog();
    const StopWaits undisturbed;
    check(session->closeWriter(m_writer, nullptr, 0));
    const quint64 length = static_cast<quint64>(session->bytesWritten(m_writer));
    close();
    m_partial.finish(length, overwrite);
}
