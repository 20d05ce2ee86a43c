#pragma once

// The rules of the Prometheus text format 0.0.4 that a scraper relies on,
// checked on a whole page: every family has one # HELP and one # TYPE before
// its samples, and its samples in one group; names and label names are
// valid, no label twice in a sample, label values escaped (\\, \", \n
// only) and UTF-8; values are numbers, NaN or +-Inf; no series twice.
// Beyond the format, this project's conventions: counters end in _total and
// nothing else does.

#include <PI/Internal/Utf8.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pi_exposition {

inline bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}
inline bool IsNameChar(char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9');
}

// Reads a metric or label name (no colon in a label name) at `i`.
inline std::string ReadName(const std::string& line, size_t& i, bool label) {
    const size_t start = i;
    if (i < line.size() && IsNameStart(line[i]) && !(label && line[i] == ':'))
        for (++i; i < line.size() && IsNameChar(line[i]) && !(label && line[i] == ':'); ++i) {
        }
    return line.substr(start, i - start);
}

inline bool IsValue(const std::string& text) {
    if (text == "NaN" || text == "+Inf" || text == "-Inf")
        return true;
    if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string::npos)
        return false;
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size();
}

inline bool IsUtf8(const std::string& text) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    for (size_t i = 0; i < text.size();) {
        const size_t n = PI::Internal::Utf8SequenceLength(s + i, text.size() - i);
        if (n == 0)
            return false;
        i += n;
    }
    return true;
}

// The first rule the page breaks, as "line N: what"; empty when it keeps
// them all.
inline std::string Check(const std::string& page) {
    struct Family {
        bool help = false;
        std::string type;
        bool closed = false;
    };
    std::vector<std::pair<std::string, Family>> families;
    auto find = [&](const std::string& name) -> Family* {
        for (auto& f : families)
            if (f.first == name)
                return &f.second;
        return nullptr;
    };
    std::string current;
    std::set<std::string> series;
    if (!page.empty() && page.back() != '\n')
        return "the page does not end with a line feed";
    size_t number = 0;
    for (size_t start = 0; start < page.size();) {
        const size_t end = page.find('\n', start);
        const std::string line = page.substr(start, end - start);
        start = end + 1;
        const std::string where = "line " + std::to_string(++number) + ": ";
        if (line.rfind("# ", 0) == 0) {
            size_t i = 2;
            const bool help = line.compare(2, 5, "HELP ") == 0;
            const bool type = line.compare(2, 5, "TYPE ") == 0;
            if (!help && !type)
                continue; // a comment
            i += 5;
            const std::string name = ReadName(line, i, false);
            if (name.empty() || i >= line.size() || line[i] != ' ')
                return where + "bad name in " + line;
            if (!IsUtf8(line))
                return where + "HELP text not UTF-8";
            Family* f = find(name);
            if (f == nullptr) {
                if (Family* old = find(current))
                    old->closed = true;
                families.push_back({name, Family{}});
                f = &families.back().second;
                current = name;
            } else if (f->closed || name != current) {
                return where + "family " + name + " continues after another one";
            }
            if (help) {
                if (f->help)
                    return where + "second HELP for " + name;
                f->help = true;
            } else {
                if (!f->type.empty())
                    return where + "second TYPE for " + name;
                f->type = line.substr(i + 1);
                if (f->type != "gauge" && f->type != "counter" && f->type != "untyped")
                    return where + "type " + f->type;
                const bool total =
                    name.size() > 6 && name.compare(name.size() - 6, 6, "_total") == 0;
                if (total != (f->type == "counter"))
                    return where + name + ": _total is for counters only, and every counter has it";
            }
            continue;
        }
        size_t i = 0;
        const std::string name = ReadName(line, i, false);
        if (name.empty())
            return where + "not a sample: " + line;
        Family* f = find(name);
        if (f == nullptr || name != current || f->type.empty() || !f->help)
            return where + "sample of " + name +
                   " outside its family's group or before its HELP and TYPE";
        std::vector<std::pair<std::string, std::string>> labels;
        if (i < line.size() && line[i] == '{') {
            ++i;
            while (i < line.size() && line[i] != '}') {
                const std::string label = ReadName(line, i, true);
                if (label.empty() || label.rfind("__", 0) == 0)
                    return where + "bad label name";
                if (line.compare(i, 2, "=\"") != 0)
                    return where + "label " + label + " without =\"";
                i += 2;
                std::string value;
                for (; i < line.size() && line[i] != '"'; ++i) {
                    if (line[i] == '\\') {
                        if (++i >= line.size())
                            return where + "escape at the end";
                        if (line[i] == 'n')
                            value += '\n';
                        else if (line[i] == '\\' || line[i] == '"')
                            value += line[i];
                        else
                            return where + "unknown escape \\" + line[i];
                    } else {
                        value += line[i];
                    }
                }
                if (i >= line.size())
                    return where + "unterminated label value";
                ++i;
                if (!IsUtf8(value))
                    return where + "label value not UTF-8";
                for (const auto& l : labels)
                    if (l.first == label)
                        return where + "label " + label + " twice";
                labels.emplace_back(label, value);
                if (i < line.size() && line[i] == ',')
                    ++i;
                else if (i >= line.size() || line[i] != '}')
                    return where + "labels not closed";
            }
            if (i >= line.size())
                return where + "labels not closed";
            ++i;
        }
        if (i >= line.size() || line[i] != ' ')
            return where + "no blank before the value";
        const std::string value = line.substr(i + 1);
        if (!IsValue(value))
            return where + "bad value '" + value + "'";
        std::sort(labels.begin(), labels.end());
        std::string key = name;
        for (const auto& l : labels)
            key += '\x01' + l.first + '\x02' + l.second;
        if (!series.insert(key).second)
            return where + "series twice: " + line;
    }
    return std::string();
}

} // namespace pi_exposition
