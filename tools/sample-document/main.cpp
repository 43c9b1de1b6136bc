// Shows a document in a plain window: something to read on a virtual display.
//
// sample-document FILE.html                  fills the display
// sample-document FILE.html X Y WIDTH HEIGHT stands there, without a frame
//
// It prints "shown" once the document has been painted.

#include <QApplication>
#include <QFile>
#include <QTextBrowser>

#include <cstdio>

namespace {

class Window final : public QTextBrowser {
protected:
    void paintEvent(QPaintEvent* event) override {
        QTextBrowser::paintEvent(event);
        if (!m_isShown) {
            m_isShown = true;
            // Behind the flush of this paint to the display.
            QMetaObject::invokeMethod(this, &Window::tell, Qt::QueuedConnection);
        }
    }

private:
    void tell() {
        std::puts("shown");
        std::fflush(stdout);
    }

    bool m_isShown = false;
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 2 && arguments.size() != 6) {
        std::fputs("usage: sample-document FILE.html [X Y WIDTH HEIGHT]\n", stderr);
        return 2;
    }
    QFile file(arguments.at(1));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "sample-document: %s cannot be read\n", qPrintable(file.fileName()));
        return 1;
    }
    Window window;
    window.setWindowTitle(QStringLiteral("Sample document"));
    window.setFrameShape(QFrame::NoFrame);
    window.document()->setDocumentMargin(32);
    window.setHtml(QString::fromUtf8(file.readAll()));
    if (arguments.size() == 2) {
        window.showMaximized();
    } else {
        window.setWindowFlags(Qt::BypassWindowManagerHint);
        window.setGeometry(arguments.at(2).toInt(), arguments.at(3).toInt(),
                           arguments.at(4).toInt(), arguments.at(5).toInt());
        window.show();
    }
    return QApplication::exec();
}
