#include "host/core/CapturedLog.h"

#include "host/core/InnermostCapture.h"

CapturedLog *innermostCapture = nullptr;

CapturedLog::CapturedLog(Echo echo) : m_outer(innermostCapture), m_echo(echo)
{
    innermostCapture = this;
}

CapturedLog::~CapturedLog()
{
    innermostCapture = m_outer;
}
