#pragma once

#include "domain/AppSettings.h"

#include <QByteArray>
#include <QString>

namespace lumivane::test {

/// A stored form from tests/data/settings, without the line break at its end.
QByteArray storedForm(const QString& name);

/// The key of a version's form.
QString storedKey(int version);

/// What v10.json holds.
AppSettings currentSettings();

/// What v9.json holds: the same with another prompt. The stored mapping cases are made from it.
AppSettings ninthSettings();

} // namespace lumivane::test
