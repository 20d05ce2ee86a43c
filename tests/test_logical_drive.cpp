// Logical drive layout records: drive pieces and their order, containers,
// the logical drive with its spares, and reading the configuration document.
#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using PI::CContainer;
using PI::CDrive;
using PI::CLogicalDrive;
using PI::CProperty;

namespace {

CProperty Prop(int id) {
    CProperty property;
    property.PropertyID = static_cast<PI::_PROPERTY_ID>(id);
    return property;
}

CDrive Piece(unsigned long long id, unsigned long long start, unsigned long long used = 0) {
    CDrive drive;
    drive.ObjectID = id;
    drive.StartAddress = start;
    drive.UsedSize = used;
    return drive;
}

void ExpectIndexError(const std::function<void()>& get) {
    try {
        get();
        ADD_FAILURE() << "no exception";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), 0x21130001u);
        EXPECT_NE(std::string(e.what()).find("Src/Objects"), std::string::npos) << e.what();
    }
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

// ---- pieces and containers ----

TEST(Drive, Defaults) {
    const CDrive drive;
    EXPECT_EQ(drive.ObjectID, 0u);
    EXPECT_EQ(drive.StartAddress, 0u);
    EXPECT_EQ(drive.UsedSize, 0u);
    EXPECT_EQ(drive.Attribute1, 0u);
    EXPECT_EQ(drive.Attribute2, 0u);
    EXPECT_TRUE(drive.Flag);
    EXPECT_EQ(drive.GetPropertyCount(), 0u);
}

TEST(Drive, OrderedByDriveThenStart) {
    const CDrive a = Piece(5, 0);
    const CDrive b = Piece(5, 100);
    const CDrive c = Piece(6, 0);
    EXPECT_TRUE(a < b);
    EXPECT_TRUE(b < c);
    EXPECT_TRUE(a < c);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(c < b);
    // The drive decides before the start, whatever the start.
    EXPECT_TRUE(Piece(5, ~0ULL) < Piece(6, 0));
    // Full 64-bit unsigned order.
    EXPECT_TRUE(Piece(0x7FFFFFFFFFFFFFFFULL, 0) < Piece(0x8000000000000000ULL, 0));
    EXPECT_TRUE(Piece(1, 0xFFFFFFFFULL) < Piece(1, 0x100000000ULL));

    CDrive other = a;
    other.UsedSize = 999;
    other.Attribute1 = 1;
    other.Flag = false;
    other.AddProperty(Prop(23001));
    EXPECT_TRUE(other == a);
    EXPECT_FALSE(other < a);
    EXPECT_FALSE(a < other);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(a == Piece(6, 0));
}

TEST(Drive, SortsAndDeduplicatesPiecesOfAContainer) {
    CContainer container;
    const unsigned long long ids[] = {9, 3, 3, 7, 3, 9, 1};
    const unsigned long long starts[] = {0, 500, 0, 0, 500, 0, 42};
    for (size_t i = 0; i < 7; ++i)
        container.AddDrive(Piece(ids[i], starts[i], i));

    std::vector<CDrive> pieces = container.Drives;
    std::stable_sort(pieces.begin(), pieces.end());
    const std::vector<std::pair<unsigned long long, unsigned long long>> expected = {
        {1, 42}, {3, 0}, {3, 500}, {3, 500}, {7, 0}, {9, 0}, {9, 0}};
    ASSERT_EQ(pieces.size(), expected.size());
    for (size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ(pieces[i].ObjectID, expected[i].first) << i;
        EXPECT_EQ(pieces[i].StartAddress, expected[i].second) << i;
    }
    // Equal pieces keep their order under a stable sort: the order is only
    // by drive and start.
    EXPECT_EQ(pieces[2].UsedSize, 1u);
    EXPECT_EQ(pieces[3].UsedSize, 4u);

    std::set<CDrive> unique(container.Drives.begin(), container.Drives.end());
    EXPECT_EQ(unique.size(), 5u);
    EXPECT_EQ(unique.count(Piece(3, 500, 12345)), 1u);
    EXPECT_EQ(unique.count(Piece(3, 1)), 0u);
}

