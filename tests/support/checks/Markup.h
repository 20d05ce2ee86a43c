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

#include <algorithm>
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
// The tree of pugixml's own parse, in document order (its walk does not
// recurse).
struct ReferenceWalker : pugi::xml_tree_walker {
    MarkupModel model;
    std::vector<pugi::xml_node> nodes{pugi::xml_node()};
    std::vector<int> open{0}, lastChild{0}; // open[d]: the parent of elements at depth d
    bool for_each(pugi::xml_node& node) override {
        if (node.type() == pugi::node_element) {
            open.resize(static_cast<size_t>(depth()) + 1);
            model.Add(node.name(), open.back(), lastChild);
            nodes.push_back(node);
            open.push_back(model.Count());
        }
        return true;
    }
};

// Whether the text is a document CMarkup accepts, by pugixml.
inline bool ReferenceTree(const std::string& text, pugi::xml_document& document,
                          ReferenceWalker& walker) {
    if (text.empty() || std::memchr(text.data(), '\0', text.size()) != nullptr ||
        !document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_fragment,
                              pugi::encoding_utf8))
        return false;
    for (const pugi::xml_node top : document.children())
        if (top.type() == pugi::node_pcdata || top.type() == pugi::node_cdata)
            return false; // character data outside every element
    document.traverse(walker);
    return walker.model.Count() >= 1;
}
#endif

inline void CheckMarkup(const std::uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string in = " in " + Printable(text);
    RVX::XML::CMarkup markup;
    const bool parsed = markup.SetDoc(text);
    PI_FUZZ_CHECK(markup.GetDoc() == text, "GetDoc" + in);
    if (std::memchr(text.data(), '\0', text.size()) != nullptr || text.empty())
        PI_FUZZ_CHECK(!parsed, "NUL byte or nothing" + in);

    MarkupModel model;
    if (parsed)
        model = NavigatedTree(markup, text);
    else
        PI_FUZZ_CHECK(!markup.FindElem() && !markup.IntoElem() && !markup.OutOfElem() &&
                          markup.GetTagName().empty(),
                      "not parsed" + in);
    PI_FUZZ_CHECK(!parsed || model.Count() >= 1, in);

    // Read without keeping the text: the same acceptance and the same tree.
    {
        RVX::XML::CMarkup read;
        PI_FUZZ_CHECK(read.ReadDoc(text) == parsed, in);
        PI_FUZZ_CHECK(read.GetDoc().empty(), in);
        if (parsed) {
            const MarkupModel readModel = NavigatedTree(read, text);
            PI_FUZZ_CHECK(readModel.name == model.name && readModel.parent == model.parent &&
                              readModel.nextSibling == model.nextSibling,
                          "ReadDoc tree" + in);
        }
    }

    // A run of elements read at once gives what FindElem and GetAttribTexts
    // give one element at a time, at every level (a few levels per input) and
    // at one past them, by any name, a name found, a name not found.
    {
        RVX::XML::CMarkup run;
        run.ReadDoc(text);
        static const char* const kNames[] = {"a", "b", "x", "a"};
        for (int parent = 0; parent <= model.Count() + 1 && parent < 16; ++parent) {
            const std::string& first =
                model.name[static_cast<size_t>(std::min(parent + 1, model.Count()))];
            for (const char* element :
                 {static_cast<const char*>(nullptr), first.c_str(), "", "y"}) {
                for (size_t count : {size_t{0}, size_t{3}, size_t{4}}) {
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
                    PI_FUZZ_CHECK(same, "run under " + std::to_string(parent) + in);
                }
            }
        }
    }

    // The index positions reach the same elements, and nothing past them.
    for (int i = 1; i <= model.Count() + 1; ++i) {
        markup.x_SetPos(0, i, 0);
        PI_FUZZ_CHECK(markup.GetTagName() ==
                          model.name[static_cast<size_t>(i <= model.Count() ? i : 0)],
                      "element " + std::to_string(i) + in);
    }

#if defined(PI_FUZZ_XML_REFERENCE)
    {
        ReferenceWalker reference;
        pugi::xml_document document;
        const bool accepted = ReferenceTree(text, document, reference);
        PI_FUZZ_CHECK(parsed == accepted, "pugixml acceptance" + in);
        const MarkupModel& tree = reference.model;
        if (accepted) {
            PI_FUZZ_CHECK(tree.name == model.name && tree.parent == model.parent &&
                              tree.firstChild == model.firstChild &&
                              tree.nextSibling == model.nextSibling,
                          "pugixml tree" + in);
            for (int i = 1; i <= tree.Count(); ++i)
                for (const pugi::xml_attribute a :
                     reference.nodes[static_cast<size_t>(i)].attributes())
                    PI_FUZZ_CHECK(
                        markup.x_GetAttrib(i, a.name()) ==
                            reference.nodes[static_cast<size_t>(i)].attribute(a.name()).value(),
                        a.name() + (" of element " + std::to_string(i)) + in);
        }
    }
#endif

    // A random walk, each step checked against the model.
    Random random(data, size);
    int parent = 0, current = 0;
    markup.x_SetPos(0, 0, 0);
    // "", a name nothing has, or an element's name.
    auto someName = [&]() -> std::string {
        const std::uint32_t pick = random.Below(4);
        if (pick < 2 || model.Count() == 0)
            return pick == 0 ? "" : pick == 1 ? "no such element" : "a";
        return model.name[1 + random.Below(static_cast<std::uint32_t>(model.Count()))];
    };
    // Before the first element, past the last, the extremes, or a node.
    auto someIndex = [&]() -> int {
        const std::uint32_t pick = random.Below(6);
        const int some = static_cast<int>(
            random.Below(static_cast<std::uint32_t>(pick < 2    ? 3
                                                    : pick == 2 ? 2
                                                                : model.Count() + 1)));
        return pick == 0   ? -1 - some
               : pick == 1 ? model.Count() + 1 + some
               : pick == 2 ? (some == 0 ? 2147483647 : -2147483647 - 1)
                           : some;
    };
    int copies = 0; // a copy parses the text again: a few per input
    for (int step = 0; step < 64; ++step) {
        // Only built when a check fails.
        const auto where = [&] { return " at step " + std::to_string(step) + in; };
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
            // Several at once read as one by one: a name asked twice gives
            // the first of its kind both times, no name gives "".
            static const char* const kAsked[] = {"a", nullptr, "x", "b", "a"};
            const char* texts[5];
            markup.GetAttribTexts(kAsked, texts, 5);
            for (size_t i = 0; i < 5; ++i)
                PI_FUZZ_CHECK(texts[i] == (kAsked[i] ? markup.GetAttrib(kAsked[i]) : std::string()),
                              "GetAttribTexts " + std::to_string(i) + where());
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
