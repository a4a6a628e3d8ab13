#include "shell/CaptionPanel.h"

#include <QLabel>
#include <QVBoxLayout>

namespace qm {

CaptionPanel::CaptionPanel(const QString &name, QWidget *contents, QWidget *parent) : QFrame(parent), m_caption(new QLabel(this))
{
    setObjectName(name);
    setFrameShape(QFrame::NoFrame);
    m_caption->setTextFormat(Qt::PlainText);
    m_caption->setContentsMargins(8, 5, 8, 5);
    if (isRightToLeft()) // a label goes by its text otherwise
        m_caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter | Qt::AlignAbsolute);
    m_caption->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    QFont font = m_caption->font();
    font.setBold(true);
    m_caption->setFont(font);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_caption);
    layout->addWidget(contents, 1);
}

void CaptionPanel::setCaption(const QString &caption)
{
    m_caption->setText(caption);
}

QString CaptionPanel::caption() const
{
    return m_caption->text();
}

} // namespace qm
