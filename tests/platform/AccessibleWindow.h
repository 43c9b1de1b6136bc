#pragma once

#include "support/AccessibilityBus.h"

#include <QProcess>

#include <chrono>

namespace lumivane::test {

/// A program with a window for assistive technology to read. It holds a panel "the panel" with the
/// hint "the hint", and in it a label and the buttons "Handled", which does something when it is
/// pressed through assistive technology, and "Stock", which does not; a text "answer", a slider
/// "slider" at 4, and a label "unseen" that is not visible.
class AccessibleWindow {
public:
    explicit AccessibleWindow(const QProcessEnvironment& environment);
    ~AccessibleWindow();

    std::int64_t processID() const { return m_process.processId(); }

    /// Makes the real announcer announce `text`, and returns the longest time that a call took.
    std::chrono::microseconds announce(const QString& text, const char* priority = "high",
                                       int count = 1);

    /// Lets so much time go by for the announcer.
    void pass(std::chrono::milliseconds time);

    /// Changes the name of the label, which is "Ready" at first.
    void setStatus(const QString& status);

    /// The names of the buttons pressed so far, in lower case, each with a blank behind it.
    QString pressed();

private:
    QByteArray ask(const QByteArray& order);

    QProcess m_process;
};

} // namespace lumivane::test
