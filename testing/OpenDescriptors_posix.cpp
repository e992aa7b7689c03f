#include "testing/OpenDescriptors.h"

#include <cstdlib>
#include <dirent.h>
#include <unistd.h>

namespace {

std::set<int> openNow()
{
    std::set<int> open;
    DIR *directory = ::opendir("/proc/self/fd");
    if (!directory)
        return open;
    while (const dirent *entry = ::readdir(directory)) {
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != ::dirfd(directory))
            open.insert(std::atoi(entry->d_name));
    }
    ::closedir(directory);
    return open;
}

std::set<int> openedSince(const std::set<int> &before)
{
    std::set<int> opened;
    for (int descriptor : openNow()) {
        if (before.count(descriptor) == 0)
            opened.insert(descriptor);
    }
    return opened;
}

} // namespace

OpenDescriptors::OpenDescriptors() : m_before(openNow()) {}

int OpenDescriptors::opened() const
{
    return static_cast<int>(openedSince(m_before).size());
}

void OpenDescriptors::closeOpened() const
{
    for (int descriptor : openedSince(m_before))
        ::close(descriptor);
}
