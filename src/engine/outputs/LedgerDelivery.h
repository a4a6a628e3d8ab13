/// \file
/// What the run ledger keeps of a report's way to people and printers.
#pragma once

#include <QString>

namespace qm {

/// What became of one run's output at one recipient or printer.
struct LedgerDelivery
{
    QString target; ///< e-mail address, or name of a print queue
    QString sender; ///< e-mail address; empty for printers
    QString state;  ///< delivered, refused, deferred, unknown, not sent; printed, taken, failed
    QString words;  ///< of the server or the queue
    QString whenUtc;
};

} // namespace qm
