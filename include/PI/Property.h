#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"

#include <RVX/Strings.h>

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

    CProperty();
    CProperty(_PROPERTY_ID id, bool flag);
    CProperty(const CProperty& other);
    CProperty(CProperty&& other) noexcept;
    CProperty& operator=(const CProperty& other);
    CProperty& operator=(CProperty&& other) noexcept;
    virtual ~CProperty();

    bool operator==(const CProperty& other) const;
    bool operator!=(const CProperty& other) const { return !(*this == other); }

    // Setters return 0, 20006 (empty list) or 20007 (out of memory).
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
    // malformed block 0x21130003; with throwing disabled they return that
    // code and leave the outputs untouched.
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
