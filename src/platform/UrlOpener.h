#pragma once

#include <QUrl>

namespace lumivane {

/// Opens an address with the program that the desktop has for it: mechanism only. Main thread.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;

    /// False when nothing on this desktop opens such an address. Never throws and does not wait for
    /// the other program.
    virtual bool open(const QUrl& url) = 0;
};

} // namespace lumivane
