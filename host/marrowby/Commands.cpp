#include "host/marrowby/Commands.h"

#include "host/marrowby/Failure.h"
#include "host/marrowby/Interrupt.h"

#include <algorithm>
#include <cstdio>

int attempt(const char *name, const std::function<void()> &work)
{
    try {
        throwIfInterrupted();
        work();
        return kExitDone;
    } catch (const Failure &failure) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s: %s\n", name, failure.what());
        return kExitFailed;
    }
}

int forEachPath(Session &session, const char *name, const Arguments &paths,
                const std::function<void(const PathArgument &)> &work)
{
    int status = kExitDone;
    for (const std::string &given : paths) {
        std::vector<PathArgument> arguments;
        status |= attempt(name, [&] { arguments = lookUp(session, given); });
        for (const PathArgument &argument : arguments) {
            status |= attempt(name, [&] {
                if (!argument.exists)
                    throw pathFailure(argument.shown, kNotFound);
                work(argument);
            });
        }
    }
    return status;
}

void forWholeTree(Session &session, const PathArgument &argument, const std::function<void(const PathArgument &)> &work)
{
    throwIfInterrupted();
    work(argument);
    if (!argument.entry.isDirectory)
        return;
    std::vector<Entry> entries = session.list(argument.path);
    std::sort(entries.begin(), entries.end(), isListedBefore);
    for (const Entry &entry : entries) {
        PathArgument child;
        child.shown = childPath(argument.shown, entry.name);
        child.path = childPath(argument.path, entry.name);
        child.exists = true;
        child.entry = entry;
        forWholeTree(session, child, work);
    }
}