TEST(Container, ComparesPiecesPositionally) {
    CContainer a;
    CContainer b;
    EXPECT_TRUE(a == b);
    a.AddDrive(Piece(1, 0, 10));
    a.AddDrive(Piece(2, 0, 10));
    b.AddDrive(Piece(1, 0, 20)); // used size is not part of a piece's identity
    EXPECT_FALSE(a == b);
    b.AddDrive(Piece(2, 0, 30));
    EXPECT_TRUE(a == b);
    CContainer swapped;
    swapped.AddDrive(Piece(2, 0));
    swapped.AddDrive(Piece(1, 0));
    EXPECT_FALSE(a == swapped);

    CContainer copy(a);
    a.GetDrive(0).ObjectID = 77;
    EXPECT_EQ(copy.GetDrive(0).ObjectID, 1u) << "a copy owns its pieces";
    a.ClearDrives();
    EXPECT_EQ(a.GetDriveCount(), 0u);
    EXPECT_EQ(copy.GetDriveCount(), 2u);
}

// ---- the logical drive record ----

namespace {

CLogicalDrive SampleDrive() {
    CLogicalDrive drive;
    drive.Attribute1 = 3;
    drive.AddProperty(Prop(23020));
    drive.Attribute2 = 4;
    drive.Size = 1ULL << 40;
    drive.Units = PI::UNITS_BYTES;
    CContainer span;
    span.AddDrive(Piece(1, 0));
    drive.AddContainer(span);
    drive.AddGHS(100);
    drive.AddDHS(200);
    drive.AddALD(300);
    return drive;
}

} // namespace

TEST(LogicalDrive, Defaults) {
    const CLogicalDrive drive;
    EXPECT_EQ(drive.Attribute1, 0);
    EXPECT_EQ(drive.Attribute2, 0);
    EXPECT_EQ(drive.Size, 0u);
    EXPECT_EQ(static_cast<int>(drive.Units), 21006);
    EXPECT_EQ(drive.GetPropertyCount(), 0u);
    EXPECT_EQ(drive.GetContainerCount(), 0u);
    EXPECT_EQ(drive.GetGHSCount(), 0u);
    EXPECT_EQ(drive.GetDHSCount(), 0u);
    EXPECT_EQ(drive.GetALDCount(), 0u);
}

TEST(LogicalDrive, ComparisonLeavesSparesAndAssociationsOut) {
    const CLogicalDrive base = SampleDrive();
    CLogicalDrive spares = SampleDrive();
    spares.GetGHS(0) = 101;
    spares.AddGHS(102);
    spares.ClearDHS();
    spares.GetALD(0) = 301;
    EXPECT_TRUE(spares == base);

    std::vector<std::function<void(CLogicalDrive&)>> changes = {
        [](CLogicalDrive& d) { d.Attribute1 = 0; },
        [](CLogicalDrive& d) { d.GetProperty(0).PropertyID = static_cast<PI::_PROPERTY_ID>(1); },
        [](CLogicalDrive& d) { d.AddProperty(Prop(23021)); },
        [](CLogicalDrive& d) { d.Attribute2 = 0; },
        [](CLogicalDrive& d) { d.Size += 1; },
        [](CLogicalDrive& d) { d.Units = PI::UNITS_LOGICAL_DRIVE_DEFAULT; },
        [](CLogicalDrive& d) { d.GetContainer(0).GetDrive(0).StartAddress = 1; },
        [](CLogicalDrive& d) { d.AddContainer(CContainer()); },
    };
    for (size_t i = 0; i < changes.size(); ++i) {
        CLogicalDrive changed = SampleDrive();
        changes[i](changed);
        EXPECT_FALSE(changed == base) << "change " << i;
        EXPECT_TRUE(changed != base) << "change " << i;
    }
}

