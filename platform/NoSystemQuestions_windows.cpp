#include "platform/NoSystemQuestions.h"

#include <windows.h>

namespace platform {

namespace {

const DWORD kNoQuestions = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

} // namespace

NoSystemQuestions::NoSystemQuestions() : m_added(kNoQuestions & ~::GetThreadErrorMode())
{
    ::SetThreadErrorMode(::GetThreadErrorMode() | m_added, nullptr);
}

// What else the thread's owner has set or cleared meanwhile stays so.
NoSystemQuestions::~NoSystemQuestions()
{
    ::SetThreadErrorMode(::GetThreadErrorMode() & ~m_added, nullptr);
}

} // namespace platform
