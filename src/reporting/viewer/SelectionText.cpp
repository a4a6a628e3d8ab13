#include "reporting/viewer/SelectionText.h"

#include "reporting/viewer/SpoolModel.h"

#include <set>

namespace qm {

namespace {

QString quotedForTable(const QString &text)
{
    if (!text.contains(u'\t') && !text.contains(u'\n') && !text.contains(u'\r') && !text.startsWith(u'"'))
        return text;
    QString quoted = text;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

} // namespace

qint64 cellCount(const QItemSelection &selection)
{
    qint64 cells = 0;
    for (const QItemSelectionRange &range : selection)
        cells += qint64{range.height()} * range.width();
    return cells;
}

QString selectionText(const SpoolModel &model, const QItemSelection &selection, bool withCaptions)
{
    std::set<int> rows, columns;
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.insert(rows.end(), row);
        for (int column = range.left(); column <= range.right(); ++column)
            columns.insert(column);
    }
    if (!withCaptions && rows.size() == 1 && columns.size() == 1)
        return model.fullText(*rows.begin(), *columns.begin());
    QString text;
    const auto addLine = [&text, &columns](auto &&cell) {
        for (auto column = columns.begin(); column != columns.end(); ++column)
            text += (column == columns.begin() ? QString() : QStringLiteral("\t")) + quotedForTable(cell(*column));
        text += u'\n';
    };
    if (withCaptions)
        addLine([&model](int column) { return model.caption(column); });
    const bool oneBlock = selection.size() == 1;
    for (const int row : rows)
        addLine(
            [&](int column) { return oneBlock || selection.contains(model.index(row, column)) ? model.fullText(row, column) : QString(); });
    return text;
}

} // namespace qm
