#include "documents/pdf/SystemFonts.h"

#include <fontconfig/fontconfig.h>

#include <QFile>

namespace qm::pdf {

struct SystemFonts::Library
{
    struct Release
    {
        void operator()(FcConfig *config) const { FcConfigDestroy(config); }
        void operator()(FcPattern *pattern) const { FcPatternDestroy(pattern); }
        void operator()(FcFontSet *set) const { FcFontSetDestroy(set); }
    };
    /// A configuration of its own: the caller's process may use fontconfig from other threads.
    std::unique_ptr<FcConfig, Release> config{FcInitLoadConfigAndFonts()};
    /// All fonts, those closest to the shipped sans first. Sorted once: a text may hold thousands of unknown characters.
    std::unique_ptr<FcFontSet, Release> fonts;

    Library()
    {
        if (!config)
            return;
        const std::unique_ptr<FcPattern, Release> pattern(FcPatternCreate());
        FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
        FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8 *>("sans-serif"));
        FcConfigSubstitute(config.get(), pattern.get(), FcMatchPattern);
        FcDefaultSubstitute(pattern.get());
        FcResult result = FcResultMatch;
        fonts.reset(FcFontSort(config.get(), pattern.get(), FcFalse, nullptr, &result));
    }
};

SystemFonts::SystemFonts() = default;
SystemFonts::~SystemFonts() = default;

std::unique_ptr<FontFace> SystemFonts::find(char32_t character)
{
    if (!m_library)
        m_library = std::make_unique<Library>();
    const FcFontSet *fonts = m_library->fonts.get();
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcPattern *font = fonts->fonts[i];
        FcCharSet *characters = nullptr;
        FcChar8 *file = nullptr;
        int index = 0;
        if (FcPatternGetCharSet(font, FC_CHARSET, 0, &characters) != FcResultMatch || FcCharSetHasChar(characters, character) == FcFalse ||
            FcPatternGetString(font, FC_FILE, 0, &file) != FcResultMatch)
            continue;
        FcPatternGetInteger(font, FC_INDEX, 0, &index);
        // The upper half of the index names an instance of a variable font; the default instance serves.
        auto face = FontFace::load(QFile::decodeName(reinterpret_cast<const char *>(file)), static_cast<unsigned>(index) & 0xFFFFU);
        if (face && face->visibleGlyph(character) != 0)
            return face;
    }
    return nullptr;
}

} // namespace qm::pdf
