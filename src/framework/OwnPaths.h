/// \file
/// What a configuration file may be saved as.
#pragma once

#include <QString>

namespace qm {

/// A relative path means that the installation folder is not known; saving would reach whatever folder is current.
/// \throws RuntimeError 76.
void requireAbsolute(const QString &path);

/// The file name of \p path must be a name on every platform, and nothing in it may lead out of the "Config" folder.
/// \throws RuntimeError 52.
void requirePlainConfigName(const QString &path);

} // namespace qm
