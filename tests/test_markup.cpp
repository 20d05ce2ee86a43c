// RVX::XML::CMarkup: navigation over a parsed document, and hostile input.
#include <RVX/Markup.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

using RVX::XML::CMarkup;

namespace {

const char* kConfig = "<LogicalDriveConfiguration version=\"2\">"
                      "<LogicalDrive id=\"1\" level=\"RAID5\">"
                      "<Drive n=\"a\"/><Spare n=\"s\"/><Drive n=\"b\"/>"
                      "</LogicalDrive>"
                      "<LogicalDrive id=\"2\"/>"
                      "</LogicalDriveConfiguration>";

TEST(MarkupTest, NavigatesDownAcrossAndUp) {
    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc(kConfig));
    ASSERT_TRUE(markup.FindElem("LogicalDriveConfiguration"));
    EXPECT_EQ(markup.GetAttrib("version"), "2");
    ASSERT_TRUE(markup.IntoElem());
    EXPECT_EQ(markup.GetTagName(), ""); // no current element until FindElem
    EXPECT_EQ(markup.GetAttrib("id"), "");
    ASSERT_TRUE(markup.FindElem("LogicalDrive"));
    EXPECT_EQ(markup.GetAttrib("id"), "1");
    EXPECT_EQ(markup.GetAttrib("level"), "RAID5");
    ASSERT_TRUE(markup.IntoElem());
    ASSERT_TRUE(markup.FindElem("Drive"));
    EXPECT_EQ(markup.GetAttrib("n"), "a");
    ASSERT_TRUE(markup.FindElem("Drive")); // skips the Spare
    EXPECT_EQ(markup.GetAttrib("n"), "b");
    EXPECT_FALSE(markup.FindElem("Drive"));
    EXPECT_EQ(markup.GetAttrib("n"), "b"); // stayed
    ASSERT_TRUE(markup.OutOfElem());
    EXPECT_EQ(markup.GetTagName(), "LogicalDrive");
    EXPECT_EQ(markup.GetAttrib("id"), "1");
    ASSERT_TRUE(markup.FindElem("LogicalDrive"));
    EXPECT_EQ(markup.GetAttrib("id"), "2");
    EXPECT_FALSE(markup.IntoElem() && markup.FindElem()); // no children
    ASSERT_TRUE(markup.OutOfElem());
    ASSERT_TRUE(markup.OutOfElem());
    EXPECT_EQ(markup.GetTagName(), "LogicalDriveConfiguration");
    EXPECT_FALSE(markup.OutOfElem()); // top level
}

TEST(MarkupTest, SeveralTopLevelElementsAfterResettingThePosition) {
    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc("<a x=\"1\"/>\n<b/>\n<a x=\"2\"><a x=\"inner\"/></a>"));
    markup.x_SetPos(0, 0, 0);
    ASSERT_TRUE(markup.FindElem("a"));
    EXPECT_EQ(markup.GetAttrib("x"), "1");
    ASSERT_TRUE(markup.FindElem("a"));
    EXPECT_EQ(markup.GetAttrib("x"), "2"); // a top-level one, not the nested one
    EXPECT_FALSE(markup.FindElem("a"));
    markup.x_SetPos(0, 0, 0);
    ASSERT_TRUE(markup.FindElem());
    ASSERT_TRUE(markup.FindElem());
    EXPECT_EQ(markup.GetTagName(), "b");
    EXPECT_FALSE(markup.FindElem("B")); // names compare exactly
}

TEST(MarkupTest, ElementsAreNumberedInDocumentOrder) {
    CMarkup markup;
    ASSERT_TRUE(
        markup.SetDoc("<r n=\"1\"><c n=\"2\"><g n=\"3\"/></c><c n=\"4\"/></r><s n=\"5\"/>"));
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(markup.x_GetAttrib(i, "n"), std::to_string(i));
    // A position set directly: children of element 1, after element 2.
    markup.x_SetPos(1, 2, 0);
    ASSERT_TRUE(markup.FindElem());
    EXPECT_EQ(markup.GetAttrib("n"), "4");
    // An element that is not a child of the parent: the search starts afresh.
    markup.x_SetPos(1, 3, 0);
    ASSERT_TRUE(markup.FindElem());
    EXPECT_EQ(markup.GetAttrib("n"), "2");
}

