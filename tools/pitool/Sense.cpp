// pitool sense: SCSI sense data in words.
#include "Commands.h"
#include "Names.h"

#include <PI/Helpers.h>
#include <PI/SenseData.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <memory>

namespace pitool {

namespace {

struct SenseArgs {
    std::vector<std::string> codes; // KEY, or KEY ASC ASCQ
    std::vector<std::string> raw;   // hex bytes of a sense buffer
    std::string file;               // a file with such bytes
};

struct SenseCodes {
    unsigned char key = 0;
    bool hasAsc = false;
    unsigned char asc = 0;
    unsigned char ascq = 0;
};

std::string SeverityName(int severity) {
    const NamedValue* row = FindByValue("_SEVERITY", "SEVERITY_", severity);
    if (!row) {
        return "";
    }
    std::string name = std::string(row->name).substr(9);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

std::string HexBytes(const unsigned char* bytes, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += (i ? " " : "") + HexByte(bytes[i]);
    }
    return text;
}

Json KeySpecificJson(const PI::CSenseKeySpecific& f) {
    if (f.Kind == PI::SKS_NONE) {
        return Json();
    }
    Json json = Json::Object();
    json.Set("kind", PI::SenseKeySpecificKindName(f.Kind))
        .Set("valid", f.Valid)
        .Set("bytes", HexBytes(f.Bytes, 3));
    const Json bit = f.BitPointerValid ? Json(static_cast<unsigned int>(f.BitPointer)) : Json();
    switch (f.Kind) {
    case PI::SKS_FIELD_POINTER:
        json.Set("command", f.Command)
            .Set("byte", static_cast<unsigned int>(f.Pointer))
            .Set("bit", bit);
        break;
    case PI::SKS_SEGMENT_POINTER:
        json.Set("segment_descriptor", f.SegmentDescriptor)
            .Set("byte", static_cast<unsigned int>(f.Pointer))
            .Set("bit", bit);
        break;
    case PI::SKS_RETRY_COUNT:
        json.Set("retry_count", static_cast<unsigned int>(f.RetryCount));
        break;
    case PI::SKS_PROGRESS:
        json.Set("progress", static_cast<unsigned int>(f.Progress));
        break;
    case PI::SKS_UNIT_ATTENTION:
        json.Set("overflow", f.Overflow);
        break;
    default:
        break;
    }
    return json;
}

Json AtaJson(const PI::CSenseAtaStatus& ata, bool fixed) {
    Json json = Json::Object();
    json.Set("extend", ata.Extend)
        .Set("error", static_cast<unsigned int>(ata.Error))
        .Set("status", static_cast<unsigned int>(ata.Status))
        .Set("device", static_cast<unsigned int>(ata.Device))
        .Set("count", static_cast<unsigned int>(ata.Count))
        .Set("lba", ata.Lba);
    if (fixed) {
        json.Set("count_upper_nonzero", ata.CountUpperNonZero)
            .Set("lba_upper_nonzero", ata.LbaUpperNonZero)
            .Set("log_index", static_cast<unsigned int>(ata.LogIndex));
    }
    return json;
}

Json SenseJson(const PI::CSenseData& sense);

Json DescriptorJson(const PI::CSenseData& sense, const PI::CSenseDescriptor& d) {
    Json json = Json::Object();
    json.Set("type", static_cast<unsigned int>(d.Type))
        .Set("offset", static_cast<unsigned long long>(d.Offset))
        .Set("additional_length", static_cast<unsigned int>(d.AdditionalLength))
        .Set("bytes", HexBytes(sense.Bytes.data() + d.Offset, d.Size))
        .Set("truncated", d.Truncated)
        .Set("decoded", d.Decoded);
    if (!d.Decoded) {
        return json;
    }
    switch (d.Type) {
    case PI::SENSE_DESC_INFORMATION:
        json.Set("valid", d.Valid).Set("information", d.Information);
        break;
    case PI::SENSE_DESC_COMMAND_SPECIFIC:
        json.Set("command_specific", d.CommandSpecific);
        break;
    case PI::SENSE_DESC_KEY_SPECIFIC:
        json.Set("key_specific", KeySpecificJson(d.KeySpecific));
        break;
    case PI::SENSE_DESC_FRU:
        json.Set("fru", static_cast<unsigned int>(d.Fru));
        break;
    case PI::SENSE_DESC_STREAM:
        json.Set("filemark", d.Filemark)
            .Set("end_of_medium", d.EndOfMedium)
            .Set("incorrect_length", d.IncorrectLength);
        break;
    case PI::SENSE_DESC_BLOCK:
        json.Set("incorrect_length", d.IncorrectLength);
        break;
    case PI::SENSE_DESC_ATA_STATUS:
        json.Set("ata", AtaJson(d.Ata, false));
        break;
    case PI::SENSE_DESC_PROGRESS:
        json.Set("key", static_cast<unsigned int>(d.Key))
            .Set("asc", static_cast<unsigned int>(d.ASC))
            .Set("ascq", static_cast<unsigned int>(d.ASCQ))
            .Set("progress", static_cast<unsigned int>(d.Progress));
        break;
    case PI::SENSE_DESC_FORWARDED:
        json.Set("forwarded_by_target", d.ForwardedByTarget)
            .Set("source", static_cast<unsigned int>(d.ForwardedSource))
            .Set("status", static_cast<unsigned int>(d.ForwardedStatus))
            .Set("sense", d.Forwarded.empty() ? Json() : SenseJson(d.Forwarded.front()));
        break;
    case PI::SENSE_DESC_DIRECT_ACCESS:
        json.Set("valid", d.Valid)
            .Set("information", d.Information)
            .Set("command_specific", d.CommandSpecific)
            .Set("key_specific", KeySpecificJson(d.KeySpecific))
            .Set("fru", static_cast<unsigned int>(d.Fru))
            .Set("incorrect_length", d.IncorrectLength);
        break;
    default:
        break;
    }
    return json;
}

// Every decoded field beyond the texts of key and codes.
Json SenseJson(const PI::CSenseData& sense) {
    Json json = Json::Object();
    json.Set("format", sense.Descriptor ? "descriptor" : "fixed")
        .Set("response_code", static_cast<unsigned int>(sense.ResponseCode))
        .Set("deferred", sense.Deferred)
        .Set("key", static_cast<unsigned int>(sense.Key))
        .Set("asc", static_cast<unsigned int>(sense.ASC))
        .Set("ascq", static_cast<unsigned int>(sense.ASCQ))
        .Set("information_valid", sense.InformationValid)
        .Set("information_field", sense.Information)
        .Set("additional_length", static_cast<unsigned int>(sense.AdditionalLength))
        .Set("length", static_cast<unsigned long long>(sense.Length))
        .Set("truncated", sense.Truncated)
        .Set("remark", sense.Remark.empty() ? Json() : Json(sense.Remark))
        .Set("overflow", sense.Overflow)
        .Set("filemark", sense.Filemark)
        .Set("end_of_medium", sense.EndOfMedium)
        .Set("incorrect_length", sense.IncorrectLength)
        .Set("command_specific", sense.CommandSpecificValid ? Json(sense.CommandSpecific) : Json())
        .Set("fru", static_cast<unsigned int>(sense.Fru))
        .Set("key_specific", KeySpecificJson(sense.KeySpecific))
        .Set("ata", sense.AtaValid ? AtaJson(sense.Ata, !sense.Descriptor) : Json());
    Json descriptors = Json::Array();
    for (const auto& d : sense.Descriptors) {
        descriptors.Push(DescriptorJson(sense, d));
    }
    json.Set("descriptors", std::move(descriptors));
    return json;
}

// Picks key, ASC and ASCQ out of a raw buffer; fills the format rows and
// the rows of every other field.
SenseCodes DecodeBuffer(const std::vector<unsigned char>& bytes, Rows& rows, Rows& details,
                        Json& json) {
    PI::CSenseData sense;
    std::string error;
    if (PI::DecodeSenseData(bytes.data(), bytes.size(), sense, error) != PI::SENSE_OK) {
        Fail(error);
    }
    const std::string format = sense.Descriptor ? "descriptor" : "fixed";
    rows.emplace_back("format", format + " (" + HexByte(sense.ResponseCode) + "h, " +
                                    (sense.Deferred ? "deferred" : "current") + " error)");
    std::string hex;
    std::vector<unsigned char> copy = bytes;
    PI::HexDump(hex, copy.data(), 0, static_cast<unsigned int>(copy.size()));
    rows.emplace_back("bytes", hex);
    PI::DescribeSenseData(sense, details);
    json.Set("format", format)
        .Set("response_code", static_cast<unsigned int>(sense.ResponseCode))
        .Set("deferred", sense.Deferred)
        .Set("bytes", hex);
    if (sense.InformationValid) {
        json.Set("information", sense.Information);
    }
    json.Set("sense", SenseJson(sense));

    SenseCodes codes;
    codes.hasAsc = true;
    codes.key = sense.Key;
    codes.asc = sense.ASC;
    codes.ascq = sense.ASCQ;
    return codes;
}

Result RunSense(const SenseArgs& args) {
    const int modes = !args.codes.empty() + !args.raw.empty() + !args.file.empty();
    if (modes != 1) {
        Fail("give either KEY [ASC ASCQ], or --raw BYTES, or --file FILE");
    }
    Rows rows;
    Rows details;
    Json json = Json::Object();
    SenseCodes codes;
    if (!args.codes.empty()) {
        if (args.codes.size() == 2) {
            Fail("give the sense key alone, or the key with both ASC and ASCQ");
        }
        codes.key = ParseHexByte(args.codes[0], "sense key");
        if (codes.key > 0x0F) {
            Fail("sense key '" + args.codes[0] + "' is out of range (0h to Fh)");
        }
        if (args.codes.size() == 3) {
            codes.hasAsc = true;
            codes.asc = ParseHexByte(args.codes[1], "ASC");
            codes.ascq = ParseHexByte(args.codes[2], "ASCQ");
        }
    } else {
        std::string text;
        for (const auto& part : args.raw) {
            text += part + "\n";
        }
        const std::string what = args.file.empty() ? "the sense buffer" : "'" + args.file + "'";
        if (!args.file.empty()) {
            text = ReadFileOrStdin(args.file);
        }
        codes = DecodeBuffer(ParseHexBytes(text, what), rows, details, json);
    }

    std::string keyText;
    PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
    PI::TranslateSenseKey(codes.key, keyText, severity);
    const std::string keyHex = HexByte(codes.key).substr(1) + "h";
    rows.emplace_back("sense key", keyHex + "  " + keyText);
    rows.emplace_back("severity", std::to_string(severity) + " (" + SeverityName(severity) + ")");
    json.Set("key", static_cast<unsigned int>(codes.key))
        .Set("key_text", keyText)
        .Set("severity", static_cast<int>(severity))
        .Set("severity_name", SeverityName(severity));

    Result result;
    if (codes.hasAsc) {
        std::string ascText;
        const bool known = PI::TranslateSenseASC(codes.asc, codes.ascq, ascText) == 0;
        const std::string pair = HexByte(codes.asc) + "h/" + HexByte(codes.ascq) + "h";
        rows.emplace_back("ASC/ASCQ", pair + "  " + (known ? ascText : "(not a known pair)"));
        json.Set("asc", static_cast<unsigned int>(codes.asc))
            .Set("ascq", static_cast<unsigned int>(codes.ascq))
            .Set("asc_known", known)
            .Set("asc_text", known ? Json(ascText) : Json());
        if (!known) {
            result.status = EXIT_NOT_FOUND;
            result.note = "ASC/ASCQ " + pair + " is not a known pair";
        }
    }
    rows.insert(rows.end(), details.begin(), details.end());
    result.text = FormatRows(rows);
    result.json = std::move(json);
    return result;
}

} // namespace

void AddSenseCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<SenseArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "sense", "SCSI sense data in words: key, severity, ASC/ASCQ",
        "Takes a sense key, a key with its ASC and ASCQ, or a raw sense buffer (fixed format "
        "70h/71h or descriptor format 72h/73h), of which every field is shown: information, "
        "flags, command-specific information, FRU, sense-key specific, ATA registers and each "
        "descriptor, and where decoding stopped when the lengths disagree. All values are "
        "hexadecimal, as in the sense data. Exit status 1 when the ASC/ASCQ pair is unknown.");
    sub->add_option("codes", args->codes, "KEY, or KEY ASC ASCQ (hex bytes, e.g. 5 24 00)")
        ->expected(1, 3)
        ->type_name("HEX");
    sub->add_option("--raw", args->raw,
                    "Sense buffer as hex bytes, e.g. --raw 70 00 05 00 00 00 00 0a 00 00 00 00 "
                    "24 00")
        ->expected(1, -1)
        ->type_name("HEX");
    sub->add_option("--file", args->file,
                    "File with the sense buffer as hex bytes (# starts a comment); - for stdin");
    sub->callback([&call, args] { call.run = [args] { return RunSense(*args); }; });
}

} // namespace pitool
