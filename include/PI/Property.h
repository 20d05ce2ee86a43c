#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"

#include <RVX/Strings.h>

#include <cstring>
#include <string>
#include <vector>

namespace RVX {
namespace XML {
class CMarkup;
}
} // namespace RVX

namespace PI {

// The kind of value a property holds. The numbers are stored and compared.
enum _VALUE_TYPE : unsigned int {
    VT_NONE = 1,
    VT_STRING = 2,
    VT_INT_LIST = 3,
    VT_BOOL = 4,
    VT_UINT64 = 5,
    VT_RANGE = 6,
    VT_INT_LIST_PAIR = 7,
    VT_FLOAT = 8,
    VT_UINT64_LIST = 9,
    VT_XML = 10,
    VT_STRING_LIST = 11,
};

// SubType values.
constexpr unsigned int PROPERTY_SUBTYPE_PLAIN = 0;
constexpr unsigned int PROPERTY_SUBTYPE_64BIT = 1;
constexpr unsigned int PROPERTY_SUBTYPE_ENCRYPTED = 4;

// One typed property value. The value lives in a single heap block (`Data`,
// `DataSize` bytes, from malloc) in the encoding of its kind; it is written
// only by SetValue and read back only by GetValue, which checks the kind.
class PI_API CProperty {
public:
    _PROPERTY_ID PropertyID;
    unsigned int SecondaryID;
    unsigned int Attribute1;
    unsigned int Attribute2;
    int Attribute3;
    unsigned int Attribute4;
    unsigned int Attribute5;
    unsigned int Type;
    unsigned int SubType;
    bool Flag;
    unsigned int Attribute6;
    bool Flag2;
    unsigned int Attribute7;
    int Attribute8;
    unsigned int SelectionMask;
    unsigned int DataSize;
    unsigned int SplitSize;
    unsigned char* Data;

    // Identifier 1, no flag; all else at its default (VT_NONE, no block).
    CProperty();
    // PropertyID and SecondaryID take `id`, Flag takes `flag`.
    CProperty(_PROPERTY_ID id, bool flag);
    // Deep copy: every field, then a block of its own. A source with a size
    // but no block gives a copy with neither. When memory runs out,
    // CException 0x21130003 is raised (with throwing disabled: the copy keeps
    // kind and size but has no block).
    CProperty(const CProperty& other);
    // Takes the block; `other` keeps its identifiers and attribute words but
    // is left VT_NONE with no block.
    CProperty(CProperty&& other) noexcept;
    // As the copy constructor; the old block is released first. Assigning a
    // property to itself leaves it unchanged.
    CProperty& operator=(const CProperty& other);
    CProperty& operator=(CProperty&& other) noexcept;
    virtual ~CProperty();

    // Every field in declared order, then the first DataSize bytes of the
    // blocks (no float tolerance, no case folding). A size without a block
    // (a setter or copy that ran out of memory) equals only another such
    // property. Inline: inventories compare thousands of these at a time.
    bool operator==(const CProperty& other) const {
        if (PropertyID != other.PropertyID || SecondaryID != other.SecondaryID ||
            Attribute1 != other.Attribute1 || Attribute2 != other.Attribute2 ||
            Attribute3 != other.Attribute3 || Attribute4 != other.Attribute4 ||
            Attribute5 != other.Attribute5 || Type != other.Type || SubType != other.SubType ||
            Flag != other.Flag || Attribute6 != other.Attribute6 || Flag2 != other.Flag2 ||
            Attribute7 != other.Attribute7 || Attribute8 != other.Attribute8 ||
            SelectionMask != other.SelectionMask || DataSize != other.DataSize ||
            SplitSize != other.SplitSize)
            return false;
        if (DataSize == 0)
            return true;
        if (Data == nullptr || other.Data == nullptr)
            return Data == other.Data;
        return std::memcmp(Data, other.Data, DataSize) == 0;
    }
    bool operator!=(const CProperty& other) const { return !(*this == other); }

    // Setters return 0, 20006 (empty list, kind 3 only; nothing changed) or
    // 20007 (out of memory: the new Type, SubType, DataSize and SplitSize are
    // set and Data is null). Each releases the old block before obtaining the
    // new one; blocks come from malloc.
    //
    // The CStringRef routes trim with PI::Trim, unless SubType is 4: then a
    // text longer than 4 characters beginning with "ENC1(" is kept as given
    // and any other text is encrypted with RVX::Crypt::CAES (SubType stays 4).
    // The std::string route sets SubType 0, trims by the default locale's
    // ctype facet and never encrypts.
    unsigned int SetValue(int value, std::vector<int>& list);
    unsigned int SetValue(int value, int minimum, int maximum, unsigned int step);
    unsigned int SetValue(RVX::Strings::CStringRef& text);
    unsigned int SetValue(const RVX::Strings::CStringRef& text);
    unsigned int SetValue(const std::string& text);
    unsigned int SetValue(bool value);
    unsigned int SetValue(unsigned long long value);
    unsigned int SetValue(std::vector<int>& first, std::vector<int>& second);
    unsigned int SetValue(float value);
    unsigned int SetValue(std::vector<unsigned long long>& list);
    unsigned int SetValue(const RVX::XML::CMarkup& markup);
    unsigned int SetValue(const std::vector<RVX::Strings::CStringEx>& list,
                          unsigned int selectionMask);
    unsigned int SetValue(const std::vector<std::string>& list, unsigned int selectionMask);

    // Readers return 0. A wrong kind raises 0x21130004, a missing or
    // malformed block 0x21130003 (the kind is checked first, except by the
    // two single-string readers, which check the block first and accept kinds
    // 2 and 11). A trace record at level 0x40000000 precedes the exception
    // when PI::GetModuleInfo() has that level enabled. With throwing disabled
    // (RVX::Threading::CDisableThrow) a failed read returns the code and
    // leaves the outputs untouched. Readers never decrypt, and never read
    // outside the block whatever it holds.
    unsigned int GetValue(int& value, std::vector<int>& list);
    unsigned int GetValue(int& value, int& minimum, int& maximum, unsigned int& step);
    unsigned int GetValue(bool& value);
    unsigned int GetValue(unsigned long long& value);
    unsigned int GetValue(std::vector<int>& first, std::vector<int>& second);
    unsigned int GetValue(float& value);
    unsigned int GetValue(std::vector<unsigned long long>& list);
    unsigned int GetValue(RVX::XML::CMarkup& markup);
    unsigned int GetValue(std::vector<RVX::Strings::CStringEx>& list, unsigned int& selectionMask);
    unsigned int GetValue(std::vector<RVX::Strings::CStringEx>& list);
    unsigned int GetValue(std::vector<std::string>& list, unsigned int& selectionMask);
    unsigned int GetValue(std::vector<std::string>& list);
    unsigned int GetValue(RVX::Strings::CStringVar& text);
    unsigned int GetValue(std::string& text);
};

} // namespace PI
