// Decoded sense data in words, for tools and logs.
#include "PI/SenseData.h"

#include <cstdio>

namespace PI {

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

std::string Hex(unsigned long long value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", value);
    return text;
}

std::string Hex2(unsigned int value) {
    char text[8];
    std::snprintf(text, sizeof text, "%02Xh", value & 0xFFu);
    return text;
}

// Hundredths of a percent, rounded down, so that 65535 never shows 100%.
std::string Percent(unsigned short progress) {
    const unsigned long hundredths = static_cast<unsigned long>(progress) * 10000ul / 65536ul;
    char text[48];
    std::snprintf(text, sizeof text, "%lu.%02lu%% (%u/65536)", hundredths / 100, hundredths % 100,
                  static_cast<unsigned int>(progress));
    return text;
}

std::string Information(unsigned long long value, bool valid) {
    return Hex(value) + " (" + std::to_string(value) + ")" + (valid ? "" : ", not valid");
}

std::string Flags(bool filemark, bool eom, bool ili) {
    std::string text;
    for (const auto& flag :
         {std::make_pair(filemark, "filemark"), std::make_pair(eom, "end of medium"),
          std::make_pair(ili, "incorrect length")}) {
        if (flag.first)
            text += std::string(text.empty() ? "" : ", ") + flag.second;
    }
    return text.empty() ? "none" : text;
}

std::string Ata(const CSenseAtaStatus& ata, bool fixed) {
    std::string text = "error " + Hex(ata.Error) + ", status " + Hex(ata.Status) + ", device " +
                       Hex(ata.Device) + ", count " + Hex(ata.Count) +
                       (ata.CountUpperNonZero ? "+" : "") + ", LBA " + Hex(ata.Lba) +
                       (ata.LbaUpperNonZero ? "+" : "") + (ata.Extend ? ", 48-bit" : ", 28-bit");
    if (fixed)
        text += ", log index " + std::to_string(ata.LogIndex);
    return text;
}

std::string Raw(const std::vector<unsigned char>& bytes, size_t from) {
    std::string text;
    char hex[4];
    for (size_t i = from; i < bytes.size(); ++i) {
        std::snprintf(hex, sizeof hex, "%02X", bytes[i]);
        text += (text.empty() ? "" : " ") + std::string(hex);
    }
    return text.empty() ? "no bytes" : text;
}

std::string Descriptor(const CSenseDescriptor& d) {
    if (!d.Decoded) {
        std::string what = d.Bytes.size() < 2 ? "cut off after its type" : Raw(d.Bytes, 2);
        if (d.Bytes.size() >= 2 && (d.Type <= SENSE_DESC_BLOCK || d.Type == 0x09 ||
                                    d.Type == 0x0A || d.Type == 0x0C || d.Type == 0x0D))
            what = "too short: " + what;
        return what;
    }
    switch (d.Type) {
    case SENSE_DESC_INFORMATION:
        return "information " + Information(d.Information, d.Valid);
    case SENSE_DESC_COMMAND_SPECIFIC:
        return "command specific " + Hex(d.CommandSpecific);
    case SENSE_DESC_KEY_SPECIFIC:
        return "sense key specific: " + DescribeKeySpecific(d.KeySpecific);
    case SENSE_DESC_FRU:
        return "field replaceable unit " + Hex(d.Fru);
    case SENSE_DESC_STREAM:
        return "stream commands: " + Flags(d.Filemark, d.EndOfMedium, d.IncorrectLength);
    case SENSE_DESC_BLOCK:
        return "block commands: " + Flags(false, false, d.IncorrectLength);
    case SENSE_DESC_ATA_STATUS:
        return "ATA status return: " + Ata(d.Ata, false);
    case SENSE_DESC_PROGRESS:
        return "progress of another operation " + Percent(d.Progress) + ", key " +
               Hex2(d.Key).substr(1) + " ASC/ASCQ " + Hex2(d.ASC) + "/" + Hex2(d.ASCQ);
    case SENSE_DESC_FORWARDED: {
        std::string text = "forwarded sense from ";
        text += d.ForwardedSource == 0
                    ? std::string("the source device")
                    : "destination device " + std::to_string(d.ForwardedSource - 1);
        text += std::string(d.ForwardedByTarget ? " (made up by the target)" : "") + ", status " +
                Hex2(d.ForwardedStatus);
        if (!d.Forwarded.empty()) {
            const CSenseData& inner = d.Forwarded.front();
            text += ", key " + Hex2(inner.Key).substr(1) + " ASC/ASCQ " + Hex2(inner.ASC) + "/" +
                    Hex2(inner.ASCQ);
        } else if (d.Bytes.size() > 4) {
            text += ", sense data not decodable: " + Raw(d.Bytes, 4);
        }
        return text;
    }
    case SENSE_DESC_DIRECT_ACCESS: {
        std::string text = "direct-access block device: information " +
                           Information(d.Information, d.Valid) + ", command specific " +
                           Hex(d.CommandSpecific) + ", field replaceable unit " + Hex(d.Fru);
        if (d.IncorrectLength)
            text += ", incorrect length";
        if (d.KeySpecific.Valid)
            text += ", " + DescribeKeySpecific(d.KeySpecific);
        return text;
    }
    default:
        return Raw(d.Bytes, 2);
    }
}

} // namespace

