#pragma once

// CMarkup over arbitrary text. Nothing crashes or hangs; the document text
// comes back as set; the elements that the index positions reach are the
// ones that navigation reaches, in document order; and a random walk of
// FindElem, IntoElem, OutOfElem, x_SetPos, copies and attribute reads
// behaves as the navigation rules say, checked against a model of the tree.
// ReadDoc accepts what SetDoc accepts and gives the same tree.
//
// Built with PI_FUZZ_XML_REFERENCE, the tree of the model is taken from
// pugixml's own parse of the text and every attribute is compared too;
// without it the model is the tree that navigation itself reported.

#include "Check.h"

#include <RVX/Markup.h>

#if defined(PI_FUZZ_XML_REFERENCE)
#include <pugixml.hpp>
#endif

#include <cstring>
#include <string>
#include <vector>

namespace pi_fuzz {

struct MarkupModel {
    // Index 0 is the document; elements from 1 in document order.
    std::vector<std::string> name{""};
    std::vector<int> parent{0};
    std::vector<int> firstChild{0};
    std::vector<int> nextSibling{0};

    int Count() const { return static_cast<int>(name.size()) - 1; }
    bool IsElement(int i) const { return i >= 1 && i <= Count(); }
    bool IsNode(int i) const { return i >= 0 && i <= Count(); }

    void Add(const std::string& elementName, int parentIndex, std::vector<int>& lastChild) {
        const int index = static_cast<int>(name.size());
        name.push_back(elementName);
        parent.push_back(parentIndex);
        firstChild.push_back(0);
        nextSibling.push_back(0);
        lastChild.push_back(0);
        int& previous = lastChild[static_cast<size_t>(parentIndex)];
        if (previous == 0)
            firstChild[static_cast<size_t>(parentIndex)] = index;
        else
            nextSibling[static_cast<size_t>(previous)] = index;
        previous = index;
    }
};

// Walks the whole document with FindElem, IntoElem and OutOfElem from the
// start, recording each element with its parent: the tree as navigation
// reports it, in the order navigation reaches it.
inline MarkupModel NavigatedTree(RVX::XML::CMarkup& markup, const std::string& text) {
    MarkupModel model;
    std::vector<int> lastChild{0};
    std::vector<int> path{0}; // indices of the open elements, document first
    markup.x_SetPos(0, 0, 0);
    for (;;) {
        if (markup.FindElem()) {
            model.Add(markup.GetTagName(), path.back(), lastChild);
            PI_FUZZ_CHECK(markup.IntoElem(), Printable(text));
            path.push_back(model.Count());
            continue;
        }
        if (path.size() == 1)
            break;
        PI_FUZZ_CHECK(markup.OutOfElem(), Printable(text));
        path.pop_back();
    }
    PI_FUZZ_CHECK(!markup.OutOfElem(), "out of the document: " + Printable(text));
    return model;
}

#if defined(PI_FUZZ_XML_REFERENCE)
// Whether the text is a document CMarkup accepts, and its tree, from pugixml.
inline bool ReferenceTree(const std::string& text, MarkupModel& model,
                          std::vector<pugi::xml_node>& nodes, pugi::xml_document& document) {
    if (text.empty() || std::memchr(text.data(), '\0', text.size()) != nullptr)
        return false;
    if (!document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_fragment,
                              pugi::encoding_utf8))
        return false;
    for (const pugi::xml_node top : document.children())
        if (top.type() == pugi::node_pcdata || top.type() == pugi::node_cdata)
            return false; // character data outside every element
    std::vector<int> lastChild{0};
    nodes.assign(1, pugi::xml_node());
    // Pre-order without recursion: the node, then its children, then the
    // next sibling of the nearest ancestor that has one.
    std::vector<int> open{0};
    pugi::xml_node node = document.first_child();
    while (node) {
        bool descended = false;
        if (node.type() == pugi::node_element) {
            model.Add(node.name(), open.back(), lastChild);
            nodes.push_back(node);
            if (node.first_child()) {
                open.push_back(model.Count());
                node = node.first_child();
                descended = true;
            }
        }
        if (descended)
            continue;
        while (node && !node.next_sibling()) {
            node = node.parent();
            if (!node || node == document)
                break;
            open.pop_back();
        }
        if (!node || node == document)
            break;
        node = node.next_sibling();
    }
    return model.Count() >= 1;
}
#endif

