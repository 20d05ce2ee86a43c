#pragma once

#include "RVX/Export.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace RVX {
namespace XML {

// Navigation over a parsed XML document. A position is three element
// indices: the parent, the current element and the current child (0 for
// none; parent 0 is the document itself, so the top-level elements are its
// children). FindElem moves among the children of the parent; IntoElem and
// OutOfElem move a level down and up. Elements are numbered from 1 in document
// order (the order of their start tags).
//
// SetDoc accepts several top-level elements (an XML fragment) but needs at
// least one element and well-formed text: matching tags, no character data
// outside the elements, no NUL byte. Comments, processing instructions, an
// XML declaration and a DOCTYPE are skipped; entities other than the five
// predefined ones and character references are not expanded. Any input, of
// any size or nesting depth, gives a result; nothing is recursive.
// Positions out of range are harmless: nothing is found at them.
class RVX_API CMarkup {
public:
    CMarkup();
    CMarkup(const CMarkup& other);
    CMarkup& operator=(const CMarkup& other);
    ~CMarkup();

    // Replaces the document and returns whether the text parsed. The
    // position goes back to the start. A text that does not parse leaves an
    // empty document in which nothing is found; GetDoc still gives the text.
    bool SetDoc(const std::string& text);
    bool SetDoc(const char* text);
    // As SetDoc, for a reader that only navigates: the text is parsed but
    // not kept (no copy of it is made), so GetDoc gives "" afterwards.
    // Copies of the object keep the document all the same.
    bool ReadDoc(const std::string& text);
    // The document text exactly as set; "" after ReadDoc.
    const std::string& GetDoc() const noexcept;

    // Moves to the next element among the parent's children, the next one
    // named `name` when a name is given (null or "" for any; names compare
    // exactly). The search goes on after the current element when that is a
    // child of the parent, else it starts at the parent's first child.
    // Returns false, and stays, when there is none.
    bool FindElem(const char* name = nullptr);
    // The current element becomes the parent; there is no current element
    // until the next FindElem. False when there is no current element.
    bool IntoElem();
    // The parent becomes the current element again. False at the top level.
    bool OutOfElem();

    // Sets the position directly; (0, 0, 0) is the start of the document.
    void x_SetPos(int parent, int element, int child);
    // The text of attribute `name` of element `element`, or "" when the
    // element or the attribute does not exist.
    std::string x_GetAttrib(int element, const char* name) const;
    // The attribute of the current element.
    std::string GetAttrib(const char* name) const;
    // As x_GetAttrib and GetAttrib, without a copy: the text stays valid
    // until the document is replaced or the object is destroyed.
    const char* x_GetAttribText(int element, const char* name) const noexcept;
    const char* GetAttribText(const char* name) const noexcept;
    // GetAttribText of `count` names of the current element at once: one
    // pass over its attributes when they are its first ones, in the order
    // asked for.
    void GetAttribTexts(const char* const* names, const char** values, size_t count) const noexcept;
    // FindElem(name) for as long as it finds an element, with
    // GetAttribTexts(names, ..., count) of each appended to `values`:
    // `count` texts an element, in document order. Returns the number of
    // elements found; the position is that of the last one. Throws
    // std::bad_alloc when `values` cannot grow.
    size_t FindElemAttribTexts(const char* name, const char* const* names, size_t count,
                               std::vector<const char*>& values);
    // The current element's name, or "" when there is none.
    std::string GetTagName() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_Impl;
};

} // namespace XML
} // namespace RVX
