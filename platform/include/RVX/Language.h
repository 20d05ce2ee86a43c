#pragma once

#include "RVX/Export.h"
#include "RVX/Strings.h"

#include <string>

namespace RVX {
namespace Language_Support {

// The catalogue of language strings of the current language: id -> text.
// Safe to use from any thread.
class RVX_API CLanguageSupport {
public:
    // Puts the text of one id, replacing an earlier one.
    static void SetString(unsigned int id, const std::string& text);
    // Loads a catalogue file: one "id=text" a line; blank lines and lines
    // starting with "#" are skipped; "\n", "\t" and "\\" in a text stand for
    // a line break, a tab and a backslash. Returns the number of texts
    // loaded, or -1 when the file cannot be read or a line is malformed (then
    // nothing of the file is taken).
    static int LoadCatalogue(const std::string& path);
    // Forgets every text.
    static void Clear();
    // Fills `out` with the text of `id`; an unknown id gives the id as a
    // decimal number. Returns true when the id was known.
    static bool ResolveString(unsigned int id, Strings::CStringVar& out);
};

} // namespace Language_Support
} // namespace RVX