TEST(MarkupTest, PositionsOutOfRangeFindNothing) {
    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc("<a x=\"1\"><b/></a>"));
    for (int element : {-1, 0, 3, 1000, INT_MAX, INT_MIN})
        EXPECT_EQ(markup.x_GetAttrib(element, "x"), "") << element;
    EXPECT_EQ(markup.x_GetAttrib(1, nullptr), "");
    EXPECT_EQ(markup.x_GetAttrib(1, "missing"), "");
    for (int parent : {-5, 3, INT_MAX, INT_MIN}) {
        markup.x_SetPos(parent, 0, 0);
        EXPECT_FALSE(markup.FindElem()) << parent;
        EXPECT_FALSE(markup.OutOfElem()) << parent;
        EXPECT_EQ(markup.GetAttrib("x"), "");
    }
    markup.x_SetPos(0, INT_MAX, INT_MIN);
    EXPECT_FALSE(markup.IntoElem());
    EXPECT_EQ(markup.GetTagName(), "");
    EXPECT_EQ(markup.GetAttrib("x"), "");
    ASSERT_TRUE(markup.FindElem()); // ignores the stray element position
    EXPECT_EQ(markup.GetAttrib("x"), "1");
}

// Reading several attributes at once gives what one read each gives,
// whatever order they stand in.
TEST(MarkupTest, SeveralAttributesReadTogetherAsOneByOne) {
    CMarkup markup;
    ASSERT_TRUE(
        markup.SetDoc("<r><d a=\"1\" b=\"2\" c=\"3\"/><d c=\"z\" a=\"x\"/>"
                      "<d b=\"\" x=\"9\" a=\"&amp;\"/><d/><d a=\"1\" b=\"2\" a=\"3\"/></r>"));
    const char* const names[] = {"a", "b", "c", nullptr, "a"};
    const char* values[5] = {};
    markup.GetAttribTexts(names, values, 5); // no current element
    for (const char* value : values)
        EXPECT_STREQ(value, "");
    ASSERT_TRUE(markup.FindElem());
    ASSERT_TRUE(markup.IntoElem());
    int elements = 0;
    while (markup.FindElem("d")) {
        ++elements;
        markup.GetAttribTexts(names, values, 5);
        for (int i = 0; i < 5; ++i) {
            const std::string expected = names[i] ? markup.GetAttrib(names[i]) : "";
            EXPECT_EQ(values[i], expected) << "element " << elements << ", name " << i;
        }
    }
    EXPECT_EQ(elements, 5);
    // A name asked twice of an element that repeats it: the first one, both
    // times, even though the attributes stand in the order asked for.
    const char* const twice[] = {"a", "b", "a"};
    markup.GetAttribTexts(twice, values, 3);
    EXPECT_STREQ(values[0], "1");
    EXPECT_STREQ(values[1], "2");
    EXPECT_STREQ(values[2], "1");
    markup.x_SetPos(1, 3, 0); // the second "d": out of order, one missing
    markup.GetAttribTexts(names, values, 3);
    EXPECT_STREQ(values[0], "x");
    EXPECT_STREQ(values[1], "");
    EXPECT_STREQ(values[2], "z");
    markup.GetAttribTexts(names, values, 0); // nothing asked, nothing written
}

