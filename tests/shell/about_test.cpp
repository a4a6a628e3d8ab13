// The About box: facts of the installation, and the licences of everything that is linked.

#include "shell/frmAbout.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QtTest>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QString shown(const frmAbout &about, const char *label)
{
    return about.findChild<QLabel *>(QString::fromLatin1(label))->text();
}

/// What setup.sh installs to be linked and to be shipped, and the name that the licences give it.
const QMap<QString, QString> kNames{{u"qt6-base-dev"_s, u"Qt 6"_s},
                                    {u"qt6-svg-dev"_s, u"Qt 6"_s},
                                    {u"libgl1-mesa-dev"_s, u"Qt 6"_s}, // headers that Qt's own want
                                    {u"libsqlite3-dev"_s, u"SQLite"_s},
                                    {u"unixodbc-dev"_s, u"unixODBC"_s},
                                    {u"libtomlplusplus-dev"_s, u"toml++"_s},
                                    {u"libspdlog-dev"_s, u"spdlog"_s},
                                    {u"libexpat1-dev"_s, u"Expat"_s},
                                    {u"libssl-dev"_s, u"OpenSSL"_s},
                                    {u"zlib1g-dev"_s, u"zlib"_s},
                                    {u"libdeflate-dev"_s, u"libdeflate"_s},
                                    {u"libharfbuzz-dev"_s, u"HarfBuzz"_s},
                                    {u"libfribidi-dev"_s, u"FriBidi"_s},
                                    {u"libfontconfig-dev"_s, u"fontconfig"_s},
                                    {u"libcurl4-openssl-dev"_s, u"libcurl"_s},
                                    {u"libcups2-dev"_s, u"CUPS"_s},
                                    {u"libmspack-dev"_s, u"libmspack"_s},
                                    {u"fonts-dejavu-core"_s, u"DejaVu fonts"_s},
                                    {u"fonts-dejavu-extra"_s, u"DejaVu fonts"_s},
                                    {u"fonts-droid-fallback"_s, u"Droid Sans Fallback"_s}};

} // namespace

class AboutTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void version_service_pack_and_build_come_from_the_installation()
    {
        const TempInstallation installation;
        installation.write(u"Packages.ini"_s, "[Framework]\r\nVersion = 8.50.001\r\nServicePack=<b>5</b>\r\n[Other]\r\nBuild=9\r\n");
        const frmAbout about(installation.path(), nullptr);
        QCOMPARE(shown(about, "lblVersion"), u"8.50.001"_s);
        QCOMPARE(shown(about, "lblServicePack"), u"<b>5</b>"_s);
        QCOMPARE(shown(about, "lblBuild"), QString());
        QCOMPARE(shown(about, "lblTitle"), u"Quillmark Report Generator"_s);
        // Without an installation there is still a box.
        QCOMPARE(shown(frmAbout(u"/nowhere/"_s, nullptr), "lblVersion"), QString());
    }

    void the_licence_of_everything_linked_or_shipped_is_told()
    {
        if (onWindows())
            QSKIP("the Windows program is made of other libraries than this list names");
        QFile setup(qEnvironmentVariable("QM_SOURCE_DIR") + u"/scripts/setup.sh"_s);
        QVERIFY(setup.open(QIODevice::ReadOnly));
        const QString script = QString::fromUtf8(setup.readAll());
        const qsizetype from = script.indexOf(u"# linked libraries"_s), to = script.indexOf(u"# the help file"_s);
        QVERIFY(from > 0 && to > from);
        const TempInstallation installation;
        const frmAbout about(installation.path(), nullptr);
        const QString licences = about.findChild<QPlainTextEdit *>()->toPlainText();
        int packages = 0;
        for (const QString &line : script.mid(from, to - from).split(u'\n')) {
            if (line.contains(u'#'))
                continue;
            for (const QString &package : line.split(u' ', Qt::SkipEmptyParts)) {
                ++packages;
                QVERIFY2(kNames.contains(package) && licences.contains(kNames.value(package)), qPrintable(package));
            }
        }
        QVERIFY(packages > 15);
    }
};

QTEST_MAIN(AboutTest)
#include "about_test.moc"
