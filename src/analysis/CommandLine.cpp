#include "analysis/CommandLine.h"

#include "accounts/LoginCallback.h"

namespace lumivane {

namespace {

bool isOwnUrl(const QString& argument) {
    // Schemes are compared without regard to case.
    return argument.size() <= CommandLine::longestUrl &&
           argument.startsWith(LoginCallback::scheme + u':', Qt::CaseInsensitive);
}

} // namespace

CommandLine CommandLine::of(const QStringList& arguments) {
    CommandLine commandLine;
    commandLine.help = arguments.contains(u"--help");
    commandLine.version = arguments.contains(u"--version");
    commandLine.unregisterLoginItem = arguments.contains(u"--unregister-login-item");
    commandLine.resetSettings = arguments.contains(u"--reset-settings");
    commandLine.launchedAsLoginItem = arguments.contains(u"--login-item");
    for (const QString& argument : arguments) {
        if (isOwnUrl(argument) && commandLine.urls.size() < mostUrls) {
            commandLine.urls.append(argument);
        }
    }
    return commandLine;
}

CommandLine::Entry CommandLine::entry() const {
    if (help) {
        return Entry::printHelp;
    }
    if (version) {
        return Entry::printVersion;
    }
    return unregisterLoginItem || resetSettings ? Entry::maintenance : Entry::run;
}

QString CommandLine::helpText() {
    return uR"(Usage: lumivane [SWITCH]... [ADDRESS]

Reads the screen when you ask it to, and shows what the analysis service makes of it. Lumivane lives
in the tray. Starting it while it runs opens its settings.

  --help                   print this text and end
  --version                print the version and end
  --login-item             start silently, as the desktop does at login
  --unregister-login-item  no longer start at login; then end
  --reset-settings         forget all settings; then end

With both of the last two, only --unregister-login-item acts. Unknown switches are ignored.

ADDRESS is the end of a login in the browser (com.marnoth.lumivane.oauth:...). The desktop passes it
on; it is not meant to be typed.
)"_qs;
}

QString CommandLine::versionText(const ApplicationInformation& information) {
    return u"Lumivane %1\n"_qs.arg(
        information.CFBundleShortVersionString.value_or(u"(version unknown)"_qs));
}

} // namespace lumivane
