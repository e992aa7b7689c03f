#include "testing/OpenDescriptors.h"

OpenDescriptors::OpenDescriptors() : m_before(openNow()) {}

std::set<int> OpenDescriptors::openedSince() const
{
    std::set<int> opened;
    for (int number : openNow()) {
        if (m_before.count(number) == 0)
            opened.insert(number);
    }
    return opened;
}

int OpenDescriptors::opened() const
{
    return static_cast<int>(openedSince().size());
}

void OpenDescriptors::closeOpened() const
{
    for (int number : openedSince())
        closeOne(number);
}
