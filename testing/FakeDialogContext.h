// The dialog as its models and path functions see it, without a dialog: everything is set by the test.
#ifndef TESTING_FAKEDIALOGCONTEXT_H
#define TESTING_FAKEDIALOGCONTEXT_H

#include "dialog/DialogContext.h"

class FakeDialogContext : public DialogContext
{
public:
    NameNodeConnection *connection() override
    {
        ++connectionRequests;
        return nameNode;
    }
    DialogMode mode() const override { return askedFor; }
    QString userName() const override { return user; }
    QString userGroup() const override { return group; }
    QStringList history() const override { return visited; }
    QWidget *detailView() const override { return detail; }
    QWidget *plainView() const override { return plain; }

    NameNodeConnection *nameNode = nullptr; ///< the test's own
    int connectionRequests = 0;             ///< how often `connection` was called
    DialogMode askedFor = DialogModeOpen;
    QString user;
    QString group;
    QStringList visited;
    QWidget *detail = nullptr;
    QWidget *plain = nullptr;
};

#endif
