// The program's own help window.

#include "help/HelpDisplay.h"
#include "help/viewer/frmHelp.h"

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

class OwnHelpDisplay final : public HelpDisplay
{
public:
    explicit OwnHelpDisplay(QString stateFile) : m_stateFile(std::move(stateFile)) {}

    void show(const QString &path, int context) override
    {
        if (!m_window || m_shownPath != path) {
            auto book = std::make_unique<HelpBook>(path);
            close();
            m_window = std::make_unique<frmHelp>(std::move(book), m_stateFile);
            m_shownPath = path;
        }
        m_window->showPage(m_window->book().pageOfContext(context));
        showInFrontOf(*m_window);
    }

    void close() override
    {
        if (!m_window)
            return;
        m_window->close();
        m_window.release()->deleteLater(); // it may be its own F1 that asks for a newer file
    }

    QWidget *window() const override { return m_window.get(); }

private:
    QString m_stateFile;
    QString m_shownPath;
    std::unique_ptr<frmHelp> m_window;
};

} // namespace

std::unique_ptr<HelpDisplay> makeHelpDisplay(const QString &stateFile)
{
    return std::make_unique<OwnHelpDisplay>(stateFile);
}

} // namespace qm
