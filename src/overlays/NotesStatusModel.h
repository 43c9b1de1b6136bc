#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <utility>

namespace lumivane {

/// The words that say that a solution was not saved, on a panel of its own. Main thread only.
class NotesStatusModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString eyebrow READ eyebrow CONSTANT)
    Q_PROPERTY(QString message READ message CONSTANT)

public:
    NotesStatusModel(QString message, std::function<void()> onDismiss)
        : m_message(std::move(message))
        , m_onDismiss(std::move(onDismiss)) {}

    QString eyebrow() const { return u"SOLUTION NOT SAVED TO NOTES"_qs; }

    const QString& message() const { return m_message; }

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
