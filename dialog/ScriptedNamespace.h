// Files and directories behind a scripted NameNode, which lists, makes, renames and deletes them when it is asked to.
#ifndef DIALOG_SCRIPTEDNAMESPACE_H
#define DIALOG_SCRIPTEDNAMESPACE_H

#include "testing/ScriptedNameNode.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

class ScriptedNamespace
{
public:
    /// Answers all namespace calls to `node`, which outlives it. There is "/", which everybody may change.
    explicit ScriptedNamespace(ScriptedNameNode *node);
    ~ScriptedNamespace();
    ScriptedNamespace(const ScriptedNamespace &) = delete;
    ScriptedNamespace &operator=(const ScriptedNamespace &) = delete;

    void addDirectory(const std::string &path, unsigned mode = 0777, const std::string &owner = "owner");
    void addFile(const std::string &path, unsigned mode = 0666, const std::string &owner = "owner");
    void remove(const std::string &path);
    bool has(const std::string &path) const;

    /// Calls of a method whose path is this one end in a remote exception from now on.
    void refuse(const std::string &method, const std::string &path);

    /// What arrived since the last time: "getListing /a", "delete /a" (", recursive" behind it if it was),
    /// "rename /a /b", "mkdirs /a 777" (the mode), "getFsStats".
    std::vector<std::string> takeRequests();

private:
    typedef std::map<std::string, hadoop::oracle::HdfsFileStatusProto> Entries;

    void add(const std::string &path, bool isDirectory, unsigned mode, const std::string &owner);
    bool isRefused(ScriptedConnection &connection, const NameNodeCall &call, const std::string &path);
    void fileInfo(ScriptedConnection &connection, const NameNodeCall &call);
    void listing(ScriptedConnection &connection, const NameNodeCall &call);
    void makeDirectory(ScriptedConnection &connection, const NameNodeCall &call);
    void rename(ScriptedConnection &connection, const NameNodeCall &call);
    void remove(ScriptedConnection &connection, const NameNodeCall &call);

    ScriptedNameNode *m_node;
    mutable std::mutex m_mutex;
    Entries m_entries; ///< by path; "" is the root
    std::vector<std::string> m_refused;
    std::size_t m_callsTaken;
};

#endif
