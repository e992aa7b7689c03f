#include "testing/OpenDescriptors.h"

#include <cstdlib>
#include <dirent.h>
#include <unistd.h>

std::set<int> OpenDescriptors::openNow()
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

void OpenDescriptors::closeOne(int number)
{
    ::close(number);
}
