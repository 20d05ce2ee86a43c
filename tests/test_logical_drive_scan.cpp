// The two ways a logical drive document is read: straight from the text for
// the shape the agent writes, through the markup parser for every other.
// Whichever way a document goes, the record (or the refusal) is the same.
#include "PI/LogicalDrive.h"
#include "PI/ScanHook.h"

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using PI::CLogicalDrive;

namespace {

// Every field the document sets, drive by drive (CDrive's == leaves the
// used size out, CLogicalDrive's the three id lists).
std::string Dump(const CLogicalDrive& drive) {
    std::ostringstream out;
    out << drive.Size << ' ' << static_cast<int>(drive.Units) << " [";
    for (const PI::CContainer& container : drive.Containers) {
        out << '(';
        for (const PI::CDrive& piece : container.Drives)
            out << piece.ObjectID << ':' << piece.StartAddress << ':' << piece.UsedSize << ' ';
        out << ')';
    }
    out << "] G";
    for (unsigned long long id : drive.GHS)
        out << ' ' << id;
    out << " D";
    for (unsigned long long id : drive.DHS)
        out << ' ' << id;
    out << " A";
    for (unsigned long long id : drive.ALD)
        out << ' ' << id;
    return out.str();
}

// The record read one way, or nothing when the reading threw
// bad_lexical_cast; and whether the text was read straight.
struct Reading {
    std::optional<std::string> Record;
    bool Scanned = false;
};

Reading Read(const std::string& text, bool allowScan) {
    PI::Test::SetLogicalDriveScan(allowScan);
    const unsigned long long before = PI::Test::LogicalDriveScanCount();
    Reading reading;
    try {
        reading.Record = Dump(CLogicalDrive(text));
    } catch (const boost::bad_lexical_cast&) {
    }
    reading.Scanned = PI::Test::LogicalDriveScanCount() != before;
    PI::Test::SetLogicalDriveScan(true);
    return reading;
}

// Reads `text` both ways; returns whether it was read straight.
bool ReadsAlike(const std::string& text) {
    const Reading parsed = Read(text, false);
    const Reading scanned = Read(text, true);
    EXPECT_FALSE(parsed.Scanned);
    EXPECT_EQ(scanned.Record, parsed.Record) << text;
    return scanned.Scanned;
}

#define PI_NEED_SCAN_HOOK()                                                                        \
    if (!PI::Test::SetLogicalDriveScan(true))                                                      \
    GTEST_SKIP() << "library built without test hooks"

const std::string kCore = R"(<LogicalDriveConfiguration Size="1000" Units="21006">
  <Containers>
    <Container>
      <Drive ObjectID="11" StartAddress="0" UsedSize="500"/>
      <Drive ObjectID="12" StartAddress="2048" UsedSize="501"/>
    </Container>
    <Container/>
    <Container><Drive ObjectID="13" StartAddress="18446744073709551615" UsedSize="1"/></Container>
  </Containers>
</LogicalDriveConfiguration>)";
const std::string kGhs =
    R"(<GlobalHotSpares><Drive ObjectID="21"/><Drive ObjectID="22"/></GlobalHotSpares>)";
const std::string kDhs = R"(<DedicatedHotSpares><Drive ObjectID="31"/></DedicatedHotSpares>)";
const std::string kAld =
    R"(<AssociatedLogicalDrives><LogicalDrive ObjectID="41"/><Other ObjectID="x"/>)"
    R"(<LogicalDrive ObjectID="42"/></AssociatedLogicalDrives>)";

