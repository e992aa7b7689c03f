// What `chmod` is asked to do to a mode.
#ifndef HOST_MARROWBY_MODECHANGE_H
#define HOST_MARROWBY_MODECHANGE_H

#include <QtCore/QByteArray>

#include <array>

/// A parsed mode: octal ("644", "1777", "0755") or symbolic ("u+x", "a+rX,o-w", "-w", "=r", "+t").
///
/// The language is that of `hdfs dfs -chmod`, which differs from the shell's: three octal digits, with an optional 0 or
/// 1 (sticky) before them; no copied permissions ("g=u"), no empty ones ("o="), no set-id bits; a clause without a
/// class means everybody, whatever the umask; of several clauses for the same class the last one counts, and of several
/// operators in one clause too; the sticky bit goes with "o" and with everybody.
class ModeChange
{
public:
    /// True when `text` is such a mode; only then `*change` is set.
    static bool parse(const QByteArray &text, ModeChange *change);

    /// The mode that a path of mode `mode` gets.
    quint32 appliedTo(quint32 mode, bool isDirectory) const;

private:
    /// What happens to the three bits of one class, or to the sticky bit.
    struct Part {
        char operation = 0; ///< '+', '-', '='; 0 leaves everything as it is
        quint32 bits = 0;   ///< of 07
        bool executeWhereSensible = false;
    };

    bool parseOctal(const QByteArray &text);
    bool parseSymbolic(const QByteArray &text);
    static quint32 applied(const Part &part, quint32 bits, bool sensible);

    std::array<Part, 3> m_classes; ///< user, group, others
    Part m_sticky;                 ///< bit 01
};

#endif
