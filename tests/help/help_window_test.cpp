// The help window under real mouse and keys, on the built help file.

#include "help/HelpFile.h"
#include "help/viewer/HelpText.h"
#include "help/viewer/frmHelp.h"
#include "support/FileBytes.h"

#include <QAction>
#include <QDesktopServices>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTimer>
#include <QTreeWidget>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// A help file opened at the main window's page.
struct Shown
{
    explicit Shown(const QString &stateFile = {})
    {
        help.setPath(builtHelp());
        help.setStateFile(stateFile);
        help.showContext(26);
        QVERIFY(QTest::qWaitForWindowActive(help.window()));
    }
    [[nodiscard]] frmHelp &window() const { return *qobject_cast<frmHelp *>(help.window()); }
    [[nodiscard]] HelpText &text() const { return *window().findChild<HelpText *>(); }
    [[nodiscard]] QTreeWidget &tree(const char *name) const { return *window().findChild<QTreeWidget *>(QString::fromLatin1(name)); }
    [[nodiscard]] QLineEdit &line(const char *name) const { return *window().findChild<QLineEdit *>(QString::fromLatin1(name)); }
    [[nodiscard]] QString listed() const { return tree("tvContents").currentItem()->text(0); }

    HelpFile help;
};

/// What the desktop was asked to open.
class Desktop final : public QObject
{
    Q_OBJECT
public:
    Desktop()
    {
        for (const char *scheme : {"http", "https", "mailto", "file", "javascript", "ftp"})
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "open");
    }
    ~Desktop() override
    {
        for (const char *scheme : {"http", "https", "mailto", "file", "javascript", "ftp"})
            QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }
    QStringList opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened.append(url.scheme()); }
};

} // namespace

class HelpWindowTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void contexts_open_their_pages_in_one_window()
    {
        const Shown shown;
        QCOMPARE(shown.text().page(), u"window.html"_s);
        QCOMPARE(shown.listed(), u"The main window"_s);
        const QWidget *first = shown.help.window();
        const_cast<HelpFile &>(shown.help).showContext(54);
        QCOMPARE(shown.help.window(), first);
        QCOMPARE(shown.listed(), u"Scheduled reports"_s);
        QVERIFY(shown.window().windowTitle().startsWith(u"Scheduled reports"_s));
        // A number that the file does not know opens its first page.
        const_cast<HelpFile &>(shown.help).showContext(4711);
        QCOMPARE(shown.text().page(), u"start.html"_s);
    }

    void the_way_back_and_forward_and_home_by_keys()
    {
        const Shown shown;
        QTreeWidget &contents = shown.tree("tvContents");
        QTest::keyClick(&shown.window(), Qt::Key_C, Qt::AltModifier);
        QTRY_VERIFY(contents.hasFocus());
        QTest::keyClick(&contents, Qt::Key_Down);
        QTest::keyClick(&contents, Qt::Key_Return);
        QCOMPARE(shown.text().page(), u"catalogue.html"_s);
        // A heading inside the page.
        QTest::keyClick(&contents, Qt::Key_Right);
        QTest::keyClick(&contents, Qt::Key_End);
        QTest::keyClick(&shown.window(), Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(shown.text().page(), u"window.html"_s);
        QCOMPARE(shown.listed(), u"The main window"_s);
        QTest::keyClick(&shown.window(), Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(shown.text().page(), u"catalogue.html"_s);
        QTest::keyClick(&shown.window(), Qt::Key_Home, Qt::AltModifier);
        QCOMPARE(shown.text().page(), u"start.html"_s);
        QTest::keyClick(&shown.window(), Qt::Key_Escape);
        QVERIFY(!shown.window().isVisible());
    }

    void a_heading_of_the_contents_scrolls_to_its_place()
    {
        const Shown shown;
        shown.window().resize(700, 300);
        shown.window().showPage(u"troubleshooting.html#numbers"_s);
        QTRY_VERIFY(shown.text().verticalScrollBar()->value() > 200);
        const QTextCursor top = shown.text().cursorForPosition({30, 12});
        QVERIFY2(top.block().text().contains(u"Error numbers"_s), qPrintable(top.block().text()));
    }

    void the_index_narrows_while_typing_and_enter_opens()
    {
        const Shown shown;
        QTest::keyClick(&shown.window(), Qt::Key_I, Qt::AltModifier);
        QTRY_VERIFY(shown.line("txtIndex").hasFocus());
        QTest::keyClicks(&shown.line("txtIndex"), u"daylight"_s);
        QCOMPARE(shown.tree("tvIndex").currentItem()->text(0), u"daylight saving"_s);
        QTest::keyClick(&shown.line("txtIndex"), Qt::Key_Return);
        QCOMPARE(shown.text().page(), u"schedule.html"_s);
        QCOMPARE(shown.text().source().fragment(), u"when"_s);
    }

    void search_lists_pages_and_marks_the_word_on_the_page()
    {
        const Shown shown;
        QTest::keyClick(&shown.window(), Qt::Key_S, Qt::AltModifier);
        QTRY_VERIFY(shown.line("txtSearch").hasFocus());
        QTest::keyClicks(&shown.line("txtSearch"), u"sha-256"_s);
        QTest::keyClick(&shown.line("txtSearch"), Qt::Key_Return);
        auto &hits = *shown.window().findChild<QListWidget *>();
        QCOMPARE(hits.count(), 1);
        QTest::keyClick(&hits, Qt::Key_Return);
        QCOMPARE(shown.text().page(), u"files.html"_s);
        QCOMPARE(shown.text().textCursor().selectedText().toLower(), u"sha-256"_s);
    }

    void find_on_the_page_goes_round_and_says_when_there_is_none()
    {
        const Shown shown;
        QTest::keyClick(&shown.window(), Qt::Key_F, Qt::ControlModifier);
        QLineEdit &find = shown.line("txtFind");
        QTRY_VERIFY(find.hasFocus());
        QTest::keyClicks(&find, u"notification area"_s);
        QTest::keyClick(&find, Qt::Key_Return);
        const int first = shown.text().textCursor().position();
        QVERIFY(shown.text().textCursor().hasSelection());
        QTest::keyClick(&shown.window(), Qt::Key_F3);
        QVERIFY(shown.text().textCursor().position() > first);
        QTest::keyClick(&shown.window(), Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(shown.text().textCursor().position(), first);
        QTest::keyClick(&shown.window(), Qt::Key_F3, Qt::ShiftModifier); // over the beginning to the last place
        QVERIFY(shown.text().textCursor().position() > first);
        QTest::keyClick(&find, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&find, u"xyzzy"_s);
        QTest::keyClick(&find, Qt::Key_Return);
        const auto labels = shown.window().findChildren<QLabel *>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [](const QLabel *l) { return l->text() == u"Not on this page"_s; }));
        QTest::keyClick(&find, Qt::Key_Escape);
        QVERIFY(!find.isVisible() && shown.window().isVisible());
    }

    void size_and_place_are_found_again()
    {
        const QTemporaryDir folder;
        const QString state = folder.filePath(u"help.ini"_s);
        {
            const Shown shown(state);
            shown.window().resize(640, 480);
            const qreal before = shown.text().font().pointSizeF();
            QTest::keyClick(&shown.window(), Qt::Key_Plus, Qt::ControlModifier);
            QVERIFY(shown.text().font().pointSizeF() > before);
            shown.window().close();
        }
        const Shown again(state);
        QCOMPARE(again.window().size(), QSize(640, 480));
        QCOMPARE(again.text().zoom(), 1);
        QTest::keyClick(&again.window(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(again.text().zoom(), 0);
    }

    void links_out_of_the_book_go_to_the_desktop_or_nowhere()
    {
        const Shown shown;
        Desktop desktop;
        const QUrl before = shown.text().source();
        for (const char *link :
             {"https://example.org/", "mailto:help@example.org", "file:///etc/passwd", "javascript:alert(1)", "ftp://x/y"})
            Q_EMIT shown.text().anchorClicked(QUrl(QString::fromLatin1(link)));
        QCOMPARE(desktop.opened, QStringList({u"https"_s, u"mailto"_s}));
        QCOMPARE(shown.text().source(), before);
        for (const char *address : {"file:///etc/passwd", "http://127.0.0.1:1/x.png", "qrc:/help/icons/back"})
            QVERIFY(!shown.text().loadResource(QTextDocument::ImageResource, QUrl(QString::fromLatin1(address))).isValid());
        shown.window().showPage(u"nowhere.html"_s);
        QVERIFY(shown.text().toPlainText().startsWith(u"This page is missing"_s));
        shown.window().showPage(u"start.html"_s);
        QVERIFY(shown.text().toPlainText().startsWith(u"Getting started"_s));
    }

    void a_file_spoilt_later_leaves_the_open_help_as_it_is()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"Report Generator.chm"_s);
        QVERIFY(QFile::copy(builtHelp(), path));
        HelpFile help;
        help.setPath(path);
        help.showContext(24);
        writeBytes(path, "spoilt");
        help.showContext(55);
        QCOMPARE(help.window()->findChild<HelpText *>()->page(), u"email.html"_s);
    }

    void help_can_be_read_beside_a_modal_dialog_and_outlives_it()
    {
        const Shown shown;
        QDialog dialog;
        dialog.setModal(true);
        QTimer::singleShot(0, &dialog, [&] {
            const auto end = qScopeGuard([&] { dialog.accept(); });
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            const_cast<HelpFile &>(shown.help).showContext(24);
            QVERIFY(QTest::qWaitForWindowActive(shown.help.window()));
            QTest::keyClick(shown.help.window()->windowHandle(), Qt::Key_Home, Qt::AltModifier);
            QCOMPARE(shown.text().page(), u"start.html"_s);
        });
        dialog.exec();
        QVERIFY(shown.window().isVisible());
        QTest::keyClick(shown.help.window()->windowHandle(), Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(shown.text().page(), u"data-sources.html"_s);
    }
};

QTEST_MAIN(HelpWindowTest)
#include "help_window_test.moc"
