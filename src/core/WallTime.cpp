#include "core/WallTime.h"

#include "core/RuntimeError.h"

#include <array>
#include <optional>

namespace qm {

namespace {

constexpr std::array<QStringView, 12> kMonths{u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                              u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};

/// \p number, which is not negative, in ASCII digits, filled with zeros to \p width.
QString digits(int number, int width)
{
    std::array<QChar, 10> text;
    std::size_t start = text.size();
    for (; number > 0 || width > 0; number /= 10, --width)
        text[--start] = QChar(static_cast<char16_t>(u'0' + number % 10));
    return QString(text.data() + start, static_cast<qsizetype>(text.size() - start));
}

QString namedDateText(QDate date, const QString &comma)
{
    if (!date.isValid())
        return {};
    return kMonths[static_cast<std::size_t>(date.month() - 1)].toString() + QLatin1Char(' ') + digits(date.day(), 2) + comma +
           digits(date.year(), 4);
}

/// Takes a text apart from its front. After a step that fails every later step fails too.
class Scanner final
{
public:
    explicit Scanner(QStringView text) : m_rest(text) {}

    /// A number of \p fewest to \p most ASCII digits; 0 when there is none.
    int number(int fewest, int most)
    {
        int value = 0;
        int length = 0;
        while (length < most && length < m_rest.size() && m_rest[length] >= u'0' && m_rest[length] <= u'9')
            value = value * 10 + (m_rest[length++].unicode() - u'0');
        m_good = m_good && length >= fewest;
        m_rest = m_rest.sliced(length);
        return value;
    }
    /// Whether \p text (letter case ignored) stood next; then it is taken.
    bool take(QStringView text)
    {
        if (!m_good || !m_rest.startsWith(text, Qt::CaseInsensitive))
            return false;
        m_rest = m_rest.sliced(text.size());
        return true;
    }
    void expect(QStringView text) { m_good = take(text) && m_good; }
    /// The month whose short name stands next; 0 when none does.
    int monthName()
    {
        for (std::size_t month = 0; month < kMonths.size(); ++month)
            if (take(kMonths[month]))
                return static_cast<int>(month) + 1;
        return 0;
    }
    [[nodiscard]] bool atEnd() const { return m_good && m_rest.isEmpty(); }

private:
    QStringView m_rest;
    bool m_good = true;
};

std::optional<QDate> scanDate(QStringView text)
{
    Scanner scanner(text);
    int month = scanner.monthName();
    int day = 0;
    if (month != 0) {
        scanner.expect(u" ");
        day = scanner.number(1, 2);
        scanner.expect(u",");
        (void)scanner.take(u" ");
    } else {
        month = scanner.number(1, 2);
        scanner.expect(u"/");
        day = scanner.number(1, 2);
        scanner.expect(u"/");
    }
    const QDate date(scanner.number(4, 4), month, day);
    return scanner.atEnd() && date.isValid() ? std::optional(date) : std::nullopt;
}

std::optional<int> scanTime(QStringView text)
{
    Scanner scanner(text);
    int hour = scanner.number(2, 2);
    scanner.expect(u":");
    const int minute = scanner.number(2, 2);
    const bool withSeconds = scanner.take(u":");
    const int second = withSeconds ? scanner.number(2, 2) : 0;
    if (withSeconds && !scanner.atEnd()) {
        scanner.expect(u" ");
        const bool afternoon = scanner.take(u"PM");
        if (!afternoon)
            scanner.expect(u"AM");
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = hour % 12 + (afternoon ? 12 : 0);
    }
    if (!scanner.atEnd() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return hour * 3600 + minute * 60 + second;
}

[[noreturn]] void refuse(QStringView text, const char *kind, const char *forms)
{
    raise(err::typeMismatch, QStringLiteral("\"%1\" is not a %2; it reads like %3").arg(text, QLatin1String(kind), QLatin1String(forms)));
}

constexpr char kDateForms[] = "\"Nov 21,2026\", \"Nov 21, 2026\" or \"11/21/2026\"";
constexpr char kTimeForms[] = "\"14:05:37\", \"14:05\" or \"02:05:37 PM\"";

} // namespace

QString tableDateText(QDate date)
{
    return namedDateText(date, QStringLiteral(","));
}

QString dialogDateText(QDate date)
{
    return namedDateText(date, QStringLiteral(", "));
}

QString shortDateText(QDate date)
{
    if (!date.isValid())
        return {};
    return digits(date.month(), 1) + QLatin1Char('/') + digits(date.day(), 1) + QLatin1Char('/') + digits(date.year(), 4);
}

QString time24Text(int secondOfDay)
{
    return digits(secondOfDay / 3600, 2) + QLatin1Char(':') + digits(secondOfDay / 60 % 60, 2) + QLatin1Char(':') +
           digits(secondOfDay % 60, 2);
}

QString time12Text(int secondOfDay)
{
    const int hour = secondOfDay / 3600;
    return digits(hour % 12 == 0 ? 12 : hour % 12, 2) + time24Text(secondOfDay).mid(2) +
           (hour < 12 ? QStringLiteral(" AM") : QStringLiteral(" PM"));
}

QDate parseDate(QStringView text)
{
    const auto date = scanDate(text);
    if (!date)
        refuse(text, "date", kDateForms);
    return *date;
}

int parseTime(QStringView text)
{
    const auto second = scanTime(text);
    if (!second)
        refuse(text, "time", kTimeForms);
    return *second;
}

WallTime parseWallTime(QStringView text)
{
    const auto colon = text.indexOf(u':');
    const auto blank = colon < 0 ? -1 : text.first(colon).lastIndexOf(u' ');
    if (blank >= 0) {
        const auto date = scanDate(text.first(blank));
        const auto second = scanTime(text.sliced(blank + 1));
        if (date && second)
            return {*date, *second};
    }
    refuse(text, "date and time", "\"Nov 21,2026 02:05:37 PM\" or \"Nov 21, 2026 14:05:37\"");
}

} // namespace qm
