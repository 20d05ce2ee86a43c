// pitool record show on what a terminal must not receive raw, and the health
// it reports beside each object.
#include "Pitool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

// A drive whose name holds a byte that is no UTF-8, an escape sequence and a
// backslash ("caf\xFF\x1B[31m\"), and an event text of the one byte 0xFF.
const char* const HOSTILE =
    R"({"Version":1,"COperation":{"Objects":[{"ObjectID":7,"ObjectType":19020,"Properties":[)"
    R"({"PropertyID":23259,"Type":2,"Value":{"Base64":"Y2Fm/xtbMzFtXA=="}},)"
    R"({"PropertyID":23276,"Type":5,"Value":40259}]}],"Events":[{"Text1":{"Base64":"/w=="}}]}})";

TEST(PitoolShow, BytesThatAreNoTextAreEscapedInTextAndKeptInJson) {
    const ProgramResult text = Pitool({"record", "show", "-"}, HOSTILE);
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr(R"("caf\xFF\x1B[31m\\")"));
    EXPECT_THAT(text.out, HasSubstr(R"(Text1  "\xFF")"));
    EXPECT_THAT(text.out, Not(HasSubstr("\xFF")));
    EXPECT_THAT(text.out, Not(HasSubstr("\x1B")));

    const ProgramResult json = Pitool({"record", "show", "--json", "-"}, HOSTILE);
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_THAT(json.out, HasSubstr("\"Text1\": {\n          \"Base64\": \"/w==\""));
    EXPECT_THAT(json.out, Not(HasSubstr("\\ufffd")));
}

TEST(PitoolShow, HealthOfEveryObjectAndLogicalDrive) {
    const ProgramResult r = Pitool({"record", "show", Example("inventory-after.json")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("object 4098  type 19020 OBJECT_TYPE_PHYSICAL_DRIVE\n"
                                 "  health  critical\n"));
    EXPECT_THAT(r.out, HasSubstr("object 4099  type 19020 OBJECT_TYPE_PHYSICAL_DRIVE\n"
                                 "  health  ok\n"));
    EXPECT_THAT(r.out, HasSubstr("logical drive 0  size 10.92 TB (12002361090048 bytes)\n"
                                 "  health  warning\n"));
    const ProgramResult json =
        Pitool({"record", "show", "--json", Example("inventory-after.json")});
    EXPECT_THAT(json.out, HasSubstr("\"health\": \"critical\""));
}

} // namespace
