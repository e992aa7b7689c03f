#include "testing/ShortPatience.h"

#include "testing/OfOneThread.h"

namespace {

OfOneThread<ShortPatience> current;

} // namespace

ShortPatience::ShortPatience(int milliseconds, int instead)
    : m_milliseconds(milliseconds), m_instead(instead), m_timeOuts(0)
{
    current.set(this);
}

ShortPatience::~ShortPatience()
{
    current.set(nullptr);
}

ShortPatience *ShortPatience::forWaitOf(int milliseconds)
{
    ShortPatience *const own = current.get();
    return own && own->m_milliseconds == milliseconds ? own : nullptr;
}
