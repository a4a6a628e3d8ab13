/// \file
/// The components that the operating system knows by programmatic identifier: COM's on Windows, none elsewhere.
///
/// Members are called by name, with the arguments of ReportInterface and QueryAccess in their order. What a component reports arrives as a
/// RuntimeError with its number, source and words. Components are made, called and released on the calling (user interface) thread, and may
/// show windows and let messages through while they work.
#pragma once

#include "framework/Components.h"

namespace qm {

/// \returns null when the system knows no \p progId. \throws RuntimeError 429 when it does, and cannot make one.
[[nodiscard]] std::unique_ptr<ReportInterface> systemReportInterface(const QString &progId);

/// \returns and throws as above. A query that it read has Description, QueryFile, ReportFile and OutputType only. WriteFile gives the
/// component the object that it read for that query file, after changing in it what was changed; 91 when it read none, 75 when the
/// component reports success and there is no file.
[[nodiscard]] std::unique_ptr<QueryAccess> systemQueryAccess(const QString &progId);

/// Where those functions look, as the end of "neither among the built-in ones nor ..."; empty when they look nowhere.
[[nodiscard]] QString systemComponentsPlace();

} // namespace qm
