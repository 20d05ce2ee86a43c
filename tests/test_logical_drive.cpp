// Logical drive layouts: drive pieces and their order, containers, the
// logical drive with its spares, and reading the configuration document,
// straight from its text or through the markup parser.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"
#include "PI/ScanHook.h"

#include <RVX/Exceptions.h>

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <locale>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using PI::CContainer;
using PI::CDrive;
using PI::CLogicalDrive;

namespace {

CDrive Piece(unsigned long long id, unsigned long long start, unsigned long long used = 0) {
    CDrive drive;
    drive.ObjectID = id;
    drive.StartAddress = start;
    drive.UsedSize = used;
    return drive;
}

} // namespace

TEST(Drive, PiecesOrderByDriveThenStartOnly) {
    const CDrive a = Piece(5, 0), b = Piece(5, 100), c = Piece(6, 0);
    EXPECT_TRUE(a < b && b < c && a < c);
    EXPECT_FALSE(b < a || c < b || a < a);
    EXPECT_TRUE(Piece(5, ~0ULL) < Piece(6, 0));
    EXPECT_TRUE(Piece(0x7FFFFFFFFFFFFFFFULL, 0) < Piece(0x8000000000000000ULL, 0));

    CDrive other = Piece(5, 0, 999); // the used size takes no part
    other.Attribute1 = 1;
    EXPECT_FALSE(other < a || a < other);
}

// ---- the configuration document ----

namespace {

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
    for (const auto& list : {std::make_pair(" G", &drive.GHS), std::make_pair(" D", &drive.DHS),
                             std::make_pair(" A", &drive.ALD)}) {
        out << (list.first == std::string(" G") ? "]" : "") << list.first;
        for (unsigned long long id : *list.second)
            out << ' ' << id;
    }
    return out.str();
}

const std::string CORE_READ = "1000 21006 [(11:0:500 12:2048:501 )()(13:18446744073709551615:1 )]";

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

} // namespace

TEST(LogicalDriveDocument, SpareListsMayStandAnywhereAtTheTop) {
    const std::vector<std::string> parts = {kCore, kGhs, kDhs, kAld};
    std::vector<size_t> order = {0, 1, 2, 3};
    do {
        std::string text;
        for (size_t i : order)
            text += parts[i] + "\n";
        EXPECT_EQ(Dump(CLogicalDrive(text)), CORE_READ + " G 21 22 D 31 A 41 42") << text;
    } while (std::next_permutation(order.begin(), order.end()));
    // Lists inside the configuration element are not looked for.
    EXPECT_EQ(Dump(CLogicalDrive(R"(<LogicalDriveConfiguration Size="1" Units="1">)" + kGhs +
                                 "</LogicalDriveConfiguration>")),
              "1 1 [] G D A");
}

// Units are narrowed to their low 32 bits (4600387192 is 2^32 + 0x12345678);
// a drive's numbers are found by name in any
// order, each the first attribute of its name; only the first "Containers"
// counts, names are case-sensitive, anything else is ignored.
TEST(LogicalDriveDocument, OptionalPartsNumberFormsAndAttributeOrder) {
    const std::string root = R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers>)";
    const std::string end = "</Containers></LogicalDriveConfiguration>";
    const std::pair<std::string, const char*> cases[] = {
        {kAld + R"(<LogicalDriveConfiguration Size="7" Units="21002"/>)" + kGhs,
         "7 21002 [] G 21 22 D A 41 42"},
        {R"(<LogicalDriveConfiguration Size="18446744073709551615" Units="4600387192"/>)",
         "18446744073709551615 305419896 [] G D A"},
        {root +
             R"(<Container><Drive ObjectID="1" StartAddress="2" UsedSize="3"/>)"
             R"(<Drive UsedSize="6" StartAddress="5" ObjectID="4"/>)"
             R"(<Drive ObjectID="7" ObjectID="70" StartAddress="8" UsedSize="9"/>)"
             R"(<Drive ObjectID="10" StartAddress="11" StartAddress="110" UsedSize="12"/>)"
             R"(<Drive Extra="x" ObjectID="13" Startaddress="0" StartAddress="14" UsedSize="15"/>)"
             R"(</Container>)" +
             end,
         "1 1 [(1:2:3 4:5:6 7:8:9 10:11:12 13:14:15 )] G D A"},
        {R"(<?xml version="1.0"?><globalhotspares><Drive ObjectID="1"/></globalhotspares>)"
         R"(<LogicalDriveConfiguration Size="5" Units="1" Extra="x"><Other><Container/></Other>)"
         R"(<Containers>text<Container><drive ObjectID="x"/><!-- c -->)"
         R"(<Drive ObjectID="2" StartAddress="3" UsedSize="4" Junk="y"><Sub/></Drive></Container>)"
         R"(<container/></Containers><Containers><Container/></Containers>)"
         R"(</LogicalDriveConfiguration>)",
         "5 1 [(2:3:4 )] G D A"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Dump(CLogicalDrive(c.first)), c.second) << c.first;
}

