/// \file
/// What an installation says of all its reports ("House.style"). docs/file-formats.md describes the file.
#pragma once

#include "framework/ReportLayout.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace qm {

inline constexpr char kHouseStyleFile[] = "House.style";

struct HouseStyle
{
    QString organisation, classification, preparedBy;
    std::optional<PageSize> paper; ///< of layouts that name none
    QString language;              ///< a language tag (RFC 5646); empty: none said
    QString footer;                ///< of layouts without header and footer; may hold {fields}

    QStringList warnings; ///< sentences about what could not be understood
};

/// \throws RuntimeError 321 with \p path and line.
[[nodiscard]] HouseStyle parseHouseStyle(const QByteArray &bytes, const QString &path);
/// The style of the installation \p installPath (with trailing separator; may be empty). A missing file says nothing. One that cannot be
/// read is a warning: reports are made without it, and say so.
[[nodiscard]] HouseStyle readHouseStyle(const QString &installPath);

} // namespace qm
