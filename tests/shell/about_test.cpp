// The About box: facts of the installation, and the licences of everything that is linked.

#include "shell/frmAbout.h"
#include "support/TempInstallation.h"

#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QtTest>

using namespace qm;
using namespace qm::test;

namespace {

QString shown(const frmAbout &about, const char *label)
{
    return about.findChild<QLabel *>(QString::fromLatin1(label))->text();
}

/// What setup.sh installs to be linked and to be shipped, and the name that the licences give it.
const QMap<QString, QString> kNames{{QStringLiteral("qt6-base-dev"), QStringLiteral("Qt 6")},
                                    {QStringLiteral("libqt6svg6-dev"), QStringLiteral("Qt 6")},
                                    {QStringLiteral("libgl1-mesa-dev"), QStringLiteral("Qt 6")}, // headers that Qt's own want
                                    {QStringLiteral("libsqlite3-dev"), QStringLiteral("SQLite")},
                                    {QStringLiteral("unixodbc-dev"), QStringLiteral("unixODBC")},
                                    {QStringLiteral("libtomlplusplus-dev"), QStringLiteral("toml++")},
                                    {QStringLiteral("libspdlog-dev"), QStringLiteral("spdlog")},
                                    {QStringLiteral("libexpat1-dev"), QStringLiteral("Expat")},
                                    {QStringLiteral("libssl-dev"), QStringLiteral("OpenSSL")},
                                    {QStringLiteral("zlib1g-dev"), QStringLiteral("zlib")},
                                    {QStringLiteral("libdeflate-dev"), QStringLiteral("libdeflate")},
                                    {QStringLiteral("libharfbuzz-dev"), QStringLiteral("HarfBuzz")},
                                    {QStringLiteral("libfribidi-dev"), QStringLiteral("FriBidi")},
                                    {QStringLiteral("libfontconfig-dev"), QStringLiteral("fontconfig")},
                                    {QStringLiteral("libcurl4-openssl-dev"), QStringLiteral("libcurl")},
                                    {QStringLiteral("libcups2-dev"), QStringLiteral("CUPS")},
                                    {QStringLiteral("libmspack-dev"), QStringLiteral("libmspack")},
                                    {QStringLiteral("fonts-dejavu-core"), QStringLiteral("DejaVu fonts")},
                                    {QStringLiteral("fonts-droid-fallback"), QStringLiteral("Droid Sans Fallback")}};

} // namespace

class AboutTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void version_service_pack_and_build_come_from_the_installation()
    {
        const TempInstallation installation;
        installation.write(QStringLiteral("Packages.ini"),
                           "[Framework]\r\nVersion = 8.50.001\r\nServicePack=<b>5</b>\r\n[Other]\r\nBuild=9\r\n");
        const frmAbout about(installation.path(), nullptr);
        QCOMPARE(shown(about, "lblVersion"), QStringLiteral("8.50.001"));
        QCOMPARE(shown(about, "lblServicePack"), QStringLiteral("<b>5</b>"));
        QCOMPARE(shown(about, "lblBuild"), QString());
        QCOMPARE(shown(about, "lblTitle"), QStringLiteral("Quillmark Report Generator"));
        // Without an installation there is still a box.
        QCOMPARE(shown(frmAbout(QStringLiteral("/nowhere/"), nullptr), "lblVersion"), QString());
    }

    void the_licence_of_everything_linked_or_shipped_is_told()
    {
        QFile setup(qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/scripts/setup.sh"));
        QVERIFY(setup.open(QIODevice::ReadOnly));
        const QString script = QString::fromUtf8(setup.readAll());
        const qsizetype from = script.indexOf(QStringLiteral("# linked libraries")), to = script.indexOf(QStringLiteral("# the help file"));
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
