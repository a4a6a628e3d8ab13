#include "shell/frmSplash.h"

#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "pictures/Picture.h"
#include "shell/Icons.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr char kMessage[] = QT_TRANSLATE_NOOP("qm::Procedure", "Error while trying to load the splash screen form.");
constexpr char kModule[] = "frmSplash.frm";
constexpr Procedure kFormLoad{"Form_Load", kMessage, kModule};
constexpr Procedure kTimer1{"Timer1_Timer", kMessage, kModule};

constexpr int kHourglass = 11, kDefaultPointer = 0;
constexpr int kDelayMs = 1000;
constexpr QSize kPictureSize(480, 200);

QLabel *label(const QString &name, const QString &text, QWidget *parent)
{
    auto *made = new QLabel(text, parent);
    made->setObjectName(name);
    made->setTextFormat(Qt::PlainText);
    made->setContentsMargins(20, 0, 20, 0);
    return made;
}

} // namespace

frmSplash::frmSplash(ErrorReporter &errors, Prompts &prompts, SplashSteps steps)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint), m_errors(errors), m_prompts(prompts), m_steps(std::move(steps))
{
    setObjectName(QStringLiteral("frmSplash"));
    setWindowTitle(QString::fromLatin1(kApplicationTitle));
    setFocusPolicy(Qt::StrongFocus);
    m_timer1.setObjectName(QStringLiteral("Timer1"));
    m_timer1.setSingleShot(true);
    connect(&m_timer1, &QTimer::timeout, this, &frmSplash::Timer1_Timer);
    buildControls();
}

void frmSplash::buildControls()
{
    auto *Image1 = label(QStringLiteral("Image1"), {}, this);
    Image1->setContentsMargins(0, 0, 0, 0);
    Image1->setPixmap(Picture(icons::resource(QStringLiteral("splash"))).pixmap(kPictureSize, devicePixelRatioF()));
    auto *Label3 = label(QStringLiteral("Label3"), tr("SQL Report Generator"), this);
    QFont font = Label3->font();
    font.setPointSizeF(font.pointSizeF() * 1.7);
    font.setBold(true);
    Label3->setFont(font);
    auto *Label1 = label(QStringLiteral("Label1"), tr("Reports and schedules over event-log databases"), this);
    auto *Label2 = label(QStringLiteral("Label2"), tr("Version 8.0, Service Pack 4"), this);
    Label2->setForegroundRole(QPalette::PlaceholderText);
    auto *lblStatus = label(QStringLiteral("lblStatus"), {}, this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 14);
    layout->setSpacing(4);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(Image1);
    layout->addSpacing(10);
    for (QLabel *each : {Label3, Label1, Label2, lblStatus})
        layout->addWidget(each);
}

void frmSplash::Form_Load()
{
    trap(m_errors, kFormLoad, [&] {
        m_prompts.pointer(kHourglass);
        m_timer1.start(kDelayMs);
    });
}

void frmSplash::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (const QScreen *screen = this->screen())
        move(screen->availableGeometry().center() - rect().center());
    activateWindow();
    setFocus();
}

void frmSplash::Timer1_Timer()
{
    trap(m_errors, kTimer1, [&] {
        m_prompts.pointer(kDefaultPointer);
        m_steps.loadMainWindow();
        close();
        m_steps.showMainWindow();
    });
}

void frmSplash::keyPressEvent(QKeyEvent *event)
{
    // A key that types nothing (Alt of Alt+Tab) or that is still held from starting the program is no key press here.
    if (event->text().isEmpty() || event->isAutoRepeat())
        return QWidget::keyPressEvent(event);
    event->accept();
    Form_KeyPress();
}

void frmSplash::Form_KeyPress()
{
    trapSilently([&] {
        const bool waiting = m_timer1.isActive();
        m_timer1.stop();
        close();
        if (waiting) {
            m_prompts.pointer(kDefaultPointer);
            m_steps.endProgram();
        }
    });
}

} // namespace qm
