// Printing by the spooler's queues. Windows prints no PDF itself: the program that people open such files with is asked to.

#include "delivery/PrintQueue.h"

#include <QDir>
#include <QString>

#include <algorithm>
#include <memory>
#include <thread>

#include <windows.h>

#include <shellapi.h>
#include <winspool.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kLookEvery = 200ms;

QString systemWords(DWORD code)
{
    return qt_error_string(static_cast<int>(code)).trimmed();
}

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

struct PrinterCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE printer) const { ClosePrinter(printer); }
};
using Printer = std::unique_ptr<void, PrinterCloser>;

Printer opened(const QString &queue)
{
    QString name = queue; // the function's parameter is not const
    HANDLE printer = nullptr;
    return Printer(OpenPrinterW(reinterpret_cast<wchar_t *>(name.data()), &printer, nullptr) ? printer : nullptr);
}

QString defaultQueue()
{
    DWORD size = 0;
    GetDefaultPrinterW(nullptr, &size);
    std::vector<wchar_t> name(size + 1);
    return size > 0 && GetDefaultPrinterW(name.data(), &size) ? QString::fromWCharArray(name.data()) : QString();
}

/// What the spooler's status bits say of a printer that does not print; empty when it does.
QString hindrance(DWORD status, DWORD attributes)
{
    struct Meaning
    {
        DWORD bit;
        const char *words;
    };
    constexpr Meaning meanings[] = {{PRINTER_STATUS_PAUSED, "it is paused"},
                                    {PRINTER_STATUS_PENDING_DELETION, "it is being deleted"},
                                    {PRINTER_STATUS_NOT_AVAILABLE, "it is not available"},
                                    {PRINTER_STATUS_OFFLINE, "it is offline"},
                                    {PRINTER_STATUS_PAPER_JAM, "paper is jammed"},
                                    {PRINTER_STATUS_PAPER_OUT, "it has no paper"},
                                    {PRINTER_STATUS_DOOR_OPEN, "its door is open"},
                                    {PRINTER_STATUS_USER_INTERVENTION, "it waits for somebody to look after it"},
                                    {PRINTER_STATUS_ERROR, "it reports an error"}};
    const auto *found =
        std::find_if(std::begin(meanings), std::end(meanings), [&](const Meaning &each) { return (status & each.bit) != 0; });
    if (found != std::end(meanings))
        return QString::fromLatin1(found->words);
    return (attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE) != 0 ? QStringLiteral("it is set to work offline") : QString();
}

struct Chosen
{
    QString queue, problem;
};

Chosen choose(const QString &wanted)
{
    const QString queue = wanted.isEmpty() ? defaultQueue() : wanted;
    if (queue.isEmpty())
        return {
            {},
            QStringLiteral("No printer is named in the query's output settings, and there is no default printer. Name one of the printers "
                           "of this machine (Settings, Printers lists them).")};
    const Printer printer = opened(queue);
    if (!printer)
        return {queue, QStringLiteral("There is no printer \"%1\" on this machine (%2). Choose another one in the query's output settings.")
                           .arg(queue, systemWords(GetLastError()))};
    DWORD size = 0;
    GetPrinterW(printer.get(), 2, nullptr, 0, &size);
    std::vector<BYTE> bytes(size);
    if (size == 0 || !GetPrinterW(printer.get(), 2, bytes.data(), size, &size))
        return {queue, {}}; // it says nothing about itself; the job will tell
    const auto *about = reinterpret_cast<const PRINTER_INFO_2W *>(bytes.data());
    const QString why = hindrance(about->Status, about->Attributes);
    return {queue, why.isEmpty() ? QString() : QStringLiteral("The printer \"%1\" does not print now: %2.").arg(queue, why)};
}

PrintOutcome failed(const QString &queue, const QString &words)
{
    return {PrintOutcome::State::Failed, queue, 0, words};
}

/// Why the program that prints \p file could not be started; empty when it was. It is waited for as long as \p until and \p stopped let.
QString handOver(const QString &file, const QString &queue, std::chrono::steady_clock::time_point until,
                 const std::function<bool()> &stopped)
{
    const QString path = QDir::toNativeSeparators(file);
    const QString printer = u'"' + queue + u'"';
    SHELLEXECUTEINFOW call{};
    call.cbSize = sizeof call;
    call.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI | SEE_MASK_NOASYNC;
    call.lpVerb = L"printto";
    call.lpFile = wide(path);
    call.lpParameters = wide(printer);
    call.nShow = SW_HIDE;
    if (!ShellExecuteExW(&call)) {
        const DWORD code = GetLastError();
        if (code == ERROR_NO_ASSOCIATION || code == ERROR_FILE_NOT_FOUND)
            return QStringLiteral("no program that prints PDF files is installed; install one, or choose another output");
        return systemWords(code);
    }
    // Some programs hand the file to a running copy of themselves and end, others stay: both have taken it.
    while (call.hProcess && WaitForSingleObject(call.hProcess, 0) == WAIT_TIMEOUT && std::chrono::steady_clock::now() < until &&
           !(stopped && stopped()))
        std::this_thread::sleep_for(kLookEvery);
    if (call.hProcess)
        CloseHandle(call.hProcess);
    return {};
}

} // namespace

PrintQueueList printQueues()
{
    constexpr DWORD which = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    DWORD size = 0;
    DWORD count = 0;
    EnumPrintersW(which, nullptr, 4, nullptr, 0, &size, &count);
    std::vector<BYTE> bytes(size);
    if (size > 0 && !EnumPrintersW(which, nullptr, 4, bytes.data(), size, &size, &count))
        return {{}, QStringLiteral("The printing system does not answer: %1").arg(systemWords(GetLastError()))};
    const QString byDefault = defaultQueue();
    const auto *about = reinterpret_cast<const PRINTER_INFO_4W *>(bytes.data());
    PrintQueueList found;
    for (DWORD i = 0; i < count; ++i) {
        const QString name = QString::fromWCharArray(about[i].pPrinterName);
        found.queues.push_back({name, {}, name == byDefault});
    }
    return found;
}

QString whyNotPrintable(const QString &queue)
{
    return choose(queue).problem;
}

PrintOutcome printDocument(const PrintRequest &request, const std::function<bool()> &stopped)
{
    const auto until = std::chrono::steady_clock::now() + request.patience;
    const Chosen chosen = choose(request.queue);
    if (!chosen.problem.isEmpty())
        return failed(chosen.queue, chosen.problem);
    for (int copy = 0; copy < request.copies; ++copy) {
        if (stopped && stopped())
            return failed(chosen.queue, QStringLiteral("Stopped after %1 of %2 copies.").arg(copy).arg(request.copies));
        if (const QString problem = handOver(request.file, chosen.queue, until, stopped); !problem.isEmpty())
            return failed(chosen.queue,
                          QStringLiteral("The report could not be handed to the printer \"%1\": %2.").arg(chosen.queue, problem));
    }
    return {PrintOutcome::State::Taken, chosen.queue, 0,
            QStringLiteral("The program for PDF files has taken the report for the printer \"%1\".").arg(chosen.queue)};
}

} // namespace qm
