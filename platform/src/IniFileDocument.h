#pragma once

// The in-memory form of an INI file: every line of the file in its order, so
// that a rewrite reproduces whatever it did not change.

#include "RVX/IniFiles.h"

#include <string>
#include <vector>

namespace RVX {
namespace INI_Files {

struct CIniFile::Document {
    struct Line {
        bool IsKey = false; // otherwise a comment, blank, header or unknown line
        std::string Text;   // as in the file, without the line end
        std::string Eol;    // "\n", "\r\n", or "" for a last line without end
        // Key lines only: Text is Prefix + the value as written + Suffix.
        std::string Key;
        std::string Value; // decoded
        std::string Prefix;
        std::string Suffix;
    };
    struct Block {
        bool HasHeader = false; // false only for the lines before the first header
        std::string Name;
        Line Header;
        std::vector<Line> Lines;
    };

    std::vector<Block> Blocks; // Blocks[0] holds the lines before the first header
    bool Bom = false;
    std::string NewEol = "\n"; // line end of added lines: that of the first line
    bool Dirty = false;

    Document();
    void Parse(const std::string& text);
    std::string Serialize() const;

    // A section may be split over several blocks in a hand-edited file; all
    // of them make up the section, and the first occurrence of a key counts.
    bool HasSection(const std::string& section) const;
    unsigned int KeyCount(const std::string& section) const;
    std::vector<std::string> SectionNames() const;
    std::vector<std::string> KeyNames(const std::string& section) const;
    const Line* FindKey(const std::string& section, const std::string& key) const;
    // Throws INI_ERROR_NOT_REPRESENTABLE before changing anything.
    void SetKey(const std::string& section, const std::string& key, const std::string& value);
    void RemoveKey(const std::string& section, const std::string& key);
    void RemoveSection(const std::string& section);
};

// The checks that, with EncodeValue, make every accepted name and value read
// back as it was written.
bool IsWritableSection(const std::string& section);
bool IsWritableKey(const std::string& key);
bool IsWritableValue(const std::string& value);

} // namespace INI_Files
} // namespace RVX
