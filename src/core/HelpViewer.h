/// \file
/// The seam for the help file.
#pragma once

namespace qm {

/// Context numbers of the help file, by what they tell about.
namespace helpcontext {
inline constexpr int dataSources = 24, mainWindow = 26, scheduledJob = 54, email = 55;
inline constexpr int queryEditor = 101, reportParameters = 102, reportViewer = 103, messages = 104;
} // namespace helpcontext

/// Opens the application's help file at a context number.
class HelpViewer
{
public:
    virtual ~HelpViewer() = default;
    /// \throws RuntimeError 53 when the help file is missing, 429 when it cannot be shown.
    virtual void showContext(int context) = 0;
};

} // namespace qm