std::string Example(const char* name) {
    std::ifstream in(std::string(PI_SOURCE_DIR) + "/examples/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

// The forms the agent and people write: all read straight, to the record the
// parser makes of them.
TEST(LogicalDriveScan, UsualShapesAreReadStraight) {
    PI_NEED_SCAN_HOOK();
    std::string crlf = kCore;
    for (size_t at = crlf.find('\n'); at != std::string::npos; at = crlf.find('\n', at + 2))
        crlf.replace(at, 1, "\r\n");
    const std::vector<std::string> usual = {
        Example("ld-raid10.xml"),
        Example("ld-raid5.xml"),
        kCore,
        kCore + kGhs + kDhs + kAld,
        kAld + "\n" + kDhs + "\t" + kCore + " " + kGhs,
        R"(<?xml version="1.0" encoding='UTF-8'?>)"
        "\n" +
            kCore + "<!-- end -->\n",
        "<!---->" + crlf + "\r\n",
        R"(<LogicalDriveConfiguration Units='3' Size='4' Size="5"/>)",
        R"(<LogicalDriveConfiguration Size="1" Units="2" ><Containers ><Container >)"
        R"(<Drive UsedSize="3" ObjectID="4" Name="a > b" StartAddress="5" ></Drive >)"
        R"(<Spare ObjectID="x"/><Note></Note ></Container></Containers></LogicalDriveConfiguration >)",
        R"(<Other a="1"/><LogicalDriveConfiguration Size="0" Units="0"><Other/></LogicalDriveConfiguration>)"
        R"(<GlobalHotSpares/><DedicatedHotSpares></DedicatedHotSpares>)",
        // The largest number, and 20 digits with leading zeros.
        R"(<LogicalDriveConfiguration Size="18446744073709551615" Units="04294967297"/>)",
        R"(<LogicalDriveConfiguration Size="00000000000000000009" Units="1"/>)",
    };
    for (const std::string& text : usual)
        EXPECT_TRUE(ReadsAlike(text)) << text;

    // The values themselves, read straight.
    const CLogicalDrive drive(kCore + kGhs + kDhs + kAld);
    EXPECT_EQ(Dump(drive), "1000 21006 [(11:0:500 12:2048:501 )()(13:18446744073709551615:1 )] "
                           "G 21 22 D 31 A 41 42");
    EXPECT_EQ(static_cast<int>(CLogicalDrive(usual[10]).Units), 1) << "units keep 32 bits";
}

// Everything outside that shape goes to the parser, which decides: these are
// read (or refused) exactly as before, and nothing the scan began is left in
// the record.
TEST(LogicalDriveScan, OtherShapesGoToTheParser) {
    PI_NEED_SCAN_HOOK();
    const std::string root = R"(<LogicalDriveConfiguration Size="1" Units="1">)";
    const std::string end = "</LogicalDriveConfiguration>";
    const std::string drives = R"(<Containers><Container><Drive ObjectID="1" StartAddress="2" )"
                               R"(UsedSize="3"/></Container><Container>)";
    const std::vector<std::string> other = {
        "",
        "\xEF\xBB\xBF" + kCore,
        std::string("<a/>\0", 5) + kCore,
        kGhs,                // no configuration: refused by the parser
        kCore + kGhs + kGhs, // the first list counts
        kCore + kCore,       // the first configuration counts
        R"(<LogicalDriveConfiguration Size="&#49;" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="+1" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="18446744073709551616" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="99999999999999999999" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="000000000000000000001" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size = "1" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="1"Units="1"/>)",
        "<LogicalDriveConfiguration Size=\"1\t\" Units=\"1\"/>",
        R"(<LogicalDriveConfiguration Size="1" Units="1" x="é"/>)",
        R"(<!DOCTYPE x><LogicalDriveConfiguration Size="1" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"><![CDATA[x]]></LogicalDriveConfiguration>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1">text</LogicalDriveConfiguration>)",
        R"(<!-- a -- b --><LogicalDriveConfiguration Size="1" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"/><?pi x?>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"></LogicalDriveConfiguratio>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"></ LogicalDriveConfiguration>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"><a:b/></LogicalDriveConfiguration>)",
        root + "<Other><Containers/></Other>" + end,
        root + "<Containers/><Containers/>" + end,
        // Late refusals, after containers were made: the parser's record (or
        // its refusal) alone, with no container of the scan left in it.
        root + drives + R"(<Drive ObjectID="+4" StartAddress="5" UsedSize="6"/>)" +
            "</Container></Containers>" + end,
        root + drives + R"(<Drive ObjectID="4" StartAddress="5"/></Container></Containers>)" + end,
        root + drives + "<Drive ObjectID=\"4\" StartAddress=\"5\" UsedSize=\"6\"><n/></Drive>" +
            "</Container></Containers>" + end,
        root + drives + "</Container></Containers>" + end + kGhs + "<GlobalHotSpares>&#x20;" +
            "</GlobalHotSpares>",
        root + drives + "</Container></Containers>" + end + "<DedicatedHotSpares><Drive/>" +
            "</DedicatedHotSpares>",
    };
    for (const std::string& text : other)
        EXPECT_FALSE(ReadsAlike(text)) << text;

    const CLogicalDrive late(other[other.size() - 5]);
    EXPECT_EQ(Dump(late), "1 1 [(1:2:3 )(4:5:6 )] G D A") << "the parser took the sign";
    EXPECT_EQ(CLogicalDrive(other[6]).Size, 1u) << "a character reference";
}

// Documents of the usual shape, cut and spliced at random: where the scan
// reads one, it reads what the parser reads, and it still reads many of them.
TEST(LogicalDriveScan, AgreesWithTheParserOnMutatedDocuments) {
    PI_NEED_SCAN_HOOK();
    const std::vector<std::string> bases = {
        kCore + kGhs + kDhs + kAld,
        Example("ld-raid10.xml"),
        R"(<?xml version="1.0"?><LogicalDriveConfiguration Size='7' Units='21002'/>)" + kAld,
    };
    // Pieces that are each a step inside or outside the shape.
    const std::vector<std::string> pieces = {
        "<",
        ">",
        "/>",
        "</",
        "\"",
        "'",
        "=",
        " ",
        "\n",
        "\r",
        "\t",
        "-",
        "--",
        "<!--",
        "-->",
        "&amp;",
        "&#49;",
        "<![CDATA[",
        "]]>",
        "<?",
        "?>",
        "0",
        "9",
        "+",
        "x",
        "\xC3\xA9",
        std::string(1, '\0'),
        "<Drive ObjectID=\"5\" StartAddress=\"6\" UsedSize=\"7\"/>",
        "<Container>",
        "</Container>",
        "<Containers>",
        "</Containers>",
        "<Other/>",
        " ObjectID=\"8\"",
        " Size=\"9\"",
        "<GlobalHotSpares>",
        "</GlobalHotSpares>"};
    const std::vector<std::string> elements = {
        "<Drive ObjectID=\"5\" StartAddress=\"6\" UsedSize=\"7\"/>",
        "<Drive ObjectID=\"8\"/>",
        "<Container></Container>",
        "<Containers/>",
        "<Other a='b'/>",
        "<!-- c -->",
        "\r\n ",
        "<GlobalHotSpares><Drive ObjectID=\"9\"/></GlobalHotSpares>",
        "<Other><x/></Other>",
        "<LogicalDrive ObjectID=\"10\"></LogicalDrive>"};
    std::mt19937 random(20261123);
    const auto below = [&](size_t bound) {
        return static_cast<size_t>(std::uniform_int_distribution<size_t>(0, bound - 1)(random));
    };
    size_t scanned = 0, total = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string text = bases[below(bases.size())];
        for (size_t edits = 1 + below(3); edits > 0; --edits) {
            const size_t at = below(text.size() + 1);
            switch (below(5)) {
            case 0: // insert a piece
                text.insert(at, pieces[below(pieces.size())]);
                break;
            case 4: { // insert a whole element between two tags
                const size_t after = text.find('>', at);
                text.insert(after == std::string::npos ? text.size() : after + 1,
                            elements[below(elements.size())]);
                break;
            }
            case 1: // remove a few bytes
                text.erase(at, 1 + below(8));
                break;
            case 2: // replace one byte by a piece
                text.replace(at, 1, pieces[below(pieces.size())]);
                break;
            default: // repeat a stretch
                text.insert(at, text.substr(below(text.size() + 1), below(64)));
                break;
            }
        }
        scanned += ReadsAlike(text) ? 1 : 0;
        ++total;
        if (HasFailure())
            break;
    }
    // Most edits leave the shape; enough stay in it for each step of the
    // scan to have met the parser (about one in eight).
    EXPECT_GT(scanned, total / 25) << scanned << " of " << total;
}
