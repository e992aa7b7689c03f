// Places that a path can begin with only on Windows.
#ifndef TESTING_LOCALPLACES_WINDOWS_H
#define TESTING_LOCALPLACES_WINDOWS_H

#include <QtCore/QString>

/// A drive letter for everybody while it lives, behind which there is nothing that can be read.
class DriveWithoutMedium
{
public:
    DriveWithoutMedium();
    ~DriveWithoutMedium();
    DriveWithoutMedium(const DriveWithoutMedium &) = delete;
    DriveWithoutMedium &operator=(const DriveWithoutMedium &) = delete;

    /// "Q:/"
    QString path() const { return m_letter + QLatin1String(":/"); }

private:
    QString m_letter;
};

/// A share of a server that is this machine, empty, while it lives. Wine finds it in a folder of its own.
class Share
{
public:
    Share();
    ~Share();
    Share(const Share &) = delete;
    Share &operator=(const Share &) = delete;

    /// "//SERVER/SHARE"
    QString path() const;

private:
    QString m_server;
};

#endif
