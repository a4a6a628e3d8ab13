/// \file
/// The pictures of the catalogue by their image keys.
#pragma once

#include <QHash>
#include <QIcon>
#include <QString>

namespace qm {

/// Image key ("Event", "ReportGroup", "ReportQuery", "ScheduleJob", "Drag", "Drop", "Invalid") to picture.
using ImageList = QHash<QString, QIcon>;

} // namespace qm