TEST(LogicalDrive, GettersReachStoredElements) {
    CLogicalDrive drive = SampleDrive();
    drive.GetContainer(0).AddDrive(Piece(2, 0));
    drive.GetDHS(0) = 201;
    drive.AddALD(301);
    drive.GetALD(1) += 1;
    EXPECT_EQ(drive.GetContainer(0).GetDriveCount(), 2u);
    EXPECT_EQ(drive.DHS, std::vector<unsigned long long>{201});
    EXPECT_EQ(drive.ALD, (std::vector<unsigned long long>{300, 302}));
}

TEST(LogicalDrive, CopiesAreDeepIncludingSpares) {
    CLogicalDrive source = SampleDrive();
    CLogicalDrive copy(source);
    source.GetContainer(0).GetDrive(0).ObjectID = 9;
    source.GetGHS(0) = 9;
    source.ClearALD();
    source.GetProperty(0).Attribute4 = 9;
    EXPECT_EQ(copy.GetContainer(0).GetDrive(0).ObjectID, 1u);
    EXPECT_EQ(copy.GHS, std::vector<unsigned long long>{100});
    EXPECT_EQ(copy.GetALDCount(), 1u);
    EXPECT_TRUE(copy.GetProperty(0) == Prop(23020));

    CLogicalDrive assigned;
    assigned = copy;
    EXPECT_TRUE(assigned == copy);
    EXPECT_EQ(assigned.GHS, copy.GHS);
    EXPECT_EQ(assigned.DHS, copy.DHS);
    EXPECT_EQ(assigned.ALD, copy.ALD);

    CLogicalDrive moved(std::move(assigned));
    EXPECT_TRUE(moved == copy);
    EXPECT_EQ(moved.ALD, copy.ALD);
}

TEST(LogicalDrive, ClearingIdListsKeepsCapacity) {
    CLogicalDrive drive;
    for (unsigned long long id = 0; id < 50; ++id) {
        drive.AddGHS(id);
        drive.AddDHS(id);
        drive.AddALD(id);
    }
    const size_t g = drive.GHS.capacity(), d = drive.DHS.capacity(), a = drive.ALD.capacity();
    drive.ClearGHS();
    drive.ClearDHS();
    drive.ClearALD();
    EXPECT_EQ(drive.GetGHSCount() + drive.GetDHSCount() + drive.GetALDCount(), 0u);
    EXPECT_EQ(drive.GHS.capacity(), g);
    EXPECT_EQ(drive.DHS.capacity(), d);
    EXPECT_EQ(drive.ALD.capacity(), a);
}

TEST(LogicalDrive, EveryListRaisesTheIndexException) {
    CLogicalDrive drive = SampleDrive();
    CContainer container;
    CDrive piece;
    ExpectIndexError([&] { piece.GetProperty(0); });
    ExpectIndexError([&] { container.GetDrive(0); });
    ExpectIndexError([&] { drive.GetProperty(1); });
    ExpectIndexError([&] { drive.GetContainer(1); });
    ExpectIndexError([&] { drive.GetGHS(1); });
    ExpectIndexError([&] { drive.GetDHS(0xFFFFFFFFu); });
    ExpectIndexError([&] { drive.GetALD(1); });
    ExpectIndexError([&] { drive.GetContainer(0).GetDrive(1); });
    EXPECT_TRUE(drive == SampleDrive());
    EXPECT_EQ(drive.GetGHSCount(), 1u);
}

