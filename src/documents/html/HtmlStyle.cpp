#include "documents/html/HtmlStyle.h"

#include "documents/NumberText.h"
#include "documents/ReportWords.h"
#include "documents/html/HtmlText.h"

namespace qm {

namespace {

/// The colours of the house: on white, on a dark screen, and on white once more for paper, where a dark screen's set would stay in force.
constexpr std::string_view kLight =
    "color-scheme:light;--page:#fff;--ink:#1c2430;--navy:#12335c;--soft:#4a5563;--mid:#76828f;--hair:#c4ccd5;--head:#e3e9f0;--line:#d5dbe2;"
    "--zebra:#ecf0f5;--sub:#edf1f5;--total:#d5dee8;--notice:#7a1b14;--notice-page:#fdf0e7;--alarm:#b7381d";
constexpr std::string_view kDark = "color-scheme:dark;--page:#14181e;--ink:#e4e8ee;--navy:#a9c8ee;--soft:#a7b2bf;--mid:#76828f;--hair:#"
                                   "3d4753;--head:#202b39;--line:#2b333d;"
                                   "--zebra:#1a2028;--sub:#1d2530;--total:#26364a;--notice:#ffc2ad;--notice-page:#3a1c15;--alarm:#ff9849";

/// Sizes are parts of the row's: 7.5 points on paper, 14 pixels on a screen.
constexpr std::string_view kCommon = R"(
*{box-sizing:border-box}
html{background:var(--page);-webkit-text-size-adjust:100%;text-size-adjust:100%}
body{margin:0;padding:0 2rem 2rem;background:var(--page);color:var(--ink);font:14px/1.3 "DejaVu Sans Condensed","DejaVu Sans",system-ui,"Segoe UI",Roboto,"Noto Sans",Arial,sans-serif;font-variant-numeric:tabular-nums}
h1,.figures dd{font-family:"DejaVu Sans",system-ui,"Segoe UI",Roboto,"Noto Sans",Arial,sans-serif;font-weight:bold;color:var(--navy)}
header{padding-top:1.4em}
h1{margin:0;font-size:2.667em;line-height:1.2;overflow-wrap:anywhere;unicode-bidi:plaintext;text-align:left}
.subtitle{margin:.15em 0 0;font-size:1.333em;color:var(--soft);overflow-wrap:anywhere;unicode-bidi:plaintext;text-align:left}
dl{margin:0}
dt{color:var(--soft);overflow-wrap:anywhere}
dd{margin:0;overflow-wrap:anywhere;unicode-bidi:plaintext;text-align:left}
.facts{display:grid;grid-template-columns:repeat(5,1fr);gap:.7em 2.4em;margin-top:.93em;padding:.6em 0;border:solid var(--navy);border-width:1px 0;border-bottom-color:var(--hair)}
.facts dt{font-size:.867em}
.facts dd{font-size:1.067em;white-space:pre-line}
.facts .count{white-space:normal}
.cut{color:var(--notice)}
.notice{margin:.8em 0 0;padding:.6em;border-left:.24em solid var(--notice);background:var(--notice-page);color:var(--notice);font-size:1.133em;font-weight:bold;overflow-wrap:anywhere;unicode-bidi:plaintext}
.notice p{margin:0}
.notice a{color:inherit}
.figures{display:grid;grid-template-columns:repeat(4,1fr);gap:1em 0;margin-top:1.2em}
.figures div{display:flex;flex-direction:column-reverse;justify-content:flex-end;padding:0 1.2em;border-left:1px solid var(--mid)}
.figures dt{font-size:.933em}
.figures dd{font-size:2.4em;line-height:1.17}
.ordered{display:flex;flex-direction:column}
.ordered>.late{order:-2}
.ordered>nav{order:-1}
.late{display:grid;grid-template-columns:2fr 1fr;gap:1.2em 2.4em;margin-top:1.2em}
.late>:only-child{grid-column:1/-1}
.charts{min-width:0}
figure{margin:0 0 1.2em}
figcaption,.top h2{margin:0;font-size:1.2em;line-height:1.33;font-weight:bold;color:var(--navy);overflow-wrap:anywhere}
figcaption small{display:block;font-size:.778em;font-weight:normal;color:var(--soft)}
figure p{margin:.3em 0 0}
.top ol{margin:.3em 0 0;padding-left:1.8em}
.top li{margin:.25em 0;overflow-wrap:anywhere}
nav{margin-top:1.2em}
summary{font-size:1.2em;font-weight:bold;color:var(--navy);cursor:pointer}
small{font-weight:normal;color:var(--soft)}
nav ol{columns:16rem;margin:.4em 0 0;padding-left:3em}
nav li{overflow-wrap:anywhere;break-inside:avoid}
nav a{color:var(--navy)}
.rows{margin-top:1.2em;min-width:0}
table{width:100%;border-collapse:separate;border-spacing:0}
th,td{padding:.32em .8em;border-bottom:1px solid var(--line);vertical-align:top;text-align:left;unicode-bidi:plaintext}
td{white-space:pre-wrap;overflow-wrap:anywhere;tab-size:4}
thead th{padding:.4em .8em;background:var(--head);color:var(--navy);font-weight:bold;line-height:1.27;vertical-align:bottom;border:solid var(--navy);border-width:1px 0}
.null{color:var(--soft)}
.strong,.warning,.alarm{font-weight:bold}
.warning,.alarm{position:relative}
.alarm{color:var(--alarm)}
.warning::after{content:"!";position:absolute;right:.2em}
.alarm::after{content:"!!";position:absolute;right:0}
.g1 th,.g2 th,.g3 th{padding:.9em 0 .33em;border-bottom-color:var(--mid);color:var(--navy);max-width:0;font-size:1.2em;font-weight:bold;overflow-wrap:anywhere}
.g2 th{padding-top:.6em;border-bottom-color:var(--hair);color:var(--ink);font-size:1.133em}
.g3 th{padding-top:.4em;border-bottom:0;color:var(--ink);font-size:1em}
.g1 small,.g2 small,.g3 small{margin-left:.5em;font-size:.8em}
.sub th,.sub td{background:var(--sub);border-top:1px solid var(--mid);font-weight:bold;overflow-wrap:anywhere}
.total th,.total td{background:var(--total);color:var(--navy);border-top:1.5px solid var(--navy);border-bottom:3px double var(--navy);font-size:1.133em;font-weight:bold;overflow-wrap:anywhere}
.total+.total th,.total+.total td{border-top:0}
.sub th,.total th{min-width:10ch}
.r{text-align:right;white-space:nowrap}
.c{text-align:center}
.none{margin:0;padding:2em 0;color:var(--soft);border-bottom:1px solid var(--hair);overflow-wrap:anywhere}
.none strong{display:block;margin-bottom:.3em;font-size:1.6em;line-height:1.33;color:var(--ink)}
footer{padding-top:.9em;font-size:.933em;color:var(--soft)}
footer p{margin:0}
bdi{unicode-bidi:isolate}
@media (max-width:60rem){
.facts{grid-template-columns:repeat(3,1fr)}
.figures{grid-template-columns:repeat(2,1fr)}
}
@media screen{
body{min-width:min-content}
header,.notice,.late,nav,.none,footer{position:sticky;left:2rem;max-width:calc(100vw - 5rem)}
header .notice{position:static}
thead th{position:sticky;top:0;z-index:1}
.rows tbody tr:not([class]):hover>td{background:var(--head)}
}
@media screen and (max-width:60rem){.late{grid-template-columns:1fr}}
@media screen and (max-width:48rem){
body{min-width:0;padding:0 1rem 1rem}
h1{font-size:1.8em}
.facts,.figures{grid-template-columns:1fr}
header,.notice,.late,nav,.none,footer{position:static;max-width:none}
.rows{overflow-x:auto}
thead th{position:static}
}
@media print{
body{padding:0;font-size:7.5pt}
header{padding-top:0}
.ordered{display:block}
.ordered.charted{display:flex}
nav{display:none}
th,td{padding-top:.25em;padding-bottom:.25em;border-bottom-width:.25pt}
thead{display:table-header-group}
tfoot{display:table-row-group}
tr,.facts,.notice,.figures,figure,.top,.keep{break-inside:avoid}
.g1,.g2,.g3,.g1+tr,.g2+tr,.g3+tr,.g1+tr+tr,.g2+tr+tr,.g3+tr+tr{break-after:avoid}
.sub,.total,.joined{break-before:avoid}
.page{break-before:page}
thead th,tr>td,tr>th,.notice{print-color-adjust:exact;-webkit-print-color-adjust:exact}
}
)";

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
    const auto length = [](double millimetres, std::string &out) {
        numbers::appendFixed(millimetres, {0, 2, false, 0}, out);
        out += "mm";
    };
    std::string rules = "@page{size:";
    length(head.page.widthMm, rules);
    rules += ' ';
    length(head.page.heightMm, rules);
    rules += ";margin:";
    length(head.page.marginMm, rules);
    const auto box = [&rules](const char *place, const std::string &text) {
        if (!text.empty())
            rules += std::string(";@") + place + "{font-size:7pt;color:#4a5563;content:" + bandContent(text) + '}';
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

std::string htmlStyleSheet(const ReportHead &head, const HtmlColumns &columns)
{
    std::string sheet = "\n:root{";
    sheet += kLight;
    sheet += "}\n@media screen and (prefers-color-scheme:dark){:root{";
    sheet += kDark;
    sheet += "}}";
    sheet += kCommon;
    return sheet + columns.rules + pageRules(head);
}

} // namespace qm
