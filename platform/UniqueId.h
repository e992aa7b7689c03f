#ifndef PLATFORM_UNIQUEID_H
#define PLATFORM_UNIQUEID_H

#include <memory>

namespace platform {

struct UniqueIdDeleter {
    void operator()(char *text) const;
};

/// A universally unique identifier in its canonical form, "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in
/// lower-case hexadecimal digits, NUL-terminated. The text may be cut shorter by its owner.
typedef std::unique_ptr<char, UniqueIdDeleter> UniqueId;

/// A new random identifier; null when the system gives none.
UniqueId createUniqueId();

} // namespace platform

#endif
