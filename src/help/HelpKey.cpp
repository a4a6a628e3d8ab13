#include "help/HelpKey.h"

#include "core/ErrorReporter.h"
#include "core/HelpViewer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>

namespace qm {

namespace {

constexpr Procedure kHelpContents{"HelpContentsClicked", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to display Help."),
                                  "frmMain.frm"};

struct WindowContext
{
    const char *window;
    int context;
};

constexpr WindowContext kContexts[]{
    {"frmMain", helpcontext::mainWindow},
    {"frmDataSource", helpcontext::dataSources},
    {"frmAddNewDataSource", helpcontext::dataSources},
    {"frmScheduledReport", helpcontext::scheduledJob},
    {"frmEmailSettings", helpcontext::email},
    {"frmQueryEditor", helpcontext::queryEditor},
    {"frmReportParameters", helpcontext::reportParameters},
    {"frmReportViewer", helpcontext::reportViewer},
    {"frmReportProgress", helpcontext::reportViewer},
    {"frmReportDone", helpcontext::reportViewer},
};

} // namespace

int helpContextOf(const QWidget &window)
{
    for (const QWidget *at = &window; at; at = at->parentWidget()) {
        if (qobject_cast<const QMessageBox *>(at))
            return helpcontext::messages;
        for (const WindowContext &each : kContexts)
            if (at->objectName() == QLatin1String(each.window))
                return each.context;
    }
    return helpcontext::mainWindow;
}

HelpKey::HelpKey(HelpViewer &help, ErrorReporter &errors, QObject *parent) : QObject(parent), m_help(help), m_errors(errors)
{
    qApp->installEventFilter(this);
}

bool HelpKey::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier || key->isAutoRepeat() || QApplication::activePopupWidget())
        return false;
    const QWidget *window = static_cast<QWidget *>(watched)->window();
    if (auto *button = window->findChild<QAbstractButton *>(QStringLiteral("cmdHelp")))
        button->click();
    else
        trap(m_errors, kHelpContents, [&] { m_help.showContext(helpContextOf(*window)); });
    return true;
}

} // namespace qm