TEST(LogicalDrive, WithThrowingDisabledGettersGiveAFreshStandIn) {
    CLogicalDrive drive = SampleDrive();
    RVX::Threading::CDisableThrow quiet;

    unsigned long long& missing = drive.GetGHS(5);
    EXPECT_EQ(missing, 0u);
    EXPECT_NE(&missing, drive.GHS.data() + 5);
    missing = 1234; // harmless: nothing of the record changes
    EXPECT_EQ(drive.GetGHSCount(), 1u);
    EXPECT_EQ(drive.GetGHS(0), 100u);
    EXPECT_EQ(drive.GetDHS(7), 0u) << "the stand-in is reset on every miss";

    CContainer& span = drive.GetContainer(3);
    EXPECT_EQ(span.GetDriveCount(), 0u);
    span.AddDrive(Piece(8, 8));
    EXPECT_EQ(drive.GetContainerCount(), 1u);
    EXPECT_EQ(drive.GetContainer(4).GetDriveCount(), 0u);

    CDrive& piece = drive.GetContainer(0).GetDrive(9);
    EXPECT_TRUE(piece.Flag);
    EXPECT_EQ(piece.ObjectID, 0u);
    CProperty& property = drive.GetProperty(2);
    EXPECT_TRUE(property == CProperty());
    EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), 0x21130001u);
    EXPECT_TRUE(drive == SampleDrive());
}

// ---- the configuration document ----

namespace {

const char* const CORE = R"(<LogicalDriveConfiguration Size="1000" Units="21006">
  <Containers>
    <Container>
      <Drive ObjectID="11" StartAddress="0" UsedSize="500"/>
      <Drive ObjectID="12" StartAddress="2048" UsedSize="500"/>
    </Container>
    <Container/>
    <Container>
      <Drive ObjectID="13" StartAddress="18446744073709551615" UsedSize="1"/>
    </Container>
  </Containers>
</LogicalDriveConfiguration>)";

const char* const GHS_LIST =
    R"(<GlobalHotSpares><Drive ObjectID="21"/><Drive ObjectID="22"/></GlobalHotSpares>)";
const char* const DHS_LIST = R"(<DedicatedHotSpares><Drive ObjectID="31"/></DedicatedHotSpares>)";
const char* const ALD_LIST =
    R"(<AssociatedLogicalDrives><LogicalDrive ObjectID="41"/><Other ObjectID="x"/><LogicalDrive ObjectID="42"/></AssociatedLogicalDrives>)";

void ExpectCore(const CLogicalDrive& drive) {
    EXPECT_EQ(drive.Size, 1000u);
    EXPECT_EQ(static_cast<int>(drive.Units), 21006);
    ASSERT_EQ(drive.GetContainerCount(), 3u);
    CLogicalDrive copy = drive;
    ASSERT_EQ(copy.GetContainer(0).GetDriveCount(), 2u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(0).ObjectID, 11u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(0).StartAddress, 0u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(0).UsedSize, 500u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(1).ObjectID, 12u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(1).StartAddress, 2048u);
    EXPECT_TRUE(copy.GetContainer(0).GetDrive(1).Flag);
    EXPECT_EQ(copy.GetContainer(1).GetDriveCount(), 0u);
    ASSERT_EQ(copy.GetContainer(2).GetDriveCount(), 1u);
    EXPECT_EQ(copy.GetContainer(2).GetDrive(0).StartAddress, ~0ULL);
    EXPECT_EQ(copy.GetContainer(2).GetDrive(0).UsedSize, 1u);
}

} // namespace

TEST(LogicalDriveDocument, ReadsContainersInDocumentOrder) {
    const CLogicalDrive drive{std::string(CORE)};
    ExpectCore(drive);
    EXPECT_EQ(drive.GetGHSCount() + drive.GetDHSCount() + drive.GetALDCount(), 0u);
}

