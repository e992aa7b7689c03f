#include "host/marrowby/ModeChange.h"

#include <stdexcept>

namespace {

const unsigned kSticky = 01000;
const unsigned kAnyExecute = 0111;

bool isOctalMode(const std::string &text)
{
    return !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos &&
           (text.size() < 4 || text[0] <= '1');
}

/// The bits of one permission letter for the classes in `who` (a mask of three octal digits).
unsigned permissionBits(char letter, unsigned who, unsigned mode, bool isDirectory)
{
    switch (letter) {
    case 'r':
        return 0444 & who;
    case 'w':
        return 0222 & who;
    case 'x':
        return 0111 & who;
    case 'X':
        return isDirectory || (mode & kAnyExecute) ? 0111 & who : 0;
    case 't':
        return kSticky;
    default:
        throw std::invalid_argument("mode");
    }
}

/// One clause such as "go-w", from `text[position]` to the next comma.
unsigned applyClause(const std::string &clause, unsigned mode, bool isDirectory)
{
    std::size_t position = 0;
    unsigned who = 0;
    for (; position < clause.size() && std::string("ugoa").find(clause[position]) != std::string::npos; ++position) {
        const char letter = clause[position];
        who |= letter == 'u' ? 0700 : letter == 'g' ? 0070 : letter == 'o' ? 0007 : 0777;
    }
    if (who == 0)
        who = 0777;
    if (position == clause.size())
        throw std::invalid_argument("mode");
    while (position < clause.size()) {
        const char operation = clause[position++];
        if (operation != '+' && operation != '-' && operation != '=')
            throw std::invalid_argument("mode");
        unsigned bits = 0;
        const std::size_t first = position;
        for (; position < clause.size() && std::string("+-=").find(clause[position]) == std::string::npos; ++position)
            bits |= permissionBits(clause[position], who, mode, isDirectory);
        if (position == first && operation != '=')
            throw std::invalid_argument("mode");
        if (operation == '+')
            mode |= bits;
        else if (operation == '-')
            mode &= ~bits;
        else
            mode = (mode & ~who) | bits;
    }
    return mode;
}

} // namespace

std::string symbolicMode(unsigned mode)
{
    std::string text;
    for (int shift = 6; shift >= 0; shift -= 3) {
        const unsigned digit = mode >> shift & 7;
        text += digit & 4 ? 'r' : '-';
        text += digit & 2 ? 'w' : '-';
        text += digit & 1 ? 'x' : '-';
    }
    if (mode & kSticky)
        text[8] = mode & 1 ? 't' : 'T';
    return text;
}

ModeChange::ModeChange(const std::string &text) : m_text(text), m_isOctal(isOctalMode(text)), m_octal(0)
{
    if (m_isOctal)
        m_octal = static_cast<unsigned>(std::stoul(text, nullptr, 8));
    else
        apply(0, false); // throws when it is no mode
}

unsigned ModeChange::apply(unsigned mode, bool isDirectory) const
{
    if (m_isOctal)
        return m_octal;
    if (m_text.empty())
        throw std::invalid_argument("mode");
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = m_text.find(',', start);
        mode = applyClause(m_text.substr(start, comma == std::string::npos ? comma : comma - start), mode, isDirectory);
        if (comma == std::string::npos)
            return mode;
        start = comma + 1;
    }
}
