#include "dialog/NameFilter.h"

#include <QtCore/QStringList>

namespace {

const int kPatternsCapture = 2;

QString patternsOf(const QString &filter)
{
    static const QRegExp lineFormat(QLatin1String("^(.*)\\(([a-zA-Z0-9_.*? +;#\\-\\[\\]@\\{\\}/!<>\\$%&=^~:\\|]*)\\)$"),
                                    Qt::CaseSensitive, QRegExp::RegExp);
    // Matching changes the expression: it holds what it captured.
    QRegExp expression(lineFormat);
    return expression.indexIn(filter) < 0 ? QString::fromLatin1("*.*") : expression.cap(kPatternsCapture);
}

} // namespace

void NameFilter::setFilter(const QString &filter)
{
    m_patterns.clear();
    foreach (const QString &pattern, patternsOf(filter).split(QLatin1Char(' '))) {
        if (!pattern.isEmpty())
            m_patterns.append(Wildcard(pattern));
    }
}

bool NameFilter::matches(const QString &name) const
{
    const FoldedName folded(name);
    for (int i = m_patterns.size() - 1; i >= 0; --i) {
        if (m_patterns.at(i).matches(folded))
            return true;
    }
    return false;
}
