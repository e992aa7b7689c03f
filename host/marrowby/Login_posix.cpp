#include "host/marrowby/Login.h"

#include <pwd.h>
#include <unistd.h>

QByteArray loginName()
{
    const passwd *const entry = ::getpwuid(::geteuid());
    return entry ? QByteArray(entry->pw_name) : QByteArray();
}
