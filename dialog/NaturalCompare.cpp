#include "dialog/NaturalCompare.h"

namespace {

/// A position in a name. At the name's end and past it stands a null character.
class Reader
{
public:
    explicit Reader(const QString &text) : m_text(text), m_position(0) {}
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
    const QString &m_text;
    int m_position;
};

/// Compares the numbers that start at two positions: the longer one is the greater, of two that are equally long the
/// first digit that differs decides, by its character code. Takes copies: the caller's positions stay.
int compareDigits(Reader first, Reader second)
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

} // namespace

int naturalCompare(const QString &first, const QString &second, Qt::CaseSensitivity caseSensitivity)
{
    Reader reader1(first);
    Reader reader2(second);
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
        if (caseSensitivity == Qt::CaseInsensitive) {
            character1 = foldCase(character1);
            character2 = foldCase(character2);
        }
        // Asking the locale is dear, and about a character and itself it has nothing to say.
        if (character1 == character2)
            continue;
        const int order = QString::localeAwareCompare(QString(character1), QString(character2));
        if (order != 0)
            return order < 0 ? -1 : 1;
    }
    return QString::compare(first, second, caseSensitivity);
}
