#include "host/marrowby/Glob.h"

#include "host/marrowby/Errors.h"

#include <QtCore/QString>

namespace {

const int kMostTexts = 1000; // that the braces of one pattern stand for

QVector<uint> characters(const QByteArray &utf8)
{
    return QString::fromUtf8(utf8).toUcs4();
}

QByteArray refusal(const char *why, const QByteArray &pattern)
{
    return QByteArray("Illegal file pattern: error parsing regexp: ") + why + ": `" + pattern + '`';
}

QByteArray refusalAtEnd(const char *why, const QByteArray &pattern)
{
    const QByteArray where = QByteArray(why) + " at pos " + QByteArray::number(characters(pattern).size());
    return refusal(where.constData(), pattern);
}

Failure tooManyTexts()
{
    return Failure("Illegal file pattern: {} stand for more than " + QByteArray::number(kMostTexts) + " texts");
}

/// The index behind the group that opens at `open`; its top-level alternatives go to `*alternatives` as they stand.
/// -1 when the group is not closed.
int readGroup(const QByteArray &text, int open, QList<QByteArray> *alternatives)
{
    int depth = 0;
    int start = open + 1;
    for (int at = open; at < text.size(); ++at) {
        const char c = text.at(at);
        if (c == '\\') {
            ++at;
        } else if (c == '{') {
            ++depth;
        } else if (c == ',' && depth == 1) {
            alternatives->append(text.mid(start, at - start));
            start = at + 1;
        } else if (c == '}' && --depth == 0) {
            alternatives->append(text.mid(start, at - start));
            return at + 1;
        }
    }
    return -1;
}

/// The index of the first brace that opens a group at or behind `from`; -1 when there is none.
int findGroup(const QByteArray &text, int from)
{
    for (int at = from; at < text.size(); ++at) {
        if (text.at(at) == '\\')
            ++at;
        else if (text.at(at) == '{')
            return at;
    }
    return -1;
}

/// Every text with every end behind it.
void append(QList<QByteArray> *texts, const QList<QByteArray> &ends)
{
    if (ends.size() == 1) { // in place: a pattern may have thousands of such parts
        for (QByteArray &text : *texts)
            text += ends.first();
        return;
    }
    if (texts->size() * ends.size() > kMostTexts)
        throw tooManyTexts();
    QList<QByteArray> result;
    foreach (const QByteArray &text, *texts)
        foreach (const QByteArray &end, ends)
            result.append(text + end);
    *texts = result;
}

QList<QByteArray> expanded(const QByteArray &text, bool onlyWithSlash);

QList<QByteArray> allExpanded(const QList<QByteArray> &texts, bool onlyWithSlash)
{
    QList<QByteArray> result;
    foreach (const QByteArray &text, texts) {
        result += expanded(text, onlyWithSlash);
        if (result.size() > kMostTexts)
            throw tooManyTexts();
    }
    return result;
}

/// The texts that a pattern with groups stands for. Every group is replaced, or only those that hold a "/".
QList<QByteArray> expanded(const QByteArray &text, bool onlyWithSlash)
{
    QList<QByteArray> texts = QList<QByteArray>() << QByteArray();
    int at = 0;
    for (int open = findGroup(text, 0); open >= 0; open = findGroup(text, at)) {
        QList<QByteArray> alternatives;
        const int end = readGroup(text, open, &alternatives);
        if (end < 0)
            throw Failure(refusalAtEnd("Unclosed group", text.mid(text.lastIndexOf('/') + 1)));
        const bool isKept = onlyWithSlash && !text.mid(open, end - open).contains('/');
        append(&texts, QList<QByteArray>() << text.mid(at, (isKept ? end : open) - at));
        if (!isKept)
            append(&texts, allExpanded(alternatives, onlyWithSlash));
        at = end;
    }
    append(&texts, QList<QByteArray>() << text.mid(at));
    return texts;
}

void checkLastEscape(const QByteArray &text)
{
    int backslashes = 0;
    while (backslashes < text.size() && text.at(text.size() - 1 - backslashes) == '\\')
        ++backslashes;
    if (backslashes % 2)
        throw Failure("Illegal file pattern: An escaped character does not present for glob " + text + " at " +
                      QByteArray::number(characters(text).size()));
}

} // namespace

