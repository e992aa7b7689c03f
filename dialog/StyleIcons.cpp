#include "dialog/StyleIcons.h"

#include <QApplication>

QIcon StyleIcons::icon(QStyle::StandardPixmap which)
{
    if (m_style != QApplication::style()) {
        forget();
        m_style = QApplication::style();
    }
    QHash<int, QIcon>::const_iterator made = m_icons.constFind(which);
    if (made == m_icons.constEnd())
        made = m_icons.insert(which, m_style->standardIcon(which));
    return *made;
}
