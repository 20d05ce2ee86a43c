#include "RVX/Markup.h"

#include <pugixml.hpp>

#include <climits>
#include <cstring>
#include <new>
#include <vector>

namespace RVX {
namespace XML {

// The parsed document is flattened once into a table of elements in
// document order; index 0 stands for the document itself and elements are
// numbered from 1. Navigation works on the table only, without recursion, so
// any depth of nesting is safe (pugixml's parser itself is not recursive).
struct CMarkup::Impl {
    struct Element {
        pugi::xml_node Node; // null for the document entry
        int Parent = 0;      // index of the parent; 0 for top-level elements
        int FirstChild = 0;  // first child element, 0 for none
        int NextSibling = 0; // next element with the same parent, 0 for none
    };

    std::string Text;
    pugi::xml_document Document;
    std::vector<Element> Elements{Element{}}; // [0]: the document
    int Parent = 0;
    int Current = 0;
    int Child = 0;

    void Clear() {
        Document.reset();
        Elements.assign(1, Element{});
        Parent = Current = Child = 0;
    }

    bool Valid(int index) const noexcept {
        return index >= 0 && static_cast<size_t>(index) < Elements.size();
    }

    bool Parse();
};

namespace {

bool NameMatches(const pugi::xml_node& node, const char* name) noexcept {
    return name == nullptr || *name == '\0' || std::strcmp(node.name(), name) == 0;
}

} // namespace

bool CMarkup::Impl::Parse() {
    Clear();
    // XML has no NUL characters; the parser would stop at one and take the
    // text before it for the whole document.
    if (Text.empty() || std::memchr(Text.data(), '\0', Text.size()) != nullptr)
        return false;
    const pugi::xml_parse_result result = Document.load_buffer(
        Text.data(), Text.size(), pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8);
    if (!result) {
        Clear();
        return false;
    }
    // Walk the tree in document order with an explicit cursor. Every step
    // is a call into the parser's library, so each node is asked for its
    // type, first child and next sibling once only.
    std::vector<int> lastChild{0}; // per open level: the last element added under it
    pugi::xml_node node = Document.first_child();
    int parentIndex = 0;
    bool ok = true;
    while (node) {
        const pugi::xml_node_type type = node.type();
        if (type == pugi::node_element) {
            if (Elements.size() >= static_cast<size_t>(INT_MAX)) {
                ok = false;
                break;
            }
            const int index = static_cast<int>(Elements.size());
            Element element;
            element.Node = node;
            element.Parent = parentIndex;
            Elements.push_back(element);
            int& previous = lastChild.back();
            if (previous == 0)
                Elements[parentIndex].FirstChild = index;
            else
                Elements[previous].NextSibling = index;
            previous = index;
            const pugi::xml_node child = node.first_child();
            if (child) {
                parentIndex = index;
                lastChild.push_back(0);
                node = child;
                continue;
            }
        } else if ((type == pugi::node_pcdata || type == pugi::node_cdata) && parentIndex == 0) {
            // Character data outside every element: not well-formed.
            ok = false;
            break;
        }
        // Next in document order: the next sibling, else the next sibling of
        // the nearest ancestor that has one. Only elements have children, so
        // every ancestor below the document is an element of the table.
        pugi::xml_node sibling = node.next_sibling();
        while (!sibling && lastChild.size() > 1) {
            node = node.parent();
            parentIndex = Elements[parentIndex].Parent;
            lastChild.pop_back();
            sibling = node.next_sibling();
        }
        node = sibling;
    }
    if (!ok || Elements.size() < 2) { // at least one element
        Clear();
        return false;
    }
    return true;
}

CMarkup::CMarkup() : m_Impl(new Impl) {}

CMarkup::CMarkup(const CMarkup& other) : m_Impl(new Impl) {
    m_Impl->Text = other.m_Impl->Text;
    if (m_Impl->Parse()) { // parsing the same text gives the same numbering
        m_Impl->Parent = other.m_Impl->Parent;
        m_Impl->Current = other.m_Impl->Current;
        m_Impl->Child = other.m_Impl->Child;
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
    m_Impl->Text = text;
    try {
        return m_Impl->Parse();
    } catch (const std::bad_alloc&) {
        m_Impl->Clear();
        return false;
    }
}

bool CMarkup::SetDoc(const char* text) {
    try {
        m_Impl->Text.assign(text ? text : "");
        return m_Impl->Parse();
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
    if (!impl.Valid(impl.Parent))
        return false;
    // Continue after the current element when it is a child of the parent;
    // otherwise start at the parent's first child.
    int index = impl.Elements[impl.Parent].FirstChild;
    if (impl.Current != 0 && impl.Valid(impl.Current) &&
        impl.Elements[impl.Current].Parent == impl.Parent)
        index = impl.Elements[impl.Current].NextSibling;
    for (; index != 0; index = impl.Elements[index].NextSibling) {
        if (NameMatches(impl.Elements[index].Node, name)) {
            impl.Current = index;
            impl.Child = 0;
            return true;
        }
    }
    return false;
}

bool CMarkup::IntoElem() {
    Impl& impl = *m_Impl;
    if (impl.Current <= 0 || !impl.Valid(impl.Current))
        return false;
    impl.Parent = impl.Current;
    impl.Current = 0;
    impl.Child = 0;
    return true;
}

bool CMarkup::OutOfElem() {
    Impl& impl = *m_Impl;
    if (impl.Parent <= 0 || !impl.Valid(impl.Parent))
        return false;
    impl.Current = impl.Parent;
    impl.Parent = impl.Elements[impl.Parent].Parent;
    impl.Child = 0;
    return true;
}

void CMarkup::x_SetPos(int parent, int element, int child) {
    m_Impl->Parent = parent;
    m_Impl->Current = element;
    m_Impl->Child = child;
}

const char* CMarkup::x_GetAttribText(int element, const char* name) const noexcept {
    const Impl& impl = *m_Impl;
    if (name == nullptr || element <= 0 || !impl.Valid(element))
        return "";
    // The parser gives "" for an attribute that is not there.
    return impl.Elements[element].Node.attribute(name).value();
}

std::string CMarkup::x_GetAttrib(int element, const char* name) const {
    return std::string(x_GetAttribText(element, name));
}

std::string CMarkup::GetAttrib(const char* name) const {
    return x_GetAttrib(m_Impl->Current, name);
}

const char* CMarkup::GetAttribText(const char* name) const noexcept {
    return x_GetAttribText(m_Impl->Current, name);
}

std::string CMarkup::GetTagName() const {
    const Impl& impl = *m_Impl;
    if (impl.Current <= 0 || !impl.Valid(impl.Current))
        return std::string();
    return impl.Elements[impl.Current].Node.name();
}

} // namespace XML
} // namespace RVX
