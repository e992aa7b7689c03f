#include "testing/TemporarySettings.h"

namespace {

void setVariable(const char *name, const QByteArray &value, bool present)
{
    if (present)
        qputenv(name, value);
    else
        qunsetenv(name);
}

} // namespace

TemporaryEnvironment::TemporaryEnvironment(const char *name, const char *value)
    : m_name(name), m_wasSet(!qgetenv(name).isNull()), m_outer(qgetenv(name))
{
    setVariable(name, value, value != nullptr);
}

TemporaryEnvironment::~TemporaryEnvironment()
{
    setVariable(m_name.constData(), m_outer, m_wasSet);
}
