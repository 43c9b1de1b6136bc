#pragma once

#include <QString>
#include <QUrl>
#include <qcoro/qcorotask.h>

#include <cstdint>
#include <optional>

namespace lumivane {

/// Whether a test of the permission may put its question to the user.
enum class AskingUser { no, yes };

/// How an application comes up.
struct OpenConfiguration {
    bool activates = true;
    bool addsToRecentItems = true;
    bool hides = false;

    bool operator==(const OpenConfiguration&) const = default;
};

/// What came of a script.
struct ScriptOutcome {
    enum class Kind {
        completed, ///< it ran and gave a result
        notMade,   ///< no script could be made of the source; nothing ran
        failed     ///< it ran and failed
    };

    Kind kind = Kind::completed;
    std::optional<std::int32_t> errorNumber; ///< of a failure that names one

    bool operator==(const ScriptOutcome&) const = default;
};

/// Automates another application of the desktop: mechanism only.
///
/// Called on the main thread, which none of it blocks: implementations work elsewhere and answer
/// there. What has begun cannot be stopped. None of it throws: failures are answers.
class NotesScripting {
public:
    virtual ~NotesScripting() = default;

    /// The status of the permission to automate an application, 0 for granted. Takes as long as
    /// the user takes to answer, where there is a question to ask; works at utility priority.
    virtual QCoro::Task<std::int32_t> automationPermission(QString bundleID, AskingUser asking) = 0;

    /// Whether at least one instance of the application runs.
    virtual bool isRunning(const QString& bundleID) const = 0;

    /// Where the application stands; none when it is not installed.
    virtual std::optional<QUrl> applicationUrl(const QString& bundleID) const = 0;

    /// Starts an application and awaits its launch; false when that failed.
    virtual QCoro::Task<bool> openApplication(QUrl application,
                                              OpenConfiguration configuration) = 0;

    /// Runs a script to its end.
    virtual QCoro::Task<ScriptOutcome> execute(QString source) = 0;
};

} // namespace lumivane
