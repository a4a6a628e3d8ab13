/// \file
/// What the reporting windows remember for the user: column widths and window sizes.
#pragma once

#include <QSettings>
#include <QString>

#include <memory>

namespace qm {

/// The user's settings file of the reporting windows.
[[nodiscard]] std::unique_ptr<QSettings> uiSettings();
/// Under which key the width of a report's column is kept.
[[nodiscard]] QString widthKey(const QString &queryFile, const QString &field);

} // namespace qm
