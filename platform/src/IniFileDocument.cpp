#include "IniFileDocument.h"

#include "RVX/Exceptions.h"

#include <cstddef>
#include <set>
#include <string>
#include <utility>

namespace RVX {
namespace INI_Files {
namespace {

const char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
bool IsCommentStart(char c) {
    return c == ';' || c == '#';
}

size_t SkipBlanks(const std::string& text, size_t pos) {
    while (pos < text.size() && IsBlank(text[pos]))
        ++pos;
    return pos;
}

size_t TrimRight(const std::string& text, size_t begin, size_t end) {
    while (end > begin && IsBlank(text[end - 1]))
        --end;
    return end;
}

bool IsBlankLine(const CIniFile::Document::Line& line) {
    return !line.IsKey && SkipBlanks(line.Text, 0) == line.Text.size();
}

// Only blanks, or blanks and a comment, from `pos` to the end.
bool IsRestEmpty(const std::string& text, size_t pos) {
    pos = SkipBlanks(text, pos);
    return pos == text.size() || IsCommentStart(text[pos]);
}

bool HasBlankEnd(const std::string& text) {
    return !text.empty() && (IsBlank(text.front()) || IsBlank(text.back()));
}

// "[name]" with an optional comment after it; the name is trimmed. A byte
// order mark before it (files joined together) is skipped as at the start of
// the file, so that a header reads the same wherever a rewrite puts it.
bool ParseHeader(const std::string& text, std::string& name) {
    const size_t open = SkipBlanks(text, text.compare(0, 3, BYTE_ORDER_MARK) == 0 ? 3 : 0);
    if (open == text.size() || text[open] != '[')
        return false;
    const size_t close = text.find(']', open + 1);
    if (close == std::string::npos || !IsRestEmpty(text, close + 1))
        return false;
    const size_t begin = SkipBlanks(text, open + 1);
    name.assign(text, begin, TrimRight(text, begin, close) - begin);
    return true;
}

// The text in double quotes starting at `open`, unescaped; `end` is just
// past the closing quote. False when the quotes are not closed.
bool ParseQuoted(const std::string& text, size_t open, std::string& value, size_t& end) {
    std::string out;
    for (size_t i = open + 1; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            value.swap(out);
            end = i + 1;
            return true;
        }
        if (c == '\\' && i + 1 < text.size()) {
            const char next = text[++i];
            switch (next) {
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case '\\':
            case '"':
                out += next;
                break;
            default: // not an escape of ours: keep it as typed
                out += '\\';
                out += next;
                break;
            }
            continue;
        }
        out += c;
    }
    return false;
}

// A key in quotes: only when blanks and "=" follow the closing quote; `equals`
// is then the position of that "=".
bool ParseQuotedKey(const std::string& text, size_t begin, std::string& key, size_t& equals) {
    size_t end = 0;
    std::string name;
    if (text[begin] != '"' || !ParseQuoted(text, begin, name, end))
        return false;
    end = SkipBlanks(text, end);
    if (end == text.size() || text[end] != '=')
        return false;
    key.swap(name);
    equals = end;
    return true;
}

// "key = value" with an optional comment; false for anything else.
bool ParseKeyLine(CIniFile::Document::Line& line) {
    const std::string& text = line.Text;
    const size_t begin = SkipBlanks(text, 0);
    if (begin == text.size() || IsCommentStart(text[begin]) || text[begin] == '[')
        return false;
    std::string key;
    size_t equals = 0;
    if (!ParseQuotedKey(text, begin, key, equals)) {
        equals = text.find('=', begin);
        if (equals == std::string::npos)
            return false;
        const size_t keyEnd = TrimRight(text, begin, equals);
        if (keyEnd == begin)
            return false;
        key.assign(text, begin, keyEnd - begin);
    }

    const size_t valueBegin = SkipBlanks(text, equals + 1);
    size_t valueEnd = 0;
    std::string value;
    if (valueBegin == text.size() || text[valueBegin] != '"' ||
        !ParseQuoted(text, valueBegin, value, valueEnd) || !IsRestEmpty(text, valueEnd)) {
        // Plain text up to a comment; a ";" or "#" inside a word is text.
        value.clear();
        size_t stop = valueBegin;
        while (stop < text.size() && !(IsCommentStart(text[stop]) && IsBlank(text[stop - 1])))
            ++stop;
        valueEnd = TrimRight(text, valueBegin, stop);
        value.assign(text, valueBegin, valueEnd - valueBegin);
    }
    line.IsKey = true;
    line.Key.swap(key);
    line.Value.swap(value);
    line.Prefix.assign(text, 0, valueBegin);
    line.Suffix.assign(text, valueEnd, std::string::npos);
    return true;
}

CIniFile::Document::Line MakeKeyLine(const std::string& key, const std::string& value,
                                     const std::string& eol) {
    CIniFile::Document::Line line;
    line.Eol = eol;
    line.IsKey = true;
    line.Key = key;
    line.Value = value;
    line.Prefix = EncodeKey(key) + "=";
    line.Text = line.Prefix + EncodeValue(value);
    return line;
}

void Refuse() {
    throw Exceptions::CException(INI_ERROR_NOT_REPRESENTABLE);
}

} // namespace

bool IsWritableSection(const std::string& section) {
    return section.find_first_of(std::string("]\r\n\0", 4)) == std::string::npos &&
           !HasBlankEnd(section);
}

bool IsWritableKey(const std::string& key) {
    return key.find('\0') == std::string::npos;
}

bool IsWritableValue(const std::string& value) {
    return value.find('\0') == std::string::npos;
}

namespace {

std::string Quote(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            out += c;
            break;
        }
    }
    out += '"';
    return out;
}

} // namespace

