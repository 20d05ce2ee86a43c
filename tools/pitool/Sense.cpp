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

// Picks key, ASC and ASCQ out of a raw buffer; fills the format rows.
SenseCodes DecodeBuffer(const std::vector<unsigned char>& bytes, Rows& rows, Json& json) {
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
    json.Set("format", format)
        .Set("response_code", static_cast<unsigned int>(sense.ResponseCode))
        .Set("deferred", sense.Deferred)
        .Set("bytes", hex);
    if (sense.InformationValid) {
        rows.emplace_back("information", std::to_string(sense.Information));
        json.Set("information", sense.Information);
    }

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
        codes = DecodeBuffer(ParseHexBytes(text, what), rows, json);
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
        "70h/71h or descriptor format 72h/73h). All values are hexadecimal, as in the sense "
        "data. Exit status 1 when the ASC/ASCQ pair is unknown.");
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
