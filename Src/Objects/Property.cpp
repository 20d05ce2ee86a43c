// CProperty: construction, copy, comparison and the SetValue family.
#include "PI/Property.h"

#include "../Raise.h"
#include "PI/Helpers.h"
#include "PI/Identifiers.h"
#include "PropertyBlock.h"

#include <RVX/AES.h>
#include <RVX/Exceptions.h>
#include <RVX/FormatStream.h>
#include <RVX/Markup.h>
#include <RVX/SystemTime.h>

#include <cstdint>
#include <cstring>
#include <locale>
#include <new>

namespace PI {
namespace {

constexpr unsigned long long kMaxDataSize = 0xFFFFFFFFull; // DataSize is 32 bits
constexpr char kEncryptedMarker[] = "ENC1(";
constexpr size_t kEncryptedMarkerLength = sizeof kEncryptedMarker - 1;

// Every field but the block, in declared order.
void CopyFields(CProperty& to, const CProperty& from) noexcept {
    to.PropertyID = from.PropertyID;
    to.SecondaryID = from.SecondaryID;
    to.Attribute1 = from.Attribute1;
    to.Attribute2 = from.Attribute2;
    to.Attribute3 = from.Attribute3;
    to.Attribute4 = from.Attribute4;
    to.Attribute5 = from.Attribute5;
    to.Type = from.Type;
    to.SubType = from.SubType;
    to.Flag = from.Flag;
    to.Attribute6 = from.Attribute6;
    to.Flag2 = from.Flag2;
    to.Attribute7 = from.Attribute7;
    to.Attribute8 = from.Attribute8;
    to.SelectionMask = from.SelectionMask;
    to.DataSize = from.DataSize;
    to.SplitSize = from.SplitSize;
}

// What a moved-from property keeps: its identifiers and attribute words, but
// no value.
void ClearValue(CProperty& p) noexcept {
    p.Type = VT_NONE;
    p.SubType = PROPERTY_SUBTYPE_PLAIN;
    p.DataSize = 0;
    p.SplitSize = 0;
    p.Data = nullptr;
}

// Steps 1 to 4 of every setter: the new kind and sizes, the old block
// released, the new one obtained. `noBlockWhenEmpty` is for the two list
// kinds that keep no block when empty. Returns 0 or 20007; the caller fills
// the block on 0.
unsigned int ReplaceBlock(CProperty& p, unsigned int type, unsigned int subType,
                          unsigned long long dataSize, unsigned int splitSize,
                          bool noBlockWhenEmpty = false) noexcept {
    p.Type = type;
    p.SubType = subType;
    p.SplitSize = splitSize;
    p.DataSize = static_cast<unsigned int>(dataSize);
    if (p.Data != nullptr) {
        Internal::FreeBlock(p.Data);
        p.Data = nullptr;
    }
    if (noBlockWhenEmpty && dataSize == 0)
        return RESULT_SUCCESS;
    p.Data = Internal::AllocBlock(static_cast<size_t>(dataSize));
    return p.Data != nullptr ? RESULT_SUCCESS : RESULT_OUT_OF_MEMORY;
}

// Kind 2: the characters and one NUL byte.
unsigned int StoreText(CProperty& p, const char* text, size_t length,
                       unsigned int subType) noexcept {
    if (length >= kMaxDataSize) // no room for the NUL in a 32-bit size
        return RESULT_OUT_OF_MEMORY;
    const unsigned int result = ReplaceBlock(p, VT_STRING, subType, length + 1, 0);
    if (result != RESULT_SUCCESS)
        return result;
    if (length != 0)
        std::memcpy(p.Data, text, length);
    p.Data[length] = '\0';
    return RESULT_SUCCESS;
}

RVX::Strings::CStringRef TextOf(const RVX::Strings::CStringEx& text) noexcept {
    return RVX::Strings::CStringRef(text.c_str(), text.Length());
}
RVX::Strings::CStringRef TextOf(const std::string& text) noexcept {
    return RVX::Strings::CStringRef(text.data(), text.size());
}

// Kind 11: a table of (length + 1) words, then each text with its NUL.
template <class Text>
unsigned int StoreStringList(CProperty& p, const std::vector<Text>& list,
                             unsigned int selectionMask) noexcept {
    const unsigned long long count = list.size();
    unsigned long long total = 0;
    for (const Text& entry : list) {
        total += 4 + static_cast<unsigned long long>(TextOf(entry).Length()) + 1;
        if (total > kMaxDataSize)
            return RESULT_OUT_OF_MEMORY; // cannot be described by a 32-bit size
    }
    p.SelectionMask = selectionMask;
    const unsigned int result =
        ReplaceBlock(p, VT_STRING_LIST, PROPERTY_SUBTYPE_PLAIN, total,
                     static_cast<unsigned int>(Internal::BLOCK_WORD * count));
    if (result != RESULT_SUCCESS)
        return result;
    unsigned char* table = p.Data;
    for (const Text& entry : list) {
        Internal::PutWord(table, 0, static_cast<std::uint32_t>(TextOf(entry).Length() + 1));
        table += Internal::BLOCK_WORD;
    }
    unsigned char* text = p.Data + Internal::BLOCK_WORD * count;
    for (const Text& entry : list) {
        const RVX::Strings::CStringRef ref = TextOf(entry);
        if (ref.Length() != 0)
            std::memcpy(text, ref.Data(), ref.Length());
        text += ref.Length();
        *text++ = '\0';
    }
    return RESULT_SUCCESS;
}

// A copy whose block could not be obtained. The throw-state guard is set up
// only here: obtaining the block does not touch the thread's throw state, so
// saving it after the failure is the same as saving it before, and the copy
// that succeeds pays nothing for it.
[[gnu::cold, gnu::noinline]] void RaiseCopyFailed(unsigned int line) {
    RVX::Threading::CThrowStateGuard guard;
    Internal::Raise(Internal::SOURCE_OBJECTS, line, EXCEPTION_INVALID_DATA);
}

} // namespace

// ---- Construction, copy, destruction -------------------------------------

CProperty::CProperty() : CProperty(static_cast<_PROPERTY_ID>(1), false) {}

CProperty::CProperty(_PROPERTY_ID id, bool flag)
    : PropertyID(id), SecondaryID(static_cast<unsigned int>(id)), Attribute1(1), Attribute2(1),
      Attribute3(-1), Attribute4(1), Attribute5(1), Type(VT_NONE), SubType(PROPERTY_SUBTYPE_PLAIN),
      Flag(flag), Attribute6(1), Flag2(true), Attribute7(0), Attribute8(-1),
      SelectionMask(0xFFFFFFFFu), DataSize(0), SplitSize(0), Data(nullptr) {}

CProperty::CProperty(const CProperty& other) : Data(nullptr) {
    CopyFields(*this, other);
    if (DataSize == 0)
        return;
    if (other.Data == nullptr) { // nothing to copy: no block, no size
        DataSize = 0;
        return;
    }
    Data = Internal::AllocBlock(DataSize);
    if (Data == nullptr) {
        RaiseCopyFailed(__LINE__);
        return; // throwing disabled: the copy has its kind and size but no block
    }
    std::memcpy(Data, other.Data, DataSize);
}

CProperty::CProperty(CProperty&& other) noexcept : Data(other.Data) {
    CopyFields(*this, other);
    ClearValue(other);
}

CProperty& CProperty::operator=(const CProperty& other) {
    if (this == &other)
        return *this;
    CopyFields(*this, other);
    if (Data != nullptr) {
        Internal::FreeBlock(Data);
        Data = nullptr;
    }
    if (DataSize == 0)
        return *this;
    if (other.Data == nullptr) { // as the copy constructor
        DataSize = 0;
        return *this;
    }
    Data = Internal::AllocBlock(DataSize);
    if (Data == nullptr) {
        RaiseCopyFailed(__LINE__);
        return *this; // throwing disabled: kind and size but no block
    }
    std::memcpy(Data, other.Data, DataSize);
    return *this;
}

CProperty& CProperty::operator=(CProperty&& other) noexcept {
    if (this == &other)
        return *this;
    Internal::FreeBlock(Data);
    CopyFields(*this, other);
    Data = other.Data;
    ClearValue(other);
    return *this;
}

CProperty::~CProperty() {
    if (Data != nullptr)
        Internal::FreeBlock(Data);
}

// ---- Setters -------------------------------------------------------------

unsigned int CProperty::SetValue(int value, std::vector<int>& list) {
    if (list.empty())
        return RESULT_EMPTY_LIST;
    const unsigned long long size = Internal::BLOCK_WORD * (list.size() + 1ull);
    if (size > kMaxDataSize)
        return RESULT_OUT_OF_MEMORY;
    const unsigned int result = ReplaceBlock(*this, VT_INT_LIST, PROPERTY_SUBTYPE_PLAIN, size, 0);
    if (result != RESULT_SUCCESS)
        return result;
    Internal::PutWord(Data, 0, value);
    std::memcpy(Data + Internal::BLOCK_WORD, list.data(), Internal::BLOCK_WORD * list.size());
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(int value, int minimum, int maximum, unsigned int step) {
    // This order is part of the contract: with minimum > maximum, a value at
    // or above the minimum gives the maximum.
    int current;
    if (value < minimum)
        current = minimum;
    else if (value < maximum)
        current = value;
    else
        current = maximum;
    using namespace Internal;
    const unsigned int result =
        ReplaceBlock(*this, VT_RANGE, PROPERTY_SUBTYPE_PLAIN, BLOCK_WORD * RANGE_WORDS, 0);
    if (result != RESULT_SUCCESS)
        return result;
    PutWord(Data, RANGE_VALUE, current);
    PutWord(Data, RANGE_MINIMUM, minimum);
    PutWord(Data, RANGE_MAXIMUM, maximum);
    PutWord(Data, RANGE_STEP, step);
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(RVX::Strings::CStringRef& text) {
    try {
        // The kept text is a copy in every case, so `text` may even refer to
        // this property's own block, which is released before the new one
        // is filled.
        RVX::Strings::CStringVar kept;
        unsigned int subType = PROPERTY_SUBTYPE_PLAIN;
        if (SubType == PROPERTY_SUBTYPE_ENCRYPTED) {
            subType = PROPERTY_SUBTYPE_ENCRYPTED;
            if (text.Length() > 4 &&
                std::memcmp(text.Data(), kEncryptedMarker, kEncryptedMarkerLength) == 0) {
                kept = RVX::Strings::CStringVar(text); // already encrypted: as given
            } else {
                RVX::Crypt::CAES cipher;
                RVX::Strings::TString<16> timeText;
                RVX::Output_Streams::CFormatStream(timeText, "%d")
                    .FormatInt64(RVXX::CSystemTime_Lx::Now());
                // The outcome is not looked at: whatever text the cipher
                // leaves (empty when it failed) is stored.
                (void)cipher.Encrypt(text, timeText, kept);
            }
        } else {
            Trim(text, kept);
        }
        return StoreText(*this, kept.c_str(), kept.Length(), subType);
    } catch (const std::bad_alloc&) {
        return RESULT_OUT_OF_MEMORY; // preparing the text failed: nothing changed
    }
}

unsigned int CProperty::SetValue(const RVX::Strings::CStringRef& text) {
    RVX::Strings::CStringRef copy(text);
    return SetValue(copy);
}

unsigned int CProperty::SetValue(const std::string& text) {
    SubType = PROPERTY_SUBTYPE_PLAIN; // this route never encrypts
    const std::locale locale;
    const std::ctype<char>& ctype = std::use_facet<std::ctype<char>>(locale);
    size_t first = 0;
    size_t end = text.size();
    while (first < end && ctype.is(std::ctype_base::space, text[first]))
        ++first;
    while (end > first && ctype.is(std::ctype_base::space, text[end - 1]))
        --end;
    return StoreText(*this, text.data() + first, end - first, PROPERTY_SUBTYPE_PLAIN);
}

unsigned int CProperty::SetValue(bool value) {
    const unsigned int result =
        ReplaceBlock(*this, VT_BOOL, PROPERTY_SUBTYPE_PLAIN, Internal::BLOCK_WORD, 0);
    if (result != RESULT_SUCCESS)
        return result;
    Internal::PutWord(Data, 0, static_cast<std::uint32_t>(value ? 1u : 0u));
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(unsigned long long value) {
    const unsigned int result =
        ReplaceBlock(*this, VT_UINT64, PROPERTY_SUBTYPE_64BIT, Internal::BLOCK_WIDE_WORD, 0);
    if (result != RESULT_SUCCESS)
        return result;
    Internal::PutWord(Data, 0, value);
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(std::vector<int>& first, std::vector<int>& second) {
    const unsigned long long firstSize = Internal::BLOCK_WORD * first.size();
    const unsigned long long size = firstSize + Internal::BLOCK_WORD * second.size();
    if (size > kMaxDataSize)
        return RESULT_OUT_OF_MEMORY;
    const unsigned int result = ReplaceBlock(*this, VT_INT_LIST_PAIR, PROPERTY_SUBTYPE_PLAIN, size,
                                             static_cast<unsigned int>(firstSize), true);
    if (result != RESULT_SUCCESS || size == 0)
        return result;
    if (!first.empty())
        std::memcpy(Data, first.data(), firstSize);
    if (!second.empty())
        std::memcpy(Data + firstSize, second.data(), Internal::BLOCK_WORD * second.size());
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(float value) {
    const unsigned int result =
        ReplaceBlock(*this, VT_FLOAT, PROPERTY_SUBTYPE_PLAIN, Internal::BLOCK_WORD, 0);
    if (result != RESULT_SUCCESS)
        return result;
    Internal::PutWord(Data, 0, value);
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(std::vector<unsigned long long>& list) {
    const unsigned long long size = Internal::BLOCK_WIDE_WORD * list.size();
    if (size > kMaxDataSize)
        return RESULT_OUT_OF_MEMORY;
    const unsigned int result =
        ReplaceBlock(*this, VT_UINT64_LIST, PROPERTY_SUBTYPE_64BIT, size, 0, true);
    if (result != RESULT_SUCCESS || size == 0)
        return result;
    std::memcpy(Data, list.data(), size);
    return RESULT_SUCCESS;
}

unsigned int CProperty::SetValue(const RVX::XML::CMarkup& markup) {
    try {
        const RVX::Strings::CStringVar text(markup.GetDoc());
        if (text.Length() >= kMaxDataSize)
            return RESULT_OUT_OF_MEMORY;
        const unsigned int result =
            ReplaceBlock(*this, VT_XML, PROPERTY_SUBTYPE_PLAIN, text.Length() + 1, 0);
        if (result != RESULT_SUCCESS)
            return result;
        std::memcpy(Data, text.c_str(), text.Length() + 1); // with its NUL
        return RESULT_SUCCESS;
    } catch (const std::bad_alloc&) {
        return RESULT_OUT_OF_MEMORY; // the temporary copy failed: nothing changed
    }
}

unsigned int CProperty::SetValue(const std::vector<RVX::Strings::CStringEx>& list,
                                 unsigned int selectionMask) {
    return StoreStringList(*this, list, selectionMask);
}

unsigned int CProperty::SetValue(const std::vector<std::string>& list, unsigned int selectionMask) {
    return StoreStringList(*this, list, selectionMask);
}

} // namespace PI
