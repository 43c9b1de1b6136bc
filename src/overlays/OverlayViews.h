#pragma once

#include <QString>
#include <QUrl>

/// The views of the panels, one component each; all take their model as the property `model`.
namespace lumivane::OverlayViews {

/// Where an engine that loads views finds their modules; add it before the first one.
inline const QString importPath = u"qrc:/qt/qml"_qs;

inline QUrl view(const QString& name) {
    return QUrl(u"qrc:/qt/qml/Lumivane/Overlays/%1.qml"_qs.arg(name));
}

inline QUrl working() { return view(u"WorkingOverlay"_qs); }

inline QUrl result() { return view(u"ResultOverlay"_qs); }

inline QUrl notesStatus() { return view(u"NotesStatusOverlay"_qs); }

inline QUrl account() { return view(u"AccountPanel"_qs); }

} // namespace lumivane::OverlayViews
