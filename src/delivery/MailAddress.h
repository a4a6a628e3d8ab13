/// \file
/// E-mail addresses as people write them, checked so that none can carry anything else into a mail dialogue or a header.
#pragma once

#include <QByteArray>
#include <QString>

namespace qm {

/// One mailbox: "Audit team <audit@example.org>".
struct MailAddress
{
    QString name;        ///< may be empty; without controls
    QByteArray spec;     ///< local@domain in UTF-8, the domain in its ASCII form; safe between < and >
    QString problem;     ///< why the text is no address; the other members are empty then
    bool isAscii = true; ///< false: the local part needs a server that takes UTF-8

    [[nodiscard]] bool isValid() const { return problem.isEmpty(); }
};

/// Reads "local@domain" or "Name <local@domain>". Quoted local parts are refused: no report goes to one.
[[nodiscard]] MailAddress parseMailAddress(const QString &text);

/// Why \p text is no address; empty when it is one.
[[nodiscard]] inline QString whyNotAMailAddress(const QString &text)
{
    return parseMailAddress(text).problem;
}

} // namespace qm
