/// \file
/// The application's help file.
#pragma once

#include "core/HelpViewer.h"

#include <QString>

namespace qm {

/// Knows where the help file is and has the desktop's viewer open it.
class HelpFile final : public HelpViewer
{
public:
    void setPath(const QString &path) { m_path = path; }
    [[nodiscard]] const QString &path() const { return m_path; }

    void showContext(int context) override;

private:
    QString m_path;
};

} // namespace qm
