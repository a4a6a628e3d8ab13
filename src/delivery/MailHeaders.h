/// \file
/// Texts of any language in the headers of a message: RFC 2047 encoded words, RFC 2231 parameters, RFC 5322 folding.
#pragma once

#include "delivery/MailAddress.h"

#include <vector>

namespace qm {

/// "Name: text" with its line end, folded; text beyond ASCII as encoded words. Controls and line breaks in \p text become blanks, so that
/// it stays one header.
[[nodiscard]] QByteArray textHeader(const QByteArray &name, const QString &text);
/// "Name: addresses" with its line end, one address a line; nothing without addresses.
[[nodiscard]] QByteArray addressHeader(const QByteArray &name, const std::vector<MailAddress> &addresses);
/// A part's Content-Type and Content-Disposition for an attachment named \p fileName.
[[nodiscard]] QByteArray attachmentHeaders(const QByteArray &mediaType, const QString &fileName);

} // namespace qm
