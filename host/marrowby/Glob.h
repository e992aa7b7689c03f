// Path patterns as `hdfs dfs` takes them:
//
//     ?       one character                    [a-c]   one of these characters
//     *       any characters, also none        [^a-c]  one other character; also [!a-c]
//     {a,b}   one of these texts, which may hold patterns and, as only this may, "/"
//     \c      the character c without its meaning
//
// A pattern never matches "/"; a leading dot is nothing special.
#ifndef HOST_MARROWBY_GLOB_H
#define HOST_MARROWBY_GLOB_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QVector>

/// The pattern of one name of a path, without "/".
class Glob
{
public:
    /// Throws Failure when brackets or braces are not closed, nothing follows a backslash, or braces stand for more
    /// than 1000 texts.
    explicit Glob(const QByteArray &pattern);

    /// `name` is UTF-8; a character is a code point.
    bool matches(const QByteArray &name) const;

    /// Whether anything in `text` has a meaning, so that it must be looked for rather than looked up.
    static bool hasWildcard(const QByteArray &text);

    /// `text` with "\c" replaced by "c".
    static QByteArray withoutEscapes(const QByteArray &text);

    /// `text` as a pattern that matches nothing but it.
    static QByteArray escaped(const QByteArray &text);

    /// Replaces braces that hold a "/" by all they stand for: "/{a/x,b}/y" gives "/a/x/y" and "/b/y". Other braces
    /// stay. Throws as the constructor.
    static QList<QByteArray> withoutSlashesInBraces(const QByteArray &path);

    /// The names of a path pattern from the root on, once no "/" stands inside braces.
    static QList<QByteArray> names(const QByteArray &path);

private:
    /// What one character of a name must be, or, for Star, that any number of characters may stand here.
    struct Place {
        enum Kind { Character, AnyCharacter, Class, Star } kind;
        uint character;
        bool negated;
        QVector<uint> ranges; ///< pairs of first and last character
    };
    typedef QVector<Place> Places;

    static Places compiled(const QVector<uint> &text, const QByteArray &pattern);
    static bool fits(const Place &place, uint character);
    static bool matches(const Places &places, const QVector<uint> &name);

    QVector<Places> m_alternatives;
};

#endif