TEST(LogicalDriveDocument, SpareListsMayStandAnywhereAtTheTop) {
    const std::vector<std::string> parts = {CORE, GHS_LIST, DHS_LIST, ALD_LIST};
    std::vector<size_t> order = {0, 1, 2, 3};
    int permutations = 0;
    do {
        std::string text;
        for (size_t i : order)
            text += parts[i] + "\n";
        SCOPED_TRACE(text);
        const CLogicalDrive drive(text);
        ExpectCore(drive);
        EXPECT_EQ(drive.GHS, (std::vector<unsigned long long>{21, 22}));
        EXPECT_EQ(drive.DHS, std::vector<unsigned long long>{31});
        EXPECT_EQ(drive.ALD, (std::vector<unsigned long long>{41, 42}));
        ++permutations;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(permutations, 24);
}

TEST(LogicalDriveDocument, ListsInsideTheRootAreNotSearched) {
    // Only the top level is searched for the lists, so lists nested in the
    // configuration element are not seen.
    const std::string text = R"(<LogicalDriveConfiguration Size="1" Units="21006">)" +
                             std::string(GHS_LIST) + R"(</LogicalDriveConfiguration>)";
    const CLogicalDrive drive(text);
    EXPECT_EQ(drive.Size, 1u);
    EXPECT_EQ(drive.GetGHSCount(), 0u);
}

TEST(LogicalDriveDocument, WithoutContainers) {
    const std::string text =
        std::string(ALD_LIST) + R"(<LogicalDriveConfiguration Size="7" Units="21002"/>)" + GHS_LIST;
    const CLogicalDrive drive(text);
    EXPECT_EQ(drive.Size, 7u);
    EXPECT_EQ(drive.Units, PI::UNITS_MEGABYTES);
    EXPECT_EQ(drive.GetContainerCount(), 0u);
    EXPECT_EQ(drive.GHS, (std::vector<unsigned long long>{21, 22}));
    EXPECT_EQ(drive.GetDHSCount(), 0u);
    EXPECT_EQ(drive.ALD, (std::vector<unsigned long long>{41, 42}));
}

TEST(LogicalDriveDocument, OnlyTheFirstContainersElementIsRead) {
    const CLogicalDrive drive(
        std::string(R"(<LogicalDriveConfiguration Size="1" Units="1">)") +
        R"(<Other><Container><Drive ObjectID="1" StartAddress="1" UsedSize="1"/></Container></Other>)"
        R"(<Containers><Container/></Containers>)"
        R"(<Containers><Container/><Container/></Containers>)"
        R"(</LogicalDriveConfiguration>)");
    EXPECT_EQ(drive.GetContainerCount(), 1u);
    EXPECT_EQ(drive.Containers[0].GetDriveCount(), 0u);
}

TEST(LogicalDriveDocument, UnitsAreNarrowedToTheirLow32Bits) {
    const CLogicalDrive drive(std::string(
        R"(<LogicalDriveConfiguration Size="18446744073709551615" Units="4294988302"/>)"));
    // 4294988302 = 2^32 + 21006
    EXPECT_EQ(static_cast<int>(drive.Units), 21006);
    EXPECT_EQ(drive.Size, ~0ULL);
    const CLogicalDrive high(
        std::string(R"(<LogicalDriveConfiguration Size="0" Units="4294967295"/>)"));
    EXPECT_EQ(static_cast<unsigned int>(high.Units), 0xFFFFFFFFu);
}

TEST(LogicalDriveDocument, TextThatDoesNotParseGivesADefaultRecord) {
    for (const std::string& text : {std::string(), std::string("not xml"),
                                    std::string("<LogicalDriveConfiguration Size=\"1\""),
                                    std::string("<a><b></a></b>"), std::string("<a>\0</a>", 8)}) {
        const CLogicalDrive drive(text);
        EXPECT_TRUE(drive == CLogicalDrive()) << text;
        EXPECT_EQ(drive.Size, 0u);
        EXPECT_EQ(static_cast<int>(drive.Units), 21006);
        EXPECT_EQ(drive.GetGHSCount() + drive.GetDHSCount() + drive.GetALDCount(), 0u);
    }
}

TEST(LogicalDriveDocument, BadNumbersThrowBadLexicalCast) {
    const std::vector<std::string> bad = {
        // A root without its attributes, or no root at all.
        R"(<LogicalDriveConfiguration/>)",
        R"(<LogicalDriveConfiguration Size="1"/>)",
        R"(<Other Size="1" Units="2"/>)",
        std::string(GHS_LIST),
        // Empty, signed-looking, spaced, hexadecimal and too wide numbers.
        R"(<LogicalDriveConfiguration Size="" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size=" 1" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="1 " Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="0x10" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="18446744073709551616" Units="1"/>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1.5"/>)",
        // A piece without UsedSize, with a bad start, and a bad spare id.
        R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers><Container><Drive ObjectID="1" StartAddress="0"/></Container></Containers></LogicalDriveConfiguration>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers><Container><Drive ObjectID="1" StartAddress="x" UsedSize="1"/></Container></Containers></LogicalDriveConfiguration>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"/><DedicatedHotSpares><Drive/></DedicatedHotSpares>)",
        R"(<LogicalDriveConfiguration Size="1" Units="1"/><AssociatedLogicalDrives><LogicalDrive ObjectID="-"/></AssociatedLogicalDrives>)",
    };
    for (const std::string& text : bad)
        EXPECT_THROW(CLogicalDrive{text}, boost::bad_lexical_cast) << text;
}