inline void CheckMarkup(const std::uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    RVX::XML::CMarkup markup;
    const bool parsed = markup.SetDoc(text);
    PI_FUZZ_CHECK(markup.GetDoc() == text, "GetDoc differs: " + Printable(text));
    if (std::memchr(text.data(), '\0', text.size()) != nullptr || text.empty())
        PI_FUZZ_CHECK(!parsed, "accepted a NUL byte or nothing: " + Printable(text));

    MarkupModel model;
    if (parsed)
        model = NavigatedTree(markup, text);
    else
        PI_FUZZ_CHECK(!markup.FindElem() && !markup.IntoElem() && !markup.OutOfElem() &&
                          markup.GetTagName().empty(),
                      "found something in a document that did not parse: " + Printable(text));
    PI_FUZZ_CHECK(!parsed || model.Count() >= 1, "parsed without an element: " + Printable(text));

    // Read without keeping the text: the same acceptance and the same tree.
    {
        RVX::XML::CMarkup read;
        PI_FUZZ_CHECK(read.ReadDoc(text) == parsed, "ReadDoc acceptance: " + Printable(text));
        PI_FUZZ_CHECK(read.GetDoc().empty(), "ReadDoc kept the text: " + Printable(text));
        if (parsed) {
            const MarkupModel readModel = NavigatedTree(read, text);
            PI_FUZZ_CHECK(readModel.name == model.name && readModel.parent == model.parent &&
                              readModel.nextSibling == model.nextSibling,
                          "ReadDoc tree differs: " + Printable(text));
        }
    }

    // A run of elements read at once gives what FindElem and GetAttribTexts
    // give one element at a time, at every level (a few levels per input).
    if (parsed) {
        RVX::XML::CMarkup run;
        run.ReadDoc(text);
        static const char* const kNames[] = {"a", "b", "x", "a"};
        for (int parent = 0; parent <= model.Count() && parent < 16; ++parent) {
            const std::string& first =
                model.name[static_cast<size_t>(parent < model.Count() ? parent + 1 : 1)];
            for (const char* element : {static_cast<const char*>(nullptr), first.c_str()}) {
                for (size_t count : {size_t{3}, size_t{4}}) {
                    markup.x_SetPos(parent, 0, 0);
                    run.x_SetPos(parent, 0, 0);
                    std::vector<const char*> expected, got;
                    size_t elements = 0;
                    while (markup.FindElem(element)) {
                        const char* values[4];
                        markup.GetAttribTexts(kNames, values, count);
                        expected.insert(expected.end(), values, values + count);
                        ++elements;
                    }
                    bool same = run.FindElemAttribTexts(element, kNames, count, got) == elements &&
                                got.size() == expected.size() &&
                                run.GetTagName() == markup.GetTagName();
                    for (size_t i = 0; same && i < got.size(); ++i)
                        same = std::strcmp(got[i], expected[i]) == 0;
                    PI_FUZZ_CHECK(same, "run of elements under " + std::to_string(parent) +
                                            " differs: " + Printable(text));
                }
            }
        }
    }

    // The index positions reach the same elements, and nothing past them.
    for (int i = 1; i <= model.Count() + 1; ++i) {
        markup.x_SetPos(0, i, 0);
        PI_FUZZ_CHECK(markup.GetTagName() ==
                          model.name[static_cast<size_t>(i <= model.Count() ? i : 0)],
                      "element " + std::to_string(i) + " of " + Printable(text));
    }

#if defined(PI_FUZZ_XML_REFERENCE)
    {
        MarkupModel reference;
        std::vector<pugi::xml_node> nodes;
        pugi::xml_document document;
        const bool accepted = ReferenceTree(text, reference, nodes, document);
        PI_FUZZ_CHECK(parsed == accepted, "acceptance differs from pugixml: " + Printable(text));
        if (accepted) {
            PI_FUZZ_CHECK(reference.name == model.name && reference.parent == model.parent &&
                              reference.firstChild == model.firstChild &&
                              reference.nextSibling == model.nextSibling,
                          "tree differs from pugixml: " + Printable(text));
            for (int i = 1; i <= reference.Count(); ++i)
                for (const pugi::xml_attribute a : nodes[static_cast<size_t>(i)].attributes()) {
                    const std::string expected =
                        nodes[static_cast<size_t>(i)].attribute(a.name()).value();
                    PI_FUZZ_CHECK(markup.x_GetAttrib(i, a.name()) == expected,
                                  std::string("attribute ") + a.name() + " of element " +
                                      std::to_string(i) + " in " + Printable(text));
                }
        }
    }
#endif

    // A random walk, each step checked against the model.
    Random random(data, size);
    int parent = 0, current = 0;
    markup.x_SetPos(0, 0, 0);
    auto someName = [&]() -> std::string {
        switch (random.Below(4)) {
        case 0:
            return "";
        case 1:
            return "no such element";
        default:
            return model.Count() == 0
                       ? std::string("a")
                       : model.name[static_cast<size_t>(
                             1 + random.Below(static_cast<std::uint32_t>(model.Count())))];
        }
    };
    auto someIndex = [&]() -> int {
        switch (random.Below(6)) {
        case 0:
            return -1 - static_cast<int>(random.Below(3));
        case 1:
            return model.Count() + 1 + static_cast<int>(random.Below(3));
        case 2:
            return random.Below(2) == 0 ? 2147483647 : -2147483647 - 1;
        default:
            return static_cast<int>(random.Below(static_cast<std::uint32_t>(model.Count()) + 1));
        }
    };
    int copies = 0; // a copy parses the text again: a few per input
    for (int step = 0; step < 64; ++step) {
        // Only built when a check fails.
        const auto where = [&] {
            return " at step " + std::to_string(step) + " in " + Printable(text);
        };
        switch (random.Below(9)) {
        case 0:
        case 1: { // FindElem
            const std::string name = someName();
            const char* wanted = name.empty() && random.Below(2) == 0 ? nullptr : name.c_str();
            int found = 0;
            if (model.IsNode(parent)) {
                int index = model.firstChild[static_cast<size_t>(parent)];
                if (current != 0 && model.IsElement(current) &&
                    model.parent[static_cast<size_t>(current)] == parent)
                    index = model.nextSibling[static_cast<size_t>(current)];
                for (; index != 0; index = model.nextSibling[static_cast<size_t>(index)])
                    if (name.empty() || model.name[static_cast<size_t>(index)] == name) {
                        found = index;
                        break;
                    }
            }
            PI_FUZZ_CHECK(markup.FindElem(wanted) == (found != 0),
                          "FindElem(" + name + ")" + where());
            if (found != 0)
                current = found;
            break;
        }
        case 2: { // IntoElem
            const bool into = model.IsElement(current);
            PI_FUZZ_CHECK(markup.IntoElem() == into, "IntoElem" + where());
            if (into) {
                parent = current;
                current = 0;
            }
            break;
        }
        case 3: { // OutOfElem
            const bool out = model.IsElement(parent);
            PI_FUZZ_CHECK(markup.OutOfElem() == out, "OutOfElem" + where());
            if (out) {
                current = parent;
                parent = model.parent[static_cast<size_t>(parent)];
            }
            break;
        }
        case 4: // x_SetPos, also to places that do not exist
            parent = someIndex();
            current = someIndex();
            markup.x_SetPos(parent, current, someIndex());
            break;
        case 5: { // attributes: of any element, and of the current one
            const int element = someIndex();
            const std::string name = someName();
            const std::string value = markup.x_GetAttrib(element, name.c_str());
            if (!model.IsElement(element))
                PI_FUZZ_CHECK(value.empty(), "attribute of no element" + where());
            PI_FUZZ_CHECK(markup.GetAttrib(name.c_str()) ==
                              markup.x_GetAttrib(current, name.c_str()),
                          "GetAttrib" + where());
            PI_FUZZ_CHECK(markup.x_GetAttrib(element, nullptr).empty(), "null name" + where());
            break;
        }
        case 6: { // a copy keeps the document and the position
            if (++copies > 2)
                break;
            RVX::XML::CMarkup copy(markup);
            PI_FUZZ_CHECK(copy.GetDoc() == text, "copy's document" + where());
            markup = copy;
            break;
        }
        case 7: { // assignment to self changes nothing
            RVX::XML::CMarkup& self = markup;
            markup = self;
            break;
        }
        default:
            break;
        }
        PI_FUZZ_CHECK(
            markup.GetTagName() ==
                (model.IsElement(current) ? model.name[static_cast<size_t>(current)] : ""),
            "current element" + where());
    }
}

} // namespace pi_fuzz
