#include "host/marrowby/PartialFile.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Glob.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/Messages.h"

namespace {

const int kLongestNames = 494; // bytes of both paths that a rename of the plug-in takes

} // namespace

PartialFile::PartialFile(FileSystem &files, const QByteArray &path, const QByteArray &shown)
    : m_files(files), m_path(path), m_shown(shown), m_partial(pathFor(path)), m_pending(true)
{
    if (m_path.size() + m_partial.size() > kLongestNames)
        throw Failure(pathTooLong(m_shown));
    std::vector<QByteArray> removal = m_files.session().options();
    removal.insert(removal.end(), {"rm", "-f", "--", Glob::escaped(m_partial)});
    runAtAbruptEnd(removal);
}

PartialFile::~PartialFile()
{
    remove();
}

void PartialFile::remove()
{
    if (!m_pending)
        return;
    m_pending = false;
    // Not through the file system, which does nothing any more once an end was requested. Whether it succeeds cannot be
    // told to anybody.
    m_files.session()->delete_(m_files.session().connection(), m_partial, false);
    runAtAbruptEnd(std::vector<QByteArray>());
}

void PartialFile::finish(quint64 length, bool overwrite)
{
    FileEntry entry;
    if (!m_files.find(m_partial, &entry))
        throw Failure(noSuchFile(m_partial));
    if (entry.length != length)
        throw Failure('`' + m_shown + "': has " + QByteArray::number(entry.length) + " bytes in place of " +
                      QByteArray::number(length));
    const bool replaces = overwrite && m_files.find(m_path, &entry);
    if (!replaces) {
        if (!m_files.rename(m_partial, m_path))
            throw Failure(m_files.find(m_path, &entry) ? fileExists(m_shown) : inputOutputError(m_shown));
        m_pending = false;
        runAtAbruptEnd(std::vector<QByteArray>());
        return;
    }
    // The new file may be the only one from here on.
    runAtAbruptEnd(std::vector<QByteArray>());
    bool oldOneIsGone = false;
    try {
        m_files.replace(m_path, m_partial, &oldOneIsGone);
    } catch (const Failure &failure) {
        if (!oldOneIsGone)
            throw;
        m_pending = false;
        throw Failure(failure.text() + ": `" + m_partial + "' is complete");
    }
    m_pending = false;
}
