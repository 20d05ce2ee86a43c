// The sense decoder against sg3_utils' sg_decode_sense on seeded buffers.
//
// sg_decode_sense prints what libsgutils2's sg_get_sense_str writes into a
// 2048-byte buffer. Starting the program costs tens of milliseconds here, so
// every buffer goes through the library function in this process, and a
// spread sample goes through the program as well to show that its output is
// that text (PI_SENSE_SG3_ALL=1 sends every buffer through the program).
//
// The comparison renders PI's decoding as sg3_utils lays its text out and
// compares the whole text: every field that both decode must agree, down to
// raw bytes. Where sg3_utils reads or prints something other than the sense
// data says, the renderer follows it and the comment there says why; those
// are the known differences, each marked "sg3_utils:".

#include "PI/SenseData.h"

#include <gtest/gtest.h>

#ifdef PI_HAVE_SGUTILS2
#include <scsi/sg_lib.h>
#endif

#include <dirent.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Bytes = std::vector<unsigned char>;

#ifdef PI_HAVE_SGUTILS2

constexpr int SG_TEXT_SIZE = 2048;     // sg_decode_sense's buffer
constexpr int SG_FORWARDED_SIZE = 480; // sg3_utils' buffer for forwarded sense
constexpr size_t PADDING = 300;        // zeros after each buffer for sg3_utils' over-reads

