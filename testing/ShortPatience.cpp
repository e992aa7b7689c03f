#include "testing/ShortPatience.h"

namespace {

thread_local ShortPatience *current = nullptr;

} // namespace

ShortPatience::ShortPatience(int milliseconds, int instead)
    : m_milliseconds(milliseconds), m_instead(instead), m_timeOuts(0)
{
    current = this;
}

ShortPatience::~ShortPatience()
{
    current = nullptr;
}

ShortPatience *ShortPatience::forWaitOf(int milliseconds)
{
    return current && current->m_milliseconds == milliseconds ? current : nullptr;
}
