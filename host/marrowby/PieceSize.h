#ifndef HOST_MARROWBY_PIECESIZE_H
#define HOST_MARROWBY_PIECESIZE_H

#include <QtCore/QtGlobal>

/// How much to read at once. Every read opens connections of its own, so much is good; but Ctrl-C and the progress line
/// wait for its end, so on a slow line less is.
class PieceSize
{
public:
    static const quint32 kSmallest = 256 * 1024;
    static const quint32 kLargest = 16 * 1024 * 1024;

    quint32 bytes() const { return m_bytes; }

    /// How long a piece of that size took.
    void took(qint64 milliseconds)
    {
        if (milliseconds < 100 && m_bytes < kLargest)
            m_bytes *= 2;
        else if (milliseconds > 400 && m_bytes > kSmallest)
            m_bytes /= 2;
    }

private:
    quint32 m_bytes = 1024 * 1024;
};

#endif
