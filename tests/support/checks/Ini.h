#pragma once

// The INI reader on arbitrary bytes, and one update of what it read. The file
// is read without a crash or an exception; section and key handles agree
// with each other; a set, a key removal or a section removal either is
// refused for one of the documented reasons, changing nothing, or does
// exactly that: the changed value reads back byte for byte, every other
// value reads as before, and every line of the file that was not changed
// is still there, in order.

#include "Check.h"

#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace pi_fuzz {

// A directory of this process for the files under test: under
// $PI_FUZZ_TMPDIR, else /dev/shm (no disk writes), else $TMPDIR or /tmp. It
// is removed with its files when the process exits normally.
inline const std::string& IniScratchDirectory() {
    static const struct Scratch {
        std::string path;
        Scratch() {
            const char* base = std::getenv("PI_FUZZ_TMPDIR");
            if (base == nullptr)
                base = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR");
            path = std::string(base != nullptr ? base : "/tmp") + "/pi_fuzz_ini.XXXXXX";
            if (::mkdtemp(&path[0]) == nullptr)
                Fail(__FILE__, __LINE__, "cannot create a scratch directory");
        }
        ~Scratch() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    } scratch;
    return scratch.path;
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    PI_FUZZ_CHECK(out.good(), "cannot write " + path);
}

inline std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

// The lines of a text without their line ends ("\n" or "\r\n": a last line
// without an end gets the file's line end when something is added after it)
// and without one byte order mark at their start (the file's own mark is
// the first line's).
inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    const bool ended = lines.back().empty();
    for (std::string& line : lines) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.compare(0, 3, "\xEF\xBB\xBF") == 0)
            line.erase(0, 3);
    }
    // Nothing after the last line end, or only a mark: no line.
    if (ended || lines.back().empty())
        lines.pop_back();
    return lines;
}

// Whether `inner` is `outer` with some lines left out.
inline bool IsSubsequence(const std::vector<std::string>& inner,
                          const std::vector<std::string>& outer) {
    size_t i = 0;
    for (size_t j = 0; j < outer.size() && i < inner.size(); ++j)
        if (inner[i] == outer[j])
            ++i;
    return i == inner.size();
}

inline std::string TrimBlanks(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t"), last = text.find_last_not_of(" \t\r");
    return last == std::string::npos ? "" : text.substr(begin, last + 1 - begin);
}

// Names that the text may hold: what stands between "[" and "]" and what
// stands before "=" on its lines, with a few that it probably does not.
inline void CandidateNames(const std::string& text, std::vector<std::string>& sections,
                           std::vector<std::string>& keys) {
    sections = {"DefaultConfig", "", "s"};
    keys = {"k", ""};
    for (const std::string& line : Lines(text)) {
        const size_t open = line.find('[');
        const size_t close = open == std::string::npos ? open : line.find(']', open + 1);
        if (close != std::string::npos && sections.size() < 12)
            sections.push_back(TrimBlanks(line.substr(open + 1, close - open - 1)));
        const size_t equals = line.find('=');
        if (equals != std::string::npos && keys.size() < 12)
            keys.push_back(TrimBlanks(line.substr(0, equals)));
    }
    for (auto* list : {&sections, &keys}) {
        std::sort(list->begin(), list->end());
        list->erase(std::unique(list->begin(), list->end()), list->end());
    }
}

struct IniValue {
    int found;
    std::string value;
    bool operator==(const IniValue& o) const { return found == o.found && value == o.value; }
};
using IniValues = std::map<std::pair<std::string, std::string>, IniValue>;
// A section's existence is kept under the key "\n", which no candidate key
// can be (candidates come from single lines).
const char kExists[] = "\n";

// Every candidate pair as the file reads, with the handles' consistency
// checked on the way.
inline IniValues ReadAll(RVX::INI_Files::CIniFile& ini, const std::vector<std::string>& sections,
                         const std::vector<std::string>& keys, const std::string& where) {
    IniValues values;
    for (const std::string& section : sections) {
        RVX::INI_Files::CIniSection handle = ini[section];
        const bool exists = handle.Exists();
        const unsigned int count = handle.KeyCount();
        PI_FUZZ_CHECK(exists || count == 0, "in " + Printable(section) + where);
        values[{section, kExists}] = IniValue{exists ? 1 : 0, ""};
        for (const std::string& key : keys) {
            IniValue value{0, "stale"};
            value.found = handle[key].GetValue(value.value);
            PI_FUZZ_CHECK(value.found == 0 || value.found == 1, "GetValue result" + where);
            PI_FUZZ_CHECK(value.found == 1 || value.value.empty(), "missing key" + where);
            PI_FUZZ_CHECK(value.found == 0 || count >= 1, "key in a section without keys" + where);
            values[{section, key}] = value;
        }
    }
    return values;
}

