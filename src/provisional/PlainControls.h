#pragma once

#include "accounts/AccountVocabulary.h"

#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <qcoro/qcorotask.h>

#include <functional>

namespace lumivane {

/// The bare controls of the windows that stand in for the real ones. Main thread.
struct PlainControls {
    using Action = std::function<QCoro::Task<void>()>;

    /// A label that wraps and takes its text as it stands, markup included.
    static QLabel* label(const QString& text = {});

    /// A button whose press starts a flow, which has to outlive the button by itself.
    static QPushButton* button(const QString& text, Action action);

    /// Takes everything out of a layout, also the button whose press has led here.
    static void clear(QLayout& layout);

    /// A provider as the user knows it.
    static QString nameOf(AuthProvider provider);
};

} // namespace lumivane
