#include "RVX/Markup.h"

#include <pugixml.hpp>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <vector>

namespace RVX {
namespace XML {

// Navigation works on pugixml's tree in place: a position is a node of the
// tree (the document itself for the top level). The numbering of elements in
// document order is needed only when a caller names positions by number
// (x_SetPos, x_GetAttrib); the table that maps numbers to nodes is made then,
// once per document, by a walk without recursion, so any depth of nesting is
// safe (pugixml's parser itself is not recursive either).
struct CMarkup::Impl {
    std::string Text;
    pugi::xml_document Document;
    bool Parsed = false;
    // The parent: the document node for the top level, an element, or null
    // when a number out of range was set (then nothing is found).
    pugi::xml_node Parent;
    // The current element; null for none and for a number out of range,
    // which behave alike.
    pugi::xml_node Current;
    // Whether Current is a child of Parent, which it is after every move
    // but a direct x_SetPos.
    bool CurrentIsChild = false;
    // Element number -> node; [0] is the document. Empty until first needed.
    mutable std::vector<pugi::xml_node> Numbered;

    Impl() : Parent(Document) {}

    void Clear() {
        Document.reset();
        Parsed = false;
        Numbered.clear();
        Parent = Document;
        Current = pugi::xml_node();
        CurrentIsChild = false;
    }

