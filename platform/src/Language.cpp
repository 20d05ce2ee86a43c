#include "RVX/Language.h"

#include <fstream>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>

namespace RVX {
namespace Language_Support {
namespace {

struct Catalogue {
    std::shared_mutex Lock;
    std::unordered_map<unsigned int, std::string> Texts;
};

Catalogue& TheCatalogue() {
    static Catalogue* catalogue = new Catalogue; // outlives every static user
    return *catalogue;
}

bool Unescape(const std::string& in, std::string& out) {
    out.clear();
    for (size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '\\') {
            out.push_back(in[i]);
            continue;
        }
        if (++i == in.size())
            return false;
        switch (in[i]) {
        case 'n':
            out.push_back('\n');
            break;
        case 't':
            out.push_back('\t');
            break;
        case '\\':
            out.push_back('\\');
            break;
        default:
            return false;
        }
    }
    return true;
}

bool ParseId(const std::string& text, unsigned int& id) {
    if (text.empty() || text.size() > 10)
        return false;
    unsigned long long value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    if (value > 0xFFFFFFFFULL)
        return false;
    id = static_cast<unsigned int>(value);
    return true;
}

} // namespace

void CLanguageSupport::SetString(unsigned int id, const std::string& text) {
    Catalogue& catalogue = TheCatalogue();
    std::unique_lock<std::shared_mutex> lock(catalogue.Lock);
    catalogue.Texts[id] = text;
}

int CLanguageSupport::LoadCatalogue(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return -1;
    std::unordered_map<unsigned int, std::string> loaded;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        const size_t eq = line.find('=');
        unsigned int id = 0;
        std::string text;
        if (eq == std::string::npos || !ParseId(line.substr(0, eq), id) ||
            !Unescape(line.substr(eq + 1), text))
            return -1;
        loaded[id] = std::move(text);
    }
    if (in.bad())
        return -1;
    Catalogue& catalogue = TheCatalogue();
    std::unique_lock<std::shared_mutex> lock(catalogue.Lock);
    for (auto& entry : loaded)
        catalogue.Texts[entry.first] = std::move(entry.second);
    return static_cast<int>(loaded.size());
}

void CLanguageSupport::Clear() {
    Catalogue& catalogue = TheCatalogue();
    std::unique_lock<std::shared_mutex> lock(catalogue.Lock);
    catalogue.Texts.clear();
}

bool CLanguageSupport::ResolveString(unsigned int id, Strings::CStringVar& out) {
    {
        Catalogue& catalogue = TheCatalogue();
        std::shared_lock<std::shared_mutex> lock(catalogue.Lock);
        auto it = catalogue.Texts.find(id);
        if (it != catalogue.Texts.end()) {
            out = it->second;
            return true;
        }
    }
    out = std::to_string(id);
    return false;
}

} // namespace Language_Support
} // namespace RVX