// Reading a run of elements at once gives what FindElem and GetAttribTexts
// give element by element, and leaves the position at the last one.
TEST(MarkupTest, RunOfElementsReadTogetherAsOneByOne) {
    const std::string text = "<r><d a=\"1\" b=\"2\" c=\"3\" e=\"4\" f=\"5\"/><x a=\"no\"/>"
                             "<!-- c --><d c=\"z\" a=\"x\"/><d a=\"1\" b=\"2\" a=\"3\"/><d/>"
                             "<d b=\"&lt;\" a=\"q\" c=\"\"/></r><d a=\"top\"/>";
    const char* const names[][6] = {
        {"a", "b", "c", nullptr, nullptr, nullptr},     {"a", "b", "a", nullptr, nullptr, nullptr},
        {"c", nullptr, "a", nullptr, nullptr, nullptr}, {"a", "b", "c", "e", "f", "c"},
        {"b", "a", "c", nullptr, nullptr, nullptr},     {"a", "", "c", nullptr, nullptr, nullptr}};
    const size_t counts[] = {3, 3, 3, 6, 3, 0};
    for (const char* element : {"d", "x", "", static_cast<const char*>(nullptr), "y"}) {
        for (const auto& asked : names) {
            for (size_t count : counts) {
                CMarkup one, run;
                ASSERT_TRUE(one.SetDoc(text));
                ASSERT_TRUE(run.ReadDoc(text));
                ASSERT_TRUE(one.FindElem("r") && one.IntoElem());
                ASSERT_TRUE(run.FindElem("r") && run.IntoElem());
                std::vector<const char*> expected = {"kept"};
                size_t elements = 0;
                while (one.FindElem(element)) {
                    const char* values[6];
                    one.GetAttribTexts(asked, values, count);
                    expected.insert(expected.end(), values, values + count);
                    ++elements;
                }
                std::vector<const char*> got = {"kept"};
                const std::string where = std::string(element ? element : "(null)") + "/" +
                                          std::to_string(count) + "/" + (asked[0] ? asked[0] : "");
                EXPECT_EQ(run.FindElemAttribTexts(element, asked, count, got), elements) << where;
                ASSERT_EQ(got.size(), expected.size()) << where;
                for (size_t i = 0; i < got.size(); ++i)
                    EXPECT_STREQ(got[i], expected[i]) << where << " text " << i;
                EXPECT_EQ(run.GetTagName(), one.GetTagName()) << where;
                EXPECT_FALSE(run.FindElem(element)) << where;
                ASSERT_TRUE(run.OutOfElem()) << where;
                EXPECT_EQ(run.GetTagName(), "r") << where;
            }
        }
    }
    // Not at a level: nothing found, nothing appended.
    CMarkup markup;
    std::vector<const char*> none;
    const char* const a[] = {"a"};
    EXPECT_EQ(markup.FindElemAttribTexts("d", a, 1, none), 0u);
    ASSERT_TRUE(markup.SetDoc(text));
    markup.x_SetPos(99, 0, 0);
    EXPECT_EQ(markup.FindElemAttribTexts(nullptr, a, 1, none), 0u);
    EXPECT_TRUE(none.empty());
    // From the top: the one top-level "d", after "r".
    markup.x_SetPos(0, 0, 0);
    EXPECT_EQ(markup.FindElemAttribTexts("d", a, 1, none), 1u);
    ASSERT_EQ(none.size(), 1u);
    EXPECT_STREQ(none[0], "top");
}

// Blanks in attribute values become spaces and a CR LF one space, whether or
// not the text also holds references, and wherever the text holds them.
TEST(MarkupTest, AttributeBlanksAndLineEndsAreConverted) {
    struct Case {
        const char* text;
        const char* value;
    } const cases[] = {
        {"<a t=\"x\ty\"/>", "x y"},
        {"<a t=\"x\ny\"/>", "x y"},
        {"<a t=\"x\r\ny\"/>", "x y"},
        {"<a t=\"x\ry\"/>", "x y"},
        {"<a t=\"x\r\n\ty&amp;\"/>", "x  y&"},
        {"<a\nt=\"x y\"/>", "x y"},
        {"<a t=\"x&#9;y\"/>", "x\ty"},
        {"<a t=\"x&lt;y\"/>\r\n", "x<y"},
        {"<a t=\"&\"/>", "&"},
        {"<a t=\"x  y\"/>", "x  y"},
    };
    for (const Case& c : cases) {
        for (bool keep : {true, false}) {
            CMarkup markup;
            ASSERT_TRUE(keep ? markup.SetDoc(c.text) : markup.ReadDoc(c.text)) << c.text;
            ASSERT_TRUE(markup.FindElem("a")) << c.text;
            EXPECT_EQ(markup.GetAttrib("t"), c.value) << c.text;
        }
    }
}

