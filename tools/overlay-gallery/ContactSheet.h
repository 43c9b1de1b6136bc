#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <vector>

namespace lumivane::tools {

/// Where the picture of a specimen lies.
QString picturePath(const QString& folder, const QString& specimenName, double scale);

/// Of the panels of these names, those that stand for all others, in sections and each with its
/// name, at the first scale, and one of them at every scale. Throws std::runtime_error where a
/// picture cannot be read.
QImage contactSheet(const QString& folder, const QStringList& names,
                    const std::vector<double>& scales);

} // namespace lumivane::tools
