#include "documents/html/HtmlStyle.h"

#include "documents/NumberText.h"
#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/html/HtmlText.h"

#include <algorithm>

namespace qm {

namespace {

using textscan::joined;

constexpr std::string_view kCommon = R"(
:root{color-scheme:light dark;--page:#fff;--ink:#1c2430;--soft:#5b6675;--line:#dde2e9;--band:#f6f8fa;--hover:#eaf1fb;--head:#25405f;--on-head:#fff;--accent:#2f6fb3;--alert:#8a3b00;--alert-page:#fff4e6;--alert-line:#f0c48a}
@media (prefers-color-scheme:dark){:root{--page:#14181e;--ink:#e4e8ee;--soft:#9aa6b5;--line:#2c343f;--band:#1a2028;--hover:#22303f;--head:#223347;--on-head:#f2f6fb;--accent:#6aa5e3;--alert:#ffc98a;--alert-page:#33240f;--alert-line:#6b4a1c}}
*{box-sizing:border-box}
html{background:var(--page)}
body{margin:0;padding:0 2rem 2rem;min-width:min-content;background:var(--page);color:var(--ink);font:14px/1.45 system-ui,"Segoe UI",Roboto,"Noto Sans","DejaVu Sans",Arial,sans-serif}
header{border-top:4px solid var(--accent);padding:1.5rem 0 1rem}
h1{margin:0;font-size:1.6rem;line-height:1.25;font-weight:650;overflow-wrap:anywhere;unicode-bidi:plaintext;text-align:left}
.subtitle{margin:.25rem 0 0;font-size:1.05rem;color:var(--soft);unicode-bidi:plaintext;text-align:left}
dl{display:flex;flex-wrap:wrap;gap:.75rem 2.25rem;margin:1.1rem 0 0;padding:.8rem 1rem;background:var(--band);border:1px solid var(--line);border-radius:6px}
dl div{max-width:60ch}
dt{font-size:.75rem;font-weight:600;letter-spacing:.03em;color:var(--soft)}
dd{margin:.1rem 0 0;overflow-wrap:anywhere;white-space:pre-line;unicode-bidi:plaintext;text-align:left}
.count{font-variant-numeric:tabular-nums;white-space:normal}
.count strong{color:var(--alert)}
table{width:100%;border-collapse:separate;border-spacing:0}
th,td{padding:.38rem .7rem;border-bottom:1px solid var(--line);vertical-align:top;text-align:left;unicode-bidi:plaintext}
th{position:sticky;top:0;z-index:1;background:var(--head);color:var(--on-head);font-weight:600;vertical-align:bottom;border-bottom:0}
th:first-child{border-top-left-radius:6px}
th:last-child{border-top-right-radius:6px}
td{white-space:pre-wrap;overflow-wrap:break-word;tab-size:4}
tbody tr:nth-child(even){background:var(--band)}
tbody tr:hover{background:var(--hover)}
.none{margin:0;padding:3rem 1rem;text-align:center;color:var(--soft);border-bottom:1px solid var(--line);overflow-wrap:anywhere}
.none strong{display:block;margin-bottom:.3rem;font-size:1.25rem;color:var(--ink)}
.notice{margin:1rem 0 0;padding:.7rem 1rem;color:var(--alert);background:var(--alert-page);border:1px solid var(--alert-line);border-radius:6px}
footer{padding-top:.9rem;font-size:.85rem;color:var(--soft)}
footer p{margin:0}
bdi{unicode-bidi:isolate}
@media print{
:root{color-scheme:light;--page:#fff;--ink:#000;--soft:#444;--line:#bbb;--band:#f4f4f4;--head:#e3e8ee;--on-head:#000;--accent:#25405f;--alert:#000;--alert-page:#fff;--alert-line:#000}
body{padding:0;min-width:0;font-size:9pt}
header{padding-top:.6rem}
thead{display:table-header-group}
th{position:static;border-bottom:1pt solid #000}
th:first-child,th:last-child{border-radius:0}
th,td{padding:.2rem .4rem}
tr,dl,.notice{break-inside:avoid}
tbody tr:nth-child(even){print-color-adjust:exact;-webkit-print-color-adjust:exact}
}
)";

void appendLength(double value, std::string_view unit, std::string &out)
{
    numbers::appendFixed(value, {0, 2, false, 0}, out);
    out += unit;
}

bool staysOnOneLine(const ReportColumn &column)
{
    return column.type != ColumnType::Text && column.type != ColumnType::Blob;
}

/// Columns of one line are as wide as what they hold; the others share the rest by their widths, breaking a word only when it is longer
/// than a column should be.
std::string columnRules(std::span<const ReportColumn> columns)
{
    constexpr double kMostMm = 120, kLongWordMm = 70;
    std::string rules;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const ReportColumn &column = columns[i];
        const std::string nth = ":nth-child(" + std::to_string(i + 1) + ')';
        if (column.alignment != CellAlignment::Left) {
            const char *const side = column.alignment == CellAlignment::Right ? "right" : "center";
            rules += joined({"th", nth, ",td", nth, "{text-align:", side, ";font-variant-numeric:tabular-nums}\n"});
        }
        if (staysOnOneLine(column)) {
            rules += joined({"th", nth, "{width:1px}td", nth, "{white-space:pre}\n"});
            continue;
        }
        const double width = std::clamp(column.widthMm, 1.0, kMostMm);
        rules += joined({"th", nth, "{width:"});
        appendLength(width, "mm}td", rules);
        rules += joined({nth, "{max-width:"});
        appendLength(std::max(width, kLongWordMm), "mm}\n", rules);
    }
    return rules;
}

/// One text of a page band as the value of "content", with the counters of the page where its fields are.
std::string bandContent(std::string_view text)
{
    std::string content;
    forEachBandPart(text, [&content](BandPart part, std::string_view piece) {
        content += part == BandPart::Page ? "counter(page) " : part == BandPart::Pages ? "counter(pages) " : styleString(piece) + ' ';
    });
    return content;
}

std::string pageRules(const ReportHead &head)
{
    std::string rules = "@page{size:";
    appendLength(head.page.widthMm, "mm ", rules);
    appendLength(head.page.heightMm, "mm;margin:", rules);
    appendLength(head.page.marginMm, "mm", rules);
    const auto box = [&rules](const char *place, const std::string &text) {
        if (!text.empty())
            rules += std::string(";@") + place + "{font-size:8pt;content:" + bandContent(text) + '}';
    };
    box("top-left", head.header.left);
    box("top-center", head.header.centre);
    box("top-right", head.header.right);
    box("bottom-left", head.footer.left);
    box("bottom-center", head.footer.centre);
    box("bottom-right", head.footer.right);
    return rules + "}\n";
}

} // namespace

std::string htmlStyleSheet(const ReportHead &head, std::span<const ReportColumn> columns)
{
    return std::string(kCommon) + columnRules(columns) + pageRules(head);
}

} // namespace qm
