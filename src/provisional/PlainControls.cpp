#include "provisional/PlainControls.h"

#include "async/TaskHandle.h"

#include <utility>

namespace lumivane {

QLabel* PlainControls::label(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QPushButton* PlainControls::button(const QString& text, Action action) {
    auto* button = new QPushButton(text);
    QObject::connect(button, &QPushButton::clicked, button, [action = std::move(action)] {
        TaskHandle::detach([action](std::stop_token) { return action(); });
    });
    return button;
}

void PlainControls::clear(QLayout& layout) {
    while (QLayoutItem* item = layout.takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
}

QString PlainControls::nameOf(AuthProvider provider) {
    return QString::fromLatin1(title(provider));
}

} // namespace lumivane
