#include "reporting/viewer/ReportHeading.h"

#include "documents/ReportWords.h"
#include "reporting/common/NoticeStrip.h"
#include "reporting/common/VisibleText.h"

#include <QVBoxLayout>

namespace qm {

namespace {

/// Whether a fact stands in the status line, or is known to whoever opened the report.
bool standsElsewhere(Fact::Kind kind)
{
    switch (kind) {
    case Fact::Kind::Package:
    case Fact::Kind::Group:
    case Fact::Kind::Query:
    case Fact::Kind::Source:
    case Fact::Kind::Made:
        return true;
    case Fact::Kind::Period:
    case Fact::Kind::Times:
    case Fact::Kind::Parameter:
    case Fact::Kind::Selection:
    case Fact::Kind::House:
    case Fact::Kind::Note:
        break;
    }
    return false;
}

} // namespace

QLabel *plainLabel(const QString &text, QWidget *parent)
{
    auto label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QString factWords(const ReportHead &head, Fact::Kind kind)
{
    for (const Fact &fact : head.facts)
        if (fact.kind == kind)
            return visibleText(QString::fromStdString(fact.value));
    return {};
}

ReportHeading::ReportHeading(const ReportHead &head, const ReportTail &tail, const QString &note, QWidget *parent) : QWidget(parent)
{
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto title = plainLabel(visibleText(QString::fromStdString(head.title)), this);
    title->setObjectName(QStringLiteral("reportTitle"));
    title->setWordWrap(true);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    font.setWeight(QFont::DemiBold);
    title->setFont(font);
    layout->addWidget(title);

    QStringList below;
    if (!head.subtitle.empty())
        below << visibleText(QString::fromStdString(head.subtitle));
    for (const Fact &fact : head.facts) {
        const QString text = visibleText(QString::fromStdString(fact.value));
        if (fact.kind == Fact::Kind::Times)
            below << text;
        else if (!standsElsewhere(fact.kind) && !text.isEmpty())
            below << visibleText(QString::fromStdString(fact.label)) + QStringLiteral(": ") + text;
    }
    if (!below.isEmpty()) {
        auto facts = plainLabel(below.join(QStringLiteral("  ·  ")), this);
        facts->setObjectName(QStringLiteral("reportFacts"));
        facts->setWordWrap(true);
        facts->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(facts);
    }

    QString warning = note;
    if (tail.truncated) {
        const QString cut = QString::fromStdString(cutNotice(tail));
        warning = warning.isEmpty() ? cut : cut + u'\n' + warning;
    }
    auto strip = new NoticeStrip("reportWarning", this);
    strip->show(warning);
    layout->addWidget(strip);
}

} // namespace qm
