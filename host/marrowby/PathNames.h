// HDFS paths as people type them and as messages show them.
#ifndef HOST_MARROWBY_PATHNAMES_H
#define HOST_MARROWBY_PATHNAMES_H

#include <QtCore/QByteArray>

/// One path argument.
struct PathArgument {
    enum Form {
        Absolute,  ///< "/data/x"
        Relative,  ///< "x": below the home directory
        WithScheme ///< "hdfs://host:port/data/x", "hdfs:///data/x"
    };
    Form form = Absolute;
    QByteArray scheme;        ///< what stands before the path: "hdfs://host:port"; empty in the other forms
    QByteArray pattern;       ///< absolute and normalised; may hold wildcards and backslashes that take a meaning away
    bool hasWildcard = false; ///< so that it stands for whatever matches
    QByteArray typed; ///< the argument without such backslashes where it holds no wildcard: how messages call it
};

/// Knows where relative paths begin and which file system is meant. Paths are UTF-8 bytes.
class PathNames
{
public:
    /// `home`: an absolute path; `authority`: "host:port" of the NameNode.
    PathNames(const QByteArray &home, const QByteArray &authority) : m_home(home), m_authority(authority) {}

    /// Throws UsageError for an empty path or one that climbs above "/", Failure for another file system or a path that
    /// is longer than HDFS takes.
    PathArgument parse(const QByteArray &argument) const;

    /// How an existing path is shown when it was found through an argument of that form: relative ones as seen from
    /// the home directory ("." for itself, "../x" beside it).
    QByteArray shown(const QByteArray &path, const PathArgument &argument) const;

    /// "hdfs://host:port/data/x"
    QByteArray qualified(const QByteArray &path) const { return "hdfs://" + m_authority + path; }

    const QByteArray &home() const { return m_home; }

private:
    QByteArray absolute(const QByteArray &path) const;

    QByteArray m_home;
    QByteArray m_authority;
};

/// Whether something in a directory can be called that: one name, and neither the directory itself nor the one above
/// it.
bool isName(const QByteArray &name);

/// The absolute path of an entry of a directory.
QByteArray childPath(const QByteArray &directory, const QByteArray &name);

/// The directory that a path other than "/" is in.
QByteArray parentPath(const QByteArray &path);

/// The last name of a path; empty for "/".
QByteArray lastName(const QByteArray &path);

#endif
