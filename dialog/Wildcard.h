#ifndef DIALOG_WILDCARD_H
#define DIALOG_WILDCARD_H

#include <QtCore/QRegExp>
#include <QtCore/QString>

/// A name with every character in the case that wildcards compare in.
class FoldedName
{
public:
    explicit FoldedName(const QString &name);
    const QString &original() const { return m_original; }
    const QString &folded() const { return m_folded; }

private:
    QString m_original;
    QString m_folded;
};

/// A pattern of file names, matched in any case as by a QRegExp of the syntax QRegExp::Wildcard: "*" stands for any
/// characters, "?" for one, "[...]" for one of several.
///
/// A directory of a hundred thousand names may meet a thousand patterns, and a QRegExp takes a microsecond for one
/// name. So patterns without brackets, which are nearly all, are matched here.
class Wildcard
{
public:
    explicit Wildcard(const QString &pattern);

    QString pattern() const { return m_pattern; }

    /// Whether the whole name matches.
    bool matches(const FoldedName &name) const;

private:
    QString m_pattern;
    QString m_folded;
    QRegExp m_withBrackets; ///< only for patterns with brackets
};

#endif
