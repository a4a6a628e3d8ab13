#include "help/HelpFile.h"

#include "help/frmHelp.h"
#include "platform/Files.h"

#include <QApplication>
#include <QWindow>

namespace qm {

namespace {

/// A modal dialog locks out every window but those that belong to it.
void showInFrontOf(frmHelp &window)
{
    window.winId();
    const QWidget *modal = QApplication::activeModalWidget();
    window.windowHandle()->setTransientParent(modal ? modal->windowHandle() : nullptr);
    if (window.isMinimized())
        window.showNormal();
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace

HelpFile::HelpFile() = default;
HelpFile::~HelpFile() = default;

QString HelpFile::effectivePath() const
{
    const QString program = QCoreApplication::applicationDirPath();
    for (const QString &folder : {program, program + QStringLiteral("/../share/quillmark")})
        if (const QString path = folder + QStringLiteral("/Report Generator.chm"); !files::fileExists(m_path) && files::fileExists(path))
            return path;
    return m_path;
}

void HelpFile::showContext(int context)
{
    const QString path = effectivePath();
    if (!m_window || m_shownPath != path) {
        auto book = std::make_unique<HelpBook>(path);
        closeWindow();
        m_window = std::make_unique<frmHelp>(std::move(book), m_stateFile);
        m_shownPath = path;
    }
    m_window->showPage(m_window->book().pageOfContext(context));
    showInFrontOf(*m_window);
}

void HelpFile::closeWindow()
{
    if (!m_window)
        return;
    m_window->close();
    m_window.release()->deleteLater(); // it may be its own F1 that asks for a newer file
}

} // namespace qm
