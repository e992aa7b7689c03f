#include "platform/NoSystemQuestions.h"

namespace platform {

NoSystemQuestions::NoSystemQuestions() : m_added(0) {}

NoSystemQuestions::~NoSystemQuestions() {}

} // namespace platform
