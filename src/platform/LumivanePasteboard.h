#pragma once

#include <QString>

#include <cstdint>

namespace lumivane {

/// What a text on the pasteboard is.
enum class PasteboardType {
    string,   ///< the plain text
    transient ///< a mark: clipboard managers that honour it keep no record of this pasteboard
};

/// The system's pasteboard: mechanism only. Main thread only.
class LumivanePasteboard {
public:
    virtual ~LumivanePasteboard() = default;

    /// Grows with every change by anyone.
    virtual std::int64_t changeCount() const = 0;

    /// Empties the pasteboard and makes it this program's.
    virtual void clear() = 0;

    /// Adds a form to what the last `clear` began. Nobody sees the forms before the caller's turn
    /// of the event loop ends.
    virtual void setString(const QString& text, PasteboardType type) = 0;
};

} // namespace lumivane
