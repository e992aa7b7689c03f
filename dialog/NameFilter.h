#ifndef DIALOG_NAMEFILTER_H
#define DIALOG_NAMEFILTER_H

#include "dialog/Wildcard.h"

#include <QtCore/QList>
#include <QtCore/QString>

/// Which file names one line of the dialog's file types lets through. Lets nothing through before `setFilter`.
class NameFilter
{
public:
    /// Takes the wildcard patterns inside the last parentheses of a line such as "Text files (*.txt *.csv)", separated
    /// by blanks. A line without such parentheses at its end counts as "*.*". Replaces what was set before.
    void setFilter(const QString &filter);

    /// Whether the whole name matches one of the patterns, in any case. "*.*" asks for a dot, deliberately: names
    /// without one are hidden by "All Files (*.*)".
    bool matches(const QString &name) const;

    /// The first of the patterns; empty when there is none.
    QString firstPattern() const { return m_patterns.isEmpty() ? QString() : m_patterns.first().pattern(); }

private:
    QList<Wildcard> m_patterns;
};

#endif