std::string EncodeValue(const std::string& value) {
    if (!HasBlankEnd(value) && value.find_first_of(";#\"\r\n") == std::string::npos)
        return value;
    return Quote(value);
}

std::string EncodeKey(const std::string& key) {
    // Plain only where the reader takes the text before "=" literally: not a
    // comment, a header or a quoted key, and nothing it would trim or split.
    if (!key.empty() && !HasBlankEnd(key) && !IsCommentStart(key.front()) && key.front() != '[' &&
        key.compare(0, 3, BYTE_ORDER_MARK) != 0 &&
        key.find_first_of("=\"\r\n") == std::string::npos)
        return key;
    return Quote(key);
}

CIniFile::Document::Document() : Blocks(1) {}

void CIniFile::Document::Parse(const std::string& text) {
    Blocks.assign(1, Block());
    Dirty = false;
    NewEol = "\n";
    size_t pos = 0;
    // The mark at the start of the file stays in the first line's text: read
    // there, it is one line-start mark like any other, so a line reads the
    // same at the start of the file as after a rewrite moved it elsewhere.
    Bom = text.compare(0, 3, BYTE_ORDER_MARK) == 0;
    bool first = true;
    while (pos < text.size()) {
        Line line;
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) {
            end = text.size();
            line.Text.assign(text, pos, end - pos);
            pos = end;
            // A carriage return that ends the file is a line end that lost
            // its "\n": it reads as one now, as it will once a line follows.
            if (!line.Text.empty() && line.Text.back() == '\r') {
                line.Text.pop_back();
                line.Eol = "\r";
            }
        } else {
            line.Text.assign(text, pos, end - pos);
            line.Eol = "\n";
            pos = end + 1;
            if (!line.Text.empty() && line.Text.back() == '\r') {
                line.Text.pop_back();
                line.Eol = "\r\n";
            }
        }
        if (first && !line.Eol.empty())
            NewEol = line.Eol == "\r" ? "\r\n" : line.Eol;
        first = false;

        std::string name;
        if (ParseHeader(line.Text, name)) {
            Block block;
            block.HasHeader = true;
            block.Name.swap(name);
            block.Header = std::move(line);
            Blocks.push_back(std::move(block));
            continue;
        }
        // Keys before the first section belong to no section: kept as text.
        if (Blocks.size() > 1)
            ParseKeyLine(line);
        Blocks.back().Lines.push_back(std::move(line));
    }
}

std::string CIniFile::Document::Serialize() const {
    std::vector<const Line*> lines;
    for (const Block& block : Blocks) {
        if (block.HasHeader)
            lines.push_back(&block.Header);
        for (const Line& line : block.Lines)
            lines.push_back(&line);
    }
    std::string out;
    // A file that had the mark keeps it when its first line goes; a first
    // line that brings its own needs no second one.
    if (Bom && (lines.empty() || lines.front()->Text.compare(0, 3, BYTE_ORDER_MARK) != 0))
        out = BYTE_ORDER_MARK;
    for (size_t i = 0; i < lines.size(); ++i) {
        out += lines[i]->Text;
        // A line that ended the file without a line end needs one when
        // something was added after it.
        if (!lines[i]->Eol.empty()) {
            out += lines[i]->Eol;
            if (lines[i]->Eol == "\r" && i + 1 < lines.size())
                out += '\n'; // the rest of that line end, now that a line follows
        } else if (i + 1 < lines.size()) {
            out += NewEol;
        }
    }
    return out;
}

bool CIniFile::Document::HasSection(const std::string& section) const {
    for (const Block& block : Blocks)
        if (block.HasHeader && block.Name == section)
            return true;
    return false;
}

