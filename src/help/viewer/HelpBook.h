/// \file
/// What a help file holds: its pages, contents tree, index and context numbers.
#pragma once

#include "help/viewer/ChmFile.h"

#include <QHash>
#include <QString>

#include <vector>

namespace qm {

/// One entry of the contents tree or of the index. \c page is relative to the file's root and may end in "#anchor"; empty: a heading only.
struct HelpTopic
{
    QString title;
    QString page;
    std::vector<HelpTopic> children{};
};

/// One page that a search found.
struct HelpHit
{
    QString title;
    QString page;
    QString excerpt; ///< the text around the first word that was found
};

/// Layout of the internal objects: "#SYSTEM" is a 32-bit version followed by records (16-bit code, 16-bit length, bytes), "#IVB" a 32-bit
/// length followed by pairs of 32-bit context number and offset in "#STRINGS"; all little-endian. Contents and index are "text/sitemap"
/// HTML.
class HelpBook final
{
public:
    /// \throws RuntimeError 53 when the file is missing, 321 when it is damaged.
    explicit HelpBook(const QString &path);

    [[nodiscard]] const QString &title() const { return m_title; }
    /// The page to begin with.
    [[nodiscard]] const QString &home() const { return m_home; }
    [[nodiscard]] const std::vector<HelpTopic> &contents() const { return m_contents; }
    [[nodiscard]] const std::vector<HelpTopic> &index() const { return m_index; }
    /// Empty when the number is not mapped.
    [[nodiscard]] QString pageOfContext(int context) const { return m_contexts.value(context); }
    /// A file of the book by its path without leading slash.
    [[nodiscard]] std::optional<QByteArray> file(const QString &path) const { return m_file.read(u'/' + path); }
    /// Pages that hold every word of \p words, the best first: words in the title, then the number of places.
    [[nodiscard]] std::vector<HelpHit> search(const QString &words) const;

private:
    struct PageText
    {
        QString title, page, text;
    };
    void readSystem();
    void readContexts();
    const std::vector<PageText> &texts() const;

    ChmFile m_file;
    QString m_path;
    QString m_title, m_home, m_contentsName, m_indexName;
    std::vector<HelpTopic> m_contents, m_index;
    QHash<int, QString> m_contexts;
    mutable std::vector<PageText> m_texts; ///< of all pages in the contents; filled by the first search
};

} // namespace qm