// Missing numbers throw; number forms are NumbersConvertAsLexicalCast's.
TEST(LogicalDriveDocument, MissingNumbersThrowBadLexicalCast) {
    const std::string root = R"(<LogicalDriveConfiguration Size="1" Units="1">)";
    const std::string end = "</LogicalDriveConfiguration>";
    const std::vector<std::string> bad = {
        R"(<LogicalDriveConfiguration/>)",
        R"(<LogicalDriveConfiguration Size="1"/>)",
        R"(<Other Size="1" Units="2"/>)",
        kGhs,
        R"(<LogicalDriveConfiguration Size=")" + std::string(100000, '9') + R"(" Units="1"/>)",
        root + R"(<Containers><Container><Drive ObjectID="1" StartAddress="0"/>)" +
            "</Container></Containers>" + end,
        root + end + "<DedicatedHotSpares><Drive/></DedicatedHotSpares>",
        root + end + R"(<AssociatedLogicalDrives><LogicalDrive ObjectID="-"/>)" +
            "</AssociatedLogicalDrives>",
    };
    for (const std::string& text : bad)
        EXPECT_THROW(CLogicalDrive{text}, boost::bad_lexical_cast) << text.substr(0, 120);
}

// Numbers are taken and refused exactly as boost::lexical_cast takes and
// refuses them.
TEST(LogicalDriveDocument, NumbersConvertAsLexicalCast) {
    const std::vector<std::string> forms = {
        // clang-format off
        "", " ", "1", "0", "-0", " 1", "1 ", "+1", "-1", "+", "-", "--1", "+-1", "12a", "0x10",
        "1e3", "1,000", "18446744073709551615", "18446744073709551616", "99999999999999999999",
        "-18446744073709551615", "-18446744073709551616", "+18446744073709551616",
        "000000000000000000018446744073709551615", "0000000000000000000018446744073709551616",
        "\xd9\xa1", // digit one in another script
        // clang-format on
    };
    // The form as the size and as each number of the second drive.
    const auto document = [](const std::string* n) {
        return R"(<LogicalDriveConfiguration Size=")" + n[0] +
               R"(" Units="1"><Containers><Container><Drive ObjectID="1" StartAddress="2" )"
               R"(UsedSize="3"/><Drive ObjectID=")" +
               n[1] + R"(" StartAddress=")" + n[2] + R"(" UsedSize=")" + n[3] +
               R"("/></Container></Containers></LogicalDriveConfiguration>)";
    };
    const auto compare = [&](const char* where) {
        for (const std::string& form : forms) {
            std::optional<unsigned long long> value;
            try {
                value = boost::lexical_cast<unsigned long long>(form);
            } catch (const boost::bad_lexical_cast&) {
            }
            for (int at = 0; at < 4; ++at) {
                std::string n[4] = {"1", "7", "8", "9"};
                std::optional<std::string> expected;
                if (value) {
                    n[at] = std::to_string(*value);
                    expected = Dump(CLogicalDrive(document(n)));
                }
                n[at] = form;
                EXPECT_EQ(Read(document(n), true).Record, expected)
                    << where << ", number " << at << " \"" << form << '"';
            }
        }
    };
    compare("classic locale");

    // The cast honours the digit grouping of the global locale.
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    compare("grouping locale");
    std::locale::global(previous);
}

TEST(LogicalDriveDocument, HostileDocumentsEndInARecordOrBadLexicalCast) {
    std::string deep = R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers><Container>)"
                       R"(<Drive ObjectID="1" StartAddress="2" UsedSize="3">)";
    for (int i = 0; i < 50000; ++i)
        deep += "<n>";
    for (int i = 0; i < 50000; ++i)
        deep += "</n>";
    deep += "</Drive></Container></Containers></LogicalDriveConfiguration>";
    const CLogicalDrive nested(deep);
    ASSERT_EQ(nested.Containers.size(), 1u);
    EXPECT_EQ(nested.Containers[0].Drives.size(), 1u);

    // Every truncation of a full document, and an undeclared entity.
    const std::string full = kCore + kGhs + kDhs + kAld;
    std::vector<std::string> texts = {
        R"(<!DOCTYPE x [<!ENTITY e "1">]><LogicalDriveConfiguration Size="&#49;" Units="&e;"/>)"};
    for (size_t length = 0; length < full.size(); ++length)
        texts.push_back(full.substr(0, length));
    for (const std::string& text : texts) {
        try {
            const CLogicalDrive drive(text);
            EXPECT_LE(drive.GetContainerCount(), 3u);
        } catch (const boost::bad_lexical_cast&) {
        }
    }
}

// ---- read straight from the text or through the markup parser ----

// The forms the agent and people write: all read straight, to the record the
// parser makes of them.
TEST(LogicalDriveScan, UsualShapesAreReadStraight) {
    PI_NEED_SCAN_HOOK();
    std::string crlf = kCore;
    for (size_t at = crlf.find('\n'); at != std::string::npos; at = crlf.find('\n', at + 2))
        crlf.replace(at, 1, "\r\n");
    const std::vector<std::string> usual = {
        Example("ld-raid10.xml"),
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
        // The largest number, and 20 digits with leading zeros.
        R"(<LogicalDriveConfiguration Size="18446744073709551615" Units="04294967297"/>)",
        R"(<LogicalDriveConfiguration Size="00000000000000000009" Units="1"/>)",
    };
    for (const std::string& text : usual)
        EXPECT_TRUE(ReadsAlike(text)) << text;
    EXPECT_EQ(static_cast<int>(CLogicalDrive(usual[7]).Units), 1) << "units keep 32 bits";
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
        R"(<LogicalDriveConfiguration Size="000000000000000000001" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size = "1" Units="1"/>)",
        "<LogicalDriveConfiguration Size=\"1\t\" Units=\"1\"/>",
        R"(<LogicalDriveConfiguration Size="1" Units="1" x="é"/>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"><![CDATA[x]]></LogicalDriveConfiguration>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"></LogicalDriveConfiguratio>)",
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
