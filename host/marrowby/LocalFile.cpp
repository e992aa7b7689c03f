#include "host/marrowby/LocalFile.h"

#include "host/marrowby/Failure.h"

LocalFile::LocalFile(const std::string &path) : m_path(path), m_file(QFile::decodeName((path + "._COPYING_").c_str()))
{
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        throw pathFailure(path, m_file.errorString().toLocal8Bit().constData());
}

LocalFile::~LocalFile()
{
    if (m_file.isOpen())
        m_file.remove();
}

void LocalFile::write(const char *bytes, std::uint32_t count)
{
    if (m_file.write(bytes, count) != static_cast<qint64>(count))
        throw pathFailure(m_path, m_file.errorString().toLocal8Bit().constData());
}

void LocalFile::finish()
{
    const QString name = QFile::decodeName(m_path.c_str());
    if (QFile::exists(name) && !QFile::remove(name))
        throw pathFailure(m_path, "cannot be replaced");
    // Closes the file, too.
    if (!m_file.rename(name))
        throw pathFailure(m_path, m_file.errorString().toLocal8Bit().constData());
    m_file.close();
}