unsigned int CIniFile::Document::KeyCount(const std::string& section) const {
    std::set<std::string> keys;
    for (const Block& block : Blocks)
        if (block.HasHeader && block.Name == section)
            for (const Line& line : block.Lines)
                if (line.IsKey)
                    keys.insert(line.Key);
    return static_cast<unsigned int>(keys.size());
}

std::vector<std::string> CIniFile::Document::SectionNames() const {
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const Block& block : Blocks)
        if (block.HasHeader && seen.insert(block.Name).second)
            names.push_back(block.Name);
    return names;
}

std::vector<std::string> CIniFile::Document::KeyNames(const std::string& section) const {
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const Block& block : Blocks)
        if (block.HasHeader && block.Name == section)
            for (const Line& line : block.Lines)
                if (line.IsKey && seen.insert(line.Key).second)
                    names.push_back(line.Key);
    return names;
}

const CIniFile::Document::Line* CIniFile::Document::FindKey(const std::string& section,
                                                            const std::string& key) const {
    for (const Block& block : Blocks)
        if (block.HasHeader && block.Name == section)
            for (const Line& line : block.Lines)
                if (line.IsKey && line.Key == key)
                    return &line;
    return nullptr;
}

void CIniFile::Document::SetKey(const std::string& section, const std::string& key,
                                const std::string& value) {
    if (!IsWritableSection(section) || !IsWritableKey(key) || !IsWritableValue(value))
        Refuse();

    if (Line* found = const_cast<Line*>(FindKey(section, key))) {
        if (found->Value == value)
            return; // the line stays byte for byte as it was
        std::string suffix = found->Suffix;
        // A comment after the value must stay apart from the new text.
        if (!suffix.empty() && !IsBlank(suffix.front()))
            suffix.insert(0, " ");
        std::string prefix = found->Prefix;
        std::string text = prefix + EncodeValue(value) + suffix;
        Line probe;
        probe.Text = text;
        if (!ParseKeyLine(probe) || probe.Key != key || probe.Value != value) {
            // A key typed with a leading quote and no closing one can read
            // as a quoted key once the new value brings a quote: the line is
            // written afresh in the form that reads back.
            prefix = EncodeKey(key) + "=";
            suffix.clear();
            text = prefix + EncodeValue(value);
        }
        found->Text.swap(text);
        found->Prefix.swap(prefix);
        found->Suffix.swap(suffix);
        found->Value = value;
        Dirty = true;
        return;
    }

    Line line = MakeKeyLine(key, value, NewEol);
    for (size_t i = Blocks.size(); i-- > 0;) {
        Block& block = Blocks[i];
        if (!block.HasHeader || block.Name != section)
            continue;
        // After the section's last key, so that comments and blank lines
        // that lead to the next section stay in front of it.
        size_t at = 0;
        for (size_t j = 0; j < block.Lines.size(); ++j)
            if (block.Lines[j].IsKey)
                at = j + 1;
        block.Lines.insert(block.Lines.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
        Dirty = true;
        return;
    }

    // A new section at the end, set apart by a blank line.
    Block block;
    block.HasHeader = true;
    block.Name = section;
    block.Header.Text = "[" + section + "]";
    block.Header.Eol = NewEol;
    block.Lines.push_back(std::move(line));
    const Block& last = Blocks.back();
    const Line* lastLine = !last.Lines.empty() ? &last.Lines.back()
                           : last.HasHeader    ? &last.Header
                                               : nullptr;
    if (lastLine != nullptr && !IsBlankLine(*lastLine)) {
        Line blank;
        blank.Eol = NewEol;
        Blocks.back().Lines.push_back(std::move(blank));
    }
    Blocks.push_back(std::move(block));
    Dirty = true;
}

void CIniFile::Document::RemoveKey(const std::string& section, const std::string& key) {
    for (Block& block : Blocks) {
        if (!block.HasHeader || block.Name != section)
            continue;
        for (auto it = block.Lines.begin(); it != block.Lines.end();) {
            if (it->IsKey && it->Key == key) {
                it = block.Lines.erase(it);
                Dirty = true;
            } else {
                ++it;
            }
        }
    }
}

void CIniFile::Document::RemoveSection(const std::string& section) {
    for (size_t i = 1; i < Blocks.size();) {
        Block& block = Blocks[i];
        if (!block.HasHeader || block.Name != section) {
            ++i;
            continue;
        }
        size_t keep = 0;
        for (size_t j = 0; j < block.Lines.size(); ++j)
            if (block.Lines[j].IsKey)
                keep = j + 1;
        std::vector<Line>& previous = Blocks[i - 1].Lines;
        for (size_t j = keep; j < block.Lines.size(); ++j)
            previous.push_back(std::move(block.Lines[j]));
        Blocks.erase(Blocks.begin() + static_cast<std::ptrdiff_t>(i));
        Dirty = true;
    }
}

} // namespace INI_Files
} // namespace RVX
