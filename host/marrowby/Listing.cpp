// ls
#include "host/marrowby/Commands.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/HumanSize.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/ModeChange.h"
#include "host/marrowby/Times.h"

#include <algorithm>
#include <cstdio>

namespace {

class Lister
{
public:
    Lister(Session &session, const ListOptions &options)
        : m_session(session), m_options(options), m_replicationWidth(3), m_ownerWidth(0), m_groupWidth(0),
          m_sizeWidth(10), m_failed(false)
    {
    }

    void listArgument(const PathArgument &argument)
    {
        if (argument.entry.isDirectory && !m_options.directoriesAsFiles) {
            listDirectory(argument);
            return;
        }
        widen(argument.entry);
        print(argument.entry, argument.shown);
    }

    /// Whether a directory below an argument could not be listed.
    bool hasFailed() const { return m_failed; }

private:
    void listDirectory(const PathArgument &directory)
    {
        throwIfInterrupted();
        std::vector<Entry> entries = m_session.list(directory.path);
        sort(&entries);
        if (!entries.empty() && !m_options.recursive && !m_options.pathsOnly)
            std::printf("Found %zu items\n", entries.size());
        for (const Entry &entry : entries)
            widen(entry);
        for (const Entry &entry : entries) {
            PathArgument child;
            child.shown = childPath(directory.shown, entry.name);
            child.path = childPath(directory.path, entry.name);
            print(entry, child.shown);
            if (entry.isDirectory && m_options.recursive)
                m_failed |= attempt("ls", [&] { listDirectory(child); }) != kExitDone;
        }
    }

    std::uint64_t time(const Entry &entry) const
    {
        return m_options.accessTime ? entry.accessTime : entry.modificationTime;
    }

    void sort(std::vector<Entry> *entries) const
    {
        std::stable_sort(entries->begin(), entries->end(), [this](const Entry &first, const Entry &second) {
            const Entry &a = m_options.reversed ? second : first;
            const Entry &b = m_options.reversed ? first : second;
            if (m_options.byTime && time(a) != time(b))
                return time(a) > time(b);
            if (!m_options.byTime && m_options.bySize && a.length != b.length)
                return a.length > b.length;
            return isListedBefore(a, b);
        });
    }

    std::string replication(const Entry &entry) const
    {
        return entry.isDirectory ? "-" : std::to_string(entry.replication);
    }

    std::string size(const Entry &entry) const
    {
        return m_options.humanSizes ? humanSize(entry.length) : std::to_string(entry.length);
    }

    /// Columns only grow from one directory to the next, as those of `hdfs dfs` do.
    void widen(const Entry &entry)
    {
        m_replicationWidth = std::max(m_replicationWidth, replication(entry).size());
        m_ownerWidth = std::max(m_ownerWidth, entry.owner.size());
        m_groupWidth = std::max(m_groupWidth, entry.group.size());
        m_sizeWidth = std::max(m_sizeWidth, size(entry).size());
    }

    void print(const Entry &entry, const std::string &shown) const
    {
        if (m_options.pathsOnly) {
            std::printf("%s\n", shown.c_str());
            return;
        }
        std::printf("%c%s%c%*s ", entry.isDirectory ? 'd' : '-', symbolicMode(entry.permission).c_str(),
                    entry.permission & kAclBit ? '+' : ' ', static_cast<int>(m_replicationWidth),
                    replication(entry).c_str());
        std::printf("%-*s %-*s %*s %s %s\n", static_cast<int>(m_ownerWidth), entry.owner.c_str(),
                    static_cast<int>(m_groupWidth), entry.group.c_str(), static_cast<int>(m_sizeWidth),
                    size(entry).c_str(), listedTime(time(entry)).c_str(), shown.c_str());
    }

    Session &m_session;
    ListOptions m_options;
    std::size_t m_replicationWidth;
    std::size_t m_ownerWidth;
    std::size_t m_groupWidth;
    std::size_t m_sizeWidth;
    bool m_failed;
};

} // namespace

int list(Session &session, const ListOptions &options, const Arguments &paths)
{
    Lister lister(session, options);
    const int status = forEachPath(session, "ls", paths.empty() ? Arguments(1, ".") : paths,
                                   [&](const PathArgument &argument) { lister.listArgument(argument); });
    return lister.hasFailed() ? kExitFailed : status;
}