TEST(LogicalDriveDocument, AMinusSignWrapsAsUnsigned) {
    // Numbers are read as unsigned 64-bit values; a leading minus wraps.
    const CLogicalDrive drive(
        std::string(R"(<LogicalDriveConfiguration Size="-1" Units="+21003"/>)"));
    EXPECT_EQ(drive.Size, ~0ULL);
    EXPECT_EQ(drive.Units, PI::UNITS_KILOBYTES);
}

TEST(LogicalDriveDocument, NamesAreCaseSensitiveAndOtherContentIgnored) {
    const CLogicalDrive drive(
        std::string(R"(<?xml version="1.0"?>)"
                    R"(<globalhotspares><Drive ObjectID="1"/></globalhotspares>)"
                    R"(<LogicalDriveConfiguration Size="5" Units="21006" Extra="x">)"
                    R"(<Containers>text<Container><drive ObjectID="x"/>)"
                    R"(<Drive ObjectID="2" StartAddress="3" UsedSize="4" Junk="y"><Sub/></Drive>)"
                    R"(<!-- note --></Container><container/></Containers>)"
                    R"(</LogicalDriveConfiguration>)"));
    EXPECT_EQ(drive.Size, 5u);
    EXPECT_EQ(drive.GetGHSCount(), 0u);
    ASSERT_EQ(drive.GetContainerCount(), 1u);
    CLogicalDrive copy = drive;
    ASSERT_EQ(copy.GetContainer(0).GetDriveCount(), 1u);
    EXPECT_EQ(copy.GetContainer(0).GetDrive(0).UsedSize, 4u);
}

