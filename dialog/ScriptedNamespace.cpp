#include "dialog/ScriptedNamespace.h"

#include "testing/NamespaceMessages.h"

#include <sstream>

namespace oracle = hadoop::oracle;

namespace {

const char *const kMethods[] = {"getFileInfo", "getListing", "mkdirs", "rename", "delete", "getFsStats"};

/// The root is "", so that every path is that of its directory, "/" and a name.
std::string keyOf(const std::string &path)
{
    return path == "/" ? std::string() : path;
}

bool isIn(const std::string &key, const std::string &directory)
{
    return key.size() > directory.size() + 1 && key.compare(0, directory.size() + 1, directory + "/") == 0 &&
           key.find('/', directory.size() + 1) == std::string::npos;
}

template <class Response> void sendResult(ScriptedConnection &connection, const NameNodeCall &call, bool result)
{
    Response response;
    response.set_result(result);
    connection.send(ScriptedNameNode::frame(call, response));
}

void sendException(ScriptedConnection &connection, const NameNodeCall &call, const std::string &className,
                   const std::string &message)
{
    connection.send(ScriptedNameNode::frame(ScriptedNameNode::exceptionHeader(call, className, message), ""));
}

} // namespace

ScriptedNamespace::ScriptedNamespace(ScriptedNameNode *node) : m_node(node), m_callsTaken(0)
{
    addDirectory("/");
    typedef ScriptedConnection Connection;
    m_node->respond("getFileInfo", [this](Connection &c, const NameNodeCall &call) { fileInfo(c, call); });
    m_node->respond("getListing", [this](Connection &c, const NameNodeCall &call) { listing(c, call); });
    m_node->respond("mkdirs", [this](Connection &c, const NameNodeCall &call) { makeDirectory(c, call); });
    m_node->respond("rename", [this](Connection &c, const NameNodeCall &call) { rename(c, call); });
    m_node->respond("delete", [this](Connection &c, const NameNodeCall &call) { remove(c, call); });
    m_node->answer("getFsStats", fsStats());
}

ScriptedNamespace::~ScriptedNamespace()
{
    for (const char *method : kMethods)
        m_node->forget(method);
}

void ScriptedNamespace::addDirectory(const std::string &path, unsigned mode, const std::string &owner)
{
    add(path, true, mode, owner);
}

void ScriptedNamespace::addFile(const std::string &path, unsigned mode, const std::string &owner)
{
    add(path, false, mode, owner);
}

void ScriptedNamespace::add(const std::string &path, bool isDirectory, unsigned mode, const std::string &owner)
{
    oracle::HdfsFileStatusProto status = fileStatus(path.substr(path.rfind('/') + 1));
    if (isDirectory) {
        status.set_filetype(oracle::HdfsFileStatusProto::IS_DIR);
        status.set_length(0);
    }
    status.mutable_permission()->set_perm(mode);
    status.set_owner(owner);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries[keyOf(path)] = status;
}

void ScriptedNamespace::remove(const std::string &path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.erase(keyOf(path));
}

bool ScriptedNamespace::has(const std::string &path) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries.count(keyOf(path)) > 0;
}

void ScriptedNamespace::refuse(const std::string &method, const std::string &path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refused.push_back(method + " " + path);
}

bool ScriptedNamespace::isRefused(ScriptedConnection &connection, const NameNodeCall &call, const std::string &path)
{
    for (const std::string &refused : m_refused) {
        if (refused != call.method + " " + path)
            continue;
        sendException(connection, call, "org.apache.hadoop.security.AccessControlException", "Permission denied");
        return true;
    }
    return false;
}

void ScriptedNamespace::fileInfo(ScriptedConnection &connection, const NameNodeCall &call)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string path = call.as<oracle::GetFileInfoRequestProto>().src();
    if (isRefused(connection, call, path))
        return;
    oracle::GetFileInfoResponseProto response;
    const Entries::const_iterator found = m_entries.find(keyOf(path));
    if (found != m_entries.end()) {
        *response.mutable_fs() = found->second;
        response.mutable_fs()->set_path("");
    }
    connection.send(ScriptedNameNode::frame(call, response));
}

void ScriptedNamespace::listing(ScriptedConnection &connection, const NameNodeCall &call)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string path = call.as<oracle::GetListingRequestProto>().src();
    if (isRefused(connection, call, path))
        return;
    oracle::GetListingResponseProto response;
    if (m_entries.count(keyOf(path))) {
        response.mutable_dirlist()->set_remainingentries(0);
        for (const Entries::value_type &entry : m_entries) {
            if (isIn(entry.first, keyOf(path)))
                *response.mutable_dirlist()->add_partiallisting() = entry.second;
        }
    }
    connection.send(ScriptedNameNode::frame(call, response));
}

void ScriptedNamespace::makeDirectory(ScriptedConnection &connection, const NameNodeCall &call)
{
    const oracle::MkdirsRequestProto request = call.as<oracle::MkdirsRequestProto>();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (isRefused(connection, call, request.src()))
            return;
    }
    addDirectory(request.src(), request.masked().perm() & ~022u);
    sendResult<oracle::MkdirsResponseProto>(connection, call, true);
}

void ScriptedNamespace::rename(ScriptedConnection &connection, const NameNodeCall &call)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const oracle::RenameRequestProto request = call.as<oracle::RenameRequestProto>();
    if (isRefused(connection, call, request.src()))
        return;
    const bool possible = m_entries.count(request.src()) && !m_entries.count(request.dst());
    if (possible) {
        m_entries[request.dst()] = m_entries[request.src()];
        m_entries[request.dst()].set_path(request.dst().substr(request.dst().rfind('/') + 1));
        m_entries.erase(request.src());
    }
    sendResult<oracle::RenameResponseProto>(connection, call, possible);
}

void ScriptedNamespace::remove(ScriptedConnection &connection, const NameNodeCall &call)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string path = call.as<oracle::DeleteRequestProto>().src();
    if (isRefused(connection, call, path))
        return;
    for (const Entries::value_type &entry : m_entries) {
        if (isIn(entry.first, keyOf(path))) {
            sendException(connection, call, "org.apache.hadoop.fs.PathIsNotEmptyDirectoryException",
                          path + " is non empty");
            return;
        }
    }
    sendResult<oracle::DeleteResponseProto>(connection, call, m_entries.erase(keyOf(path)) > 0);
}

std::vector<std::string> ScriptedNamespace::takeRequests()
{
    std::vector<std::string> requests;
    const std::vector<NameNodeCall> calls = m_node->calls();
    for (; m_callsTaken < calls.size(); ++m_callsTaken) {
        const NameNodeCall &call = calls[m_callsTaken];
        std::ostringstream text;
        text << call.method;
        if (call.method == "getFileInfo") {
            text << ' ' << call.as<oracle::GetFileInfoRequestProto>().src();
        } else if (call.method == "getListing") {
            text << ' ' << call.as<oracle::GetListingRequestProto>().src();
        } else if (call.method == "mkdirs") {
            const oracle::MkdirsRequestProto request = call.as<oracle::MkdirsRequestProto>();
            text << ' ' << request.src() << ' ' << std::oct << request.masked().perm();
        } else if (call.method == "rename") {
            const oracle::RenameRequestProto request = call.as<oracle::RenameRequestProto>();
            text << ' ' << request.src() << ' ' << request.dst();
        } else if (call.method == "delete") {
            const oracle::DeleteRequestProto request = call.as<oracle::DeleteRequestProto>();
            text << ' ' << request.src() << (request.recursive() ? ", recursive" : "");
        }
        requests.push_back(text.str());
    }
    return requests;
}