TEST(MarkupTest, SetDocStartsOverAndKeepsTheText) {
    CMarkup markup;
    ASSERT_TRUE(markup.SetDoc("<a/>"));
    ASSERT_TRUE(markup.FindElem("a"));
    ASSERT_TRUE(markup.SetDoc(std::string("<b k=\"v\"/>")));
    EXPECT_EQ(markup.GetDoc(), "<b k=\"v\"/>");
    EXPECT_EQ(markup.GetTagName(), "");
    ASSERT_TRUE(markup.FindElem());
    EXPECT_EQ(markup.GetTagName(), "b");
    // A failed parse leaves an empty document but keeps the text.
    EXPECT_FALSE(markup.SetDoc("<b k=\"v\">"));
    EXPECT_EQ(markup.GetDoc(), "<b k=\"v\">");
    EXPECT_FALSE(markup.FindElem());
    EXPECT_EQ(markup.x_GetAttrib(1, "k"), "");
    EXPECT_FALSE(markup.SetDoc(static_cast<const char*>(nullptr)));
    EXPECT_EQ(markup.GetDoc(), "");
}

// A document read without keeping its text navigates as one set with
// SetDoc; copies of it keep the tree and the position.
TEST(MarkupTest, ReadDocNavigatesWithoutKeepingTheText) {
    CMarkup kept, read;
    ASSERT_TRUE(kept.SetDoc(kConfig));
    ASSERT_TRUE(read.ReadDoc(kConfig));
    EXPECT_EQ(read.GetDoc(), "");
    for (int i = 1; i <= 7; ++i) {
        kept.x_SetPos(0, i, 0);
        read.x_SetPos(0, i, 0);
        EXPECT_EQ(read.GetTagName(), kept.GetTagName()) << i;
        EXPECT_EQ(read.x_GetAttrib(i, "n"), kept.x_GetAttrib(i, "n")) << i;
    }
    read.x_SetPos(0, 0, 0);
    ASSERT_TRUE(read.FindElem());
    ASSERT_TRUE(read.IntoElem());
    ASSERT_TRUE(read.FindElem("LogicalDrive"));
    ASSERT_TRUE(read.IntoElem());
    ASSERT_TRUE(read.FindElem("Drive"));
    CMarkup copy(read);
    EXPECT_EQ(copy.GetDoc(), "");
    EXPECT_EQ(copy.GetAttrib("n"), "a");
    ASSERT_TRUE(copy.FindElem("Drive")); // the position carried over
    EXPECT_EQ(copy.GetAttrib("n"), "b");
    ASSERT_TRUE(copy.OutOfElem());
    EXPECT_EQ(copy.GetAttrib("id"), "1");
    EXPECT_EQ(read.GetAttrib("n"), "a"); // the original did not move
    CMarkup& alias = copy;
    copy = alias; // self-assignment keeps the tree
    EXPECT_EQ(copy.GetAttrib("id"), "1");

    // Refused text, and then text kept again.
    EXPECT_FALSE(read.ReadDoc("<a>"));
    EXPECT_FALSE(read.FindElem());
    EXPECT_FALSE(read.ReadDoc(std::string("<a/>\0", 5)));
    ASSERT_TRUE(read.SetDoc("<b/>"));
    EXPECT_EQ(read.GetDoc(), "<b/>");
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
        EXPECT_EQ(markup.GetDoc(), text);
        EXPECT_FALSE(markup.FindElem());
        EXPECT_FALSE(markup.IntoElem());
    }
}

TEST(MarkupTest, VeryDeepNestingIsHandledWithoutRecursion) {
    const int depth = 100000;
    std::string text;
    text.reserve(depth * 8);
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
    int up = 0;
    while (markup.OutOfElem())
        ++up;
    EXPECT_EQ(up, depth);
    EXPECT_EQ(markup.GetTagName(), "a"); // back at the outermost element
    EXPECT_FALSE(markup.FindElem("a"));  // which has no sibling
    CMarkup copy(markup);                // copying a deep document is no deeper
    copy.x_SetPos(0, 0, 0);
    EXPECT_TRUE(copy.FindElem("a"));

    EXPECT_FALSE(markup.SetDoc(text)); // never closed
    EXPECT_FALSE(markup.FindElem());
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
