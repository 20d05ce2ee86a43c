#include "LogicalDriveScan.h"

#include <array>
#include <cstring>
#include <vector>

namespace PI {
namespace Internal {
namespace {

// The scan takes a deliberately narrow part of XML, every piece of which the
// markup parser takes as well and reads to the same tree: what it is unsure
// of it declines, and the parser decides. The text is read up to its
// terminating NUL, which no piece accepts, so no step needs a bounds check
// (a text holding a NUL is declined before the scan starts).

struct Span {
    const char* Text;
    size_t Size;
};

template <size_t N> constexpr Span Literal(const char (&text)[N]) {
    return {text, N - 1};
}

inline bool Is(const Span& a, const Span& b) noexcept {
    return a.Size == b.Size && *a.Text == *b.Text && std::memcmp(a.Text, b.Text, a.Size) == 0;
}

// What each byte may be, looked up once per byte rather than tested
// against several characters.
enum : unsigned char {
    kBlank = 1,
    kNameStart = 2,
    kNameChar = 4,
    kPlainValue = 8, // printable ASCII but the quotes, '<' and '&'
};

constexpr std::array<unsigned char, 256> MakeClasses() {
    std::array<unsigned char, 256> classes{};
    for (int c = 0; c < 256; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        const bool digit = c >= '0' && c <= '9';
        unsigned char bits = 0;
        if (c == ' ' || c == '\n' || c == '\t' || c == '\r')
            bits |= kBlank;
        if (letter)
            bits |= kNameStart | kNameChar;
        if (digit || c == '-' || c == '.')
            bits |= kNameChar;
        // A value the parser keeps byte for byte whatever its options: no
        // reference, no blank to convert.
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\'' && c != '<' && c != '&')
            bits |= kPlainValue;
        classes[static_cast<size_t>(c)] = bits;
    }
    return classes;
}

constexpr std::array<unsigned char, 256> kClasses = MakeClasses();

inline bool Has(char c, unsigned char bits) noexcept {
    return (kClasses[static_cast<unsigned char>(c)] & bits) != 0;
}

inline bool IsBlank(char c) noexcept {
    return Has(c, kBlank);
}

inline bool IsNameStart(char c) noexcept {
    return Has(c, kNameStart);
}

inline bool IsNameChar(char c) noexcept {
    return Has(c, kNameChar);
}

inline bool IsPlainValueChar(char c) noexcept {
    return Has(c, kPlainValue);
}

constexpr Span kConfiguration = Literal("LogicalDriveConfiguration");
constexpr Span kContainers = Literal("Containers");
constexpr Span kContainer = Literal("Container");
constexpr Span kDrive = Literal("Drive");
constexpr Span kLogicalDrive = Literal("LogicalDrive");
constexpr Span kGlobalHotSpares = Literal("GlobalHotSpares");
constexpr Span kDedicatedHotSpares = Literal("DedicatedHotSpares");
constexpr Span kAssociatedLogicalDrives = Literal("AssociatedLogicalDrives");

constexpr Span kRootNumbers[] = {Literal("Size"), Literal("Units")};
constexpr Span kDriveNumbers[] = {Literal("ObjectID"), Literal("StartAddress"),
                                  Literal("UsedSize")};

class Scanner {
public:
    Scanner(const char* text, CLogicalDrive& drive) : p(text), Drive(drive) {}

    bool Document() {
        if (std::strncmp(p, "<?xml", 5) == 0 && !Declaration())
            return false;
        bool configuration = false, ghs = false, dhs = false, ald = false;
        for (;;) {
            if (!SkipMisc())
                return false;
            if (*p == '\0')
                return configuration;
            Span name;
            if (!StartTag(name))
                return false;
            bool done;
            if (Is(name, kConfiguration))
                done = Once(configuration) && Configuration();
            else if (Is(name, kGlobalHotSpares))
                done = Once(ghs) && IdList(name, kDrive, Drive.GHS);
            else if (Is(name, kDedicatedHotSpares))
                done = Once(dhs) && IdList(name, kDrive, Drive.DHS);
            else if (Is(name, kAssociatedLogicalDrives))
                done = Once(ald) && IdList(name, kLogicalDrive, Drive.ALD);
            else
                done = Leaf(name);
            if (!done)
                return false;
        }
    }

private:
    // "<?xml", a blank and plain text up to "?>", at the very start only.
    bool Declaration() {
        p += 5;
        if (!IsBlank(*p))
            return false;
        while ((IsPlainValueChar(*p) || *p == '"' || *p == '\'') && *p != '?' && *p != '>')
            ++p;
        if (p[0] != '?' || p[1] != '>')
            return false;
        p += 2;
        return true;
    }

    // Blanks and comments; false at a comment that holds "--" or is not
    // closed, and at anything else that starts "<!".
    bool SkipMisc() {
        for (;;) {
            while (IsBlank(*p))
                ++p;
            if (p[0] != '<' || p[1] != '!')
                return true;
            if (p[2] != '-' || p[3] != '-')
                return false;
            const char* dash = p + 4;
            while ((dash = std::strchr(dash, '-')) != nullptr && dash[1] != '-')
                ++dash;
            if (dash == nullptr || dash[2] != '>')
                return false;
            p = dash + 3;
        }
    }

    static bool Once(bool& seen) {
        if (seen)
            return false;
        seen = true;
        return true;
    }

    // '<' and the element's name; the position is then after the name.
    bool StartTag(Span& name) {
        if (*p != '<' || !IsNameStart(p[1]))
            return false;
        const char* const start = ++p;
        while (IsNameChar(*++p)) {
        }
        name = {start, static_cast<size_t>(p - start)};
        return true;
    }

