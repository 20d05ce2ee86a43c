// The JSON values of single fields: numbers and flags written here, every
// leaf read back with RapidJSON.
#include "Leaf.h"

#include "../Interchange/Text.h"

#include <rapidjson/document.h>

namespace PI {
namespace DiffInternal {
namespace {

constexpr unsigned int PARSE_FLAGS =
    rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;

bool Parse(const std::string& json, rapidjson::Document& document) {
    document.Parse<PARSE_FLAGS>(json.data(), json.size());
    return !document.HasParseError();
}

} // namespace

void AppendNumber(long long value, std::string& out) {
    out += std::to_string(value);
}
void AppendNumber(unsigned long long value, std::string& out) {
    out += std::to_string(value);
}
void AppendFlag(bool value, std::string& out) {
    out += value ? "true" : "false";
}

bool ParseFlag(const std::string& json, bool& out) {
    rapidjson::Document document;
    if (!Parse(json, document) || !document.IsBool())
        return false;
    out = document.GetBool();
    return true;
}

bool ParseSigned(const std::string& json, long long minimum, long long maximum, long long& out) {
    rapidjson::Document document;
    if (!Parse(json, document) || !document.IsInt64())
        return false;
    const long long value = document.GetInt64();
    if (value < minimum || value > maximum)
        return false;
    out = value;
    return true;
}

bool ParseUnsigned(const std::string& json, unsigned long long maximum, unsigned long long& out) {
    rapidjson::Document document;
    if (!Parse(json, document) || !document.IsUint64())
        return false;
    const unsigned long long value = document.GetUint64();
    if (value > maximum)
        return false;
    out = value;
    return true;
}

bool ParseText(const std::string& json, std::string& out) {
    rapidjson::Document document;
    if (!Parse(json, document))
        return false;
    if (document.IsString()) {
        out.assign(document.GetString(), document.GetStringLength());
        return true;
    }
    if (!document.IsObject() || document.MemberCount() != 1)
        return false;
    const auto member = document.FindMember("Base64");
    if (member == document.MemberEnd() || !member->value.IsString())
        return false;
    std::string bytes;
    if (!Interchange::DecodeBase64(member->value.GetString(), member->value.GetStringLength(),
                                   bytes))
        return false;
    out = std::move(bytes);
    return true;
}

} // namespace DiffInternal
} // namespace PI
