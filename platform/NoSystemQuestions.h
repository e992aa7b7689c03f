#ifndef PLATFORM_NOSYSTEMQUESTIONS_H
#define PLATFORM_NOSYSTEMQUESTIONS_H

namespace platform {

/// While it lives, what this thread tries on a drive that has no medium or cannot be read only fails: Windows asks
/// nobody to insert a disk, in a box that holds the thread until somebody answers. Other systems never ask.
///
/// They nest. One ends on the thread that made it; then the thread asks again if it did before.
class NoSystemQuestions
{
public:
    NoSystemQuestions();
    ~NoSystemQuestions();
    NoSystemQuestions(const NoSystemQuestions &) = delete;
    NoSystemQuestions &operator=(const NoSystemQuestions &) = delete;

private:
    const unsigned m_added; ///< what it has set in the thread's error mode; an inner one adds nothing
};

} // namespace platform

#endif
