#pragma once

#include <QObject>

namespace lumivane::test {

/// Counts how often a signal was sent.
class SignalCount {
public:
    template <typename Sender, typename Signal>
    SignalCount(Sender& sender, Signal signal) {
        QObject::connect(&sender, signal, &m_receiver, [this] { ++m_count; });
    }

    operator int() const { return m_count; }

private:
    QObject m_receiver;
    int m_count = 0;
};

} // namespace lumivane::test
