#include "host/marrowby/Glob.h"

#include <cstddef>

namespace {

/// Length of the UTF-8 character that starts at `text[at]`.
std::size_t characterSize(const std::string &text, std::size_t at)
{
    std::size_t size = 1;
    while (at + size < text.size() && (static_cast<unsigned char>(text[at + size]) & 0xC0) == 0x80)
        ++size;
    return size;
}

/// Position behind the "]" that ends the class starting at `pattern[at]` == '['; npos when nothing ends it.
std::size_t classEnd(const std::string &pattern, std::size_t at)
{
    for (std::size_t i = at + 1; i < pattern.size(); ++i) {
        if (pattern[i] == '\\')
            ++i;
        else if (pattern[i] == ']' && i > at + 1)
            return i + 1;
    }
    return std::string::npos;
}

bool classHolds(const std::string &members, const std::string &character)
{
    std::size_t at = 0;
    const bool isNegated = !members.empty() && (members[0] == '^' || members[0] == '!');
    if (isNegated)
        ++at;
    bool holds = false;
    while (at < members.size()) {
        if (members[at] == '\\' && at + 1 < members.size())
            ++at;
        std::size_t size = characterSize(members, at);
        const std::string first = members.substr(at, size);
        at += size;
        std::string last = first;
        if (at + 1 < members.size() && members[at] == '-') {
            size = characterSize(members, at + 1);
            last = members.substr(at + 1, size);
            at += 1 + size;
        }
        // UTF-8 keeps the order of the characters.
        holds = holds || (first <= character && character <= last);
    }
    return holds != isNegated;
}

bool matchFrom(const std::string &pattern, std::size_t p, const std::string &name, std::size_t n)
{
    while (p < pattern.size()) {
        const char c = pattern[p];
        if (c == '*') {
            while (p < pattern.size() && pattern[p] == '*')
                ++p;
            if (p == pattern.size())
                return true;
            for (; n <= name.size(); ++n) {
                if (matchFrom(pattern, p, name, n))
                    return true;
            }
            return false;
        }
        if (n >= name.size())
            return false;
        const std::size_t size = characterSize(name, n);
        const std::size_t end = c == '[' ? classEnd(pattern, p) : std::string::npos;
        if (c == '?') {
            ++p;
            n += size;
        } else if (end != std::string::npos) {
            if (!classHolds(pattern.substr(p + 1, end - p - 2), name.substr(n, size)))
                return false;
            p = end;
            n += size;
        } else {
            if (c == '\\' && p + 1 < pattern.size())
                ++p;
            if (pattern[p] != name[n])
                return false;
            ++p;
            ++n;
        }
    }
    return n == name.size();
}

} // namespace

bool hasPattern(const std::string &text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i;
        else if (text[i] == '*' || text[i] == '?' || text[i] == '[' || text[i] == '{')
            return true;
    }
    return false;
}

std::string unescaped(const std::string &text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        plain += text[i];
    }
    return plain;
}

bool matchesPattern(const std::string &pattern, const std::string &name)
{
    return matchFrom(pattern, 0, name, 0);
}

std::vector<std::string> expandBraces(const std::string &pattern)
{
    std::size_t open = std::string::npos;
    int depth = 0;
    std::vector<std::string> alternatives;
    std::size_t start = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c == '\\') {
            ++i;
        } else if (c == '{') {
            if (depth++ == 0) {
                open = i;
                start = i + 1;
            }
        } else if (depth > 0 && (c == ',' || c == '}')) {
            if (depth == 1) {
                alternatives.push_back(pattern.substr(start, i - start));
                start = i + 1;
            }
            if (c == '}' && --depth == 0) {
                std::vector<std::string> expanded;
                for (const std::string &alternative : alternatives) {
                    const std::string one = pattern.substr(0, open) + alternative + pattern.substr(i + 1);
                    for (const std::string &each : expandBraces(one))
                        expanded.push_back(each);
                }
                return expanded;
            }
        }
    }
    return std::vector<std::string>(1, pattern);
}
