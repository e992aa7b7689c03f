// What `chown` is asked to do.
#ifndef HOST_MARROWBY_OWNERCHANGE_H
#define HOST_MARROWBY_OWNERCHANGE_H

#include <QtCore/QByteArray>

struct OwnerChange {
    QByteArray owner; ///< empty: stays
    QByteArray group; ///< empty: stays

    /// "OWNER", "OWNER:GROUP", "OWNER:" (as "OWNER") or ":GROUP" with names of letters, digits and "-_./@+". Throws
    /// UsageError for anything else.
    static OwnerChange parse(const QByteArray &text);
};

#endif
