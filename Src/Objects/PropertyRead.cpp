// CProperty: the GetValue family, typed reading with kind and data checks.
#include "PI/Property.h"

#include "../Raise.h"
#include "PI/Identifiers.h"
#include "PI/Module.h"
#include "PropertyBlock.h"

#include <RVX/Exceptions.h>
#include <RVX/FormatStream.h>
#include <RVX/Markup.h>
#include <RVX/Trace.h>

#include <climits>
#include <cstdint>
#include <cstring>

namespace PI {

using Internal::BLOCK_WIDE_WORD;
using Internal::BLOCK_WORD;
using Internal::RANGE_MAXIMUM;
using Internal::RANGE_MINIMUM;
using Internal::RANGE_STEP;
using Internal::RANGE_VALUE;
using Internal::RANGE_WORDS;
using Internal::Word;
using Internal::WordAt;

namespace {

constexpr unsigned int kTraceLevel = 0x40000000;

// Writes the trace record of a fault when the module wants that level; no
// text is built otherwise. A record that cannot be built is dropped: the
// fault itself is still raised with its code.
void TraceFault(unsigned int line, const char* format, unsigned int first, unsigned int second,
                unsigned int third, int count) noexcept {
    const RVX::Misc::CModuleInfo& module = GetModuleInfo();
    if (!module.IsTraceEnabled(kTraceLevel))
        return;
    try {
        RVX::Internals::CTraceStreamBuffer buffer(kTraceLevel, module, Internal::SOURCE_OBJECTS,
                                                  line);
        RVX::Output_Streams::CFormatStream stream(buffer.Text(), format);
        stream.FormatInt(first);
        if (count > 1)
            stream.FormatInt(second);
        if (count > 2)
            stream.FormatInt(third);
        stream.Finish();
    } catch (...) {
    }
}

// The kind error: trace, then raise 0x21130004. Returns the code while
// throwing is disabled.
unsigned int TypeFault(const CProperty& p, unsigned int expected, unsigned int line) {
    TraceFault(line, "Property %d has type=%d but should have %d!",
               static_cast<unsigned int>(p.PropertyID), p.Type, expected, 3);
    Internal::Raise(Internal::SOURCE_OBJECTS, line, EXCEPTION_WRONG_TYPE);
    return EXCEPTION_WRONG_TYPE;
}

// The data error: trace, then raise 0x21130003.
unsigned int DataFault(const CProperty& p, unsigned int line) {
    TraceFault(line, "Property %d has no or invalid data!", static_cast<unsigned int>(p.PropertyID),
               0, 0, 1);
    Internal::Raise(Internal::SOURCE_OBJECTS, line, EXCEPTION_INVALID_DATA);
    return EXCEPTION_INVALID_DATA;
}

// The kind check, then the data check: a block of `minimum` to `maximum`
// bytes. 0 when both pass, else the fault as reported.
unsigned int CheckBlock(const CProperty& p, unsigned int type, unsigned int line,
                        unsigned int minimum = 0, unsigned int maximum = UINT_MAX) {
    if (p.Type != type)
        return TypeFault(p, type, line);
    if (p.Data == nullptr || p.DataSize < minimum || p.DataSize > maximum)
        return DataFault(p, line);
    return RESULT_SUCCESS;
}

// The length of the text at `text`, up to its NUL but never past `limit` bytes.
size_t BoundedLength(const unsigned char* text, size_t limit) noexcept {
    const void* nul = std::memchr(text, '\0', limit);
    return nul != nullptr ? static_cast<size_t>(static_cast<const unsigned char*>(nul) - text)
                          : limit;
}

// Kind 11: entry i's text starts at SplitSize + the table entries before it
// and runs to its NUL. Every table entry and every text is bounded by the
// block: decoding stops at the first entry whose table word or text would
// lie outside it, whatever the block holds.
template <class Text> void DecodeStringList(const CProperty& p, std::vector<Text>& out) {
    const unsigned char* block = p.Data;
    const unsigned long long size = p.DataSize;
    const unsigned long long count = p.SplitSize / 4;
    unsigned long long position = p.SplitSize;
    std::vector<Text> entries;
    for (unsigned long long i = 0; i < count; ++i) {
        if (4 * i + 4 > size || position >= size)
            break;
        const size_t length = BoundedLength(block + position, static_cast<size_t>(size - position));
        entries.emplace_back(reinterpret_cast<const char*>(block + position), length);
        position += Word<std::uint32_t>(block + 4 * i); // length + 1 as written
    }
    out.swap(entries);
}

const char* Chars(const std::string& text) noexcept {
    return text.c_str();
}
size_t Length(const std::string& text) noexcept {
    return text.size();
}

// The selected entries joined by ", "; the mask bit of entry i is i modulo 32.
void JoinSelected(const std::vector<std::string>& list, unsigned int mask, std::string& out) {
    std::string joined;
    bool any = false;
    for (size_t i = 0; i < list.size(); ++i) {
        if ((mask & (1u << (i % 32))) == 0)
            continue;
        if (any)
            joined += ", ";
        joined.append(Chars(list[i]), Length(list[i]));
        any = true;
    }
    out.swap(joined);
}

// The string-list readers into either kind of text.
template <class Text>
unsigned int ReadStringList(const CProperty& p, std::vector<Text>& list,
                            unsigned int& selectionMask, unsigned int line) {
    if (const unsigned int fault = CheckBlock(p, VT_STRING_LIST, line))
        return fault;
    DecodeStringList(p, list);
    selectionMask = p.SelectionMask;
    return RESULT_SUCCESS;
}

} // namespace

unsigned int CProperty::GetValue(int& value, std::vector<int>& list) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_INT_LIST, __LINE__, 2 * BLOCK_WORD))
        return fault;
    const size_t words = DataSize / BLOCK_WORD;
    std::vector<int> items;
    items.reserve(words - 1);
    for (size_t i = 1; i < words; ++i)
        items.push_back(WordAt<int>(Data, i));
    value = Word<int>(Data);
    list.swap(items);
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(int& value, int& minimum, int& maximum, unsigned int& step) {
    RVX::Threading::CThrowStateGuard guard;
    constexpr unsigned int size = BLOCK_WORD * RANGE_WORDS;
    if (const unsigned int fault = CheckBlock(*this, VT_RANGE, __LINE__, size, size))
        return fault;
    value = WordAt<int>(Data, RANGE_VALUE);
    minimum = WordAt<int>(Data, RANGE_MINIMUM);
    maximum = WordAt<int>(Data, RANGE_MAXIMUM);
    step = WordAt<unsigned int>(Data, RANGE_STEP);
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(bool& value) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_BOOL, __LINE__, BLOCK_WORD, BLOCK_WORD))
        return fault;
    value = Word<std::uint32_t>(Data) != 0;
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(unsigned long long& value) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault =
            CheckBlock(*this, VT_UINT64, __LINE__, BLOCK_WIDE_WORD, BLOCK_WIDE_WORD))
        return fault;
    value = Word<unsigned long long>(Data);
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(std::vector<int>& first, std::vector<int>& second) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_INT_LIST_PAIR, __LINE__))
        return fault;
    // The sizes are as the setter wrote them; the split is still bounded by
    // the block so that no public field can lead the reader outside it.
    const size_t words = DataSize / BLOCK_WORD;
    const size_t split = SplitSize / 4 < words ? SplitSize / 4 : words;
    std::vector<int> head;
    std::vector<int> tail;
    head.reserve(split);
    tail.reserve(words - split);
    for (size_t i = 0; i < split; ++i)
        head.push_back(WordAt<int>(Data, i));
    for (size_t i = split; i < words; ++i)
        tail.push_back(WordAt<int>(Data, i));
    // Emptied, then filled in turn (the same list given twice gets both parts).
    first.clear();
    second.clear();
    first.insert(first.end(), head.begin(), head.end());
    second.insert(second.end(), tail.begin(), tail.end());
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(float& value) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_FLOAT, __LINE__, BLOCK_WORD, BLOCK_WORD))
        return fault;
    value = Word<float>(Data);
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(std::vector<unsigned long long>& list) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_UINT64_LIST, __LINE__))
        return fault;
    const size_t count = DataSize / BLOCK_WIDE_WORD;
    std::vector<unsigned long long> items;
    items.reserve(count);
    for (size_t i = 0; i < count; ++i)
        items.push_back(WordAt<unsigned long long>(Data, i));
    list.swap(items);
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(RVX::XML::CMarkup& markup) {
    RVX::Threading::CThrowStateGuard guard;
    if (const unsigned int fault = CheckBlock(*this, VT_XML, __LINE__))
        return fault;
    const std::string text(reinterpret_cast<const char*>(Data), BoundedLength(Data, DataSize));
    (void)markup.SetDoc(text); // the result is 0 whatever the parser says
    return RESULT_SUCCESS;
}

