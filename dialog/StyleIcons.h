#ifndef DIALOG_STYLEICONS_H
#define DIALOG_STYLEICONS_H

#include <QtCore/QHash>
#include <QtGui/QIcon>

#include <QStyle>

/// The standard icons of the application's style, each made once: a style composes them anew for each row that is
/// painted.
class StyleIcons
{
public:
    StyleIcons() : m_style(nullptr) {}

    /// Of the style that the application has now.
    QIcon icon(QStyle::StandardPixmap which);

    /// Makes them anew, in case that the desktop's theme has changed.
    void forget() { m_icons.clear(); }

private:
    const QStyle *m_style; ///< whose icons they are; never used otherwise
    QHash<int, QIcon> m_icons;
};

#endif
