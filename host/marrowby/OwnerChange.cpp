#include "host/marrowby/OwnerChange.h"

#include "host/marrowby/Errors.h"

namespace {

bool isName(const QByteArray &name)
{
    for (const char c : name) {
        const bool letterOrDigit = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!letterOrDigit && !QByteArray("-_./@+").contains(c))
            return false;
    }
    return true;
}

} // namespace

OwnerChange OwnerChange::parse(const QByteArray &text)
{
    const QByteArray trimmed = text.trimmed();
    const int colon = trimmed.indexOf(':');
    OwnerChange change;
    change.owner = colon < 0 ? trimmed : trimmed.left(colon);
    if (colon >= 0)
        change.group = trimmed.mid(colon + 1);
    if (!isName(change.owner) || !isName(change.group))
        throw UsageError('\'' + text + "' does not match expected pattern for [owner][:group].");
    if (change.owner.isEmpty() && change.group.isEmpty())
        throw UsageError('\'' + text + "' does not specify owner or group.");
    return change;
}
