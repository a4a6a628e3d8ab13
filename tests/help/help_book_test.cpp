// What the built help file says, read by a program that is not ours, and held against the program's own texts.

#include "help/viewer/HelpBook.h"
#include "support/ErrorOf.h"
#include "support/FileBytes.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QtEndian>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QStringList captures(const QString &text, const QString &pattern)
{
    QStringList found;
    auto match = QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption).globalMatch(text);
    while (match.hasNext())
        found.append(match.next().captured(1));
    return found;
}

QString plain(const QString &html)
{
    QTextDocument document;
    document.setHtml(html);
    return document.toPlainText();
}

/// A C++ string literal's contents, with the escapes that the sources use resolved.
QString unescaped(const QString &literal)
{
    QString text;
    for (qsizetype i = 0; i < literal.size(); ++i) {
        if (literal.at(i) != u'\\' || i + 1 == literal.size()) {
            text += literal.at(i);
            continue;
        }
        const QChar next = literal.at(++i);
        text += next == u'n' ? QChar(u'\n') : next == u'r' ? QChar(u'\r') : next;
    }
    return text;
}

/// All string literals of the program's sources, those that stand beside each other joined.
QStringList literalsOfTheProgram()
{
    static const QRegularExpression joined(QStringLiteral(R"re("(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*)re"));
    static const QRegularExpression single(QStringLiteral(R"re("((?:[^"\\\n]|\\.)*)")re"));
    QStringList found;
    QDirIterator walk(qEnvironmentVariable("QM_SOURCE_DIR") + u"/src"_s, {u"*.cpp"_s, u"*.h"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString source = QString::fromUtf8(bytesOf(walk.next()));
        auto match = joined.globalMatch(source);
        while (match.hasNext()) {
            QString text;
            auto part = single.globalMatch(match.next().captured());
            while (part.hasNext())
                text += unescaped(part.next().captured(1));
            found.append(text);
        }
    }
    return found;
}

/// The book unpacked by a foreign program.
class Unpacked
{
public:
    Unpacked()
    {
        QProcess unpack;
        unpack.start(u"7z"_s, {u"x"_s, u"-o"_s + folder.path(), builtHelp()});
        ok = unpack.waitForFinished() && unpack.exitCode() == 0;
    }
    [[nodiscard]] QByteArray bytes(const QString &name) const { return bytesOf(folder.filePath(name)); }
    [[nodiscard]] QString text(const QString &name) const { return QString::fromUtf8(bytes(name)); }
    [[nodiscard]] QStringList pages() const { return QDir(folder.path()).entryList({u"*.html"_s}, QDir::Files); }
    /// Whether \p target ("page.html#anchor") leads somewhere.
    [[nodiscard]] bool leads(const QString &target) const
    {
        const QString anchor = target.section(u'#', 1);
        const QString page = text(target.section(u'#', 0, 0));
        return !page.isEmpty() && (anchor.isEmpty() || page.contains(u"id=\"%1\""_s.arg(anchor)));
    }

    QTemporaryDir folder;
    bool ok = false;
};

} // namespace

class HelpBookTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Unpacked> m_book;

private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"7z"_s).isEmpty())
            QSKIP("7z (package p7zip-full) is not installed");
        m_book = std::make_unique<Unpacked>();
        QVERIFY(m_book->ok);
        QVERIFY(m_book->pages().size() >= 12);
    }

    void each_context_number_lands_on_its_page()
    {
        const QByteArray pairs = m_book->bytes(u"#IVB"_s), strings = m_book->bytes(u"#STRINGS"_s);
        QDataStream numbers(pairs);
        numbers.setByteOrder(QDataStream::LittleEndian);
        quint32 size = 0;
        numbers >> size;
        QCOMPARE(size, static_cast<quint32>(pairs.size() - 4));
        QMap<int, QString> titles;
        while (!numbers.atEnd()) {
            qint32 context = 0, name = 0;
            numbers >> context >> name;
            const QString page = QString::fromUtf8(strings.mid(name).constData());
            titles.insert(context, captures(m_book->text(page), u"<title>(.*?)</title>"_s).value(0));
        }
        QCOMPARE(titles.value(24), u"Data sources"_s);
        QCOMPARE(titles.value(26), u"The main window"_s);
        QCOMPARE(titles.value(54), u"Scheduled reports"_s);
        QCOMPARE(titles.value(55), u"E-mail"_s);
        const HelpBook book(builtHelp());
        for (auto it = titles.cbegin(); it != titles.cend(); ++it) {
            QVERIFY(!it.value().isEmpty());
            QVERIFY(QString::fromUtf8(book.file(book.pageOfContext(it.key())).value()).contains(it.value()));
        }
    }

    void every_page_is_in_the_contents_and_no_link_is_dead()
    {
        const QString local = u"name=\"Local\" value=\"([^\"]*)\""_s;
        const QStringList contents = captures(m_book->text(u"contents.hhc"_s), local);
        const QStringList index = captures(m_book->text(u"index.hhk"_s), local);
        QVERIFY(index.size() > 60);
        for (const QString &target : contents + index)
            QVERIFY2(m_book->leads(target), qPrintable(target));
        const QDir sources(qEnvironmentVariable("QM_SOURCE_DIR") + u"/help"_s);
        QCOMPARE(m_book->pages(), sources.entryList({u"*.html"_s}, QDir::Files));
        for (const QString &page : m_book->pages()) {
            QVERIFY2(contents.contains(page), qPrintable(page));
            const QString text = m_book->text(page);
            for (const QString &link : captures(text, u"(?:href|src)=\"([^\"]*)\""_s))
                if (!link.contains(u':'))
                    QVERIFY2(m_book->leads(link.startsWith(u'#') ? page + link : link), qPrintable(page + u": "_s + link));
            QVERIFY2(!text.contains(u"<script"_s), qPrintable(page));
        }
    }

    /// A message that the program no longer says must not stay in the help.
    void every_message_is_one_that_the_program_says()
    {
        const QStringList literals = literalsOfTheProgram();
        const QStringList messages = captures(m_book->text(u"troubleshooting.html"_s), u"<h3 class=\"message\">(.*?)</h3>"_s);
        QVERIFY(messages.size() > 40);
        QStringList unknown;
        for (const QString &html : messages) {
            for (const QString &piece : plain(html).split(u'…', Qt::SkipEmptyParts)) {
                const QString text = piece.simplified();
                const auto says = [&text](const QString &literal) { return literal.simplified().contains(text); };
                if (text.size() > 2 && std::none_of(literals.begin(), literals.end(), says))
                    unknown.append(text);
            }
        }
        QVERIFY2(unknown.isEmpty(), qPrintable(unknown.join(u'\n')));
    }

    /// What stands in bold is a caption: it is written as the program writes it.
    void every_caption_is_one_that_the_program_shows()
    {
        QSet<QString> captions;
        const auto bare = [](QString text) {
            text.remove(u'&');
            while (text.endsWith(u'.') || text.endsWith(u':') || text.endsWith(u'…') || text.endsWith(u' '))
                text.chop(1);
            return text;
        };
        for (const QString &literal : literalsOfTheProgram())
            captions.insert(bare(literal));
        QStringList unknown;
        for (const QString &page : m_book->pages())
            for (const QString &html : captures(m_book->text(page), u"<b>(.*?)</b>"_s))
                for (const QString &part : plain(html).simplified().split(u" > "_s))
                    if (!captions.contains(bare(part)))
                        unknown.append(page + u": "_s + part);
        QVERIFY2(unknown.isEmpty(), qPrintable(unknown.join(u'\n')));
    }

    void search_finds_pages_that_hold_all_words_best_first()
    {
        const HelpBook book(builtHelp());
        QVERIFY(book.search(u"  "_s).empty());
        QVERIFY(book.search(u"schedule xyzzy"_s).empty());
        const std::vector<HelpHit> hits = book.search(u"SUMMER time"_s);
        QCOMPARE(hits.size(), std::size_t{1});
        QCOMPARE(hits[0].page, u"schedule.html"_s);
        QVERIFY(hits[0].excerpt.contains(u"summer time"_s));
        QCOMPARE(book.search(u"data source"_s)[0].page, u"data-sources.html"_s);
    }

    void a_missing_or_damaged_file_is_told_and_never_harms()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"x.chm"_s);
        QCOMPARE(numberOf([&] { HelpBook book(path); }), err::fileNotFound);
        const QByteArray whole = bytesOf(builtHelp());
        for (const QByteArray &bytes : {QByteArray(), QByteArray("not a help file"), whole.left(40), whole.left(4000)}) {
            writeBytes(path, bytes);
            const RuntimeError error = errorOf([&] { HelpBook book(path); });
            QCOMPARE(error.number(), err::invalidFileFormat);
            QVERIFY(error.description().contains(path));
        }
        // What is too large to be one is not read, whatever it begins with.
        QVERIFY(QFile::resize(path, 0) && (writeBytes(path, whole), QFile::resize(path, qint64{3} << 30)));
        QElapsedTimer watch;
        watch.start();
        QCOMPARE(numberOf([&] { HelpBook book(path); }), err::invalidFileFormat);
        QVERIFY(watch.elapsed() < 5000);
        QVERIFY(QFile::remove(path));
        // Whatever byte is wrong: an error, or a book whose pages can be asked for.
        for (qsizetype at = 0; at < whole.size(); at += at < 600 ? 7 : 331) {
            QByteArray bytes = whole;
            bytes[at] = static_cast<char>(~bytes.at(at));
            writeBytes(path, bytes);
            const int number = numberOf([&] {
                const HelpBook book(path);
                static_cast<void>(book.search(u"report"_s));
            });
            QVERIFY2(number == 0 || number == err::invalidFileFormat, qPrintable(QString::number(at)));
        }
    }
};

QTEST_MAIN(HelpBookTest)
#include "help_book_test.moc"
