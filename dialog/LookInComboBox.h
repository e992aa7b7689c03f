#ifndef DIALOG_LOOKINCOMBOBOX_H
#define DIALOG_LOOKINCOMBOBOX_H

#include <QComboBox>

/// The dialog's look-in box over a LookInModel. Lists the places afresh each time it opens, and shows a long path with
/// its beginning and its end.
class LookInComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit LookInComboBox(QWidget *parent = nullptr);

    /// With another model than a LookInModel nothing is rebuilt.
    void showPopup();

    /// Of the popup's list: keeps clicks on disabled rows away from it.
    bool eventFilter(QObject *watched, QEvent *event);

protected:
    void paintEvent(QPaintEvent *event);
};

#endif
