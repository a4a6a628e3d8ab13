#include "reporting/editor/LayoutTitlePage.h"

#include "engine/run/ReportFields.h"
#include "framework/LayoutWords.h"
#include "reporting/editor/LayoutFields.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace qm {

LayoutTitlePage::LayoutTitlePage(QWidget *parent)
    : QWidget(parent), m_title(layoutField(this, "layoutTitle", tr("Title"))),
      m_subtitle(layoutField(this, "layoutSubtitle", tr("Subtitle"))), m_note(layoutField(this, "layoutNote", tr("Note"))),
      m_size(new QComboBox(this)), m_orientation(new QComboBox(this)), m_margin(new QDoubleSpinBox(this)),
      m_allowA3(new QCheckBox(tr("A3 where the columns do not fit"), this))
{
    m_title->setPlaceholderText(tr("the query's description"));
    m_note->setPlaceholderText(tr("a sentence that each reader is to see"));
    m_size->addItem(tr("as the house style says, else A4"));
    m_size->addItems(paperWords());
    m_size->setObjectName(QStringLiteral("pageSize"));
    m_orientation->addItems({tr("Portrait"), tr("Landscape")});
    m_orientation->setObjectName(QStringLiteral("pageOrientation"));
    m_margin->setRange(0, 60);
    m_margin->setDecimals(1);
    m_margin->setSuffix(tr(" mm"));
    connect(m_size, &QComboBox::currentIndexChanged, this, &LayoutTitlePage::changed);
    connect(m_orientation, &QComboBox::currentIndexChanged, this, &LayoutTitlePage::changed);
    m_allowA3->setObjectName(QStringLiteral("allowA3"));
    connect(m_allowA3, &QCheckBox::toggled, this, &LayoutTitlePage::changed);
    connect(m_margin, &QDoubleSpinBox::valueChanged, this, &LayoutTitlePage::changed);
    auto bands = new QGridLayout;
    const QString rows[] = {tr("Header:"), tr("Footer:")}, places[] = {tr("Left"), tr("Centre"), tr("Right")};
    for (int i = 0; i < 6; ++i) {
        m_bands[i] = layoutField(this, "band", rows[i / 3] + u' ' + places[i % 3]);
        m_bands[i]->setPlaceholderText(places[i % 3]);
        connect(m_bands[i], &QLineEdit::textChanged, this, &LayoutTitlePage::changed);
        bands->addWidget(m_bands[i], i / 3, i % 3 + 1);
    }
    bands->addWidget(new QLabel(rows[0], this), 0, 0);
    bands->addWidget(new QLabel(rows[1], this), 1, 0);
    auto form = new QFormLayout;
    form->addRow(tr("Title:"), m_title);
    form->addRow(tr("Subtitle:"), m_subtitle);
    form->addRow(tr("Note:"), m_note);
    form->addRow(tr("Page:"), m_size);
    form->addRow(QString(), m_allowA3);
    form->addRow(tr("Orientation:"), m_orientation);
    form->addRow(tr("Margin:"), m_margin);
    auto layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(bands);
    layout->addWidget(layoutHint(tr("Fields: {%1}").arg(offeredFields(FieldPlace::Layout).join(QStringLiteral("} {"))), this));
    layout->addStretch();
    for (QLineEdit *line : {m_title, m_subtitle, m_note})
        connect(line, &QLineEdit::textChanged, this, &LayoutTitlePage::changed);
}

void LayoutTitlePage::show(const ReportLayout &layout)
{
    m_title->setText(layout.title);
    m_subtitle->setText(layout.subtitle);
    m_note->setText(layout.note);
    m_size->setCurrentIndex(layout.page.size ? static_cast<int>(*layout.page.size) + 1 : 0);
    m_allowA3->setChecked(layout.page.allowA3);
    m_orientation->setCurrentIndex(static_cast<int>(layout.page.orientation));
    m_margin->setValue(layout.page.marginMm);
    const QString bands[] = {layout.header.left, layout.header.centre, layout.header.right,
                             layout.footer.left, layout.footer.centre, layout.footer.right};
    for (int i = 0; i < 6; ++i)
        m_bands[i]->setText(bands[i]);
}

void LayoutTitlePage::store(ReportLayout &layout) const
{
    layout.title = m_title->text();
    layout.subtitle = m_subtitle->text();
    layout.note = m_note->text();
    layout.page.size = m_size->currentIndex() > 0 ? std::optional(static_cast<PageSize>(m_size->currentIndex() - 1)) : std::nullopt;
    layout.page.allowA3 = m_allowA3->isChecked();
    layout.page.orientation = static_cast<PageOrientation>(m_orientation->currentIndex());
    layout.page.marginMm = m_margin->value();
    layout.header = {m_bands[0]->text(), m_bands[1]->text(), m_bands[2]->text()};
    layout.footer = {m_bands[3]->text(), m_bands[4]->text(), m_bands[5]->text()};
}

} // namespace qm
