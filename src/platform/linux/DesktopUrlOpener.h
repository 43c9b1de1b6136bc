#pragma once

#include "platform/UrlOpener.h"

#include <QProcessEnvironment>
#include <QString>

namespace lumivane {

/// Opens addresses of the web with the user's browser, by the program that every desktop has for
/// that. Addresses of any other scheme are refused: a desktop here has no pane behind one, and what
/// programs put behind theirs is not for this one to start.
///
/// The browser lives on its own: it has the user's surroundings, the limit of core dumps that this
/// process found, no files of this process, no signals held back, and nobody waits for it. Whether
/// there is a browser behind the program that looks for one is not known.
class DesktopUrlOpener final : public UrlOpener {
public:
    /// `environment` is what the browser gets: the one that this process was started with, before
    /// it set anything for itself. `program` is looked for in the search path.
    explicit DesktopUrlOpener(const QProcessEnvironment& environment,
                              QString program = QStringLiteral("xdg-open"));

    bool open(const QUrl& url) override;

private:
    QProcessEnvironment m_environment;
    QString m_program;
};

} // namespace lumivane
