// Errors point into the input: a JSON record document's error at the first
// byte of the offending token, and a patch's at the change it could not
// apply. (A change list's errors: test_diff.)
#include <PI/Diff.h>
#include <PI/Interchange.h>
#include <PI/Operation.h>

#include <gtest/gtest.h>

#include <string>

using namespace PI;

namespace {

// Each input marks the offending token with '@', which is taken out.
struct Marked {
    std::string text;
    size_t at;
};
Marked Mark(std::string text) {
    const size_t at = text.find('@');
    text.erase(at, 1);
    return {text, at};
}

TEST(ErrorOffsets, JsonDecodeErrorsPointAtTheOffendingTokensFirstByte) {
    for (
        const char* input : {
            R"({"Version":1,"COperation":{"Objects":@"abc"}})",
            R"({"Version":1,"COperation":{"Objects":@-12}})",
            R"({"Version":1,"COperation":{"Objects":@true}})",
            R"({"Version":1,"COperation":{"Objects": @false}})",
            R"({"Version":1,"COperation":{"Objects":[@null]}})",
            R"({"Version":1,"COperation":{"Objects":@{"a":1}}})",
            R"({"Version":1,"COperation":{"Flag":@[]}})",
            R"({"Version":1,"COperation":{"Objects":[],@"Bogus":1}})",
            R"({"Version":1,"COperation":{"Objects":[{"Properties":[{"PropertyID":1,"Type":3,"Value":{"Value":1,"List":[@]}}]}]}})",
        }) {
        const Marked m = Mark(input);
        COperation out;
        CInterchangeError error;
        EXPECT_NE(ReadJsonDocument(m.text, out, &error), 0u) << m.text;
        EXPECT_EQ(error.Offset, m.at) << m.text << "\n" << error.Text();
    }
}

TEST(ErrorOffsets, PatchErrorsPointAtTheChangeInItsDocument) {
    const Marked m =
        Mark(R"({"Version":1,"Class":"COperation","Changes":[)"
             R"({"Kind":"changed","Path":"/Flag","Old":false,"New":true},)"
             "\n  {@\"Kind\":\"changed\",\"Path\":\"/Attribute1\",\"Old\":5,\"New\":6}]}");
    ERecordClass cls;
    ChangeList changes;
    ASSERT_EQ(ReadChangeList(m.text.data(), m.text.size(), cls, changes), 0u);
    COperation op; // Attribute1 is 0, not the 5 the second change expects
    CInterchangeError error;
    EXPECT_EQ(Patch(op, changes, &error), DIFF_MISMATCH);
    EXPECT_EQ(error.Pointer, "/Attribute1");
    EXPECT_EQ(error.Offset, m.at) << error.Text();
}

} // namespace
