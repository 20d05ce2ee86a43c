#include "PI/Helpers.h"

#include <cstddef>
#include <locale>
#include <string>

namespace PI {
namespace {

// White space as the default locale classifies it.
std::string TrimLocale(const std::string& text) {
    const std::locale locale;
    size_t first = 0;
    size_t end = text.size();
    while (first < end && std::isspace(text[first], locale))
        ++first;
    while (end > first && std::isspace(text[end - 1], locale))
        --end;
    return text.substr(first, end - first);
}

// Whole strings equal after folding each byte to upper case in the default
// locale.
bool EqualsIgnoringCase(const std::string& a, const char* b) {
    const std::ctype<char>& ctype = std::use_facet<std::ctype<char>>(std::locale());
    const std::string other(b);
    if (a.size() != other.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (ctype.toupper(a[i]) != ctype.toupper(other[i]))
            return false;
    return true;
}

// Case-sensitive; a text shorter than the word never begins with it.
bool BeginsWith(const std::string& text, const char* word) {
    const size_t length = std::char_traits<char>::length(word);
    return text.size() >= length && text.compare(0, length, word) == 0;
}

bool IsDecimalDigit(char c) {
    return c >= '0' && c <= '9';
}

// The vendor of a model string that has no blank to split at.
const char* VendorOfSingleWord(const std::string& model) {
    static constexpr const char* kHgstPrefixes[] = {"HTE", "HDS", "HCC", "HUA",
                                                    "HTS", "HDE", "HUC"};
    if (BeginsWith(model, "STEC"))
        return "STEC";
    if (BeginsWith(model, "ST") && model.size() >= 4 && IsDecimalDigit(model[3]))
        return "SEAGATE";
    for (const char* prefix : kHgstPrefixes)
        if (BeginsWith(model, prefix))
            return "HGST";
    if (BeginsWith(model, "HL-DT-"))
        return "LG";
    return "--";
}

} // namespace

int SplitSATAModelName(const std::string& model, std::string& vendor, std::string& product) {
    const std::string m = TrimLocale(model);
    std::string v;
    std::string p;
    const size_t blank = m.find(' ');
    const size_t intel = m.find("INTEL");
    if (blank != std::string::npos && intel != std::string::npos && intel >= 1) {
        // Some drives put the vendor last: "SSDSA2M160G2GC INTEL".
        v = m.substr(intel);
        p = m.substr(0, intel - 1);
    } else if (blank == std::string::npos) {
        v = VendorOfSingleWord(m);
        p = m;
    } else {
        v = m.substr(0, blank);
        p = m.substr(blank + 1);
        // Optical drives whose first word is not the brand shown to users;
        // their whole model string is the product.
        if (EqualsIgnoringCase(v, "Optiarc")) {
            v = "Sony";
            p = m;
        }
        if (BeginsWith(v, "HL-DT-")) {
            v = "LG";
            p = m;
        }
    }
    vendor = TrimLocale(v);
    product = TrimLocale(p);
    return 0;
}

int GetSATARPM(const std::string& vendor, const std::string& product, unsigned long long& rpm) {
    rpm = 7200;
    if (EqualsIgnoringCase(vendor, "WDC") || EqualsIgnoringCase(vendor, "WD")) {
        static constexpr const char* kFastModels[] = {
            "WD1600ADFS", "WD360ADFD",  "WD740ADFD",  "WD1500ADFD", "WD1500AHFD",
            "WD1500BLFS", "WD3000BLFS", "WD1500HLFS", "WD3000HLFS", "WD3000GLFS"};
        for (const char* model : kFastModels) {
            if (BeginsWith(product, model)) {
                rpm = 10000;
                break;
            }
        }
    } else if (EqualsIgnoringCase(vendor, "HITACHI") || EqualsIgnoringCase(vendor, "HGST")) {
        // Characters 3 and 4 of the model name give the speed class. A product
        // shorter than 3 characters makes substr throw std::out_of_range.
        const std::string speed = product.substr(3, 2);
        if (speed == "10")
            rpm = 10000;
        else if (speed == "15")
            rpm = 15000;
        else if (speed == "54")
            rpm = 5400;
    } else if (EqualsIgnoringCase(vendor, "KORMANI")) {
        struct Pattern {
            const char* prefix;
            const char* code; // characters 7 and 8
            unsigned long long rpm;
        };
        static constexpr Pattern kPatterns[] = {{"ZTA4", "BS", 5400}, {"ZTB4", "BH", 5400},
                                                {"ZTB4", "BS", 5400}, {"ZTB4", "BT", 4200},
                                                {"ZTC4", "BH", 5400}, {"ZTC4", "CH", 5400}};
        for (const Pattern& pattern : kPatterns) {
            // A product with a known prefix but shorter than 7 characters makes
            // substr throw std::out_of_range.
            if (BeginsWith(product, pattern.prefix) && product.substr(7, 2) == pattern.code) {
                rpm = pattern.rpm;
                break;
            }
        }
    } else if (EqualsIgnoringCase(vendor, "SEAGATE")) {
        static constexpr const char* kSlowModels[] = {"ST9160314AS", "ST9750423AS", "ST9640320AS",
                                                      "ST9500325AS", "ST9320325AS", "ST9250315AS"};
        for (const char* model : kSlowModels) {
            if (product == model) {
                rpm = 5400;
                break;
            }
        }
    }
    return 0;
}

int CorrectSerialNumber(const std::string& vendor, const std::string& product,
                        std::string& serial) {
    if (EqualsIgnoringCase(vendor, "WDC") || EqualsIgnoringCase(vendor, "WD")) {
        if (serial.size() >= 4 && BeginsWith(serial, "WD-"))
            serial.erase(0, 3);
    } else if (EqualsIgnoringCase(vendor, "HGST")) {
        // Only this model reports its serial with a "JA1000" lead-in.
        if (EqualsIgnoringCase(product, "HTE541010A9E68") && serial.size() >= 7 &&
            BeginsWith(serial, "JA1000"))
            serial.erase(0, 6);
    } else if (EqualsIgnoringCase(vendor, "SEAGATE")) {
        // Only the first eight characters identify these drives; the rest is padding.
        if (serial.size() >= 9)
            serial.resize(8);
    }
    return 0;
}

int RoundRPM(unsigned long long rpm, float& thousands) {
    if (rpm <= 5000)
        thousands = 4.2f;
    else if (rpm <= 7000)
        thousands = 5.4f;
    else if (rpm <= 9000)
        thousands = 7.2f;
    else if (rpm <= 14000)
        thousands = 10.0f;
    else if (rpm <= 19000)
        thousands = 15.0f;
    else
        thousands = 20.0f;
    return 0;
}

} // namespace PI
