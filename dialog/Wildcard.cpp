#include "dialog/Wildcard.h"

namespace {

/// Character by character, as QRegExp does it: QString::toLower may change a text's length.
QString foldCase(const QString &text)
{
    QString folded = text;
    for (QString::iterator character = folded.begin(); character != folded.end(); ++character)
        *character = character->toLower();
    return folded;
}

bool hasBrackets(const QString &pattern)
{
    return pattern.contains(QLatin1Char('[')) || pattern.contains(QLatin1Char(']'));
}

bool isStar(QChar character)
{
    return character == QLatin1Char('*');
}

bool matchesOne(QChar pattern, QChar character)
{
    return pattern == character || pattern == QLatin1Char('?');
}

/// Walks along both; where the pattern does not go on, its last star takes in one character more. Stars before the last
/// one never need to.
bool matchesStars(const QString &pattern, const QString &name)
{
    int inPattern = 0;
    int inName = 0;
    int lastStar = -1;
    int behindLastStar = 0; // in the name
    while (inName < name.length()) {
        if (inPattern < pattern.length() && isStar(pattern.at(inPattern))) {
            lastStar = inPattern++;
            behindLastStar = inName;
        } else if (inPattern < pattern.length() && matchesOne(pattern.at(inPattern), name.at(inName))) {
            ++inPattern;
            ++inName;
        } else if (lastStar >= 0) {
            inPattern = lastStar + 1;
            inName = ++behindLastStar;
        } else {
            return false;
        }
    }
    while (inPattern < pattern.length() && isStar(pattern.at(inPattern)))
        ++inPattern;
    return inPattern == pattern.length();
}

/// What nearly every pattern fails at: its last character is not that of the name.
bool endsOtherwise(const QString &pattern, const QString &name)
{
    const QChar last = pattern.isEmpty() ? QLatin1Char('*') : pattern.at(pattern.length() - 1);
    return !isStar(last) && (name.isEmpty() || !matchesOne(last, name.at(name.length() - 1)));
}

} // namespace

FoldedName::FoldedName(const QString &name) : m_original(name), m_folded(foldCase(name)) {}

Wildcard::Wildcard(const QString &pattern) : m_pattern(pattern), m_folded(foldCase(pattern))
{
    if (hasBrackets(pattern))
        m_withBrackets = QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard);
}

bool Wildcard::matches(const FoldedName &name) const
{
    if (!m_withBrackets.isEmpty())
        return m_withBrackets.exactMatch(name.original());
    return !endsOtherwise(m_folded, name.folded()) && matchesStars(m_folded, name.folded());
}
