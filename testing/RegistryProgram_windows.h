// `reg`, the system's own program for the registry: how others see what is stored there, and how they write it.
#ifndef TESTING_REGISTRYPROGRAM_WINDOWS_H
#define TESTING_REGISTRYPROGRAM_WINDOWS_H

#include <QtCore/QString>

#include <string>

namespace registry_program {

/// `reg add`: sets a value of a key, which is made when it is not there. `type` is "REG_SZ", … A failure fails the
/// test.
void add(const QString &key, const QString &name, const QString &type, const QString &data);

/// What `reg query` says of a value: its name, type and data with one blank between them; empty when there is none.
std::string query(const QString &key, const QString &name);

} // namespace registry_program

#endif
