// The stored connection settings, and what one run of this program lays over them without touching what is stored.
// the stored values.
#ifndef HOST_MARROWBY_STOREDCONNECTION_H
#define HOST_MARROWBY_STOREDCONNECTION_H

#include "platform/Settings.h"

#include <QtCore/QString>

/// The two stored values with the parts of the first taken apart. A null string is a part that is not given.
struct ConnectionValues {
    QString nameNode; ///< HOST[:PORT]
    QString user;
    QString webHdfs; ///< "0" or "1"
};

/// Changes the parts that are given in the store that is in force and leaves the others. A new NameNode forgets the
/// address index that was remembered for the old one. False when the store cannot be written.
bool storeConnectionValues(const ConnectionValues &values);

/// What the store that is in force holds.
ConnectionValues storedConnectionValues();

/// Lays `values` over a copy of the stored ones in a store that this process uses from now on while `store` lives.
/// False when that failed.
bool useForOneRun(platform::TemporarySettingsStore *store, const ConnectionValues &values);

#endif
