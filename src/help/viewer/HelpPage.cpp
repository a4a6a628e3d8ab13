#include "help/viewer/HelpPage.h"

#include "help/viewer/HelpText.h"

#include <QLabel>
#include <QLineEdit>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace qm {

HelpPage::HelpPage(QWidget *parent) : QWidget(parent), m_text(new HelpText), m_findBar(new QToolBar(tr("Find on this page")))
{
    m_findBar->setObjectName(QStringLiteral("findBar"));
    m_findBar->hide();
    buildFindBar();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_findBar);
}

void HelpPage::buildFindBar()
{
    m_findText = new QLineEdit;
    m_findText->setObjectName(QStringLiteral("txtFind"));
    m_findText->setAccessibleName(tr("Find on this page"));
    m_findText->setPlaceholderText(tr("Find on this page"));
    m_findText->setClearButtonEnabled(true);
    m_findResult = new QLabel;
    m_findResult->setTextFormat(Qt::PlainText);
    m_findResult->setContentsMargins(8, 0, 8, 0);
    m_findBar->addWidget(m_findText);
    const auto addButton = [&](const QString &text, const QString &tip, auto &&body) {
        auto *button = new QToolButton;
        button->setText(text);
        button->setToolTip(tip);
        button->setFocusPolicy(Qt::TabFocus);
        connect(button, &QToolButton::clicked, this, body);
        m_findBar->addWidget(button);
    };
    addButton(tr("&Previous"), tr("Previous place (Shift+F3)"), [this] { findAgain(true); });
    addButton(tr("&Next"), tr("Next place (F3)"), [this] { findAgain(false); });
    addButton(tr("Close"), tr("Close (Esc)"), [this] { hideFindBar(); });
    m_findBar->addWidget(m_findResult);
    connect(m_findText, &QLineEdit::returnPressed, this, [this] { findAgain(false); });
}

void HelpPage::showFindBar()
{
    m_findBar->show();
    if (const QString selected = m_text->textCursor().selectedText(); !selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_findText->setText(selected);
    m_findText->selectAll();
    m_findText->setFocus();
}

bool HelpPage::hideFindBar()
{
    const bool shown = m_findBar->isVisible();
    m_findBar->hide();
    m_text->setFocus();
    return shown;
}

void HelpPage::findAgain(bool backward)
{
    if (m_findText->text().isEmpty())
        return showFindBar();
    const QTextDocument::FindFlags flags = backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    bool found = m_text->find(m_findText->text(), flags);
    if (!found) { // on from the other end
        m_text->moveCursor(backward ? QTextCursor::End : QTextCursor::Start);
        found = m_text->find(m_findText->text(), flags);
    }
    m_findResult->setText(found ? QString() : tr("Not on this page"));
}

void HelpPage::find(const QString &word)
{
    m_findText->setText(word);
    findAgain(false);
}

} // namespace qm
