/// \file
/// The seam for the help file.
#pragma once

namespace qm {

/// Opens the application's help file at a context number (main window 26, data sources 24, scheduled job 54, e-mail 55).
class HelpViewer
{
public:
    virtual ~HelpViewer() = default;
    /// \throws RuntimeError 53 when the help file is missing, 429 when it cannot be shown.
    virtual void showContext(int context) = 0;
};

} // namespace qm