bool Glob::hasWildcard(const QByteArray &text)
{
    for (int at = 0; at < text.size(); ++at) {
        const char c = text.at(at);
        if (c == '\\')
            ++at;
        else if (c == '*' || c == '?' || c == '[' || c == '{')
            return true;
    }
    return false;
}

QByteArray Glob::withoutEscapes(const QByteArray &text)
{
    QByteArray plain;
    for (int at = 0; at < text.size(); ++at) {
        if (text.at(at) == '\\' && at + 1 < text.size())
            ++at;
        plain += text.at(at);
    }
    return plain;
}

QByteArray Glob::escaped(const QByteArray &text)
{
    QByteArray pattern;
    for (int at = 0; at < text.size(); ++at) {
        if (std::strchr("\\*?[]{}", text.at(at)))
            pattern += '\\';
        pattern += text.at(at);
    }
    return pattern;
}

QList<QByteArray> Glob::withoutSlashesInBraces(const QByteArray &path)
{
    checkLastEscape(path);
    return expanded(path, true);
}

QList<QByteArray> Glob::names(const QByteArray &path)
{
    QList<QByteArray> result;
    foreach (const QByteArray &name, path.split('/'))
        if (!name.isEmpty())
            result.append(name);
    return result;
}

Glob::Glob(const QByteArray &pattern)
{
    checkLastEscape(pattern);
    foreach (const QByteArray &alternative, expanded(pattern, false))
        m_alternatives.append(compiled(characters(alternative), pattern));
}

Glob::Places Glob::compiled(const QVector<uint> &text, const QByteArray &pattern)
{
    Places places;
    for (int at = 0; at < text.size(); ++at) {
        Place place = Place();
        place.kind = Place::Character;
        place.character = text.at(at);
        if (text.at(at) == '\\' && at + 1 < text.size()) {
            place.character = text.at(++at);
        } else if (text.at(at) == '?') {
            place.kind = Place::AnyCharacter;
        } else if (text.at(at) == '*') {
            place.kind = Place::Star;
        } else if (text.at(at) == '[') {
            place.kind = Place::Class;
            ++at;
            if (at < text.size() && (text.at(at) == '^' || text.at(at) == '!')) {
                place.negated = true;
                ++at;
            }
            if (at < text.size() && text.at(at) == ']')
                throw Failure(refusal("missing closing ]", pattern));
            for (; at < text.size() && text.at(at) != ']'; ++at) {
                if (text.at(at) == '\\' && at + 1 < text.size())
                    ++at;
                const uint first = text.at(at);
                uint last = first;
                if (at + 2 < text.size() && text.at(at + 1) == '-' && text.at(at + 2) != ']') {
                    at += 2;
                    if (text.at(at) == '\\' && at + 1 < text.size())
                        ++at;
                    last = text.at(at);
                }
                place.ranges << first << last;
            }
            if (at >= text.size())
                throw Failure(refusalAtEnd("Unclosed character class", pattern));
        }
        places.append(place);
    }
    return places;
}

bool Glob::fits(const Place &place, uint character)
{
    if (place.kind == Place::AnyCharacter)
        return true;
    if (place.kind == Place::Character)
        return place.character == character;
    bool inside = false;
    for (int i = 0; i < place.ranges.size(); i += 2)
        inside = inside || (place.ranges.at(i) <= character && character <= place.ranges.at(i + 1));
    return inside != place.negated;
}

bool Glob::matches(const Places &places, const QVector<uint> &name)
{
    // When something does not fit, only the last star can take one character more: earlier ones need not.
    int place = 0;
    int at = 0;
    int starPlace = -1;
    int starEnd = 0;
    while (at < name.size()) {
        if (place < places.size() && places.at(place).kind == Place::Star) {
            starPlace = place++;
            starEnd = at;
        } else if (place < places.size() && fits(places.at(place), name.at(at))) {
            ++place;
            ++at;
        } else if (starPlace >= 0) {
            place = starPlace + 1;
            at = ++starEnd;
        } else {
            return false;
        }
    }
    while (place < places.size() && places.at(place).kind == Place::Star)
        ++place;
    return place == places.size();
}

bool Glob::matches(const QByteArray &name) const
{
    const QVector<uint> text = characters(name);
    foreach (const Places &places, m_alternatives)
        if (matches(places, text))
            return true;
    return false;
}
