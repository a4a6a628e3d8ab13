/// \file
/// A report for whoever waits for it.
#pragma once

#include "core/Failure.h"
#include "engine/outputs/ReportOutput.h"

namespace qm {

/// Hands the rows to the writer of a window.
class ScreenOutput final : public ReportOutput
{
public:
    /// \p screen: null where there is none.
    explicit ScreenOutput(ReportWriter *screen) : m_screen(screen) {}

    [[nodiscard]] QString type() const override { return outputTypeWord(static_cast<int>(OutputKind::Screen)); }
    [[nodiscard]] std::optional<ReportFormat> format() const override { return std::nullopt; }
    [[nodiscard]] ShapeUse shapeUse() const override { return ShapeUse::Kept; }
    void check(const QMap<QString, QString> &) override
    {
        if (!m_screen)
            failReport(QStringLiteral("The query's output is the screen, and this run has none: say --output FILE."));
    }
    [[nodiscard]] ReportWriter &open(const DocumentFacts &) override { return *m_screen; }
    void close(const ReportTail &) override {}

private:
    ReportWriter *m_screen;
};

} // namespace qm
