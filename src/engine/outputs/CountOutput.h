/// \file
/// A run without output.
#pragma once

#include "engine/outputs/ReportOutput.h"

namespace qm {

/// Has the rows counted and keeps none.
class CountOutput final : public ReportOutput, private ReportWriter
{
public:
    [[nodiscard]] QString type() const override { return QStringLiteral("none"); }
    [[nodiscard]] std::optional<ReportFormat> format() const override { return std::nullopt; }
    [[nodiscard]] ShapeUse shapeUse() const override { return ShapeUse::RowsOnly; }
    void check(const QMap<QString, QString> &) override {}
    [[nodiscard]] ReportWriter &open(const DocumentFacts &) override { return *this; }
    void close(const ReportTail &) override {}

private:
    void begin(const ReportHead &, const ReportShape &, const SampleRows &) override {}
    void row(std::span<const Value>) override {}
    void end(const ReportTail &) override {}
};

} // namespace qm