std::string Format(const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

std::string SgText(const unsigned char* bytes, size_t length, int size) {
    std::vector<char> text(static_cast<size_t>(size), '\0');
    sg_get_sense_str(nullptr, bytes, static_cast<int>(length), false, size, text.data());
    return text.data();
}

// The whole buffer with zeros after it: sg3_utils reads past the sense data
// in two places (see below), and must see the same bytes every time.
struct Buffer {
    Bytes padded;
    size_t length;
    explicit Buffer(const Bytes& bytes) : padded(bytes), length(bytes.size()) {
        padded.resize(bytes.size() + PADDING, 0);
    }
    unsigned char At(size_t offset) const { return offset < padded.size() ? padded[offset] : 0; }
};

const char* const TOO_SHORT = "   >> descriptor too short\n";

std::string Progress(unsigned short progress) {
    // sg3_utils' rounding of hundredths (656 for 655.36).
    const int pr = progress * 100 / 65536;
    const int rem = ((progress * 100) % 65536) / 656;
    return Format("%d.%02d%%", pr, rem);
}

std::string BitSuffix(const PI::CSenseKeySpecific& f) {
    return f.BitPointerValid ? Format(" bit %d\n", f.BitPointer) : "\n";
}

// sg3_utils' decode_sks for descriptors 02h and 0Dh; `absolute` is where
// the descriptor starts in the buffer. Returns false where sg3_utils then
// dumps the raw bytes.
bool KeySpecificText(const PI::CSenseDescriptor& d, unsigned char key, const Buffer& buffer,
                     size_t absolute, std::string& out) {
    const bool whole = d.Decoded;
    const PI::CSenseKeySpecific& f = d.KeySpecific;
    switch (key) {
    case 0x5:
        if (!whole) {
            out += std::string("Field pointer: ") + TOO_SHORT;
            return false;
        }
        out += Format("Field pointer:\n        Error in %s: byte %d",
                      f.Command ? "Command" : "Data parameters", f.Pointer) +
               BitSuffix(f);
        return true;
    case 0x1:
    case 0x3:
    case 0x4:
        out += "Actual retry count: ";
        if (!whole) {
            out += TOO_SHORT;
            return false;
        }
        out += Format("%u\n", f.RetryCount);
        return true;
    case 0x0:
    case 0x2:
        out += "Progress indication: ";
        if (!whole) {
            out += TOO_SHORT;
            return false;
        }
        out += Progress(f.Progress) + "\n";
        return true;
    case 0xA:
        out += "Segment pointer:\n";
        if (!whole) {
            out += TOO_SHORT;
            return false;
        }
        out += Format("        Relative to start of %s, byte %d",
                      f.SegmentDescriptor ? "segment descriptor" : "parameter list", f.Pointer) +
               BitSuffix(f);
        return true;
    case 0x6:
        // sg3_utils: the overflow flag is read without a length check, so a
        // cut-off descriptor shows whatever byte 4 of it would be (in or
        // past the buffer). PI does not read it then.
        out += Format("Unit attention condition queue:\n        overflow flag is %d\n",
                      whole ? f.Overflow : buffer.At(absolute + 4) & 1);
        return true;
    default:
        out += Format("Sense_key: 0x%x unexpected\n", key);
        return false;
    }
}

struct Rendered {
    std::string text;
    bool complete = true; // false: compare up to where a type PI leaves raw begins
};

Rendered Render(const PI::CSenseData& s, const Buffer& buffer, size_t base, size_t length,
                int size);

// One descriptor as sg_get_sense_descriptors_str writes it.
bool RenderDescriptor(const PI::CSenseData& s, const PI::CSenseDescriptor& d, const Buffer& buffer,
                      size_t base, std::string& out) {
    const int additional = static_cast<int>(d.Size) - 2; // cut to the sense data
    const unsigned char* bytes = s.Bytes.data() + d.Offset;
    const size_t absolute = base + d.Offset;
    bool processed = true;
    out += "  Descriptor type: ";
    switch (d.Type) {
    case 0x00:
        out += "Information: ";
        if (d.Decoded) {
            out += Format(d.Valid ? "0x%016llx\n" : "Valid=0 (-> vendor specific) 0x%016llx\n",
                          d.Information);
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x01:
        out += "Command specific: ";
        if (d.Decoded) {
            out += Format("0x%016llx\n", d.CommandSpecific);
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x02:
        out += "Sense key specific: ";
        processed = KeySpecificText(d, s.Key, buffer, absolute, out);
        break;
    case 0x03:
        out += "Field replaceable unit code: ";
        if (d.Decoded) {
            out += Format("0x%x\n", d.Fru);
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x04:
        out += "Stream commands: ";
        if (d.Decoded) {
            out += std::string(d.Filemark ? "FILEMARK" : "") +
                   (d.EndOfMedium ? "End Of Medium (EOM)" : "") +
                   (d.IncorrectLength ? "Incorrect Length Indicator (ILI)" : "") + "\n";
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x05:
        out += "Block commands: ";
        if (d.Decoded) {
            out += Format("Incorrect Length Indicator (ILI) %s\n",
                          d.IncorrectLength ? "set" : "clear");
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x06:
        out += "OSD object identification\n";
        processed = false;
        break;
    case 0x07:
        out += "OSD response integrity check value\n";
        processed = false;
        break;
    case 0x08:
        out += "OSD attribute identification\n";
        processed = false;
        break;
    case 0x09:
        out += "ATA Status Return: ";
        if (d.Decoded) {
            const PI::CSenseAtaStatus& a = d.Ata;
            out += Format("extend=%d error=0x%x \n        count=0x%x ", a.Extend, a.Error, a.Count);
            out += a.Extend ? Format("lba=0x%012llx ", a.Lba) : Format("lba=0x%06llx ", a.Lba);
            out += Format("device=0x%x status=0x%x\n", a.Device, a.Status);
        } else {
            out += TOO_SHORT;
            processed = false;
        }
        break;
    case 0x0A:
        out += "Another progress indication: ";
        if (!d.Decoded) {
            out += TOO_SHORT;
            processed = false;
            break;
        }
        {
            // sg3_utils: prints the percentage as "%d.02%d%%", a literal
            // "02" followed by the unpadded hundredths (50.00% shows as
            // 50.020%), and byte 2 whole, reserved bits with the key.
            const int pr = d.Progress * 100 / 65536;
            const int rem = ((d.Progress * 100) % 65536) / 656;
            out += Format("%d.02%d%%\n", pr, rem);
            out += Format("        [sense_key=0x%x asc,ascq=0x%x,0x%x]\n",
                          (bytes[2] & 0xF0) | d.Key, d.ASC, d.ASCQ);
        }
        break;
    case 0x0C:
        out += "Forwarded sense data\n";
        if (!d.Decoded) {
            out += TOO_SHORT;
            processed = false;
            break;
        }
        out += Format("    FSDT: %s\n", d.ForwardedByTarget ? "set" : "clear");
        out += "    Sense data source: ";
        if (d.ForwardedSource == 0)
            out += "Extended copy command source device\n";
        else if (d.ForwardedSource <= 7)
            out += Format("Extended copy command destination device %d\n", d.ForwardedSource - 1);
        else
            out += Format("unknown [%d]\n", d.ForwardedSource);
        {
            char status[480];
            sg_get_scsi_status_str(d.ForwardedStatus, sizeof status - 1, status);
            status[sizeof status - 1] = '\0';
            out += Format("    Forwarded status: %s\n", status);
        }
        if (additional > 2) {
            out += " vvvvvvvvvvvvvvvv\n";
            const size_t inner = absolute + 4;
            if (!d.Forwarded.empty()) {
                const Rendered nested =
                    Render(d.Forwarded.front(), buffer, inner, d.Size - 4, SG_FORWARDED_SIZE);
                if (!nested.complete) {
                    out += nested.text;
                    return false;
                }
                out += nested.text;
            } else {
                // PI refuses this forwarded sense (too short or of another
                // format): nothing that both decode, so take sg3_utils' text.
                out += SgText(&buffer.padded[inner], d.Size - 4, SG_FORWARDED_SIZE);
            }
            out += " ^^^^^^^^^^^^^^^^\n";
        }
        break;
    case 0x0D:
        out += "Direct-access block device\n";
        // sg3_utils: wants an additional length of 28 where the descriptor
        // has 22 (16h), so it reports a whole one as too short and dumps it.
        if (!d.Decoded || additional < 28) {
            out += TOO_SHORT;
            processed = false;
            break;
        }
        if (d.IncorrectLength)
            out += "    ILI (incorrect length indication) set\n";
        if (d.KeySpecific.Valid) {
            out += "    Sense key specific: ";
            processed = KeySpecificText(d, s.Key, buffer, absolute, out);
        }
        out += Format("    Field replaceable unit code: 0x%x\n", d.Fru);
        if (d.Valid)
            out += Format("    Information: 0x%016llx\n", d.Information);
        out += Format("    Command specific: 0x%016llx\n", d.CommandSpecific);
        break;
    case 0x0B: // user data segment referral
    case 0x0E: // device designation
    case 0x0F: // microcode activation
    case 0xDE: // sg3_utils' own NVMe status
        // sg3_utils decodes these types further; PI keeps them as raw
        // bytes, so the comparison ends where they begin.
        return false;
    default:
        out += Format(d.Type >= 0x80 ? "Vendor specific [0x%x]\n" : "Unknown [0x%x]\n", d.Type);
        processed = false;
        break;
    }
    if (!processed && additional > 0) {
        out += "    ";
        for (int j = 0; j < additional; ++j) {
            if (j > 0 && j % 24 == 0)
                out += "\n    ";
            out += Format("%02x ", bytes[static_cast<size_t>(j) + 2]);
        }
        out += "\n";
    }
    if (additional < 0)
        out += "    short descriptor\n";
    return true;
}

// What sg_get_sense_str writes for sense data that PI decoded, cut to the
// buffer size as sg3_utils cuts it. `base` is where the sense data starts
// in `buffer` (forwarded sense lies inside a descriptor).
Rendered Render(const PI::CSenseData& s, const Buffer& buffer, size_t base, size_t length,
                int size) {
    static const char* const formats[] = {"Fixed format, current", "Fixed format, <<<deferred>>>",
                                          "Descriptor format, current",
                                          "Descriptor format, <<<deferred>>>"};
    Rendered r;
    std::string& out = r.text;
    char text[256];
    out += std::string(formats[s.ResponseCode - 0x70]) +
           "; Sense key: " + sg_get_sense_key_str(s.Key, sizeof text, text) + "\n";
    if (s.Overflow)
        out += "<<<Sense data overflow (SDAT_OVFL)>>>\n";
    const std::string asc =
        std::string(sg_get_asc_ascq_str(s.ASC, s.ASCQ, sizeof text, text)) + "\n";
    if (s.Descriptor) {
        out += asc;
        for (const PI::CSenseDescriptor& d : s.Descriptors) {
            if (!RenderDescriptor(s, d, buffer, base, out)) {
                r.complete = false;
                break;
            }
        }
    } else if (s.AtaValid) {
        out += asc;
        if (s.Key != 0x1)
            out += "  >> expected Sense key: Recovered Error ??\n";
        const PI::CSenseAtaStatus& a = s.Ata;
        out += Format("  error=0x%x, status=0x%x, device=0x%x, count(7:0)=0x%x%c\n", a.Error,
                      a.Status, a.Device, a.Count, a.CountUpperNonZero ? '+' : ' ');
        out += Format("  extend=%d, log_index=0x%x, lba_high,mid,low(7:0)=0x%x,0x%x,0x%x%c\n",
                      a.Extend, a.LogIndex, static_cast<unsigned>((a.Lba >> 16) & 0xFF),
                      static_cast<unsigned>((a.Lba >> 8) & 0xFF),
                      static_cast<unsigned>(a.Lba & 0xFF), a.LbaUpperNonZero ? '+' : ' ');
    } else {
        if (s.Length > 12)
            out += asc;
        const unsigned info = static_cast<unsigned>(s.Information);
        if (s.InformationValid)
            out += Format("  Info fld=0x%x [%u] ", info, info);
        else if (info > 0)
            out += Format("  Valid=0, Info fld=0x%x [%u] ", info, info);
        if (s.Filemark || s.EndOfMedium || s.IncorrectLength)
            out += std::string(s.Filemark ? " FMK" : "") + (s.EndOfMedium ? " EOM" : "") +
                   (s.IncorrectLength ? " ILI" : "") + "\n";
        else if (s.InformationValid || info > 0)
            out += "\n";
        // sg3_utils: takes the FRU code from byte 14 when the sense data
        // ends just before it (14 bytes); PI leaves it out then.
        const unsigned fru = s.Length == 14 ? buffer.At(base + 14) : s.Fru;
        if (s.Length >= 14 && fru != 0)
            out += Format("  Field replaceable unit code: %d\n", fru);
        const PI::CSenseKeySpecific& f = s.KeySpecific;
        if (s.Length >= 18 && f.Valid) {
            switch (f.Kind) {
            case PI::SKS_FIELD_POINTER:
                out += Format("  Sense Key Specific: Error in %s: byte %d",
                              f.Command ? "Command" : "Data parameters", f.Pointer) +
                       BitSuffix(f);
                break;
            case PI::SKS_PROGRESS:
                out += "  Progress indication: " + Progress(f.Progress) + "\n";
                break;
            case PI::SKS_RETRY_COUNT:
                out += Format("  Actual retry count: 0x%04x\n", f.RetryCount);
                break;
            case PI::SKS_SEGMENT_POINTER:
                out += Format("  Segment pointer: Relative to start of %s, byte %d",
                              f.SegmentDescriptor ? "segment descriptor" : "parameter list",
                              f.Pointer) +
                       BitSuffix(f);
                break;
            case PI::SKS_UNIT_ATTENTION:
                out +=
                    Format("  Unit attention condition queue: overflow flag is %d\n", f.Overflow);
                break;
            default:
                out += Format("  Sense_key: 0x%x unexpected\n", s.Key);
                break;
            }
        }
    }
    (void)length;
    if (out.size() > static_cast<size_t>(size - 1))
        out.resize(static_cast<size_t>(size - 1));
    return r;
}

// ---- buffers -----------------------------------------------------------------

struct Generator {
    std::mt19937 random;
    explicit Generator(unsigned seed) : random(seed) {}

    unsigned Below(unsigned bound) { return bound ? random() % bound : 0; }
    unsigned char Byte() { return static_cast<unsigned char>(random()); }
    bool Chance(unsigned percent) { return Below(100) < percent; }
    void Fill(Bytes& bytes, size_t count) {
        for (size_t i = 0; i < count; ++i)
            bytes.push_back(Byte());
    }
    unsigned char Key() { return static_cast<unsigned char>(Below(16)); }
    // Mostly zero, as real sense data is; sometimes anything.
    unsigned char Sparse() { return Chance(70) ? 0 : Byte(); }

    Bytes Fixed() {
        Bytes b(18, 0);
        b[0] = static_cast<unsigned char>((Chance(50) ? 0x80 : 0) | (Chance(80) ? 0x70 : 0x71));
        b[2] = static_cast<unsigned char>(Key() | (Chance(30) ? Byte() & 0xF0 : 0));
        for (size_t i = 3; i < 7; ++i)
            b[i] = Sparse();
        b[7] = 10;
        for (size_t i = 8; i < 12; ++i)
            b[i] = Sparse();
        if (Chance(10)) {
            b[12] = 0x00;
            b[13] = 0x1D; // ATA pass-through information available
        } else {
            b[12] = Chance(50) ? static_cast<unsigned char>(Below(0x70)) : Byte();
            b[13] = Chance(60) ? static_cast<unsigned char>(Below(8)) : Byte();
        }
        b[14] = Sparse();
        b[15] = Chance(60) ? static_cast<unsigned char>(0x80 | Byte()) : Byte();
        b[16] = Byte();
        b[17] = Byte();
        if (Chance(20)) { // vendor bytes after the standard ones
            const size_t extra = Below(40);
            Fill(b, extra);
            b[7] = static_cast<unsigned char>(b.size() - 8);
        }
        return b;
    }

    void Descriptor(Bytes& b, int depth) {
        static const unsigned char types[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x09,
                                              0x0A, 0x0C, 0x0D, 0x06, 0x07, 0x08};
        const unsigned char type =
            Chance(85)
                ? types[Below(sizeof types)]
                : static_cast<unsigned char>(Chance(50) ? 0x10 + Below(0x70) : 0x80 + Below(0x5E));
        unsigned char length = 0;
        switch (type) {
        case 0x00:
        case 0x01:
            length = 0x0A;
            break;
        case 0x02:
        case 0x0A:
            length = 0x06;
            break;
        case 0x03:
        case 0x04:
        case 0x05:
            length = 0x02;
            break;
        case 0x09:
            length = 0x0C;
            break;
        case 0x0D:
            length = Chance(70) ? 0x16 : 0x1C;
            break;
        default:
            length = static_cast<unsigned char>(Below(20));
            break;
        }
        if (Chance(8)) // a length its type does not have
            length = static_cast<unsigned char>(Below(16));
        b.push_back(type);
        b.push_back(length);
        if (type == 0x0C && depth < 2) {
            const size_t start = b.size();
            b.push_back(Byte());
            b.push_back(Chance(70) ? 0x02 : Byte());
            const Bytes inner = Chance(50) ? Fixed() : DescriptorSense(depth + 1);
            b.insert(b.end(), inner.begin(), inner.end());
            b[start - 1] = static_cast<unsigned char>(std::min<size_t>(b.size() - start, 255));
            return;
        }
        for (size_t i = 0; i < length; ++i) {
            // SKSV mostly set; valid bits mostly set.
            if (i == 2 && (type == 0x02 || type == 0x0D) && Chance(80))
                b.push_back(static_cast<unsigned char>(0x80 | Byte()));
            else if (i == 0 && (type == 0x00 || type == 0x0D) && Chance(80))
                b.push_back(static_cast<unsigned char>(0x80 | Byte()));
            else
                b.push_back(Byte());
        }
    }

    Bytes DescriptorSense(int depth) {
        Bytes b = {static_cast<unsigned char>(Chance(80) ? 0x72 : 0x73), Key(), Byte(), Byte(),
                   static_cast<unsigned char>(Chance(10) ? 0x80 : 0),    0,     0,      0};
        b[1] = static_cast<unsigned char>(b[1] | (Chance(10) ? Byte() & 0xF0 : 0));
        const unsigned count = depth > 0 ? Below(3) : 1 + Below(4);
        for (unsigned i = 0; i < count && b.size() < 200; ++i)
            Descriptor(b, depth);
        if (b.size() > PI::SENSE_MAX_LENGTH)
            b.resize(PI::SENSE_MAX_LENGTH);
        b[7] = static_cast<unsigned char>(b.size() - 8);
        return b;
    }

    Bytes Next(size_t index) {
        switch (index % 10) {
        case 0:
        case 1:
        case 2:
            return Fixed();
        case 3:
        case 4:
        case 5:
        case 6:
            return DescriptorSense(0);
        case 7: { // cut short
            Bytes b = Chance(40) ? Fixed() : DescriptorSense(0);
            const size_t minimum = (b[0] & 0x7F) < 0x72 ? 14 : 4;
            b.resize(minimum + Below(static_cast<unsigned>(b.size() - minimum + 1)));
            return b;
        }
        case 8: { // an additional sense length that disagrees with the size
            Bytes b = Chance(40) ? Fixed() : DescriptorSense(0);
            b[7] = Byte();
            return b;
        }
        default: { // anything at all behind a sense response code
            Bytes b;
            Fill(b, 4 + Below(PI::SENSE_MAX_LENGTH - 3));
            b[0] = static_cast<unsigned char>(0x70 + Below(4) + (Chance(50) ? 0x80 : 0));
            return b;
        }
        }
    }
};

std::string Hex(const Bytes& bytes) {
    std::string text;
    for (const unsigned char b : bytes)
        text += Format("%s%02x", text.empty() ? "" : " ", b);
    return text;
}

// Compares one buffer; returns an empty string or what differed.
std::string Compare(const Bytes& bytes) {
    PI::CSenseData data;
    std::string error;
    if (PI::DecodeSenseData(bytes.data(), bytes.size(), data, error) != PI::SENSE_OK)
        return ""; // refused: nothing that both decode
    const Buffer buffer(bytes);
    const std::string theirs = SgText(buffer.padded.data(), bytes.size(), SG_TEXT_SIZE);
    const Rendered ours = Render(data, buffer, 0, bytes.size(), SG_TEXT_SIZE);
    const bool same =
        ours.complete ? theirs == ours.text : theirs.compare(0, ours.text.size(), ours.text) == 0;
    if (same)
        return "";
    return "buffer " + Hex(bytes) + "\n--- sg3_utils:\n" + theirs + "\n--- PI as sg3_utils:\n" +
           ours.text;
}

// Runs sg_decode_sense on one buffer and returns what it prints.
std::string RunProgram(const char* program, const Bytes& bytes) {
    std::vector<std::string> args = {program};
    for (const unsigned char b : bytes)
        args.push_back(Format("%02x", b));
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(&arg[0]);
    argv.push_back(nullptr);
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return "<pipe failed>";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    std::string out;
    char chunk[4096];
    ssize_t got = 0;
    while (spawned == 0 && (got = ::read(pipeFds[0], chunk, sizeof chunk)) > 0)
        out.append(chunk, static_cast<size_t>(got));
    ::close(pipeFds[0]);
    int status = 0;
    if (spawned == 0)
        ::waitpid(pid, &status, 0);
    return spawned == 0 ? out : "<spawn failed>";
}

Bytes ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Buffers that once disagreed, kept with the fuzz regressions.
std::vector<Bytes> Regressions() {
    std::vector<Bytes> buffers;
    const std::string directory = std::string(PI_SOURCE_DIR) + "/fuzz/regressions/sense_data";
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(directory.c_str())) {
        while (const dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name.rfind("sg3-", 0) == 0)
                names.push_back(name);
        }
        ::closedir(dir);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        buffers.push_back(ReadFile(directory + "/" + name));
    return buffers;
}

#endif // PI_HAVE_SGUTILS2

TEST(SenseAgainstSg3Utils, SeededBuffersDecodeAlike) {
#ifndef PI_HAVE_SGUTILS2
    GTEST_SKIP() << "libsgutils2 was not found when this was configured";
#else
#ifndef PI_SG_DECODE_SENSE
    GTEST_SKIP() << "sg_decode_sense (Debian package sg3-utils) is not installed";
#else
    constexpr size_t COUNT = 12000;
    constexpr size_t PROGRAM_EVERY = 120; // about a hundred runs of the program
    const bool all = std::getenv("PI_SENSE_SG3_ALL") != nullptr;
    Generator generator(20261125);
    std::vector<Bytes> buffers = Regressions();
    const size_t regressions = buffers.size();
    for (size_t i = 0; i < COUNT; ++i)
        buffers.push_back(generator.Next(i));

    size_t compared = 0, disagreements = 0, programRuns = 0, truncated = 0;
    size_t decoded[256] = {};
    for (size_t i = 0; i < buffers.size(); ++i) {
        const Bytes& bytes = buffers[i];
        PI::CSenseData data;
        std::string error;
        if (PI::DecodeSenseData(bytes.data(), bytes.size(), data, error) == PI::SENSE_OK) {
            ++compared;
            truncated += data.Truncated;
            for (const PI::CSenseDescriptor& d : data.Descriptors)
                decoded[d.Type] += d.Decoded;
        }
        const std::string difference = Compare(bytes);
        if (!difference.empty() && ++disagreements <= 5)
            ADD_FAILURE() << (i < regressions ? "regression " : "generated ") << i << ": "
                          << difference;
        if (all || i % PROGRAM_EVERY == 0) {
            ++programRuns;
            const Buffer buffer(bytes);
            const std::string library =
                SgText(buffer.padded.data(), bytes.size(), SG_TEXT_SIZE) + "\n";
            EXPECT_EQ(RunProgram(PI_SG_DECODE_SENSE, bytes), library)
                << "sg_decode_sense and sg_get_sense_str differ on " << Hex(bytes);
        }
    }
    EXPECT_EQ(disagreements, 0u);
    EXPECT_GE(compared, 10000u);
    // The generator reaches every decoded descriptor type and cut-off data.
    for (const int type : {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x09, 0x0A, 0x0C, 0x0D})
        EXPECT_GE(decoded[type], 200u) << "descriptor type " << type;
    EXPECT_GE(truncated, 1000u);
    std::printf("compared %zu buffers (%zu regressions), sg_decode_sense run %zu times\n", compared,
                regressions, programRuns);
#endif
#endif
}

} // namespace
