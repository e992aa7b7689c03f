#include "dialog/NaturalCompare.h"

#include <algorithm>
#include <atomic>

namespace {

const ushort kAsciiEnd = 128;

/// The characters of a name.
class Text
{
public:
    explicit Text(const QString &text) : m_characters(text.constData()), m_length(text.length()) {}
    int length() const { return m_length; }
    QChar at(int position) const { return m_characters[position]; }

private:
    const QChar *m_characters;
    int m_length;
};

/// The characters of a name in ASCII.
class AsciiText
{
public:
    explicit AsciiText(const ByteString &text) : m_characters(text.data), m_length(static_cast<int>(text.size)) {}
    int length() const { return m_length; }
    QChar at(int position) const { return QLatin1Char(m_characters[position]); }

private:
    const char *m_characters;
    int m_length;
};

/// A position in a name. At the name's end and past it stands a null character.
template <class Characters> class Reader
{
public:
    explicit Reader(const Characters &text) : m_text(text), m_position(0) {}
    bool isWithin() const { return m_position <= m_text.length(); }
    QChar current() const { return m_position < m_text.length() ? m_text.at(m_position) : QChar(); }
    void advance() { ++m_position; }
    void skipSpaces()
    {
        while (current().isSpace())
            advance();
    }
    void skipZeros()
    {
        while (current().digitValue() == 0)
            advance();
    }

private:
    Characters m_text;
    int m_position;
};

/// Compares the numbers that start at two positions: the longer one is the greater, of two that are equally long the
/// first digit that differs decides, by its character code. Takes copies: the caller's positions stay.
template <class Characters> int compareDigits(Reader<Characters> first, Reader<Characters> second)
{
    int difference = 0;
    for (; first.isWithin() && second.isWithin(); first.advance(), second.advance()) {
        const QChar digit1 = first.current();
        const QChar digit2 = second.current();
        if (!digit1.isDigit() && !digit2.isDigit())
            break;
        if (!digit1.isDigit())
            return -1;
        if (!digit2.isDigit())
            return 1;
        if (difference == 0 && digit1 != digit2)
            difference = digit1 < digit2 ? -1 : 1;
    }
    return difference;
}

QChar foldCase(QChar character)
{
    return character.isLower() ? character : character.toLower();
}

int askLocale(QChar first, QChar second)
{
    const int order = QString::localeAwareCompare(QString(first), QString(second));
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

/// How the locale orders two characters that differ. To ask it takes most of the time of a comparison; so what it says
/// of two ASCII characters is kept.
int compareCharacters(QChar first, QChar second)
{
    static std::atomic<signed char> known[kAsciiEnd][kAsciiEnd]; // 0: not asked yet
    const signed char offset = 2;
    if (first.unicode() >= kAsciiEnd || second.unicode() >= kAsciiEnd)
        return askLocale(first, second);
    std::atomic<signed char> &entry = known[first.unicode()][second.unicode()];
    signed char order = entry.load(std::memory_order_relaxed);
    if (order == 0) {
        order = static_cast<signed char>(askLocale(first, second) + offset);
        entry.store(order, std::memory_order_relaxed);
    }
    return order - offset;
}

/// The order of two names as far as it does not need the final tie-break: 0 when nothing but white space, zeros in
/// front of numbers and perhaps case tells them apart.
template <class Characters>
int compareNaturally(const Characters &first, const Characters &second, Qt::CaseSensitivity caseSensitivity)
{
    Reader<Characters> reader1(first);
    Reader<Characters> reader2(second);
    for (; reader1.isWithin() && reader2.isWithin(); reader1.advance(), reader2.advance()) {
        reader1.skipSpaces();
        reader2.skipSpaces();
        if (reader1.current().isDigit() && reader2.current().isDigit()) {
            reader1.skipZeros();
            reader2.skipZeros();
            const int difference = compareDigits(reader1, reader2);
            if (difference != 0)
                return difference;
        }
        QChar character1 = reader1.current();
        QChar character2 = reader2.current();
        // About a character and itself the locale has nothing to say.
        if (character1 == character2)
            continue;
        if (caseSensitivity == Qt::CaseInsensitive) {
            character1 = foldCase(character1);
            character2 = foldCase(character2);
            if (character1 == character2)
                continue;
        }
        const int order = compareCharacters(character1, character2);
        if (order != 0)
            return order;
    }
    return 0;
}

bool isAscii(const ByteString &text)
{
    return std::all_of(text.data, text.data + text.size, [](char c) { return static_cast<signed char>(c) >= 0; });
}

QString decoded(const ByteString &text)
{
    return QString::fromUtf8(text.data, static_cast<int>(text.size));
}

} // namespace

int naturalCompare(const QString &first, const QString &second, Qt::CaseSensitivity caseSensitivity)
{
    const int order = compareNaturally(Text(first), Text(second), caseSensitivity);
    return order != 0 ? order : QString::compare(first, second, caseSensitivity);
}

int naturalCompare(const ByteString &first, const ByteString &second, Qt::CaseSensitivity caseSensitivity)
{
    if (isAscii(first) && isAscii(second)) {
        const int order = compareNaturally(AsciiText(first), AsciiText(second), caseSensitivity);
        if (order != 0)
            return order;
    }
    return naturalCompare(decoded(first), decoded(second), caseSensitivity);
}
