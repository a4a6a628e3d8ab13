#include "importing/EventRecord.h"

#include "importing/ImportError.h"

#include <algorithm>
#include <charconv>

namespace qm {

namespace {

QString shown(std::string_view text)
{
    constexpr qsizetype kLongest = 60;
    QString value = toQt(text).simplified();
    if (value.size() > kLongest)
        value = value.left(kLongest) + QStringLiteral("...");
    return value;
}

std::string lowerCase(std::string_view text)
{
    std::string out(text);
    if (std::ranges::all_of(out, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        std::ranges::transform(out, out.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        return out;
    }
    return toQt(text).toLower().toStdString();
}

bool isSeparator(char c)
{
    return c == '\\' || c == '/';
}

std::size_t findSeparator(std::string_view path, std::size_t from)
{
    return std::min(path.find_first_of("\\/", from), path.size());
}

/// Length of "C:" or "\\server\share" at the start of a path; 0 when there is none.
std::size_t rootLength(std::string_view path)
{
    if (path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1])) {
        const std::string head = lowerCase(path.substr(0, 8));
        std::string unified = head;
        std::ranges::replace(unified, '/', '\\');
        const std::size_t start = unified == "\\\\?\\unc\\" ? 8 : 2;
        const std::size_t share = findSeparator(path, start);
        return share == path.size() ? share : findSeparator(path, share + 1);
    }
    return path.size() >= 2 && path[1] == ':' ? 2 : 0;
}

std::string_view lastPartOf(std::string_view path)
{
    path.remove_prefix(rootLength(path));
    const std::size_t last = path.find_last_of("\\/");
    return last == std::string_view::npos ? path : path.substr(last + 1);
}

} // namespace

std::string mailDomain(std::string_view address)
{
    const std::size_t at = address.rfind('@');
    if (at == std::string_view::npos)
        return {};
    std::string_view domain = address.substr(at + 1);
    while (!domain.empty() && domain.front() == '>')
        domain.remove_prefix(1);
    while (!domain.empty() && domain.back() == '>')
        domain.remove_suffix(1);
    return lowerCase(domain);
}

std::string_view folderOf(std::string_view path)
{
    const std::size_t root = rootLength(path);
    const std::size_t last = path.find_last_of("\\/");
    if (last == std::string_view::npos || last < root)
        return path.substr(0, root);
    std::size_t end = last + 1;
    while (end > root && isSeparator(path[end - 1]))
        --end;
    return path.substr(0, end == root ? last + 1 : end);
}

std::string fileExtension(std::string_view path)
{
    constexpr qsizetype kLongest = 8;
    const std::string_view name = lastPartOf(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos)
        return {};
    const std::string_view extension = name.substr(dot + 1);
    const auto characters = std::ranges::count_if(extension, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; });
    return characters > kLongest ? std::string() : lowerCase(extension);
}

void EventRecord::setSpelled(int column, std::string_view text)
{
    const EventColumn &described = m_schema->columns[static_cast<std::size_t>(column)];
    const auto complain = [&](const char *wanted) {
        refuseInput(QStringLiteral("column \"%1\" holds \"%2\", which is not %3")
                        .arg(toQt(described.name), shown(text), QString::fromUtf8(wanted)));
    };
    if (text.empty() || described.type == EventColumnType::Text) {
        setText(column, text);
    } else if (described.type == EventColumnType::Time) {
        const std::optional<EventTime> time = parseEventTime(text);
        if (!time)
            complain("a time like 2026-11-20T08:15:00.000Z");
        setTime(column, *time);
    } else {
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size())
            complain("a whole number");
        setInteger(column, number);
    }
}

void EventRecord::complete()
{
    if (m_schema->kind == EventKind::Mail) {
        setText(MailColumn::SenderDomain, mailDomain(text(static_cast<int>(MailColumn::Sender))));
        setText(MailColumn::RecipientDomain, mailDomain(text(static_cast<int>(MailColumn::Recipient))));
    } else if (m_schema->kind == EventKind::File) {
        const std::string_view path = text(static_cast<int>(FileColumn::Path));
        setText(FileColumn::Folder, folderOf(path));
        setText(FileColumn::FileExt, fileExtension(path));
    }
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        const EventColumn &column = m_schema->columns[i];
        if (!column.required || m_cells[i].state != State::None)
            continue;
        if (column.defaultText.empty())
            refuseInput(QStringLiteral("column \"%1\" is empty, and every event needs it").arg(toQt(column.name)));
        setText(static_cast<int>(i), column.defaultText);
    }
}

} // namespace qm
