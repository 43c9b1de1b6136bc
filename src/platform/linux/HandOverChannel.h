#pragma once

#include "async/Clock.h"
#include "platform/linux/OwnedDescriptor.h"

#include <QByteArray>

#include <optional>
#include <utility>

namespace lumivane {

/// What the old and the new instance say to each other while the place changes hands.
enum class HandOverWord : char {
    running = 'r', ///< new: its application object is up
    yours = 'y',   ///< old: it has stepped aside; the lock comes along where there is one
    granted = 'g', ///< new: the place is its own
};

/// One end of the line between an instance and its replacement. Each word is one datagram.
class HandOverChannel {
public:
    struct Message {
        HandOverWord word = HandOverWord::running;
        OwnedDescriptor lock; ///< comes with `yours`, closed in programs that are started
    };

    enum class Reading {
        nothing, ///< yet
        message,
        end ///< of the other process, or of its patience; or it does not speak this language
    };

    HandOverChannel() = default;

    explicit HandOverChannel(OwnedDescriptor descriptor)
        : m_descriptor(std::move(descriptor)) {}

    /// Two ends, both closed in programs that are started. Throws std::system_error.
    static std::pair<HandOverChannel, HandOverChannel> makePair();

    /// The end that an earlier instance left open at `descriptor`, from now on closed in programs
    /// that are started. None, and the descriptor is left alone, where it is anything else.
    static std::optional<HandOverChannel> inherited(int descriptor);

    int descriptor() const { return m_descriptor.get(); }

    void close() { m_descriptor.reset(); }

    /// Leaves the end open for as long as this process lives.
    void release() { m_descriptor.take(); }

    /// False when nobody hears it any more.
    bool send(HandOverWord word, int lock = -1) const;

    /// Looks without waiting.
    Reading read(Message& message) const;

    /// Waits until there is something to read, and reads it; `nothing` at the deadline.
    Reading await(Message& message, const Clock& clock, MonotonicInstant deadline) const;

private:
    OwnedDescriptor m_descriptor;
};

} // namespace lumivane