// The documented reasons to refuse a write.
inline bool RefusedName(const std::string& section, const std::string& key) {
    const bool blankEnd = !section.empty() && (section.front() == ' ' || section.front() == '\t' ||
                                               section.back() == ' ' || section.back() == '\t');
    return key.find('\0') != std::string::npos || blankEnd ||
           section.find_first_of(std::string("]\r\n\0", 4)) != std::string::npos;
}

inline void CheckIni(const std::uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string where = " in " + Printable(text);
    const std::string path = IniScratchDirectory() + "/test.ini";
    WriteBytes(path, text);

    // One change, chosen from the input: set a key (to bytes of the input),
    // remove a key, or remove a section.
    std::vector<std::string> sections, keys;
    CandidateNames(text, sections, keys);
    Random random(data, size);
    const unsigned int op = random.Below(4); // 0, 1: set; 2: remove key; 3: remove section
    const std::string section =
        random.Below(4) == 0 ? std::string("new section")
                             : sections[random.Below(static_cast<std::uint32_t>(sections.size()))];
    const std::string key = random.Below(4) == 0
                                ? std::string("new key")
                                : keys[random.Below(static_cast<std::uint32_t>(keys.size()))];
    const size_t from = random.Below(static_cast<std::uint32_t>(size + 1));
    const std::string value = text.substr(from, random.Below(24));
    sections.push_back(section);
    keys.push_back(key);

    IniValues before;
    {
        RVX::INI_Files::CIniFile ini;
        ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
        before = ReadAll(ini, sections, keys, where);
    }

    bool refused = false;
    {
        RVX::INI_Files::CIniFile ini;
        ini.Lock(path, RVX::INI_Files::INI_WAIT_FOREVER);
        try {
            if (op <= 1)
                ini[section][key].SetValue(value);
            else if (op == 2)
                ini[section][key].Remove();
            else
                ini[section].Remove();
        } catch (const RVX::Exceptions::CException& e) {
            PI_FUZZ_CHECK(e.GetCode() == RVX::INI_Files::INI_ERROR_NOT_REPRESENTABLE, where);
            refused = true;
        }
        ini.Flush(RVX::INI_Files::INI_WAIT_FOREVER);
    }
    const std::string change = " after op " + std::to_string(op) + " on " + Printable(section) +
                               "/" + Printable(key) + " = " + Printable(value) + where;
    // A removal is never refused.
    PI_FUZZ_CHECK(refused == (op <= 1 &&
                              (RefusedName(section, key) || value.find('\0') != std::string::npos)),
                  "refusal" + change);

    const std::string after = ReadBytes(path);
    if (refused)
        PI_FUZZ_CHECK(after == text, "a refused change changed the file" + change);

    RVX::INI_Files::CIniFile ini;
    ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
    const IniValues now = ReadAll(ini, sections, keys, change);
    for (const auto& entry : now) {
        const std::string& s = entry.first.first;
        const std::string& k = entry.first.second;
        const bool changed = !refused && s == section && (op == 3 || k == key || k == kExists);
        if (changed && k == kExists) {
            // A set creates the section, a key removal keeps it.
            if (op <= 1)
                PI_FUZZ_CHECK(entry.second.found == 1, "no section after a set" + change);
            else if (op == 2)
                PI_FUZZ_CHECK(entry.second == before[entry.first], "key removal" + change);
            continue;
        }
        const auto old = before.find(entry.first);
        if (changed) {
            if (op <= 1)
                PI_FUZZ_CHECK(entry.second.found == 1 && entry.second.value == value,
                              "reads back as " + Printable(entry.second.value) + change);
            else
                PI_FUZZ_CHECK(entry.second.found == 0, "a removed key is still there" + change);
        } else if (old != before.end()) {
            PI_FUZZ_CHECK(entry.second == old->second,
                          "another value changed: " + Printable(s) + "/" + Printable(k) + change);
        }
    }
    if (op == 3 && !refused)
        PI_FUZZ_CHECK(!ini[section].Exists(), "a removed section is still there" + change);

    // Lines that were not changed stay, in order, and so does a byte order
    // mark at the start. (Lines are compared without a byte order mark of
    // their own: a line that starts with one reads the same wherever it is.)
    const std::string bom = "\xEF\xBB\xBF";
    if (text.compare(0, 3, bom) == 0)
        PI_FUZZ_CHECK(after.compare(0, 3, bom) == 0, "byte order mark lost" + change);
    const std::vector<std::string> oldLines = Lines(text), newLines = Lines(after);
    if (!refused && op <= 1 && before[{section, key}].found == 1) {
        // One line replaced in place.
        size_t differing = oldLines.size() == newLines.size() ? 0 : 2;
        for (size_t i = 0; differing < 2 && i < oldLines.size(); ++i)
            differing += oldLines[i] != newLines[i];
        PI_FUZZ_CHECK(differing <= 1, "more than the key's line changed" + change);
    } else if (!refused) {
        PI_FUZZ_CHECK(op <= 1 ? IsSubsequence(oldLines, newLines)
                              : IsSubsequence(newLines, oldLines),
                      (op <= 1 ? "an old line was lost" : "a removal added a line") + change);
    }
}

} // namespace pi_fuzz
