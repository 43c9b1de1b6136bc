#include "integration/BrowserHand.h"

#include "support/EventLoop.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace lumivane::test {

namespace {

constexpr std::chrono::seconds longestStart(60); // of a browser on a busy machine

pid_t waitForBrowser(const LoginDesktop& desktop, std::size_t index) {
    if (!waitUntil([&] { return desktop.browsers().size() > index; }, longestStart)) {
        throw std::runtime_error("the desktop has started no browser");
    }
    return desktop.browsers().at(index);
}

QString quoted(const QString& text) {
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(list.mid(1, list.size() - 2));
}

} // namespace

BrowserHand::Pipe::Pipe(const QString& path)
    // Whoever opens both ends waits for nobody, and sees no end when the other side goes.
    : descriptor(::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
    if (descriptor < 0) {
        throw std::runtime_error("a browser cannot be reached");
    }
}

BrowserHand::Pipe::~Pipe() { ::close(descriptor); }

BrowserHand::BrowserHand(const LoginDesktop& desktop, std::size_t index)
    : m_browser(waitForBrowser(desktop, index))
    , m_commands(desktop.browserPipe(m_browser, u"commands"_qs))
    , m_answers(desktop.browserPipe(m_browser, u"answers"_qs)) {
    if (!waitUntil([this] { return takesHoldOfPage(); }, longestStart)) {
        throw std::runtime_error("a browser has no page");
    }
}

BrowserHand::~BrowserHand() {
    m_page.clear();
    send(u"Browser.close"_qs, {});
    if (!waitUntil([this] { return LoginDesktop::hasEnded(m_browser); })) {
        ::kill(m_browser, SIGKILL);
    }
}

bool BrowserHand::takesHoldOfPage() {
    const auto targets = ask(u"Target.getTargets"_qs)[u"targetInfos"_qs].toArray();
    for (const QJsonValue target : targets) {
        if (target[u"type"_qs] == u"page"_qs) {
            const QJsonObject wanted{{u"targetId"_qs, target[u"targetId"_qs]},
                                     {u"flatten"_qs, true}};
            m_page = ask(u"Target.attachToTarget"_qs, wanted)[u"sessionId"_qs].toString();
            return !m_page.isEmpty();
        }
    }
    return false;
}

void BrowserHand::type(const QString& element, const QString& text) {
    press(element);
    ask(u"Input.insertText"_qs, {{u"text"_qs, text}});
}

void BrowserHand::press(const QString& element) {
    const QString middle = u"(() => { const element = document.querySelector(%1);"
                           u"if (document.readyState !== 'complete' || !element) return null;"
                           u"element.scrollIntoView({block: 'center', behavior: 'instant'});"
                           u"const area = element.getBoundingClientRect();"
                           u"return {x: area.x + area.width / 2, y: area.y + area.height / 2};"
                           u"})()"_qs.arg(quoted(element));
    QJsonValue place;
    const bool isThere = waitUntil([&] {
        place = evaluate(middle);
        return place.isObject();
    });
    if (!isThere) {
        throw std::runtime_error("there is no " + element.toStdString() +
                                 " on the page that says " + words().toStdString());
    }
    moveMouse(u"mousePressed"_qs, place);
    moveMouse(u"mouseReleased"_qs, place);
}

void BrowserHand::moveMouse(const QString& event, const QJsonValue& place) {
    ask(u"Input.dispatchMouseEvent"_qs, {{u"type"_qs, event},
                                         {u"x"_qs, place[u"x"_qs]},
                                         {u"y"_qs, place[u"y"_qs]},
                                         {u"button"_qs, u"left"_qs},
                                         {u"clickCount"_qs, 1}});
}

QString BrowserHand::words() { return evaluate(u"document.body?.innerText ?? ''"_qs).toString(); }

/// None as well while the page changes.
QJsonValue BrowserHand::evaluate(const QString& expression) {
    const QJsonObject answer =
        ask(u"Runtime.evaluate"_qs, {{u"expression"_qs, expression}, {u"returnByValue"_qs, true}});
    return answer[u"result"_qs][u"value"_qs];
}

QJsonObject BrowserHand::ask(const QString& method, const QJsonObject& parameters) {
    send(method, parameters);
    std::optional<QJsonObject> answer;
    const bool isAnswered = waitUntil([&] {
        do {
            answer = nextAnswer();
        } while (answer && (*answer)[u"id"_qs] != m_lastNumber);
        return answer.has_value();
    });
    if (!isAnswered) {
        throw std::runtime_error("a browser does not answer " + method.toStdString());
    }
    return (*answer)[u"result"_qs].toObject();
}

void BrowserHand::send(const QString& method, const QJsonObject& parameters) {
    QJsonObject command{
        {u"id"_qs, ++m_lastNumber}, {u"method"_qs, method}, {u"params"_qs, parameters}};
    if (!m_page.isEmpty()) {
        command[u"sessionId"_qs] = m_page;
    }
    // Messages end with a zero byte.
    const QByteArray text = QJsonDocument(command).toJson(QJsonDocument::Compact) + '\0';
    [[maybe_unused]] const auto written =
        ::write(m_commands.descriptor, text.constData(), std::size_t(text.size()));
}

std::optional<QJsonObject> BrowserHand::nextAnswer() {
    char bytes[4096];
    for (auto count = ::read(m_answers.descriptor, bytes, sizeof bytes); count > 0;
         count = ::read(m_answers.descriptor, bytes, sizeof bytes)) {
        m_received.append(bytes, count);
    }
    const auto end = m_received.indexOf('\0');
    if (end < 0) {
        return std::nullopt;
    }
    const QJsonObject message = QJsonDocument::fromJson(m_received.left(end)).object();
    m_received.remove(0, end + 1);
    return message;
}

} // namespace lumivane::test
