#include "shell/WidgetPrompts.h"

#include "core/InputDuringRun.h"
#include "core/RuntimeError.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>

namespace qm {

namespace {

constexpr int kHourglass = 11;
const QString kFolderKey = QStringLiteral("fileDialogs/");
constexpr int kButtonsMask = 0xF, kIconMask = 0xF0, kDefaultMask = 0xF00;

struct ButtonMeaning
{
    QMessageBox::StandardButton button;
    int result;
};

constexpr ButtonMeaning kMeanings[]{
    {QMessageBox::Ok, box::idOk},       {QMessageBox::Cancel, box::idCancel}, {QMessageBox::Abort, box::idAbort},
    {QMessageBox::Retry, box::idRetry}, {QMessageBox::Ignore, box::idIgnore}, {QMessageBox::Yes, box::idYes},
    {QMessageBox::No, box::idNo},
};

/// The buttons of a style from left to right, and the one that closing the box stands for.
struct ButtonSet
{
    QList<QMessageBox::StandardButton> buttons;
    QMessageBox::StandardButton escape;
};

ButtonSet buttonSet(int style)
{
    switch (style & kButtonsMask) {
    case box::okCancel:
        return {{QMessageBox::Ok, QMessageBox::Cancel}, QMessageBox::Cancel};
    case box::abortRetryIgnore:
        return {{QMessageBox::Abort, QMessageBox::Retry, QMessageBox::Ignore}, QMessageBox::Abort};
    case box::yesNoCancel:
        return {{QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}, QMessageBox::Cancel};
    case box::yesNo:
        return {{QMessageBox::Yes, QMessageBox::No}, QMessageBox::No};
    case box::retryCancel:
        return {{QMessageBox::Retry, QMessageBox::Cancel}, QMessageBox::Cancel};
    default:
        return {{QMessageBox::Ok}, QMessageBox::Ok};
    }
}

QMessageBox::Icon boxIcon(int style)
{
    switch (style & kIconMask) {
    case box::critical:
        return QMessageBox::Critical;
    case box::question:
        return QMessageBox::Question;
    case box::exclamation:
        return QMessageBox::Warning;
    case box::information:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

qsizetype defaultIndex(int style)
{
    switch (style & kDefaultMask) {
    case box::defaultButton2:
        return 1;
    case box::defaultButton3:
        return 2;
    default:
        return 0;
    }
}

std::unique_ptr<QMessageBox> makeBox(const QString &text, int style, const QString &title, QWidget *parent)
{
    auto made = std::make_unique<QMessageBox>(parent);
    made->setProperty(kInputDuringRun, true); // it lies over the run's own window and must be answered first
    made->setTextFormat(Qt::PlainText);
    made->setText(QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    made->setWindowTitle(title);
    made->setIcon(boxIcon(style));
    made->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    const ButtonSet set = buttonSet(style);
    for (const QMessageBox::StandardButton button : set.buttons)
        made->addButton(button);
    made->setDefaultButton(set.buttons.value(defaultIndex(style), set.buttons.first()));
    made->setEscapeButton(set.escape);
    return made;
}

int classicResult(int button)
{
    for (const ButtonMeaning &meaning : kMeanings)
        if (meaning.button == button)
            return meaning.result;
    return 0;
}

/// A box must not open beneath a menu that holds the mouse.
void endPopUps()
{
    while (QWidget *popUp = QApplication::activePopupWidget())
        if (!popUp->close())
            break;
}

} // namespace

WidgetPrompts::~WidgetPrompts() = default;

QWidget *WidgetPrompts::parentWidget() const
{
    if (QWidget *modal = QApplication::activeModalWidget())
        return modal;
    return m_mainWindow && m_mainWindow->isVisible() ? m_mainWindow.data() : nullptr;
}

int WidgetPrompts::messageBox(const QString &text, int style, const QString &title)
{
    endPopUps();
    if (m_unattended > 0 && (style & kButtonsMask) == box::ok) {
        showWithoutWaiting(makeBox(text, style, title, m_mainWindow && m_mainWindow->isVisible() ? m_mainWindow.data() : nullptr));
        return box::idOk;
    }
    const std::unique_ptr<QMessageBox> shown = makeBox(text, style, title, parentWidget());
    return classicResult(shown->exec());
}

void WidgetPrompts::showWithoutWaiting(std::unique_ptr<QMessageBox> box)
{
    QMessageBox *shown = box.release();
    shown->setAttribute(Qt::WA_DeleteOnClose);
    shown->setWindowModality(Qt::ApplicationModal);
    if (m_lastUnattended) // one after the other: the next opens when this one is answered
        QObject::connect(m_lastUnattended, &QDialog::finished, shown, [shown] { shown->show(); });
    else
        shown->show();
    m_lastUnattended = shown;
}

QStringList nameFilters(const QString &filter)
{
    QStringList filters;
    const QStringList parts = filter.split(u'|');
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString label = parts.at(i).trimmed();
        const QString pattern = parts.at(i + 1).trimmed().replace(u';', u' ');
        // The pattern in brackets is what the dialog goes by; a label that shows it already is not given a second one.
        filters.append(label.endsWith(u'(' + pattern + u')') ? label : QStringLiteral("%1 (%2)").arg(label, pattern));
    }
    return filters;
}

namespace {

/// The patterns of all of the filter's kinds of file.
QStringList patterns(const QString &filter)
{
    QStringList all;
    const QStringList parts = filter.split(u'|');
    for (qsizetype i = 1; i < parts.size(); i += 2)
        all += parts.at(i).split(u';');
    for (QString &pattern : all)
        pattern = pattern.trimmed();
    return all;
}

} // namespace

QString WidgetPrompts::firstFolder(const FileDialogRequest &request) const
{
    if (request.remembered.isEmpty())
        return request.folder;
    QString folder = m_folders.value(request.remembered);
    if (folder.isEmpty() && !m_stateFile.isEmpty())
        folder = QSettings(m_stateFile, QSettings::IniFormat).value(kFolderKey + request.remembered).toString();
    return !folder.isEmpty() && QDir(folder).exists() ? folder : request.folder;
}

void WidgetPrompts::rememberFolder(const FileDialogRequest &request, const QString &folder)
{
    if (request.remembered.isEmpty())
        return;
    m_folders.insert(request.remembered, folder);
    if (!m_stateFile.isEmpty())
        QSettings(m_stateFile, QSettings::IniFormat).setValue(kFolderKey + request.remembered, folder);
}

std::optional<QString> WidgetPrompts::chooseFile(const FileDialogRequest &request, bool save)
{
    endPopUps();
    // The window that asks is the one in which the operator just pressed something; if it goes, the dialog goes with it.
    QWidget *const asking = QApplication::activeWindow();
    const QPointer<QFileDialog> dialog = new QFileDialog(asking ? asking : parentWidget(), request.title, firstFolder(request));
    dialog->setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setNameFilters(nameFilters(request.filter));
    dialog->setDefaultSuffix(request.defaultSuffix);
    if (!request.fileName.isEmpty())
        dialog->selectFile(request.fileName);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return std::nullopt;
    const QStringList chosen = dialog->selectedFiles();
    delete dialog;
    if (!accepted || chosen.isEmpty())
        return std::nullopt;
    rememberFolder(request, QFileInfo(chosen.first()).absolutePath());
    // The dialog takes what follows any dot for a suffix.
    const bool lacksSuffix =
        save && !request.defaultSuffix.isEmpty() && !QDir::match(patterns(request.filter), QFileInfo(chosen.first()).fileName());
    return QDir::toNativeSeparators(lacksSuffix ? chosen.first() + u'.' + request.defaultSuffix : chosen.first());
}

std::optional<QString> WidgetPrompts::chooseSaveFile(const FileDialogRequest &request)
{
    return chooseFile(request, true);
}

std::optional<QString> WidgetPrompts::chooseOpenFile(const FileDialogRequest &request)
{
    return chooseFile(request, false);
}

void WidgetPrompts::pointer(int shape)
{
    const bool hourglass = shape == kHourglass;
    if (hourglass == m_hourglass)
        return;
    m_hourglass = hourglass;
    if (hourglass)
        QApplication::setOverrideCursor(m_unattended > 0 ? Qt::BusyCursor : Qt::WaitCursor); // the operator can go on, or not
    else
        QApplication::restoreOverrideCursor();
}

} // namespace qm
