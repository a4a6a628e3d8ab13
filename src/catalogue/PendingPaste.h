/// \file
/// The report query that was copied, cut or dragged and waits to be pasted.
#pragma once

#include <QString>

namespace qm {

/// Three plain strings as the pick-up recorded them, and whether a paste moves.
struct PendingPaste
{
    QString sourceGroup, sourceFile, sourcePackage;
    bool cut = false;

    [[nodiscard]] bool isPending() const { return !sourceFile.isEmpty() && !sourcePackage.isEmpty(); }
    void clear() { *this = {}; }
};

} // namespace qm