std::string DescribeKeySpecific(const CSenseKeySpecific& f) {
    const std::string bit =
        f.BitPointerValid ? " bit " + std::to_string(static_cast<unsigned int>(f.BitPointer)) : "";
    switch (f.Kind) {
    case SKS_NONE:
        return "";
    case SKS_FIELD_POINTER:
        return std::string("error in ") + (f.Command ? "CDB" : "parameter data") + " byte " +
               std::to_string(f.Pointer) + bit;
    case SKS_RETRY_COUNT:
        return "actual retry count " + std::to_string(f.RetryCount);
    case SKS_PROGRESS:
        return "progress " + Percent(f.Progress);
    case SKS_SEGMENT_POINTER:
        return std::string("error in ") +
               (f.SegmentDescriptor ? "segment descriptor" : "parameter list") + " byte " +
               std::to_string(f.Pointer) + bit;
    case SKS_UNIT_ATTENTION:
        return f.Overflow ? "unit attention queue overflowed"
                          : "unit attention queue did not overflow";
    case SKS_UNDEFINED:
    default:
        return "bytes " + Raw({f.Bytes[0], f.Bytes[1], f.Bytes[2]}, 0);
    }
}

void DescribeSenseData(const CSenseData& data, Rows& rows) {
    if (data.Overflow)
        rows.emplace_back("overflow", "the device had more sense data than it returned");
    if (!data.Descriptor) {
        if (data.InformationValid || data.Information != 0)
            rows.emplace_back("information", Information(data.Information, data.InformationValid));
        if (data.Filemark || data.EndOfMedium || data.IncorrectLength)
            rows.emplace_back("flags",
                              Flags(data.Filemark, data.EndOfMedium, data.IncorrectLength));
        if (data.CommandSpecificValid && data.CommandSpecific != 0)
            rows.emplace_back("command specific", Hex(data.CommandSpecific));
        if (data.Fru != 0)
            rows.emplace_back("FRU", Hex(data.Fru));
        if (data.KeySpecific.Valid)
            rows.emplace_back("key specific", DescribeKeySpecific(data.KeySpecific));
        if (data.AtaValid)
            rows.emplace_back("ATA registers", Ata(data.Ata, true));
    }
    for (const CSenseDescriptor& d : data.Descriptors) {
        rows.emplace_back("descriptor " + Hex2(d.Type) + " @" + std::to_string(d.Offset),
                          Descriptor(d) + (d.Truncated ? " (cut off)" : ""));
    }
    if (!data.Remark.empty())
        rows.emplace_back(data.Truncated ? "stopped" : "length", data.Remark);
}

} // namespace PI
