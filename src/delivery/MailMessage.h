/// \file
/// A report as an e-mail message (RFC 5322 with MIME).
#pragma once

#include "delivery/MailAddress.h"

#include <QDateTime>

#include <vector>

namespace qm {

struct MailAttachment
{
    QString path;
    QString fileName; ///< as the recipient sees it
};

/// Everything but blind copies, which stand in the envelope only.
struct MailMessage
{
    MailAddress from;
    std::vector<MailAddress> to, cc;
    QString subject, text;
    QString htmlFile; ///< shown in place of the text by readers that can; empty: none
    std::vector<MailAttachment> attachments;
    QByteArray messageId; ///< without < and >
    QDateTime date;       ///< with the zone that the header is to show
};

/// The media type of a report file, by its suffix; "application/octet-stream" for others.
[[nodiscard]] QByteArray mediaTypeOf(const QString &fileName);

/// Writes \p message to \p path, lines ended by CR LF; attachments are streamed. \returns its size in bytes.
/// \throws RuntimeError as OutputFile, and 53 or 75 for an attachment that cannot be read.
std::uint64_t writeMailMessage(const MailMessage &message, const QString &path);

} // namespace qm
