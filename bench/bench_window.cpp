/// \file
/// Starts a window, waits until it is on the screen, and ends: CPU time and memory are measured from outside.
///
///   bench_window empty           an empty main window
///   bench_window main FOLDER     the program's main window on the installation in FOLDER (with trailing separator)
#include "app/Program.h"
#include "shell/WidgetPrompts.h"

#include <QApplication>
#include <QMainWindow>
#include <QTimer>

#include <cstdio>

using namespace qm;

namespace {

/// Shows the window and ends the program once it has been painted.
int showOnce(QWidget &window)
{
    window.resize(1180, 760);
    window.show();
    QTimer::singleShot(0, &window, [&window] {
        window.repaint();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

int showMain(const QString &folder)
{
    WidgetPrompts prompts;
    Program program(prompts, {.installPath = folder, .fontFolder = {}});
    frmMain &window = program.makeMainWindow();
    window.Form_Load();
    return showOnce(window);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == QStringLiteral("main") && arguments.size() == 3)
        return showMain(arguments.at(2));
    if (arguments.value(1) != QStringLiteral("empty")) {
        std::fprintf(stderr, "usage: bench_window empty | bench_window main FOLDER\n");
        return 2;
    }
    QMainWindow empty;
    return showOnce(empty);
}
