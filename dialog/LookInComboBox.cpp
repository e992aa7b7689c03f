#include "dialog/LookInComboBox.h"

#include "dialog/LookInModel.h"

#include <QAbstractItemView>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QtGui/QMouseEvent>

namespace {

const int kIconGap = 4; // pixels between the icon and the text

} // namespace

LookInComboBox::LookInComboBox(QWidget *parent) : QComboBox(parent) {}

void LookInComboBox::showPopup()
{
    if (LookInModel *const places = qobject_cast<LookInModel *>(model()))
        places->rebuild();
    setCurrentIndex(0);
    view()->viewport()->installEventFilter(this);
    QComboBox::showPopup();
}

bool LookInComboBox::eventFilter(QObject *watched, QEvent *event)
{
    // QComboBox takes a click on a disabled row for one on the row that was highlighted before.
    if (event->type() == QEvent::MouseButtonRelease && watched == view()->viewport()) {
        const QModelIndex row = view()->indexAt(static_cast<QMouseEvent *>(event)->pos());
        if (row.isValid() && !(row.flags() & Qt::ItemIsEnabled))
            return true;
    }
    return QComboBox::eventFilter(watched, event);
}

void LookInComboBox::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field = style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    const int textWidth = field.width() - option.iconSize.width() - kIconGap;
    option.currentText = option.fontMetrics.elidedText(option.currentText, Qt::ElideMiddle, textWidth);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
