#include "host/marrowby/FileMode.h"

QByteArray modeText(quint32 mode)
{
    QByteArray text("rwxrwxrwx");
    for (int place = 0; place < text.size(); ++place)
        if (!(mode & (0400u >> place)))
            text[place] = '-';
    if (mode & kStickyBit)
        text[text.size() - 1] = (mode & 1) ? 't' : 'T';
    return text;
}

QByteArray modeOctal(quint32 mode)
{
    return QByteArray::number(mode & kModeBits, 8);
}
