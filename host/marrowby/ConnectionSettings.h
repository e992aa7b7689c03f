// The stored connection settings, as the plug-in reads them when it connects.
#ifndef HOST_MARROWBY_CONNECTIONSETTINGS_H
#define HOST_MARROWBY_CONNECTIONSETTINGS_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The values "hdfs" (HOST[:PORT][|INDEX[|USER[|further fields]]]), "webhdfs" and "abandonBlock".
struct ConnectionSettings {
    QString address;      ///< HOST or HOST:PORT as it stands
    QString addressIndex; ///< which of the host's addresses is tried first; empty: not stored
    QString user;         ///< empty: not stored
    QStringList furtherFields;
    bool webHdfs = false;
    bool abandonBlock = false; ///< a block that could not be written is given back before the next is asked for

    static ConnectionSettings fromValues(const QString &hdfs, const QString &webHdfs, const QString &abandonBlock);
    QString hdfsValue() const;

    /// What is stored for the plug-in.
    static ConnectionSettings load();
    /// Stores the values; false when the store cannot be written.
    bool save() const;
    /// Where they are stored, for people.
    static QString location();

    /// Takes another NameNode; what was learned about the old one is forgotten.
    void setAddress(const QString &hostAndPort);

    /// Whether a host is named that the plug-in can connect to: of several addresses it takes the first.
    bool hasNameNode() const;
    /// "host:port", with the default port where none is stored.
    QByteArray authority() const;
    /// The user that the plug-in connects as: the stored one, else the environment variable USERNAME.
    QByteArray effectiveUser() const;
};

/// What is wrong with "HOST" or "HOST:PORT", or empty. `*address` gets it without "hdfs://" and without "/" at the end.
std::string checkedAddress(const std::string &text, QString *address);

/// What is wrong with a user name, or empty.
std::string checkedUser(const std::string &text);

/// Gives the environment variable USERNAME the name of this login where it is missing, as on systems on which
/// only a desktop sets it.
void provideUserName();

#endif
