/// \file
/// Fonts of the system, for characters that the shipped fonts lack.
#pragma once

#include "documents/pdf/FontFace.h"

#include <functional>
#include <memory>

namespace qm::pdf {

/// Asks the system for fonts; opened on first use, so that a report in well-known scripts never pays for it.
class SystemFonts final
{
public:
    SystemFonts();
    ~SystemFonts();
    SystemFonts(const SystemFonts &) = delete;
    SystemFonts &operator=(const SystemFonts &) = delete;

    /// A TrueType font that may be embedded and shows \p character with an outline; null when the system has none.
    [[nodiscard]] std::unique_ptr<FontFace> find(char32_t character);

private:
    struct Library;
    std::unique_ptr<Library> m_library;
};

} // namespace qm::pdf
