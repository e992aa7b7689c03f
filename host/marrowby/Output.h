#ifndef HOST_MARROWBY_OUTPUT_H
#define HOST_MARROWBY_OUTPUT_H

#include <QtCore/QByteArray>

/// Standard output, buffered. Every operation throws OutputClosed when nobody reads it any more and Failure when it
/// cannot be written (a full disk).
class Output
{
public:
    void write(const char *bytes, std::size_t count);
    void write(const QByteArray &text) { write(text.constData(), static_cast<std::size_t>(text.size())); }
    void line(const QByteArray &text) { write(text + '\n'); }
    void flush();
};

#endif
