#pragma once

// The rules of the Prometheus text format 0.0.4 that a scraper relies on,
// checked on a whole page: every family has one # HELP and one # TYPE before
// its samples, and its samples in one group; names and label names are
// valid, no label twice in a sample, label values escaped (\\, \", \n
// only) and UTF-8; values are numbers, NaN or +-Inf; no series twice.
// Beyond the format, this project's convention: counters end in _total and
// nothing else does.

#include <PI/Internal/Utf8.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pi_exposition {

inline bool IsUtf8(const std::string& text) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    for (size_t i = 0, n = 0; i < text.size(); i += n)
        if ((n = PI::Internal::Utf8SequenceLength(s + i, text.size() - i)) == 0)
            return false;
    return true;
}

// A metric name, or a label name (no colon), read at `i`.
inline std::string ReadName(const std::string& line, size_t& i, bool label) {
    const size_t start = i;
    const auto ok = [&](char c, bool first) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
               (c == ':' && !label) || (!first && c >= '0' && c <= '9');
    };
    while (i < line.size() && ok(line[i], i == start))
        ++i;
    return line.substr(start, i - start);
}

inline bool IsValue(const std::string& text) {
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    return text == "NaN" || text == "+Inf" || text == "-Inf" ||
           (!text.empty() && text.find_first_not_of("0123456789+-.eE") == std::string::npos &&
            end == text.c_str() + text.size());
}

// The first rule the page breaks, as "line N: what"; empty when it keeps
// them all.
inline std::string Check(const std::string& page) {
    struct Family {
        bool help = false;
        std::string type;
    };
    std::map<std::string, Family> families;
    std::string current; // the family whose group is open
    std::set<std::string> series;
    if (!page.empty() && page.back() != '\n')
        return "the page does not end with a line feed";
    size_t number = 0;
    for (size_t start = 0, end; start < page.size(); start = end + 1) {
        end = page.find('\n', start);
        const std::string line = page.substr(start, end - start);
        const std::string where = "line " + std::to_string(++number) + ": ";
        const bool help = line.rfind("# HELP ", 0) == 0, type = line.rfind("# TYPE ", 0) == 0;
        size_t i = help || type ? 7 : 0;
        if (!help && !type && line[0] == '#')
            continue; // a comment
        const std::string name = ReadName(line, i, false);
        if (name.empty() || i >= line.size() || (line[i] != ' ' && line[i] != '{'))
            return where + "no name: " + line;
        if (!IsUtf8(line))
            return where + "not UTF-8";
        const bool known = families.count(name) != 0;
        Family& f = families[name];
        if (known && name != current)
            return where + "family " + name + " continues after another one";
        current = name;
        if (help || type) {
            if (help ? f.help : !f.type.empty())
                return where + "a second " + line.substr(2, 4) + " for " + name;
            if (help)
                f.help = true;
            else
                f.type = line.substr(i + 1);
            const bool total = name.size() > 6 && name.compare(name.size() - 6, 6, "_total") == 0;
            if (type &&
                ((f.type != "gauge" && f.type != "counter") || total != (f.type == "counter")))
                return where + name + " " + f.type + ": counters and only they end in _total";
            continue;
        }
        if (!f.help || f.type.empty())
            return where + "a sample of " + name + " before its HELP and TYPE";
        std::vector<std::pair<std::string, std::string>> labels;
        if (line[i] == '{') {
            for (++i; i < line.size() && line[i] != '}';) {
                const std::string label = ReadName(line, i, true);
                if (label.empty() || label.rfind("__", 0) == 0 || line.compare(i, 2, "=\"") != 0)
                    return where + "bad label at " + std::to_string(i);
                std::string value;
                for (i += 2; i < line.size() && line[i] != '"'; ++i) {
                    char c = line[i];
                    if (c == '\\') {
                        if (++i >= line.size() ||
                            std::string("n\\\"").find(line[i]) == std::string::npos)
                            return where + "bad escape at " + std::to_string(i);
                        c = line[i] == 'n' ? '\n' : line[i];
                    }
                    value += c;
                }
                if (i++ >= line.size())
                    return where + "unterminated label value";
                if (std::any_of(labels.begin(), labels.end(),
                                [&](auto& l) { return l.first == label; }))
                    return where + "label " + label + " twice";
                labels.emplace_back(label, value);
                if (i < line.size() && line[i] == ',')
                    ++i;
                else if (i >= line.size() || line[i] != '}')
                    return where + "labels not closed";
            }
            if (i++ >= line.size())
                return where + "labels not closed";
        }
        if (i >= line.size() || line[i] != ' ' || !IsValue(line.substr(i + 1)))
            return where + "bad value in " + line;
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
