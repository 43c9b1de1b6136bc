#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <utility>

namespace lumivane {

/// What every report of a solution that was not saved has in common.
namespace NotesFailureWords {

inline const QString label = u"LeetCode solution was not saved to Notes"_qs;
inline const QString dismissLabel = u"Dismiss Notes status"_qs;
inline const QString symbol = u"note.text.badge.plus"_qs;

} // namespace NotesFailureWords

/// The words that say that a solution was not saved, on a panel of its own. Main thread only.
class NotesStatusModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString eyebrow READ eyebrow CONSTANT)
    Q_PROPERTY(QString message READ message CONSTANT)
    Q_PROPERTY(QString label READ label CONSTANT)
    Q_PROPERTY(QString dismissLabel READ dismissLabel CONSTANT)
    Q_PROPERTY(QString symbol READ symbol CONSTANT)

public:
    NotesStatusModel(QString message, std::function<void()> onDismiss)
        : m_message(std::move(message))
        , m_onDismiss(std::move(onDismiss)) {}

    QString eyebrow() const { return u"SOLUTION NOT SAVED TO NOTES"_qs; }

    const QString& message() const { return m_message; }

    /// For assistive technology.
    const QString& label() const { return NotesFailureWords::label; }

    const QString& dismissLabel() const { return NotesFailureWords::dismissLabel; }

    const QString& symbol() const { return NotesFailureWords::symbol; }

    Q_INVOKABLE void dismiss() {
        if (m_onDismiss) {
            m_onDismiss();
        }
    }

private:
    QString m_message;
    std::function<void()> m_onDismiss;
};

} // namespace lumivane