TEST(LogicalDriveDocument, HostileDocumentsEndInARecordOrBadLexicalCast) {
    // Deep nesting inside a piece and around the lists.
    const int depth = 50000;
    std::string deep =
        R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers><Container><Drive ObjectID="1" StartAddress="2" UsedSize="3">)";
    for (int i = 0; i < depth; ++i)
        deep += "<n>";
    for (int i = 0; i < depth; ++i)
        deep += "</n>";
    deep += "</Drive></Container></Containers></LogicalDriveConfiguration>";
    const CLogicalDrive nested(deep);
    ASSERT_EQ(nested.GetContainerCount(), 1u);
    EXPECT_EQ(nested.Containers[0].Drives.size(), 1u);

    // Many pieces and spares.
    std::string wide = R"(<LogicalDriveConfiguration Size="1" Units="1"><Containers>)";
    for (int c = 0; c < 100; ++c) {
        wide += "<Container>";
        for (int d = 0; d < 50; ++d)
            wide += "<Drive ObjectID=\"" + std::to_string(c * 50 + d) +
                    "\" StartAddress=\"0\" UsedSize=\"1\"/>";
        wide += "</Container>";
    }
    wide += "</Containers></LogicalDriveConfiguration><GlobalHotSpares>";
    for (int i = 0; i < 5000; ++i)
        wide += "<Drive ObjectID=\"" + std::to_string(i) + "\"/>";
    wide += "</GlobalHotSpares>";
    const CLogicalDrive many(wide);
    ASSERT_EQ(many.GetContainerCount(), 100u);
    EXPECT_EQ(many.Containers[99].Drives.back().ObjectID, 4999u);
    EXPECT_EQ(many.GetGHSCount(), 5000u);

    // Entities, CDATA, a doctype and an attribute of a million characters.
    const std::string odd =
        R"(<!DOCTYPE x [<!ENTITY e "1">]><LogicalDriveConfiguration Size="&#49;&#50;" Units="&e;"><![CDATA[<Containers/>]]></LogicalDriveConfiguration>)";
    try {
        const CLogicalDrive drive(odd);
        EXPECT_EQ(drive.GetContainerCount(), 0u);
    } catch (const boost::bad_lexical_cast&) {
    }
    const std::string huge =
        R"(<LogicalDriveConfiguration Size=")" + std::string(1000000, '9') + R"(" Units="1"/>)";
    EXPECT_THROW(CLogicalDrive{huge}, boost::bad_lexical_cast);

    // Truncations of a valid document at every length: each must end cleanly.
    const std::string full = std::string(CORE) + GHS_LIST + DHS_LIST + ALD_LIST;
    for (size_t length = 0; length <= full.size(); ++length) {
        try {
            const CLogicalDrive drive(full.substr(0, length));
            EXPECT_LE(drive.GetContainerCount(), 3u);
        } catch (const boost::bad_lexical_cast&) {
        }
    }
}

TEST(LogicalDriveDocument, SampleFiles) {
    const std::string dir = std::string(PI_SOURCE_DIR) + "/examples/";

    const CLogicalDrive raid10(ReadFile(dir + "ld-raid10.xml"));
    EXPECT_EQ(raid10.Size, 1536u);
    EXPECT_EQ(raid10.Units, PI::UNITS_GIGABYTES);
    ASSERT_EQ(raid10.GetContainerCount(), 2u);
    CLogicalDrive copy = raid10;
    for (unsigned int span = 0; span < 2; ++span) {
        ASSERT_EQ(copy.GetContainer(span).GetDriveCount(), 2u);
        EXPECT_EQ(copy.GetContainer(span).GetDrive(1).UsedSize, 1649267441664u);
    }
    EXPECT_EQ(copy.GetContainer(1).GetDrive(0).ObjectID, 4003u);
    EXPECT_EQ(copy.GetContainer(1).GetDrive(0).StartAddress, 2048u);
    EXPECT_EQ(raid10.GHS, (std::vector<unsigned long long>{4101, 4102}));
    EXPECT_EQ(raid10.DHS, std::vector<unsigned long long>{4201});
    EXPECT_EQ(raid10.ALD, (std::vector<unsigned long long>{8001, 8002}));

    const CLogicalDrive raid5(ReadFile(dir + "ld-raid5.xml"));
    EXPECT_EQ(raid5.Size, 204800u);
    EXPECT_EQ(raid5.Units, PI::UNITS_MEGABYTES);
    ASSERT_EQ(raid5.GetContainerCount(), 1u);
    EXPECT_EQ(raid5.Containers[0].Drives.size(), 3u);
    EXPECT_EQ(raid5.Containers[0].Drives[2].StartAddress, 536870912000u);
    EXPECT_EQ(raid5.GetGHSCount() + raid5.GetDHSCount() + raid5.GetALDCount(), 0u);
}
