#include "framework/HouseStyle.h"

#include "core/RuntimeError.h"
#include "framework/LayoutWords.h"
#include "framework/TableReader.h"
#include "framework/UnknownWords.h"
#include "framework/toml/TomlRewrite.h"
#include "platform/Files.h"

#include <QDir>
#include <QRegularExpression>

namespace qm {

namespace {

/// Letters first, then parts of letters and digits, as in "de" or "zh-Hant-TW" (RFC 5646, 2.1, without its rarer forms).
bool isLanguageTag(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^[A-Za-z]{2,8}(-[A-Za-z0-9]{1,8})*$"));
    return form.match(text).hasMatch();
}

} // namespace

HouseStyle parseHouseStyle(const QByteArray &bytes, const QString &path)
{
    const TomlNode root = parseToml(bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes, path);
    const TableReader file(root, path);
    file.checkFormat();
    HouseStyle style;
    style.organisation = file.text("organisation").trimmed();
    style.classification = file.text("classification").trimmed();
    style.preparedBy = file.text("prepared_by").trimmed();
    if (file.has("paper"))
        style.paper = static_cast<PageSize>(file.word("paper", 0, paperWords()));
    style.language = file.text("language").trimmed();
    if (!style.language.isEmpty() && !isLanguageTag(style.language))
        file.fail("language",
                  QStringLiteral("\"language\" must be a language tag such as \"en\" or \"de-AT\", not \"%1\".").arg(style.language));
    style.footer = file.text("footer").trimmed();
    // Nothing in this file is anybody else's, so that every unknown key is told: below a table of its own, as it were.
    TomlSchema schema;
    schema.children.emplace(QLatin1String(kHouseStyleFile), TomlSchema{wordList({"format", "organisation", "classification", "prepared_by",
                                                                                 "paper", "language", "footer"})});
    TomlNode whole;
    whole.put(QLatin1String(kHouseStyleFile), root);
    style.warnings = unknownKeys(whole, schema);
    return style;
}

HouseStyle readHouseStyle(const QString &installPath)
{
    const QString path = installPath + QLatin1String(kHouseStyleFile);
    if (installPath.isEmpty() || !files::entryExists(path))
        return {};
    HouseStyle style;
    try {
        style = parseHouseStyle(files::readAll(path), QLatin1String(kHouseStyleFile));
        for (QString &warning : style.warnings)
            warning.prepend(QLatin1String(kHouseStyleFile) + QStringLiteral(": "));
    } catch (const RuntimeError &error) {
        style.warnings << QStringLiteral("The house style is not applied: %1").arg(error.description());
    }
    return style;
}

} // namespace qm
