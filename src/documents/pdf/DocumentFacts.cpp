#include "documents/pdf/DocumentFacts.h"

#include "documents/pdf/PdfSyntax.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::string_view kProducer = "Quillmark SQL Report Generator";

std::string keywordsOf(const ReportHead &head)
{
    std::string words;
    for (const Fact &fact : head.facts)
        if (fact.kind == Fact::Kind::Package || fact.kind == Fact::Kind::Group || fact.kind == Fact::Kind::Query)
            words += (words.empty() ? "" : ", ") + fact.value;
    return words;
}

/// Whether \p time is "YYYY-MM-DD HH:MM:SS".
bool isTime(const std::string &time)
{
    constexpr std::string_view kForm = "0000-00-00 00:00:00";
    return std::equal(time.begin(), time.end(), kForm.begin(), kForm.end(),
                      [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

/// Text of an XML element; characters that XML cannot hold are left out.
std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text)
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            if (static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t')
                out += c;
        }
    return out;
}

} // namespace

std::string languageTag(const std::string &language)
{
    const bool clean = !language.empty() && std::all_of(language.begin(), language.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    });
    return clean ? language : "en";
}

int writeInformation(const ReportHead &head, PdfFile &file)
{
    std::string body = "<<";
    const auto add = [&](const char *key, std::string_view text) {
        if (text.empty())
            return;
        body += key;
        appendTextString(body, text);
    };
    add("/Title", head.title);
    add("/Subject", head.subtitle);
    add("/Author", head.author);
    add("/Keywords", keywordsOf(head));
    add("/Creator", head.creator);
    if (isTime(head.madeUtc)) {
        std::string digits = head.madeUtc;
        std::erase_if(digits, [](char c) { return c < '0' || c > '9'; });
        body += "/CreationDate(D:" + digits + "Z)/ModDate(D:" + digits + "Z)";
    }
    body.append("/Producer(").append(kProducer).append(")>>");
    const int number = file.reserve();
    file.writeObject(number, body);
    return number;
}

int writeMetadata(const ReportHead &head, PdfFile &file)
{
    std::string xml = "<?xpacket begin=\"\uFEFF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                      "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
                      " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\">\n"
                      "<dc:format>application/pdf</dc:format>\n";
    const auto add = [&](const std::string &name, std::string_view text, std::string_view open = {}, std::string_view close = {}) {
        if (!text.empty())
            xml.append("<" + name + ">").append(open).append(escaped(text)).append(close).append("</" + name + ">\n");
    };
    constexpr std::string_view kAlt = "<rdf:Alt><rdf:li xml:lang=\"x-default\">", kAltEnd = "</rdf:li></rdf:Alt>";
    add("dc:title", head.title, kAlt, kAltEnd);
    add("dc:description", head.subtitle, kAlt, kAltEnd);
    add("dc:creator", head.author, "<rdf:Seq><rdf:li>", "</rdf:li></rdf:Seq>");
    add("dc:language", languageTag(head.language), "<rdf:Bag><rdf:li>", "</rdf:li></rdf:Bag>");
    add("xmp:CreatorTool", head.creator);
    if (isTime(head.madeUtc)) {
        std::string time = head.madeUtc + "Z";
        time[10] = 'T';
        add("xmp:CreateDate", time);
        add("xmp:ModifyDate", time);
    }
    add("pdf:Keywords", keywordsOf(head));
    add("pdf:Producer", kProducer);
    xml += "</rdf:Description></rdf:RDF></x:xmpmeta>\n<?xpacket end=\"w\"?>";
    const int number = file.reserve();
    file.writeStream(number, "/Type/Metadata/Subtype/XML", xml, PdfFile::Packing::None);
    return number;
}

} // namespace qm::pdf
