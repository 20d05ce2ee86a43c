#pragma once

// The drive identity functions on arbitrary strings. The input is cut at
// line breaks into a model string, a vendor, a product and a serial number.
// Each function returns 0 and keeps to its documented results; GetSATARPM
// throws std::out_of_range exactly for the too-short products it documents.
// (RoundRPM's speed classes are a table test's: it takes no text.)

#include "Check.h"

#include <PI/Helpers.h>

#include <cctype>
#include <cstring>
#include <locale>
#include <stdexcept>
#include <string>

namespace pi_fuzz {

inline std::string Upper(const std::string& text) {
    std::string out = text;
    for (char& c : out)
        c = std::toupper(c, std::locale());
    return out;
}

inline bool IsLocaleSpace(char c) {
    return std::isspace(c, std::locale());
}

inline bool StartsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0 && text.size() >= std::strlen(prefix);
}

// Whether GetSATARPM must throw for this vendor and product.
inline bool RpmMustThrow(const std::string& vendor, const std::string& product) {
    const std::string v = Upper(vendor);
    if (v == "WDC" || v == "WD")
        return false;
    if (v == "HITACHI" || v == "HGST")
        return product.size() < 3;
    if (v == "KORMANI")
        return (StartsWith(product, "ZTA4") || StartsWith(product, "ZTB4") ||
                StartsWith(product, "ZTC4")) &&
               product.size() < 7;
    return false;
}

inline void CheckRpm(const std::string& vendor, const std::string& product,
                     const std::string& where) {
    unsigned long long rpm = 1;
    bool threw = false;
    try {
        PI_FUZZ_CHECK(PI::GetSATARPM(vendor, product, rpm) == 0, where);
    } catch (const std::out_of_range&) {
        threw = true;
    }
    PI_FUZZ_CHECK(threw == RpmMustThrow(vendor, product),
                  "GetSATARPM(" + Printable(vendor) + ", " + Printable(product) + ")" + where);
    if (!threw)
        PI_FUZZ_CHECK(rpm == 4200 || rpm == 5400 || rpm == 7200 || rpm == 10000 || rpm == 15000,
                      "rpm " + std::to_string(rpm) + where);
    if (Upper(vendor) != "WDC" && Upper(vendor) != "WD" && Upper(vendor) != "HITACHI" &&
        Upper(vendor) != "HGST" && Upper(vendor) != "KORMANI" && Upper(vendor) != "SEAGATE")
        PI_FUZZ_CHECK(rpm == 7200, "an unknown vendor's rpm" + where);
}

// The documented serial number corrections.
inline std::string ExpectedSerial(const std::string& vendor, const std::string& product,
                                  const std::string& serial) {
    const std::string v = Upper(vendor);
    if (v == "WDC" || v == "WD")
        return serial.size() >= 4 && serial.compare(0, 3, "WD-") == 0 ? serial.substr(3) : serial;
    if (v == "HGST")
        return Upper(product) == "HTE541010A9E68" && serial.size() >= 7 &&
                       serial.compare(0, 6, "JA1000") == 0
                   ? serial.substr(6)
                   : serial;
    if (v == "SEAGATE")
        return serial.size() >= 9 ? serial.substr(0, 8) : serial;
    return serial;
}

inline void CheckDriveIdentity(const std::uint8_t* data, size_t size) {
    const std::vector<std::string> fields = Fields(data, size, '\n');
    const std::string model = fields[0];
    const std::string vendorIn = fields.size() > 1 ? fields[1] : "";
    const std::string productIn = fields.size() > 2 ? fields[2] : "";
    const std::string serialIn = fields.size() > 3 ? fields[3] : "";
    const std::string where =
        " in " + Printable(std::string(reinterpret_cast<const char*>(data), size));

    std::string vendor = "stale", product = "stale";
    PI_FUZZ_CHECK(PI::SplitSATAModelName(model, vendor, product) == 0, where);
    for (const std::string* part : {&vendor, &product})
        PI_FUZZ_CHECK(part->empty() ||
                          (!IsLocaleSpace(part->front()) && !IsLocaleSpace(part->back())),
                      "untrimmed " + Printable(*part) + where);
    PI_FUZZ_CHECK(product.empty() || model.find(product) != std::string::npos,
                  "product " + Printable(product) + " is not from the model" + where);
    const char* const named[] = {"STEC", "SEAGATE", "HGST", "LG", "--", "Sony"};
    bool knownVendor = false;
    for (const char* name : named)
        knownVendor = knownVendor || vendor == name;
    PI_FUZZ_CHECK(knownVendor || vendor.empty() || model.find(vendor) != std::string::npos,
                  "vendor " + Printable(vendor) + " is not from the model" + where);
    // A model without white space inside is the product as it is.
    size_t first = 0, last = model.size();
    while (first < last && IsLocaleSpace(model[first]))
        ++first;
    while (last > first && IsLocaleSpace(model[last - 1]))
        --last;
    const std::string trimmed = model.substr(first, last - first);
    bool spaceInside = false;
    for (const char c : trimmed)
        spaceInside = spaceInside || IsLocaleSpace(c);
    if (!spaceInside)
        PI_FUZZ_CHECK(product == trimmed && knownVendor && vendor != "Sony",
                      "single word split as " + Printable(vendor) + "/" + Printable(product) +
                          where);

    CheckRpm(vendorIn, productIn, where);
    CheckRpm(vendor, product, where);

    for (const std::string& v : {vendorIn, vendor}) {
        std::string serial = serialIn;
        PI_FUZZ_CHECK(PI::CorrectSerialNumber(v, productIn, serial) == 0, where);
        PI_FUZZ_CHECK(serial == ExpectedSerial(v, productIn, serialIn),
                      "serial " + Printable(serial) + " for vendor " + Printable(v) + where);
    }
}

} // namespace pi_fuzz
