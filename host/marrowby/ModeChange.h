// Permission bits, as they are written and as they are changed.
#ifndef HOST_MARROWBY_MODECHANGE_H
#define HOST_MARROWBY_MODECHANGE_H

#include <string>

/// "rwxr-xr-t" for mode bits.
std::string symbolicMode(unsigned mode);

/// A mode as chmod takes it: octal ("755", "1777") or symbolic ("u+x,go-w", "a=rX", "+t").
class ModeChange
{
public:
    /// Throws std::invalid_argument when `text` is no mode.
    explicit ModeChange(const std::string &text);

    /// The mode bits that a file or directory of mode `mode` gets.
    unsigned apply(unsigned mode, bool isDirectory) const;

private:
    std::string m_text;
    bool m_isOctal;
    unsigned m_octal;
};

#endif
