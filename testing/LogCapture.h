// The host's log, as a test sees it. The test executables link a `MainUI` of their own instead of the host's library.
#ifndef TESTING_LOGCAPTURE_H
#define TESTING_LOGCAPTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// One line, as it was passed to MainUI::addLog.
struct LoggedLine {
    int level;
    std::string text; ///< UTF-8
};

/// Collects what is logged from its construction to its destruction; the innermost one alive gets it. A line logged
/// while there is none goes to standard error.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    const std::vector<LoggedLine> &lines() const { return m_lines; }
    /// The texts alone, in order.
    std::vector<std::string> texts() const;
    void clear() { m_lines.clear(); }

    /// For EXPECT_TRUE: exactly these texts in this order, each at level 1. An expected text that ends with "*"
    /// stands for every text that begins like it.
    ::testing::AssertionResult holds(const std::vector<std::string> &expected) const;
    /// The same, and forgets the lines.
    ::testing::AssertionResult takes(const std::vector<std::string> &expected);

private:
    friend class MainUI;
    LogCapture *m_outer;
    std::vector<LoggedLine> m_lines;
};

#endif
