#pragma once

// The interchange decoders on arbitrary input. Whatever the input, a decoder
// returns 0 or a known code with a message and leaves its output alone on
// failure; whatever decodes encodes again (no decoded property holds a block
// its readers would refuse), and that encoding decodes to the same record,
// field by field, in both formats.

#include "Check.h"

#include "RecordFieldsEqual.h"

#include <PI/Interchange.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace pi_fuzz {

inline bool IsInterchangeCode(unsigned int code) {
    return code == PI::RESULT_OUT_OF_MEMORY ||
           (code >= PI::INTERCHANGE_SYNTAX && code <= PI::INTERCHANGE_BAD_TEXT);
}

template <class Record> void CheckReEncodes(const Record& record) {
    std::string json;
    PI::CInterchangeError error;
    PI_FUZZ_CHECK(PI::WriteJsonDocument(record, json, &error) == 0, error.Text());
    std::vector<std::uint8_t> packed;
    PI_FUZZ_CHECK(PI::WriteMsgPackDocument(record, packed, &error) == 0, error.Text());

    Record fromJson;
    PI_FUZZ_CHECK(PI::ReadJsonDocument(json, fromJson, &error) == 0, error.Text() + " " + json);
    const std::string jsonDifference = PI::Testing::FirstDifference(record, fromJson);
    PI_FUZZ_CHECK(jsonDifference.empty(), jsonDifference + " " + json);
    Record fromPack;
    PI_FUZZ_CHECK(PI::ReadMsgPackDocument(packed, fromPack, &error) == 0, error.Text());
    const std::string packDifference = PI::Testing::FirstDifference(record, fromPack);
    PI_FUZZ_CHECK(packDifference.empty(), packDifference);

    std::string again;
    PI_FUZZ_CHECK(PI::WriteJsonDocument(fromJson, again) == 0, "second encoding");
    PI_FUZZ_CHECK(again == json, Printable(json) + " became " + Printable(again));
}

// `json` selects the format the input is read in.
inline void CheckInterchange(const std::uint8_t* data, size_t size, bool json) {
    PI::AnyRecord record;
    PI::CInterchangeError error;
    const unsigned int code =
        json ? PI::ReadJsonDocument(reinterpret_cast<const char*>(data), size, record, &error)
             : PI::ReadMsgPackDocument(data, size, record, &error);
    if (code != 0) {
        PI_FUZZ_CHECK(IsInterchangeCode(code), std::to_string(code));
        PI_FUZZ_CHECK(error.Code == code && !error.Expected.empty(), error.Text());
        PI_FUZZ_CHECK(record.index() == 0 && std::get<PI::CProperty>(record).Type == PI::VT_NONE,
                      "output changed by a failed decode");
    } else {
        std::visit([](const auto& r) { CheckReEncodes(r); }, record);
    }

    // The same input as a value of an operation, and of a property.
    PI::COperation operation;
    operation.Attribute1 = 12345;
    const unsigned int opCode =
        json ? PI::ReadJsonValue(reinterpret_cast<const char*>(data), size, operation, &error)
             : PI::ReadMsgPackValue(data, size, operation, &error);
    if (opCode == 0)
        CheckReEncodes(operation);
    else
        PI_FUZZ_CHECK(IsInterchangeCode(opCode) && operation.Attribute1 == 12345, error.Text());
    PI::CProperty property;
    const unsigned int propertyCode =
        json ? PI::ReadJsonValue(reinterpret_cast<const char*>(data), size, property, &error)
             : PI::ReadMsgPackValue(data, size, property, &error);
    if (propertyCode == 0)
        CheckReEncodes(property);
    else
        PI_FUZZ_CHECK(IsInterchangeCode(propertyCode) && property.Type == PI::VT_NONE,
                      error.Text());
}

inline void CheckJsonInterchange(const std::uint8_t* data, size_t size) {
    CheckInterchange(data, size, true);
}
inline void CheckMsgPackInterchange(const std::uint8_t* data, size_t size) {
    CheckInterchange(data, size, false);
}

} // namespace pi_fuzz
