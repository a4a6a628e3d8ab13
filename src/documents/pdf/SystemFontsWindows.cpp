#include "documents/pdf/SystemFonts.h"

#include <QDir>
#include <QStandardPaths>

namespace qm::pdf {

/// The font files of the system, tried in the order of their names.
struct SystemFonts::Library
{
    QStringList files;

    Library()
    {
        for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::FontsLocation)) {
            const QDir fonts(folder);
            for (const QString &name : fonts.entryList({QStringLiteral("*.ttf"), QStringLiteral("*.ttc")}, QDir::Files, QDir::Name))
                files.append(fonts.filePath(name));
        }
    }
};

SystemFonts::SystemFonts() = default;
SystemFonts::~SystemFonts() = default;

std::unique_ptr<FontFace> SystemFonts::find(char32_t character)
{
    if (!m_library)
        m_library = std::make_unique<Library>();
    for (const QString &file : m_library->files) {
        auto face = FontFace::load(file);
        if (face && face->visibleGlyph(character) != 0)
            return face;
    }
    return nullptr;
}

} // namespace qm::pdf
