#pragma once

#include "Specimen.h"

#include <QImage>
#include <QString>

#include <vector>

namespace lumivane::tools {

/// The pictures of one panel at several scales, beside each other on the sheet.
inline const QString scaledSpecimen = u"panels/text-offers-copy-dark"_qs;

/// Where the picture of a specimen lies.
QString picturePath(const QString& folder, const QString& specimenName, double scale);

/// The pictures that belong on the sheet, in their order, each with its name. Throws
/// std::runtime_error where one cannot be read.
QImage contactSheet(const QString& folder, const std::vector<Specimen>& specimens,
                    const std::vector<double>& scales);

} // namespace lumivane::tools
