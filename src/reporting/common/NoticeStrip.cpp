#include "reporting/common/NoticeStrip.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace qm {

NoticeStrip::NoticeStrip(const char *labelName, QWidget *parent)
    : QWidget(parent), m_text(new QLabel(this)), m_action(new QToolButton(this))
{
    auto icon = new QLabel(this);
    icon->setPixmap(uiIcon("warning").pixmap(QSize(18, 18), devicePixelRatioF()));
    m_text->setObjectName(QLatin1String(labelName));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QFont font = m_text->font();
    font.setWeight(QFont::DemiBold);
    m_text->setFont(font);
    auto row = new QHBoxLayout(this);
    row->setContentsMargins(8, 5, 8, 5);
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(m_text, 1);
    row->addWidget(m_action, 0, Qt::AlignTop);
    connect(m_action, &QToolButton::clicked, this, &NoticeStrip::actionClicked);
    // A tint that reads as a warning on light and on dark windows.
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("qm--NoticeStrip { background: rgba(230, 160, 30, 45); border: 1px solid rgba(200, 130, 20, 130); "
                                 "border-radius: 4px; }"));
    hide();
}

void NoticeStrip::show(const QString &text, const QString &action)
{
    m_text->setText(visibleText(text, LineBreaks::Kept));
    m_action->setText(action);
    m_action->setVisible(!action.isEmpty());
    setVisible(!text.isEmpty());
}

QString NoticeStrip::text() const
{
    return m_text->text();
}

} // namespace qm
