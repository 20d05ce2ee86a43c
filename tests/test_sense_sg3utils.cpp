// The sense decoder against sg3_utils on a seeded spread of buffers.
//
// Every field PI decodes is written as the phrase sg3_utils prints for it;
// each phrase must appear in sg3_utils' text, in order, after both texts are
// lowered and their blanks collapsed. A value PI reads from the wrong bytes,
// a descriptor PI decodes where sg3_utils finds it too short (or the other
// way round) leaves a phrase unmatched. The text comes from libsgutils2's
// sg_get_sense_str, the function sg_decode_sense prints with, in process.

#include "PI/SenseData.h"

#include <gtest/gtest.h>

#ifdef PI_HAVE_SGUTILS2
#include <scsi/sg_lib.h>
#endif

#include <cstdarg>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

#ifdef PI_HAVE_SGUTILS2

constexpr int SG_TEXT_SIZE = 2048; // sg_decode_sense's buffer

std::string Format(const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

std::string Normal(const std::string& text) {
    std::string out;
    for (const char c : text)
        if (c != ' ' && c != '\n' && c != '\t')
            out += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        else if (!out.empty() && out.back() != ' ')
            out += ' ';
    return out;
}

// sg3_utils reads a few bytes past short sense data: it sees zeros here.
std::string SgText(const Bytes& bytes) {
    Bytes padded(bytes);
    padded.resize(bytes.size() + 300, 0);
    std::vector<char> text(SG_TEXT_SIZE, '\0');
    sg_get_sense_str(nullptr, padded.data(), static_cast<int>(bytes.size()), false, SG_TEXT_SIZE,
                     text.data());
    return text.data();
}

// The sense-key specific field as sg3_utils words it; `fixed` selects the
// fixed format's wording. Nothing for a key whose field it dumps raw.
std::string KeySpecific(const PI::CSenseKeySpecific& f, bool fixed) {
    const std::string bit = f.BitPointerValid ? Format(" bit %d", f.BitPointer) : "";
    switch (f.Kind) {
    case PI::SKS_FIELD_POINTER:
        return Format("error in %s: byte %d", f.Command ? "command" : "data parameters",
                      f.Pointer) +
               bit;
    case PI::SKS_SEGMENT_POINTER:
        return Format("relative to start of %s, byte %d",
                      f.SegmentDescriptor ? "segment descriptor" : "parameter list", f.Pointer) +
               bit;
    case PI::SKS_RETRY_COUNT:
        return Format(fixed ? "actual retry count: 0x%04x" : "actual retry count: %u",
                      f.RetryCount);
    case PI::SKS_PROGRESS: // in sg3_utils' rounding of hundredths
        return Format("progress indication: %d.%02d%%", f.Progress * 100 / 65536,
                      ((f.Progress * 100) % 65536) / 656);
    case PI::SKS_UNIT_ATTENTION:
        return Format("overflow flag is %d", f.Overflow);
    default:
        return "";
    }
}

// The phrases of one descriptor; false where sg3_utils decodes on past what
// PI keeps raw, or nests forwarded sense: the comparison ends there.
bool DescriptorPhrases(const PI::CSenseData& s, const PI::CSenseDescriptor& d,
                       std::vector<std::string>& out) {
    // The labels of a descriptor too short, by sense key for type 02h, else by type.
    static const std::map<int, const char*> specificLabels = {
        {0, "progress indication:"}, {1, "actual retry count:"}, {2, "progress indication:"},
        {3, "actual retry count:"},  {4, "actual retry count:"}, {5, "field pointer:"},
        {10, "segment pointer:"}};
    static const std::map<int, const char*> labels = {{0x00, "information:"},
                                                      {0x01, "command specific:"},
                                                      {0x03, "field replaceable unit code:"},
                                                      {0x04, "stream commands:"},
                                                      {0x05, "block commands:"},
                                                      {0x09, "ata status return:"},
                                                      {0x0A, "another progress indication:"},
                                                      {0x0D, "direct-access block device"}};
    if (d.Type == 0x0B || d.Type == 0x0C || (d.Type >= 0x0E && d.Type <= 0x0F) || d.Type == 0xDE)
        return false;
    // sg3_utils wants 28 additional bytes of a direct-access descriptor, not 22.
    if (!d.Decoded || (d.Type == 0x0D && d.Size < 30)) {
        const auto& table = d.Type == 0x02 ? specificLabels : labels;
        const auto label = table.find(d.Type == 0x02 ? s.Key : d.Type);
        if (label != table.end())
            out.push_back(std::string(label->second) + " >> descriptor too short");
        else if (d.Type == 0x02 && s.Key == 0x6) // read past the descriptor by sg3_utils
            out.push_back("overflow flag is");
        return true;
    }
    const std::string specific = KeySpecific(d.KeySpecific, false);
    switch (d.Type) {
    case 0x00:
        out.push_back(Format(d.Valid ? "information: 0x%016llx"
                                     : "valid=0 (-> vendor specific) "
                                       "0x%016llx",
                             d.Information));
        break;
    case 0x01:
        out.push_back(Format("command specific: 0x%016llx", d.CommandSpecific));
        break;
    case 0x02:
        if (!specific.empty())
            out.push_back(specific);
        break;
    case 0x03:
        out.push_back(Format("field replaceable unit code: 0x%x", d.Fru));
        break;
    case 0x05:
        out.push_back(Format("(ili) %s", d.IncorrectLength ? "set" : "clear"));
        break;
    case 0x09:
        out.push_back(
            Format("extend=%d error=0x%x count=0x%x", d.Ata.Extend, d.Ata.Error, d.Ata.Count));
        out.push_back(Format(d.Ata.Extend ? "lba=0x%012llx device=0x%x status=0x%x"
                                          : "lba=0x%06llx device=0x%x status=0x%x",
                             d.Ata.Lba, d.Ata.Device, d.Ata.Status));
        break;
    case 0x0A: // sg3_utils prints a literal "02" before the unpadded hundredths
        out.push_back(Format("another progress indication: %d.02%d%%", d.Progress * 100 / 65536,
                             ((d.Progress * 100) % 65536) / 656));
        out.push_back(Format("asc,ascq=0x%x,0x%x]", d.ASC, d.ASCQ));
        break;
    case 0x0D:
        if (d.IncorrectLength)
            out.push_back("ili (incorrect length indication) set");
        if (d.KeySpecific.Valid && !specific.empty())
            out.push_back(specific);
        out.push_back(Format("field replaceable unit code: 0x%x", d.Fru));
        if (d.Valid)
            out.push_back(Format("information: 0x%016llx", d.Information));
        out.push_back(Format("command specific: 0x%016llx", d.CommandSpecific));
        break;
    default:
        break;
    }
    return true;
}

// `complete` is cleared where the phrases end before the sense data does.
std::vector<std::string> Phrases(const PI::CSenseData& s, bool& complete) {
    std::vector<std::string> out;
    complete = true;
    char text[256];
    out.push_back(std::string("sense key: ") + sg_get_sense_key_str(s.Key, sizeof text, text));
    if (s.Descriptor || s.Length > 12)
        out.push_back(sg_get_asc_ascq_str(s.ASC, s.ASCQ, sizeof text, text));
    if (s.Descriptor) {
        for (const PI::CSenseDescriptor& d : s.Descriptors)
            if (!(complete = DescriptorPhrases(s, d, out)))
                break;
    } else if (s.AtaValid) {
        const PI::CSenseAtaStatus& a = s.Ata;
        out.push_back(Format("error=0x%x, status=0x%x, device=0x%x, count(7:0)=0x%x", a.Error,
                             a.Status, a.Device, a.Count));
        out.push_back(Format("extend=%d, log_index=0x%x, lba_high,mid,low(7:0)=0x%x,0x%x,0x%x",
                             a.Extend, a.LogIndex, unsigned(a.Lba >> 16 & 0xFF),
                             unsigned(a.Lba >> 8 & 0xFF), unsigned(a.Lba & 0xFF)));
    } else {
        const unsigned info = static_cast<unsigned>(s.Information);
        if (s.InformationValid || info != 0)
            out.push_back(Format("info fld=0x%x [%u]", info, info));
        if (s.Length >= 15 && s.Fru != 0)
            out.push_back(Format("field replaceable unit code: %d", s.Fru));
        if (s.Length >= 18 && s.KeySpecific.Valid && !KeySpecific(s.KeySpecific, true).empty())
            out.push_back(KeySpecific(s.KeySpecific, true));
    }
    return out;
}

// Random sense data, mostly well formed: descriptors of their types' sizes,
// some of another size, some cut short, some lengths that disagree.
struct Generator {
    std::mt19937 random{20261125};
    unsigned Below(unsigned bound) { return random() % bound; }
    unsigned char Byte() { return static_cast<unsigned char>(random()); }
    unsigned char Sparse() { return Below(10) < 7 ? 0 : Byte(); }

    Bytes Fixed() {
        Bytes b(18, 0);
        b[0] = static_cast<unsigned char>((Below(2) ? 0x80 : 0) | (Below(5) ? 0x70 : 0x71));
        b[2] = Byte();
        for (size_t i : {3, 4, 5, 6, 8, 9, 10, 11, 14})
            b[i] = Sparse();
        b[7] = 10;
        const bool ata = Below(10) == 0;
        b[12] = ata ? 0x00 : static_cast<unsigned char>(Below(0x70));
        b[13] = ata ? 0x1D : static_cast<unsigned char>(Below(8));
        for (size_t i : {15, 16, 17})
            b[i] = Byte();
        return b;
    }

    Bytes Descriptors() {
        static const unsigned char types[][2] = {{0x00, 10}, {0x01, 10}, {0x02, 6},  {0x03, 2},
                                                 {0x04, 2},  {0x05, 2},  {0x09, 12}, {0x0A, 6},
                                                 {0x0D, 22}, {0x0D, 28}, {0x07, 4},  {0x85, 5}};
        Bytes b(8, 0);
        b[0] = static_cast<unsigned char>(Below(5) ? 0x72 : 0x73);
        for (size_t i : {1, 2, 3})
            b[i] = Byte();
        b[4] = Sparse();
        for (unsigned n = 1 + Below(4); n > 0; --n) {
            const auto& type = types[Below(sizeof types / sizeof types[0])];
            const unsigned char length =
                Below(12) ? type[1] : static_cast<unsigned char>(Below(16));
            b.push_back(type[0]);
            b.push_back(length);
            for (unsigned i = 0; i < length; ++i) // valid bits mostly set
                b.push_back(i == 0 || i == 2 ? (Below(5) ? 0x80 | Byte() : Byte()) : Byte());
        }
        b[7] = static_cast<unsigned char>(b.size() - 8);
        return b;
    }

    Bytes Next(size_t index) {
        Bytes b = index % 2 ? Fixed() : Descriptors();
        if (index % 7 == 3)
            b.resize(4 + Below(static_cast<unsigned>(b.size() - 3)));
        else if (index % 7 == 5)
            b[7] = Byte();
        return b;
    }
};

// Labels of the fields that both decode.
const char* const LABELS[] = {"info fld=",
                              "field replaceable unit code:",
                              "error in ",
                              "relative to start of",
                              "actual retry count:",
                              "progress indication:",
                              "overflow flag is",
                              "information: 0x",
                              "command specific: 0x",
                              "descriptor too short",
                              "extend=",
                              "(ili) set",
                              "(ili) clear",
                              "length indication) set"};

size_t Count(const std::string& text, const char* label) {
    size_t count = 0;
    for (size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
        ++count;
    return count;
}

std::string Hex(const Bytes& bytes) {
    std::string text;
    for (const unsigned char b : bytes)
        text += Format("%02x ", b);
    return text;
}

#endif

TEST(SenseAgainstSg3Utils, EveryDecodedFieldReadsAsSg3UtilsReadsIt) {
#ifndef PI_HAVE_SGUTILS2
    GTEST_SKIP() << "libsgutils2 (Debian libsgutils2-dev) was not found";
#else
    Generator generator;
    size_t compared = 0, failures = 0;
    size_t decoded[256] = {};
    for (size_t i = 0; i < 4000 && failures < 5; ++i) {
        const Bytes bytes = generator.Next(i);
        PI::CSenseData data;
        std::string error;
        if (PI::DecodeSenseData(bytes.data(), bytes.size(), data, error) != PI::SENSE_OK)
            continue;
        ++compared;
        for (const PI::CSenseDescriptor& d : data.Descriptors)
            decoded[d.Type] += d.Decoded;
        const std::string raw = SgText(bytes), theirs = Normal(raw);
        bool complete = true;
        const std::vector<std::string> phrases = Phrases(data, complete);
        std::string ours, missing;
        size_t at = 0;
        for (const std::string& phrase : phrases) {
            ours += Normal(phrase) + '|';
            const size_t found = theirs.find(Normal(phrase), at);
            if (found == std::string::npos && missing.empty())
                missing = phrase;
            at = found == std::string::npos ? at : found + Normal(phrase).size();
        }
        // Nor does sg3_utils decode a field that PI leaves out.
        std::string extra;
        for (const char* label : LABELS)
            if (complete && Count(theirs, label) != Count(ours, label))
                extra = label;
        if (raw.size() + 1 >= SG_TEXT_SIZE) // sg3_utils cut its text at its buffer's size
            continue;
        if (!missing.empty() || !extra.empty()) {
            ++failures;
            ADD_FAILURE() << "buffer " << Hex(bytes) << "\nPI decodes \"" << missing
                          << "\" that sg3_utils does not, or not \"" << extra
                          << "\" that it does, in:\n"
                          << raw;
        }
    }
    EXPECT_GE(compared, 3000u);
    for (const int type : {0x00, 0x01, 0x02, 0x03, 0x05, 0x09, 0x0A, 0x0D})
        EXPECT_GE(decoded[type], 50u) << "descriptor type " << type;
#endif
}

} // namespace
