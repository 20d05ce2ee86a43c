// Decoded sense data in words, for tools and logs. The text is appended in
// place with its own number formatting: a controller log formats sense data
// by the thousand, and temporaries would cost more than the decoding.
#include "PI/SenseData.h"

#include <charconv>

namespace PI {

namespace {

const char DIGITS[] = "0123456789ABCDEF";

// One line of text in a fixed buffer, handed on whole: many small appends
// to a std::string cost more than the decoding itself. The longest line (the
// raw bytes of a descriptor filling the sense data) is under 800 characters.
struct Writer {
    char text[1024];
    size_t size = 0;

    Writer() {} // leaves the buffer alone: only text[0, size) is ever read

    void Append(const char* part, size_t count) {
        if (count > sizeof text - size)
            count = sizeof text - size;
        for (size_t i = 0; i < count; ++i)
            text[size + i] = part[i];
        size += count;
    }
    template <size_t N> Writer& operator+=(const char (&part)[N]) {
        Append(part, N - 1);
        return *this;
    }
    Writer& operator+=(const std::string& part) {
        Append(part.data(), part.size());
        return *this;
    }
    Writer& operator+=(char c) {
        if (size < sizeof text)
            text[size++] = c;
        return *this;
    }
    // A choice between two literals.
    Writer& Either(bool first, const char* a, const char* b) {
        const char* part = first ? a : b;
        size_t count = 0;
        while (part[count])
            ++count;
        Append(part, count);
        return *this;
    }
};

void AppendHex(Writer& out, unsigned long long value) {
    char text[18];
    size_t at = sizeof text;
    do {
        text[--at] = DIGITS[value & 0xF];
        value >>= 4;
    } while (value != 0);
    out += "0x";
    out.Append(text + at, sizeof text - at);
}

void AppendDecimal(Writer& out, unsigned long long value) {
    char text[20];
    out.Append(text,
               static_cast<size_t>(std::to_chars(text, text + sizeof text, value).ptr - text));
}

// Two hex digits and "h", as the sense data's own documentation writes bytes.
void AppendByte(Writer& out, unsigned int value) {
    out += DIGITS[(value >> 4) & 0xF];
    out += DIGITS[value & 0xF];
    out += 'h';
}

// Hundredths of a percent, rounded down, so that 65535 never shows 100%.
void AppendPercent(Writer& out, unsigned short progress) {
    const unsigned long hundredths = static_cast<unsigned long>(progress) * 10000ul / 65536ul;
    AppendDecimal(out, hundredths / 100);
    out += '.';
    out += static_cast<char>('0' + hundredths % 100 / 10);
    out += static_cast<char>('0' + hundredths % 10);
    out += "% (";
    AppendDecimal(out, progress);
    out += "/65536)";
}

void AppendRaw(Writer& out, const unsigned char* bytes, size_t count) {
    if (count == 0) {
        out += "no bytes";
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        if (i)
            out += ' ';
        out += DIGITS[bytes[i] >> 4];
        out += DIGITS[bytes[i] & 0xF];
    }
}

void AppendInformation(Writer& out, unsigned long long value, bool valid) {
    AppendHex(out, value);
    out += " (";
    AppendDecimal(out, value);
    out.Either(valid, ")", "), not valid");
}

void AppendFlags(Writer& out, bool filemark, bool eom, bool ili) {
    const size_t start = out.size;
    if (filemark)
        out += "filemark";
    if (eom)
        out.Either(out.size > start, ", end of medium", "end of medium");
    if (ili)
        out.Either(out.size > start, ", incorrect length", "incorrect length");
    if (out.size == start)
        out += "none";
}

void AppendAta(Writer& out, const CSenseAtaStatus& ata, bool fixed) {
    out += "error ";
    AppendHex(out, ata.Error);
    out += ", status ";
    AppendHex(out, ata.Status);
    out += ", device ";
    AppendHex(out, ata.Device);
    out += ", count ";
    AppendHex(out, ata.Count);
    if (ata.CountUpperNonZero)
        out += '+';
    out += ", LBA ";
    AppendHex(out, ata.Lba);
    if (ata.LbaUpperNonZero)
        out += '+';
    out.Either(ata.Extend, ", 48-bit", ", 28-bit");
    if (fixed) {
        out += ", log index ";
        AppendDecimal(out, ata.LogIndex);
    }
}

void AppendKeySpecific(Writer& out, const CSenseKeySpecific& f) {
    switch (f.Kind) {
    case SKS_NONE:
        return;
    case SKS_FIELD_POINTER:
    case SKS_SEGMENT_POINTER:
        out += "error in ";
        if (f.Kind == SKS_FIELD_POINTER)
            out.Either(f.Command, "CDB", "parameter data");
        else
            out.Either(f.SegmentDescriptor, "segment descriptor", "parameter list");
        out += " byte ";
        AppendDecimal(out, f.Pointer);
        if (f.BitPointerValid) {
            out += " bit ";
            AppendDecimal(out, f.BitPointer);
        }
        return;
    case SKS_RETRY_COUNT:
        out += "actual retry count ";
        AppendDecimal(out, f.RetryCount);
        return;
    case SKS_PROGRESS:
        out += "progress ";
        AppendPercent(out, f.Progress);
        return;
    case SKS_UNIT_ATTENTION:
        out.Either(f.Overflow, "unit attention queue overflowed",
                   "unit attention queue did not overflow");
        return;
    case SKS_UNDEFINED:
    default:
        out += "bytes ";
        AppendRaw(out, f.Bytes, 3);
        return;
    }
}

bool KnownType(unsigned char type) {
    return type <= SENSE_DESC_BLOCK || type == SENSE_DESC_ATA_STATUS ||
           type == SENSE_DESC_PROGRESS || type == SENSE_DESC_FORWARDED ||
           type == SENSE_DESC_DIRECT_ACCESS;
}

void AppendDescriptor(Writer& out, const CSenseDescriptor& d, const unsigned char* b) {
    if (!d.Decoded) {
        if (d.Size < 2) {
            out += "cut off after its type";
            return;
        }
        if (KnownType(d.Type))
            out += "too short: ";
        AppendRaw(out, b + 2, d.Size - 2);
        return;
    }
    switch (d.Type) {
    case SENSE_DESC_INFORMATION:
        out += "information ";
        AppendInformation(out, d.Information, d.Valid);
        break;
    case SENSE_DESC_COMMAND_SPECIFIC:
        out += "command specific ";
        AppendHex(out, d.CommandSpecific);
        break;
    case SENSE_DESC_KEY_SPECIFIC:
        out += "sense key specific: ";
        AppendKeySpecific(out, d.KeySpecific);
        break;
    case SENSE_DESC_FRU:
        out += "field replaceable unit ";
        AppendHex(out, d.Fru);
        break;
    case SENSE_DESC_STREAM:
        out += "stream commands: ";
        AppendFlags(out, d.Filemark, d.EndOfMedium, d.IncorrectLength);
        break;
    case SENSE_DESC_BLOCK:
        out += "block commands: ";
        AppendFlags(out, false, false, d.IncorrectLength);
        break;
    case SENSE_DESC_ATA_STATUS:
        out += "ATA status return: ";
        AppendAta(out, d.Ata, false);
        break;
    case SENSE_DESC_PROGRESS:
        out += "progress of another operation ";
        AppendPercent(out, d.Progress);
        out += ", key ";
        out += DIGITS[d.Key & 0xF];
        out += "h ASC/ASCQ ";
        AppendByte(out, d.ASC);
        out += '/';
        AppendByte(out, d.ASCQ);
        break;
    case SENSE_DESC_FORWARDED:
        out += "forwarded sense from ";
        if (d.ForwardedSource == 0) {
            out += "the source device";
        } else {
            out += "destination device ";
            AppendDecimal(out, d.ForwardedSource - 1u);
        }
        if (d.ForwardedByTarget)
            out += " (made up by the target)";
        out += ", status ";
        AppendByte(out, d.ForwardedStatus);
        if (!d.Forwarded.empty()) {
            const CSenseData& inner = d.Forwarded.front();
            out += ", key ";
            out += DIGITS[inner.Key & 0xF];
            out += "h ASC/ASCQ ";
            AppendByte(out, inner.ASC);
            out += '/';
            AppendByte(out, inner.ASCQ);
        } else if (d.Size > 4) {
            out += ", sense data not decodable: ";
            AppendRaw(out, b + 4, d.Size - 4);
        }
        break;
    case SENSE_DESC_DIRECT_ACCESS:
        out += "direct-access block device: information ";
        AppendInformation(out, d.Information, d.Valid);
        out += ", command specific ";
        AppendHex(out, d.CommandSpecific);
        out += ", field replaceable unit ";
        AppendHex(out, d.Fru);
        if (d.IncorrectLength)
            out += ", incorrect length";
        if (d.KeySpecific.Valid) {
            out += ", ";
            AppendKeySpecific(out, d.KeySpecific);
        }
        break;
    default:
        break;
    }
}

// Where the lines go: rows of label and value, or one text.
struct RowSink {
    std::vector<std::pair<std::string, std::string>>& rows;
    Writer line;
    std::string label;
    template <class Label> Writer& Begin(const Label& name) {
        label = name;
        line.size = 0;
        return line;
    }
    void End() { rows.emplace_back(label, std::string(line.text, line.size)); }
};

struct TextSink {
    std::string& text;
    Writer line;
    template <class Label> Writer& Begin(const Label& name) {
        line.size = 0;
        line += name;
        line += ": ";
        return line;
    }
    void End() {
        line += '\n';
        text.append(line.text, line.size);
    }
};

template <class Sink> void Describe(const CSenseData& data, Sink& sink) {
    if (data.Overflow) {
        sink.Begin("overflow") += "the device had more sense data than it returned";
        sink.End();
    }
    if (!data.Descriptor) {
        if (data.InformationValid || data.Information != 0) {
            AppendInformation(sink.Begin("information"), data.Information, data.InformationValid);
            sink.End();
        }
        if (data.Filemark || data.EndOfMedium || data.IncorrectLength) {
            AppendFlags(sink.Begin("flags"), data.Filemark, data.EndOfMedium, data.IncorrectLength);
            sink.End();
        }
        if (data.CommandSpecificValid && data.CommandSpecific != 0) {
            AppendHex(sink.Begin("command specific"), data.CommandSpecific);
            sink.End();
        }
        if (data.Fru != 0) {
            AppendHex(sink.Begin("FRU"), data.Fru);
            sink.End();
        }
        if (data.KeySpecific.Valid) {
            AppendKeySpecific(sink.Begin("key specific"), data.KeySpecific);
            sink.End();
        }
        if (data.AtaValid) {
            AppendAta(sink.Begin("ATA registers"), data.Ata, true);
            sink.End();
        }
    }
    for (const CSenseDescriptor& d : data.Descriptors) {
        Writer label;
        label += "descriptor ";
        AppendByte(label, d.Type);
        label += " @";
        AppendDecimal(label, d.Offset);
        Writer& out = sink.Begin(std::string(label.text, label.size));
        AppendDescriptor(out, d, data.Bytes.data() + d.Offset);
        if (d.Truncated)
            out += " (cut off)";
        sink.End();
    }
    if (!data.Remark.empty()) {
        sink.Begin(std::string(data.Truncated ? "stopped" : "length")) += data.Remark;
        sink.End();
    }
}

} // namespace

const char* SenseKeySpecificKindName(_SENSE_KEY_SPECIFIC kind) noexcept {
    switch (kind) {
    case SKS_FIELD_POINTER:
        return "field_pointer";
    case SKS_RETRY_COUNT:
        return "retry_count";
    case SKS_PROGRESS:
        return "progress";
    case SKS_SEGMENT_POINTER:
        return "segment_pointer";
    case SKS_UNIT_ATTENTION:
        return "unit_attention";
    case SKS_UNDEFINED:
        return "undefined";
    case SKS_NONE:
        break;
    }
    return "none";
}

std::string DescribeKeySpecific(const CSenseKeySpecific& field) {
    Writer text;
    AppendKeySpecific(text, field);
    return std::string(text.text, text.size);
}

void DescribeSenseData(const CSenseData& data,
                       std::vector<std::pair<std::string, std::string>>& rows) {
    RowSink sink{rows, {}, {}};
    Describe(data, sink);
}

void FormatSenseData(const CSenseData& data, std::string& text) {
    TextSink sink{text, {}};
    Describe(data, sink);
}

} // namespace PI
