#pragma once

#include "integration/LoginDesktop.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <sys/types.h>

#include <optional>

namespace lumivane::test {

/// A user's hand in the one page of a browser. Elements are named by CSS selectors; each operation
/// waits until its element is there, and throws std::runtime_error with the page's words where it
/// does not come. The event loop turns meanwhile. Main thread.
class BrowserHand {
public:
    /// Waits until the desktop has started its browser number `index`, counted from 0, and takes
    /// hold of it. The desktop, whose pages need a hand, outlives this.
    BrowserHand(const LoginDesktop& desktop, std::size_t index);

    /// Closes the browser and waits until it has ended.
    ~BrowserHand();
    BrowserHand(const BrowserHand&) = delete;
    BrowserHand& operator=(const BrowserHand&) = delete;

    /// Clicks into a field and types.
    void type(const QString& element, const QString& text);

    /// Clicks in the middle of an element.
    void press(const QString& element);

    /// What there is to read on the page.
    QString words();

private:
    struct Pipe {
        explicit Pipe(const QString& path);
        ~Pipe();
        Pipe(const Pipe&) = delete;
        Pipe& operator=(const Pipe&) = delete;

        int descriptor;
    };

    void send(const QString& method, const QJsonObject& parameters);
    std::optional<QJsonObject> nextAnswer();
    QJsonObject ask(const QString& method, const QJsonObject& parameters = {});
    QJsonValue evaluate(const QString& expression);
    bool takesHoldOfPage();
    void moveMouse(const QString& event, const QJsonValue& place);

    pid_t m_browser;
    Pipe m_commands;
    Pipe m_answers;
    QByteArray m_received;
    QString m_page; ///< the session with the page; empty before there is one
    int m_lastNumber = 0;
};

} // namespace lumivane::test