    // Parses `text` (Text itself, or a text not kept).
    bool Parse(const std::string& text);
    // Fills Numbered; false when memory ran out (then it stays empty).
    bool Number() const noexcept;
    // The node of element number `index` (0: the document), null when there
    // is none.
    pugi::xml_node Node(int index) const noexcept;
    // The number of `node` (0 for the document), -1 for a null node.
    int Index(const pugi::xml_node& node) const noexcept;
};

namespace {

// The first element among `node` and its following siblings, or null.
pugi::xml_node ElementFrom(pugi::xml_node node) noexcept {
    while (node && node.type() != pugi::node_element)
        node = node.next_sibling();
    return node;
}

// Whether `count` names are all given and not empty, and no two are the
// same (told apart by their first letters, mostly): then the names asked
// for match the first attributes only when each is the first of its name.
bool Distinct(const char* const* names, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i) {
        if (names[i] == nullptr || *names[i] == '\0')
            return false;
        for (size_t j = 0; j < i; ++j)
            if (names[i][0] == names[j][0] && std::strcmp(names[i], names[j]) == 0)
                return false;
    }
    return true;
}

// The values of the first `count` attributes of `element` when they bear
// `names` (distinct, see above) in that order, else false (`values` then
// partly written). Past the last attribute the name is "", which no name
// asked for matches.
bool AttribsInOrder(const pugi::xml_node& element, const char* const* names, const char** values,
                    size_t count) noexcept {
    if (count == 0)
        return true;
    pugi::xml_attribute a = element.first_attribute();
    for (size_t i = 0;;) {
        if (std::strcmp(names[i], a.name()) != 0)
            return false;
        values[i] = a.value();
        if (++i == count)
            return true;
        a = a.next_attribute();
    }
}

// The attribute `name` of `element`: the first of that name, "" for none.
const char* AttribText(const pugi::xml_node& element, const char* name) noexcept {
    return name == nullptr ? "" : element.attribute(name).value();
}

// The next element after `from` among its siblings, or the first child of
// `parent` when `first`, named `name` unless that is null or "". Only
// elements have names in a tree parsed with these options (declarations and
// processing instructions are not kept).
pugi::xml_node NextElem(const pugi::xml_node& parent, bool first, const pugi::xml_node& from,
                        const char* name) noexcept {
    if (name != nullptr && *name != '\0')
        return first ? parent.child(name) : from.next_sibling(name);
    return ElementFrom(first ? parent.first_child() : from.next_sibling());
}

// The parser's options for `document`: the default ones, less
// each conversion that has nothing to convert in this text (no '&' for
// references, no '\r' for line ends, no '\t', '\n' or '\r' for blanks in
// attribute values). Each option only ever rewrites the characters it is
// named for, so the tree and the verdict are those of the default options;
// the parser just skips the work. 0 when the text holds a NUL.
unsigned ParseOptions(const std::string& document) noexcept {
    const char* const text = document.c_str();
    const size_t size = document.size();
    // One search per character: the library's memchr takes many bytes a
    // step, which costs less than a single pass that tests every byte
    // against all of them.
    const auto absent = [&](char c) { return std::memchr(text, c, size) == nullptr; };
    // XML has no NUL characters; the parser would stop at one and take the
    // text before it for the whole document.
    if (!absent('\0'))
        return 0;
    unsigned options = pugi::parse_default | pugi::parse_fragment;
    if (absent('&'))
        options &= ~pugi::parse_escapes;
    if (absent('\r')) {
        options &= ~pugi::parse_eol;
        if (absent('\t') && absent('\n'))
            options &= ~pugi::parse_wconv_attribute;
    }
    return options;
}

} // namespace

bool CMarkup::Impl::Parse(const std::string& text) {
    Clear();
    const unsigned options = text.empty() ? 0 : ParseOptions(text);
    if (options == 0)
        return false;
    const pugi::xml_parse_result result =
        Document.load_buffer(text.data(), text.size(), options, pugi::encoding_utf8);
    if (!result) {
        Clear();
        return false;
    }
    // A fragment is accepted with at least one element and no character data
    // outside every element; below the top level the parser has checked it.
    bool element = false;
    for (pugi::xml_node node = Document.first_child(); node; node = node.next_sibling()) {
        const pugi::xml_node_type type = node.type();
        if (type == pugi::node_pcdata || type == pugi::node_cdata) {
            Clear();
            return false;
        }
        element = element || type == pugi::node_element;
    }
    if (!element) {
        Clear();
        return false;
    }
    Parsed = true;
    return true;
}

bool CMarkup::Impl::Number() const noexcept {
    if (!Numbered.empty() || !Parsed)
        return !Numbered.empty();
    try {
        Numbered.push_back(Document);
        // Pre-order: an element, its children, then the next sibling of the
        // nearest ancestor that has one. Only elements have children.
        pugi::xml_node node = ElementFrom(Document.first_child());
        while (node) {
            Numbered.push_back(node);
            pugi::xml_node next = ElementFrom(node.first_child());
            while (!next && node != Document) {
                next = ElementFrom(node.next_sibling());
                if (!next)
                    node = node.parent();
            }
            node = next;
        }
    } catch (const std::bad_alloc&) {
        Numbered.clear();
        return false;
    }
    return true;
}

pugi::xml_node CMarkup::Impl::Node(int index) const noexcept {
    if (index == 0)
        return Document;
    if (index < 0 || !Number() || static_cast<size_t>(index) >= Numbered.size())
        return pugi::xml_node();
    return Numbered[static_cast<size_t>(index)];
}

int CMarkup::Impl::Index(const pugi::xml_node& node) const noexcept {
    if (!node)
        return -1;
    if (node == Document)
        return 0;
    if (!Number())
        return -1;
    for (size_t i = 1; i < Numbered.size() && i <= static_cast<size_t>(INT_MAX); ++i)
        if (Numbered[i] == node)
            return static_cast<int>(i);
    return -1;
}

CMarkup::CMarkup() : m_Impl(new Impl) {}

CMarkup::CMarkup(const CMarkup& other) : m_Impl(new Impl) {
    const Impl& from = *other.m_Impl;
    m_Impl->Text = from.Text;
    // Parsing the same text gives the same tree, and so does a copy of the
    // tree when the text was not kept: positions carry over by their numbers.
    bool copied = false;
    if (from.Parsed && from.Text.empty()) {
        m_Impl->Document.reset(from.Document);
        m_Impl->Parent = m_Impl->Document;
        m_Impl->Parsed = copied = true;
    } else {
        copied = m_Impl->Parse(m_Impl->Text);
    }
    if (copied) {
        const int parent = from.Index(from.Parent);
        m_Impl->Parent = parent < 0 ? pugi::xml_node() : m_Impl->Node(parent);
        const int current = from.Index(from.Current);
        m_Impl->Current = current <= 0 ? pugi::xml_node() : m_Impl->Node(current);
        m_Impl->CurrentIsChild = from.CurrentIsChild && m_Impl->Current;
    }
}

CMarkup& CMarkup::operator=(const CMarkup& other) {
    if (this != &other) {
        CMarkup copy(other);
        m_Impl.swap(copy.m_Impl);
    }
    return *this;
}

CMarkup::~CMarkup() = default;

bool CMarkup::SetDoc(const std::string& text) {
    try {
        m_Impl->Text = text;
        return m_Impl->Parse(m_Impl->Text);
    } catch (const std::bad_alloc&) {
        m_Impl->Clear();
        return false;
    }
}

bool CMarkup::SetDoc(const char* text) {
    try {
        m_Impl->Text.assign(text ? text : "");
        return m_Impl->Parse(m_Impl->Text);
    } catch (const std::bad_alloc&) {
        m_Impl->Clear();
        return false;
    }
}

bool CMarkup::ReadDoc(const std::string& text) {
    std::string().swap(m_Impl->Text);
    try {
        return m_Impl->Parse(text);
    } catch (const std::bad_alloc&) {
        m_Impl->Clear();
        return false;
    }
}

const std::string& CMarkup::GetDoc() const noexcept {
    return m_Impl->Text;
}

bool CMarkup::FindElem(const char* name) {
    Impl& impl = *m_Impl;
    if (!impl.Parent)
        return false;
    // Continue after the current element when it is a child of the parent;
    // otherwise start at the parent's first child.
    const pugi::xml_node node = NextElem(impl.Parent, !impl.CurrentIsChild, impl.Current, name);
    if (!node)
        return false;
    impl.Current = node;
    impl.CurrentIsChild = true;
    return true;
}

size_t CMarkup::FindElemAttribTexts(const char* name, const char* const* names, size_t count,
                                    std::vector<const char*>& values) {
    Impl& impl = *m_Impl;
    if (!impl.Parent)
        return 0;
    const bool distinct = Distinct(names, count);
    const bool named = name != nullptr && *name != '\0';
    // Each element's texts are written straight into `values`, which grows
    // ahead of them and is cut back to what was written at the end.
    size_t used = values.size();
    size_t found = 0;
    try {
        for (pugi::xml_node node = NextElem(impl.Parent, !impl.CurrentIsChild, impl.Current, name);
             !node.empty();
             node = named ? node.next_sibling(name) : ElementFrom(node.next_sibling())) {
            if (values.size() - used < count)
                values.resize(std::max(used + std::max(count, used), values.capacity()));
            const char** texts = values.data() + used;
            if (!distinct || !AttribsInOrder(node, names, texts, count))
                for (size_t i = 0; i < count; ++i)
                    texts[i] = AttribText(node, names[i]);
            used += count;
            impl.Current = node;
            impl.CurrentIsChild = true;
            ++found;
        }
    } catch (...) {
        values.resize(used); // only ever shrinks here
        throw;
    }
    values.resize(used);
    return found;
}

bool CMarkup::IntoElem() {
    Impl& impl = *m_Impl;
    if (!impl.Current)
        return false;
    impl.Parent = impl.Current;
    impl.Current = pugi::xml_node();
    impl.CurrentIsChild = false;
    return true;
}

bool CMarkup::OutOfElem() {
    Impl& impl = *m_Impl;
    if (!impl.Parent || impl.Parent == impl.Document)
        return false;
    impl.Current = impl.Parent;
    impl.Parent = impl.Parent.parent();
    impl.CurrentIsChild = true;
    return true;
}

// The child position has no part in navigation: FindElem and IntoElem
// always start a level afresh.
void CMarkup::x_SetPos(int parent, int element, int /*child*/) {
    Impl& impl = *m_Impl;
    impl.Parent = impl.Parsed ? impl.Node(parent) : pugi::xml_node();
    impl.Current = element == 0 || !impl.Parsed ? pugi::xml_node() : impl.Node(element);
    impl.CurrentIsChild = impl.Current && impl.Parent && impl.Current.parent() == impl.Parent;
}

const char* CMarkup::x_GetAttribText(int element, const char* name) const noexcept {
    const Impl& impl = *m_Impl;
    if (name == nullptr || element <= 0)
        return "";
    // The parser gives "" for an attribute that is not there, and for a
    // null node.
    return impl.Node(element).attribute(name).value();
}

std::string CMarkup::x_GetAttrib(int element, const char* name) const {
    return std::string(x_GetAttribText(element, name));
}

std::string CMarkup::GetAttrib(const char* name) const {
    return std::string(GetAttribText(name));
}

const char* CMarkup::GetAttribText(const char* name) const noexcept {
    return AttribText(m_Impl->Current, name);
}

void CMarkup::GetAttribTexts(const char* const* names, const char** values,
                             size_t count) const noexcept {
    const pugi::xml_node& current = m_Impl->Current;
    // The usual case: the element's first attributes are the names asked
    // for, in that order. Any other order, a missing attribute, a repeated
    // name: one by one.
    if (Distinct(names, count) && AttribsInOrder(current, names, values, count))
        return;
    for (size_t i = 0; i < count; ++i)
        values[i] = AttribText(current, names[i]);
}

std::string CMarkup::GetTagName() const {
    return m_Impl->Current.name();
}

} // namespace XML
} // namespace RVX