    // The attributes of the start tag just named, up to and past its '>'
    // (`open`) or "/>". The first value of each of the `count` names asked
    // for must be a plain number and goes to `numbers`; false when one of
    // them is not there.
    bool Attributes(const Span* names, size_t count, unsigned long long* numbers, bool& open) {
        unsigned found = 0; // a bit for each name found
        for (;;) {
            const char* const before = p;
            while (IsBlank(*p))
                ++p;
            if (*p == '>' || (p[0] == '/' && p[1] == '>')) {
                open = *p == '>';
                p += open ? 1 : 2;
                return found == (1u << count) - 1;
            }
            // Attributes stand apart from the name and from each other.
            if (p == before || !IsNameStart(*p))
                return false;
            const char* const name = p;
            while (IsNameChar(*++p)) {
            }
            const Span attribute = {name, static_cast<size_t>(p - name)};
            if (*p != '=')
                return false;
            const char quote = *++p; // the end's NUL at worst
            if (quote != '"' && quote != '\'')
                return false;
            ++p;
            size_t i = 0;
            while (i < count && !Is(attribute, names[i]))
                ++i;
            if (i < count && (found & (1u << i)) == 0) {
                found |= 1u << i;
                if (!ReadDecimal(p, numbers[i]))
                    return false;
            } else {
                while (IsPlainValueChar(*p))
                    ++p;
            }
            if (*p != quote)
                return false;
            ++p;
        }
    }

    // After an open start tag's '>': blanks and comments, then the end tag.
    bool EmptyContent(const Span& name) {
        return SkipMisc() && p[0] == '<' && p[1] == '/' && EndTag(name);
    }

    // At "</": the end tag of `name`.
    bool EndTag(const Span& name) {
        if (std::strncmp(p + 2, name.Text, name.Size) != 0)
            return false;
        p += 2 + name.Size;
        while (IsBlank(*p))
            ++p;
        if (*p != '>')
            return false;
        ++p;
        return true;
    }

    // The content of an open element up to its end tag: `child` is called
    // at each child's start tag, just past its name.
    template <class Child> bool Content(const Span& name, Child&& child) {
        for (;;) {
            if (!SkipMisc())
                return false;
            if (p[0] == '<' && p[1] == '/')
                return EndTag(name);
            Span tag;
            if (!StartTag(tag) || !child(tag))
                return false;
        }
    }

    // An element whose name the reader does not look for: taken when it has
    // no children, its attributes whatever they are.
    bool Leaf(const Span& name) {
        bool open;
        return Attributes(nullptr, 0, nullptr, open) && (!open || EmptyContent(name));
    }

    // An element with no children whose first `count` named numbers are
    // all there and plain.
    bool NumbersLeaf(const Span& name, const Span* names, size_t count,
                     unsigned long long* numbers) {
        bool open;
        return Attributes(names, count, numbers, open) && (!open || EmptyContent(name));
    }

    bool Configuration() {
        unsigned long long numbers[2];
        bool open;
        if (!Attributes(kRootNumbers, 2, numbers, open))
            return false;
        Drive.Size = numbers[0];
        // Units travel as a 64-bit number; the unit itself is 32 bits wide.
        Drive.Units = static_cast<_UNITS>(static_cast<int>(static_cast<unsigned int>(numbers[1])));
        if (!open)
            return true;
        bool containers = false;
        return Content(kConfiguration, [&](const Span& tag) {
            if (Is(tag, kContainers))
                return Once(containers) && Containers();
            return Leaf(tag);
        });
    }

    bool Containers() {
        bool open;
        if (!Attributes(nullptr, 0, nullptr, open))
            return false;
        return !open || Content(kContainers, [&](const Span& tag) {
            return Is(tag, kContainer) ? Container() : Leaf(tag);
        });
    }

    // A container's drives are gathered as numbers and then made at their
    // full number at once.
    bool Container() {
        bool open;
        if (!Attributes(nullptr, 0, nullptr, open))
            return false;
        Numbers.clear();
        if (open && !Content(kContainer, [&](const Span& tag) {
                if (!Is(tag, kDrive))
                    return Leaf(tag);
                unsigned long long numbers[3];
                if (!NumbersLeaf(tag, kDriveNumbers, 3, numbers))
                    return false;
                Numbers.insert(Numbers.end(), numbers, numbers + 3);
                return true;
            }))
            return false;
        Drive.Containers.emplace_back();
        std::vector<CDrive>& drives = Drive.Containers.back().Drives;
        drives.resize(Numbers.size() / 3);
        const unsigned long long* number = Numbers.data();
        for (CDrive& piece : drives) {
            piece.ObjectID = number[0];
            piece.StartAddress = number[1];
            piece.UsedSize = number[2];
            number += 3;
        }
        return true;
    }

    // A list of `item` elements, each with its "ObjectID".
    bool IdList(const Span& name, const Span& item, std::vector<unsigned long long>& ids) {
        static constexpr Span kObjectID[] = {Literal("ObjectID")};
        bool open;
        if (!Attributes(nullptr, 0, nullptr, open))
            return false;
        return !open || Content(name, [&](const Span& tag) {
            if (!Is(tag, item))
                return Leaf(tag);
            unsigned long long id;
            if (!NumbersLeaf(tag, kObjectID, 1, &id))
                return false;
            ids.push_back(id);
            return true;
        });
    }

    const char* p;
    CLogicalDrive& Drive;
    std::vector<unsigned long long> Numbers; // a container's drives, three each
};

} // namespace

bool ScanLogicalDrive(const std::string& xml, CLogicalDrive& drive) {
    if (xml.empty() || std::memchr(xml.data(), '\0', xml.size()) != nullptr)
        return false;
    if (Scanner(xml.c_str(), drive).Document())
        return true;
    drive = CLogicalDrive();
    return false;
}

} // namespace Internal
} // namespace PI
