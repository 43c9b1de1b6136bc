// A program with a window for assistive technology to read, steered over its standard input:
//   announce PRIORITY COUNT TEXT   announces so many times; answers with the longest call in µs
//   status TEXT                    changes the name of the label; answers "done"
//   pass MILLISECONDS              turns the announcer's clock; answers "done"
//   log                            answers with the names of the buttons pressed so far
// TEXT is in base 64.

#include "async/SystemClock.h"
#include "platform/linux/AtspiAnnouncer.h"
#include "support/ManualClock.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSocketNotifier>

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <sstream>

namespace {

constexpr auto content = R"(
import QtQuick
import QtQuick.Controls.Basic

Item {
    id: root
    width: 300; height: 200
    property string status: "Ready"
    property string pressed: ""

    Item {
        width: 300; height: 100
        Accessible.role: Accessible.Pane
        Accessible.name: "the panel"
        Accessible.description: "the hint"
        Text { text: "drawn"; Accessible.role: Accessible.StaticText; Accessible.name: root.status }
        Button {
            y: 40; text: "Handled"
            Accessible.description: "does something"
            onClicked: root.pressed += "handled "
            Accessible.onPressAction: clicked()
        }
        Button { y: 40; x: 150; text: "Stock"; onClicked: root.pressed += "stock " }
    }
    Text { text: "without a role" }
    TextEdit {
        y: 100; readOnly: true; text: "the whole answer"
        Accessible.role: Accessible.EditableText
        Accessible.readOnly: true
        Accessible.name: "answer"
    }
    Slider { y: 150; from: 0; to: 10; value: 4; Accessible.name: "slider" }
    Text { visible: false; Accessible.role: Accessible.StaticText; Accessible.name: "unseen" }
}
)";

using Microseconds = std::chrono::microseconds;

class Steering : public QObject {
public:
    explicit Steering(QObject* view)
        : m_view(view) {
        connect(&m_input, &QSocketNotifier::activated, this, &Steering::obey);
    }

private:
    void obey() {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        std::istringstream words(line);
        std::string order;
        words >> order;
        if (order == "announce") {
            announce(words);
        } else if (order == "status") {
            m_view->setProperty("status", text(words));
            std::cout << "done" << std::endl;
        } else if (order == "pass") {
            std::int64_t milliseconds = 0;
            words >> milliseconds;
            m_hands.advance(std::chrono::milliseconds(milliseconds));
            std::cout << "done" << std::endl;
        } else {
            std::cout << m_view->property("pressed").toString().toStdString() << std::endl;
        }
    }

    void announce(std::istringstream& words) {
        std::string priority;
        int count = 0;
        words >> priority >> count;
        const QString announced = text(words);
        Microseconds longest{0};
        for (int round = 0; round < count; ++round) {
            const auto start = m_clock.now();
            m_announcer.announce(announced, priority == "high"
                                                ? lumivane::AnnouncementPriority::high
                                                : lumivane::AnnouncementPriority::medium);
            const auto taken = m_clock.now() - start;
            longest = std::max(longest, std::chrono::duration_cast<Microseconds>(taken));
        }
        std::cout << longest.count() << std::endl;
    }

    static QString text(std::istringstream& words) {
        std::string encoded;
        words >> encoded;
        return QString::fromUtf8(QByteArray::fromBase64(QByteArray::fromStdString(encoded)));
    }

    QObject* m_view;
    lumivane::SystemClock m_clock;
    lumivane::test::ManualClock m_hands;
    lumivane::AtspiAnnouncer m_announcer{m_hands};
    QSocketNotifier m_input{STDIN_FILENO, QSocketNotifier::Read};
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQuickView view;
    QQmlComponent component(view.engine());
    component.setData(content, QUrl(QStringLiteral("file:///window.qml")));
    auto* root = component.create();
    if (root == nullptr) {
        std::cerr << component.errorString().toStdString();
        return 1;
    }
    view.setContent(component.url(), &component, root);
    view.setTitle(QStringLiteral("the window"));
    view.show();
    const Steering steering(root);
    return QGuiApplication::exec();
}