unsigned int CProperty::GetValue(std::vector<RVX::Strings::CStringEx>& list,
                                 unsigned int& selectionMask) {
    RVX::Threading::CThrowStateGuard guard;
    return ReadStringList(*this, list, selectionMask, __LINE__);
}

unsigned int CProperty::GetValue(std::vector<RVX::Strings::CStringEx>& list) {
    unsigned int mask = 0;
    return GetValue(list, mask);
}

unsigned int CProperty::GetValue(std::vector<std::string>& list, unsigned int& selectionMask) {
    RVX::Threading::CThrowStateGuard guard;
    return ReadStringList(*this, list, selectionMask, __LINE__);
}

unsigned int CProperty::GetValue(std::vector<std::string>& list) {
    unsigned int mask = 0;
    return GetValue(list, mask);
}

// The single-string readers test the data first and the kind second; so an
// unset property read as a string gives the data error (kept on purpose).

unsigned int CProperty::GetValue(RVX::Strings::CStringVar& text) {
    RVX::Threading::CThrowStateGuard guard;
    if (Data == nullptr)
        return DataFault(*this, __LINE__);
    if (Type == VT_STRING) {
        const size_t length = BoundedLength(Data, DataSize);
        if (length == 0)
            text.Empty();
        else
            text.AllocCopy(reinterpret_cast<const char*>(Data), length);
        return RESULT_SUCCESS;
    }
    if (Type == VT_STRING_LIST) {
        std::vector<std::string> list;
        DecodeStringList(*this, list);
        JoinSelected(list, SelectionMask, text.Str());
        return RESULT_SUCCESS;
    }
    return TypeFault(*this, VT_STRING, __LINE__);
}

unsigned int CProperty::GetValue(std::string& text) {
    RVX::Threading::CThrowStateGuard guard;
    if (Data == nullptr)
        return DataFault(*this, __LINE__);
    if (Type == VT_STRING) {
        text.assign(reinterpret_cast<const char*>(Data), BoundedLength(Data, DataSize));
        return RESULT_SUCCESS;
    }
    if (Type == VT_STRING_LIST) {
        std::vector<std::string> list;
        DecodeStringList(*this, list);
        JoinSelected(list, SelectionMask, text);
        return RESULT_SUCCESS;
    }
    return TypeFault(*this, VT_STRING, __LINE__);
}

} // namespace PI
