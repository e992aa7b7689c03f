#include "host/marrowby/ModeChange.h"

#include "host/marrowby/FileMode.h"

#include <cctype>
#include <cstring>

namespace {

const quint32 kAllOfAClass = 07;
const quint32 kExecuteForAnybody = 0111;

bool isOneOf(char character, const char *characters)
{
    return character && std::strchr(characters, character);
}

} // namespace

bool ModeChange::parse(const QByteArray &text, ModeChange *change)
{
    ModeChange parsed;
    if (!parsed.parseOctal(text.trimmed()) && !parsed.parseSymbolic(text))
        return false;
    *change = parsed;
    return true;
}

bool ModeChange::parseOctal(const QByteArray &text)
{
    const QByteArray digits = text.startsWith('+') ? text.mid(1) : text;
    bool octal = false;
    const quint32 mode = digits.toUInt(&octal, 8);
    const bool rightLength = digits.size() == 3 || (digits.size() == 4 && mode <= kModeBits);
    if (!octal || !rightLength || !std::isdigit(static_cast<unsigned char>(digits.at(0))))
        return false;
    for (int i = 0; i < 3; ++i) {
        m_classes[i].operation = '=';
        m_classes[i].bits = mode >> (3 * (2 - i)) & kAllOfAClass;
    }
    m_sticky.operation = '=';
    m_sticky.bits = (mode & kStickyBit) ? 1 : 0;
    return true;
}

bool ModeChange::parseSymbolic(const QByteArray &text)
{
    const char *at = text.constData();
    const auto skipSpaces = [&at] {
        while (std::isspace(static_cast<unsigned char>(*at)))
            ++at;
    };
    bool clauseMayFollow = true;
    do {
        if (!clauseMayFollow)
            return false;
        skipSpaces();
        bool concerned[3] = {false, false, false};
        bool classGiven = false;
        for (; isOneOf(*at, "ugoa"); ++at) {
            classGiven = true;
            for (int i = 0; i < 3; ++i)
                concerned[i] = concerned[i] || *at == 'a' || *at == "ugo"[i];
        }
        Part part;
        for (; isOneOf(*at, "+-="); ++at)
            part.operation = *at;
        if (!part.operation)
            return false;
        bool permissionGiven = false;
        bool sticky = false;
        for (; isOneOf(*at, "rwxXt"); ++at) {
            permissionGiven = true;
            part.bits |= *at == 'r' ? 4 : *at == 'w' ? 2 : *at == 'x' ? 1 : 0;
            part.executeWhereSensible = part.executeWhereSensible || *at == 'X';
            sticky = sticky || *at == 't';
        }
        if (!permissionGiven)
            return false;
        for (int i = 0; i < 3; ++i)
            if (concerned[i] || !classGiven)
                m_classes[i] = part;
        const bool others = concerned[2] || !classGiven;
        if (others && (sticky || part.operation == '=')) {
            m_sticky.operation = part.operation;
            m_sticky.bits = sticky ? 1 : 0;
        }
        clauseMayFollow = false;
        skipSpaces();
        for (; *at == ','; skipSpaces()) {
            clauseMayFollow = true;
            ++at;
        }
    } while (*at);
    return true;
}

quint32 ModeChange::applied(const Part &part, quint32 bits, bool sensible)
{
    const quint32 asked = part.bits | (part.executeWhereSensible && sensible ? 1u : 0u);
    switch (part.operation) {
    case '+':
        return bits | asked;
    case '-':
        return bits & ~asked;
    case '=':
        return asked;
    default:
        return bits;
    }
}

quint32 ModeChange::appliedTo(quint32 mode, bool isDirectory) const
{
    const bool sensible = isDirectory || (mode & kExecuteForAnybody);
    quint32 changed = applied(m_sticky, (mode & kStickyBit) ? 1 : 0, false) ? kStickyBit : 0;
    for (int i = 0; i < 3; ++i) {
        const int shift = 3 * (2 - i);
        changed |= (applied(m_classes[i], mode >> shift & kAllOfAClass, sensible) & kAllOfAClass) << shift;
    }
    return changed;
}
