// Makes the product's waiting for a silent peer short: tests of what happens after it need not sit through it. The
// executable must be linked with the linker's --wrap=poll.
#ifndef TESTING_SHORTPATIENCE_H
#define TESTING_SHORTPATIENCE_H

/// While it lives, each poll of this thread with a time-out of exactly `milliseconds` times out after `instead`.
class ShortPatience
{
public:
    ShortPatience(int milliseconds, int instead);
    ~ShortPatience();
    ShortPatience(const ShortPatience &) = delete;
    ShortPatience &operator=(const ShortPatience &) = delete;

    /// How many such polls ran out of time.
    int timeOuts() const;
};

#endif
