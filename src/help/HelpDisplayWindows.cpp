// Windows' own viewer of compiled help, HTML Help.

#include "core/RuntimeError.h"
#include "help/HelpDisplay.h"
#include "platform/Files.h"
#include "platform/SystemFileWindows.h"

#include <QDir>

#include <htmlhelp.h>

namespace qm {

namespace {

using HtmlHelpCall = HWND(WINAPI *)(HWND, LPCWSTR, UINT, DWORD_PTR);

/// Loaded when help is first asked for: the program starts without it.
HtmlHelpCall htmlHelp()
{
    static const auto call = [] {
        const HMODULE viewer = LoadLibraryExW(L"hhctrl.ocx", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        return viewer ? reinterpret_cast<HtmlHelpCall>(reinterpret_cast<void *>(GetProcAddress(viewer, "HtmlHelpW"))) : nullptr;
    }();
    return call;
}

class SystemHelpDisplay final : public HelpDisplay
{
public:
    ~SystemHelpDisplay() override { SystemHelpDisplay::close(); }

    void show(const QString &path, int context) override
    {
        if (!files::fileExists(path))
            raise(err::fileNotFound, QStringLiteral("the help file \"%1\" is missing; install it again").arg(path));
        if (!htmlHelp())
            raise(err::cannotCreateObject, QStringLiteral("this Windows has no viewer for the help file \"%1\" (hhctrl.ocx)").arg(path));
        // The viewer takes no doubled separators.
        const QString native = QDir::toNativeSeparators(QDir::cleanPath(path));
        // It belongs to no window of the program: it would go with the dialog that asked first, and could not be shown again.
        const HWND owner = GetDesktopWindow();
        HWND shown = htmlHelp()(owner, win::wide(native), HH_HELP_CONTEXT, static_cast<DWORD_PTR>(context));
        if (!shown)
            shown = htmlHelp()(owner, win::wide(native), HH_DISPLAY_TOPIC, 0);
        if (!shown)
            raise(err::cannotCreateObject,
                  QStringLiteral(
                      "Windows did not show the help file \"%1\"; if it came from the internet or lies on another machine, copy it "
                      "to this machine and choose Unblock in its properties")
                      .arg(native));
        m_shown = true;
        // A window that was open already stays where it is.
        if (IsIconic(shown))
            ShowWindow(shown, SW_RESTORE);
        SetForegroundWindow(shown);
    }

    /// The viewer works in this process: it must have closed its windows before the program ends.
    void close() override
    {
        if (m_shown)
            htmlHelp()(nullptr, nullptr, HH_CLOSE_ALL, 0);
        m_shown = false;
    }

    QWidget *window() const override { return nullptr; }

private:
    bool m_shown = false;
};

} // namespace

std::unique_ptr<HelpDisplay> makeHelpDisplay(const QString &)
{
    return std::make_unique<SystemHelpDisplay>();
}

} // namespace qm
