#include "help/viewer/HelpBook.h"

#include "core/RuntimeError.h"

#include <QRegularExpression>
#include <QSet>
#include <QTextDocument>
#include <QtEndian>

#include <algorithm>

namespace qm {

namespace {

enum SystemRecord : quint16 { ContentsFile = 0, IndexFile = 1, DefaultTopic = 2, Title = 3 };
constexpr qsizetype kExcerptBefore = 40, kExcerptLength = 160;
/// What of all pages together is searched; what lies beyond can still be read.
constexpr qsizetype kMostSearched = 32 << 20;
/// Deeper lists are read as part of the one around them: a damaged file must not exhaust the stack.
constexpr int kDeepest = 8;

template <class Number>
Number numberAt(const QByteArray &bytes, qsizetype offset)
{
    return offset >= 0 && offset + static_cast<qsizetype>(sizeof(Number)) <= bytes.size()
               ? qFromLittleEndian<Number>(bytes.constData() + offset)
               : Number{};
}

QString textUntilNul(const QByteArray &bytes, qsizetype offset)
{
    if (offset < 0 || offset >= bytes.size())
        return {};
    const qsizetype end = bytes.indexOf('\0', offset);
    return QString::fromUtf8(bytes.mid(offset, end < 0 ? -1 : end - offset));
}

QString withoutEntities(QString text)
{
    return text.replace(QStringLiteral("&lt;"), QStringLiteral("<"))
        .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
        .replace(QStringLiteral("&quot;"), QStringLiteral("\""))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

/// Reads a sitemap: lists nest, and each "object" with a "Name" is an entry whose "Local" is its page.
class Sitemap final
{
public:
    explicit Sitemap(const QString &text) : m_tags(pattern().globalMatch(text)) {}
    std::vector<HelpTopic> read(int depth = 0)
    {
        std::vector<HelpTopic> topics;
        qsizetype flattened = 0;
        while (m_tags.hasNext()) {
            const QRegularExpressionMatch tag = m_tags.next();
            const QString name = tag.captured(1).toLower();
            if (name == QLatin1String("/ul")) {
                if (flattened == 0)
                    break;
                --flattened;
            } else if (name == QLatin1String("ul") && depth == kDeepest) {
                ++flattened;
            } else if (name == QLatin1String("ul")) {
                std::vector<HelpTopic> inner = read(depth + 1);
                std::vector<HelpTopic> &target = topics.empty() || depth == 0 ? topics : topics.back().children;
                std::move(inner.begin(), inner.end(), std::back_inserter(target));
            } else if (name == QLatin1String("object")) {
                topics.push_back({});
            } else if (name == QLatin1String("param") && !topics.empty()) {
                parameter(topics.back(), tag.captured(2), withoutEntities(tag.captured(3)));
            }
        }
        return topics;
    }

private:
    static const QRegularExpression &pattern()
    {
        static const QRegularExpression tags(
            QStringLiteral("<(/?ul|object|param)\\b(?:[^>]*?name=\"([^\"]*)\"\\s+value=\"([^\"]*)\")?[^>]*>"),
            QRegularExpression::CaseInsensitiveOption);
        return tags;
    }
    static void parameter(HelpTopic &topic, const QString &name, const QString &value)
    {
        // An index entry names its keyword first and the title of its page after it.
        if (name.compare(QLatin1String("Name"), Qt::CaseInsensitive) == 0 && topic.title.isEmpty())
            topic.title = value;
        else if (name.compare(QLatin1String("Local"), Qt::CaseInsensitive) == 0)
            topic.page = value;
    }

    QRegularExpressionMatchIterator m_tags;
};

std::vector<HelpTopic> readSitemap(const std::optional<QByteArray> &bytes)
{
    return bytes ? Sitemap(QString::fromUtf8(*bytes)).read() : std::vector<HelpTopic>();
}

/// Whole words around a place of the text.
QString excerptAt(const QString &text, qsizetype at)
{
    qsizetype from = std::max<qsizetype>(0, at - kExcerptBefore);
    qsizetype end = std::min(text.size(), from + kExcerptLength);
    if (from > 0)
        from = text.indexOf(u' ', from) + 1;
    if (end < text.size())
        end = std::max(from, text.lastIndexOf(u' ', end));
    const QString dots = QStringLiteral("…");
    return (from > 0 ? dots : QString()) + text.mid(from, end - from) + (end < text.size() ? dots : QString());
}

void collectPages(const std::vector<HelpTopic> &topics, std::vector<HelpTopic> &pages, QSet<QString> &seen)
{
    for (const HelpTopic &topic : topics) {
        const QString page = topic.page.section(u'#', 0, 0);
        if (!page.isEmpty() && !seen.contains(page)) {
            seen.insert(page);
            pages.push_back({topic.title, page});
        }
        collectPages(topic.children, pages, seen);
    }
}

} // namespace

HelpBook::HelpBook(const QString &path) : m_file(path), m_path(path)
{
    readSystem();
    readContexts();
    m_contents = readSitemap(file(m_contentsName));
    m_index = readSitemap(file(m_indexName));
    if (m_contents.empty() || !file(m_home))
        raise(err::invalidFileFormat, QStringLiteral("the help file \"%1\" is damaged; install it again").arg(path));
}

void HelpBook::readSystem()
{
    const QByteArray bytes = file(QStringLiteral("#SYSTEM")).value_or(QByteArray());
    for (qsizetype at = 4; at + 4 <= bytes.size();) {
        const auto code = numberAt<quint16>(bytes, at);
        const auto length = numberAt<quint16>(bytes, at + 2);
        const QString text = textUntilNul(bytes.mid(at + 4, length), 0);
        if (code == ContentsFile)
            m_contentsName = text;
        else if (code == IndexFile)
            m_indexName = text;
        else if (code == DefaultTopic)
            m_home = text;
        else if (code == Title)
            m_title = text;
        at += 4 + length;
    }
}

void HelpBook::readContexts()
{
    const QByteArray pairs = file(QStringLiteral("#IVB")).value_or(QByteArray());
    const QByteArray strings = file(QStringLiteral("#STRINGS")).value_or(QByteArray());
    for (qsizetype at = 4; at + 8 <= pairs.size(); at += 8) {
        const QString page = textUntilNul(strings, numberAt<qint32>(pairs, at + 4));
        if (!page.isEmpty())
            m_contexts.insert(numberAt<qint32>(pairs, at), page);
    }
}

const std::vector<HelpBook::PageText> &HelpBook::texts() const
{
    if (!m_texts.empty())
        return m_texts;
    std::vector<HelpTopic> pages;
    QSet<QString> seen;
    collectPages(m_contents, pages, seen);
    qsizetype searched = 0;
    for (const HelpTopic &page : pages) {
        const QByteArray html = file(page.page).value_or(QByteArray());
        searched += html.size();
        if (searched > kMostSearched)
            break;
        QTextDocument document;
        document.setHtml(QString::fromUtf8(html));
        m_texts.push_back({page.title, page.page, document.toPlainText().simplified()});
    }
    return m_texts;
}

std::vector<HelpHit> HelpBook::search(const QString &words) const
{
    const QStringList wanted = words.split(u' ', Qt::SkipEmptyParts);
    if (wanted.isEmpty())
        return {};
    std::vector<std::pair<qsizetype, HelpHit>> found;
    for (const PageText &page : texts()) {
        qsizetype score = 0, first = -1;
        const bool all = std::all_of(wanted.begin(), wanted.end(), [&](const QString &word) {
            const qsizetype at = page.text.indexOf(word, 0, Qt::CaseInsensitive);
            if (first < 0)
                first = at;
            score += page.text.count(word, Qt::CaseInsensitive) + (page.title.contains(word, Qt::CaseInsensitive) ? 1000 : 0);
            return at >= 0;
        });
        if (!all)
            continue;
        found.push_back({score, {page.title, page.page, excerptAt(page.text, first)}});
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    std::vector<HelpHit> hits;
    for (auto &[score, hit] : found)
        hits.push_back(std::move(hit));
    return hits;
}

} // namespace qm
