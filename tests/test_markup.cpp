// RVX::XML::CMarkup: what the fuzz check (tests/support/checks/Markup.h) does
// not reach from its seeds: reuse of one object, copies of a document read
// without its text, refused fragments and inputs too large to seed.
#include <RVX/Markup.h>

#include <gtest/gtest.h>

#include <string>

using RVX::XML::CMarkup;

namespace {

const char* kConfig = "<LogicalDriveConfiguration version=\"2\">"
                      "<LogicalDrive id=\"1\" level=\"RAID5\">"
                      "<Drive n=\"a\"/><Spare n=\"s\"/><Drive n=\"b\"/>"
                      "</LogicalDrive>"
                      "<LogicalDrive id=\"2\"/>"
                      "</LogicalDriveConfiguration>";

// A new document starts over, a refused one leaves nothing of the old tree,
// and a document read without its text is copied with its tree and position.
TEST(MarkupTest, ReusedAndCopiedDocumentsKeepOnlyTheirOwnTree) {
    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc("<a/>"));
    ASSERT_TRUE(markup.FindElem("a"));
    ASSERT_TRUE(markup.SetDoc(std::string("<b k=\"v\"/>")));
    EXPECT_EQ(markup.GetTagName(), "");
    ASSERT_TRUE(markup.FindElem());
    EXPECT_EQ(markup.GetTagName(), "b");
    EXPECT_FALSE(markup.SetDoc("<b k=\"v\">"));
    EXPECT_EQ(markup.GetDoc(), "<b k=\"v\">");
    EXPECT_FALSE(markup.FindElem());
    EXPECT_EQ(markup.x_GetAttrib(1, "k"), "");
    EXPECT_FALSE(markup.SetDoc(static_cast<const char*>(nullptr)));
    EXPECT_EQ(markup.GetDoc(), "");

    CMarkup read;
    ASSERT_TRUE(read.ReadDoc(kConfig));
    EXPECT_EQ(read.GetDoc(), "");
    ASSERT_TRUE(read.FindElem() && read.IntoElem() && read.FindElem("LogicalDrive"));
    ASSERT_TRUE(read.IntoElem() && read.FindElem("Drive"));
    CMarkup copy(read);
    EXPECT_EQ(copy.GetAttrib("n"), "a");
    ASSERT_TRUE(copy.FindElem("Drive")); // the position carried over
    EXPECT_EQ(copy.GetAttrib("n"), "b");
    ASSERT_TRUE(copy.OutOfElem());
    EXPECT_EQ(copy.GetAttrib("id"), "1");
    EXPECT_EQ(read.GetAttrib("n"), "a"); // the original did not move
    CMarkup& alias = copy;
    copy = alias;
    EXPECT_EQ(copy.GetAttrib("id"), "1");
    EXPECT_FALSE(read.ReadDoc("<a>"));
    EXPECT_FALSE(read.FindElem());
    EXPECT_FALSE(read.ReadDoc(std::string("<a/>\0", 5)));
}

TEST(MarkupTest, TextThatIsNotAWellFormedFragmentIsRefused) {
    // clang-format off
    const std::string refused[] = {"", "   \n", "plain text", "<!-- only a comment -->",
        "<?xml version=\"1.0\"?>", "<a>", "<a></b>", "<a x=\"1></a>", "<a/></a>", "text<a/>",
        "<a/>text", "<a/><![CDATA[x]]>", std::string("<a/>\0<b/>", 9), "<1a/>", "<a x=1/>"};
    // clang-format on
    for (const std::string& text : refused) {
        CMarkup markup;
        EXPECT_FALSE(markup.SetDoc(text)) << text;
        EXPECT_FALSE(markup.FindElem() || markup.IntoElem()) << text;
    }
}

TEST(MarkupTest, VeryDeepNestingIsHandledWithoutRecursion) {
    const int depth = 100000;
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    std::string closed = text;
    for (int i = 0; i < depth; ++i)
        closed += "</a>";

    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc(closed));
    int level = 0;
    while (markup.FindElem("a") && markup.IntoElem())
        ++level;
    EXPECT_EQ(level, depth);
    while (markup.OutOfElem())
        --level;
    EXPECT_EQ(level, 0);
    CMarkup copy(markup); // copying a deep document is no deeper
    copy.x_SetPos(0, 0, 0);
    EXPECT_TRUE(copy.FindElem("a"));
    EXPECT_FALSE(markup.SetDoc(text)); // never closed
    EXPECT_FALSE(markup.SetDoc(closed.substr(0, closed.size() - 1)));
}

TEST(MarkupTest, EntityDeclarationsAreNotExpanded) {
    std::string text = "<!DOCTYPE r [<!ENTITY a \"aaaaaaaaaa\">";
    for (int i = 1; i < 10; ++i)
        text += "<!ENTITY a" + std::to_string(i) + " \"&a" + (i > 1 ? std::to_string(i - 1) : "") +
                ";&a" + (i > 1 ? std::to_string(i - 1) : "") + ";\">";
    text += "]><r v=\"&a9;\"/>";
    CMarkup markup;
    markup.SetDoc(text);
    if (markup.FindElem("r")) {
        EXPECT_LT(markup.GetAttrib("v").size(), 16u);
    }
}

} // namespace
