// Which descriptors (on Windows: handles of sockets and files) this process has open, to show that an exchange leaves
// none behind.
#ifndef TESTING_OPENDESCRIPTORS_H
#define TESTING_OPENDESCRIPTORS_H

#include <set>
#include <string>

class OpenDescriptors
{
public:
    /// Takes note of what is open now. Construct it before, and destroy the scripted peers before asking: theirs count
    /// too.
    OpenDescriptors();

    /// How many descriptors are open now that were not open then.
    int opened() const;

    /// Closes them, for tests of the leaks that are kept on purpose.
    void closeOpened() const;

private:
    /// What is open at this moment, and how one of that is closed: one source for each system.
    static std::set<int> openNow();
    static void closeOne(int number);

    std::set<int> openedSince() const;

    std::set<int> m_before;
};

#endif
