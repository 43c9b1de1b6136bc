#pragma once

#include <QString>

namespace lumivane {

/// The folders in which the program keeps what is the user's. Each call asks anew. Any thread.
namespace UserFolders {

/// Holds "lumivane/" and "autostart/".
QString configuration();

/// Where the desktop says that documents are, in whatever language; its user may move them at any
/// time. The home itself where the user wants no folder for documents, and "Documents" in it where
/// the desktop says nothing.
QString documents();

} // namespace UserFolders

} // namespace lumivane
