#pragma once

#include "overlays/AccountPanelModel.h"
#include "overlays/NotesStatusModel.h"
#include "overlays/ResultOverlayModel.h"
#include "overlays/WorkingOverlayModel.h"

#include <QtQml/qqml.h>

namespace lumivane {

// Names the models to the views; the models themselves know nothing of views. A view is handed its
// model as a property and never makes or owns one.

/// The `model` of AccountPanel.
struct AccountPanelModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::AccountPanelModel)
    QML_NAMED_ELEMENT(AccountPanelModel)
    QML_UNCREATABLE("handed in")
};

/// The `model` of CountdownBar; the result owns it.
struct CountdownBarModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::CountdownBarModel)
    QML_NAMED_ELEMENT(CountdownBarModel)
    QML_UNCREATABLE("part of a result")
};

/// The `model` of NotesStatusOverlay.
struct NotesStatusModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::NotesStatusModel)
    QML_NAMED_ELEMENT(NotesStatusModel)
    QML_UNCREATABLE("handed in")
};

/// The `model` of ResultFooter; the result owns it.
struct ResultFooterModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::ResultFooterModel)
    QML_NAMED_ELEMENT(ResultFooterModel)
    QML_UNCREATABLE("part of a result")
};

/// The `model` of ResultOverlay and of its parts.
struct ResultOverlayModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::ResultOverlayModel)
    QML_NAMED_ELEMENT(ResultOverlayModel)
    QML_UNCREATABLE("handed in")
};

/// The `model` of WorkingOverlay.
struct WorkingOverlayModelType {
    Q_GADGET
    QML_FOREIGN(lumivane::WorkingOverlayModel)
    QML_NAMED_ELEMENT(WorkingOverlayModel)
    QML_UNCREATABLE("handed in")
};

} // namespace lumivane
