// What a test process needs of its system: settings of its own, and an end to a test that hangs.
#ifndef TESTING_TESTPROCESS_H
#define TESTING_TESTPROCESS_H

#include <memory>

class TestProcess
{
public:
    /// Made before anything else of the process. While it lives, the settings that tests write are not the user's, and
    /// go away with it.
    TestProcess();
    ~TestProcess();
    TestProcess(const TestProcess &) = delete;
    TestProcess &operator=(const TestProcess &) = delete;

    /// Ends the process with a word about `test` on standard error, unless `endTest` is called within so many seconds
    /// (0: any number). One test at a time.
    void beginTest(const char *test, unsigned seconds);
    void endTest();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

#endif
