#include "testing/LogCapture.h"

#include "host/core/MainUI.h"

#include <cstdio>

namespace {

LogCapture *innermost = nullptr;

bool matches(const std::string &expected, const std::string &text)
{
    if (!expected.empty() && expected.back() == '*')
        return text.compare(0, expected.size() - 1, expected, 0, expected.size() - 1) == 0;
    return text == expected;
}

} // namespace

void MainUI::addLog(LogLevel level, QString text)
{
    if (innermost)
        innermost->m_lines.push_back(LoggedLine{static_cast<int>(level), text.toStdString()});
    else
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

int MainUI::pixelSize()
{
    return 12;
}

LogCapture::LogCapture() : m_outer(innermost)
{
    innermost = this;
}

LogCapture::~LogCapture()
{
    innermost = m_outer;
}

std::vector<std::string> LogCapture::texts() const
{
    std::vector<std::string> texts;
    for (const LoggedLine &line : m_lines)
        texts.push_back(line.text);
    return texts;
}

::testing::AssertionResult LogCapture::holds(const std::vector<std::string> &expected) const
{
    bool same = m_lines.size() == expected.size();
    for (std::size_t i = 0; same && i < expected.size(); ++i)
        same = m_lines[i].level == 1 && matches(expected[i], m_lines[i].text);
    if (same)
        return ::testing::AssertionSuccess();
    ::testing::AssertionResult result = ::testing::AssertionFailure();
    result << "the log holds " << m_lines.size() << " lines:\n";
    for (const LoggedLine &line : m_lines)
        result << "  [" << line.level << "] " << ::testing::PrintToString(line.text) << "\n";
    result << "expected at level 1:\n";
    for (const std::string &text : expected)
        result << "  " << ::testing::PrintToString(text) << "\n";
    return result;
}

::testing::AssertionResult LogCapture::takes(const std::vector<std::string> &expected)
{
    const ::testing::AssertionResult result = holds(expected);
    m_lines.clear();
    return result;
}
