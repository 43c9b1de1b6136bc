// Shows a document in a plain window that fills the display: something to read on a virtual one.
//
// sample-document FILE.html

#include <QApplication>
#include <QFile>
#include <QTextBrowser>

#include <cstdio>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("usage: sample-document FILE.html\n", stderr);
        return 2;
    }
    QFile file(arguments.at(1));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "sample-document: %s cannot be read\n", qPrintable(file.fileName()));
        return 1;
    }
    QTextBrowser window;
    window.setWindowTitle(QStringLiteral("Sample document"));
    window.document()->setDocumentMargin(32);
    window.setHtml(QString::fromUtf8(file.readAll()));
    window.showMaximized();
    return QApplication::exec();
}
