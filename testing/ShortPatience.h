// Makes the product's waiting for a silent peer short: tests of what happens after it need not sit through it. The
// executable must link to quor_short_patience.
#ifndef TESTING_SHORTPATIENCE_H
#define TESTING_SHORTPATIENCE_H

/// While it lives, each poll (on Windows: select) of this thread with a time-out of exactly `milliseconds` times out
/// after `instead`.
class ShortPatience
{
public:
    ShortPatience(int milliseconds, int instead);
    ~ShortPatience();
    ShortPatience(const ShortPatience &) = delete;
    ShortPatience &operator=(const ShortPatience &) = delete;

    /// How many such polls ran out of time.
    int timeOuts() const { return m_timeOuts; }

    /// For what stands in the place of the system's call: who has to do with a wait of this thread; null: nobody.
    static ShortPatience *forWaitOf(int milliseconds);
    int instead() const { return m_instead; }
    void noteTimeOut() { ++m_timeOuts; }

private:
    const int m_milliseconds;
    const int m_instead;
    int m_timeOuts;
};

#endif
