#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/Property.h"

#include <vector>

namespace PI {

// One RAID level that a controller offers: its stripe sizes, its bounds and
// its properties. List getters return a reference to the stored element and
// raise 0x21130001 for an index not below the count.
class PI_API CLevel {
public:
    int Attribute0;
    std::vector<int> StripeSizes;
    int Attribute1;
    std::vector<CProperty> Properties;
    int Attribute2;
    int Attribute3;
    int Attribute4;
    int Attribute5;
    unsigned long long Size1; // counted in Units
    unsigned long long Size2; // counted in Units
    _UNITS Units;
    int Attribute6;
    int Attribute7;
    bool Flag;
    int Attribute8;

    CLevel();
    CLevel(const CLevel& other);
    CLevel(CLevel&& other) noexcept;
    CLevel& operator=(const CLevel& other);
    CLevel& operator=(CLevel&& other) noexcept;
    virtual ~CLevel();

    bool operator==(const CLevel& other) const;
    bool operator!=(const CLevel& other) const { return !(*this == other); }

    void AddStripeSize(int size);
    int& GetStripeSize(unsigned int index);
    unsigned int GetStripeSizeCount() const;
    void ClearStripeSizes();

    void AddProperty(const CProperty& property);
    CProperty& GetProperty(unsigned int index);
    unsigned int GetPropertyCount() const;
    void ClearProperties();
};

// One level migration that a controller can perform.
class PI_API CMigration {
public:
    int Attribute1;
    int Attribute2;
    int Attribute3;
    std::vector<CProperty> Properties;

    CMigration();
    CMigration(const CMigration& other);
    CMigration(CMigration&& other) noexcept;
    CMigration& operator=(const CMigration& other);
    CMigration& operator=(CMigration&& other) noexcept;
    virtual ~CMigration();

    bool operator==(const CMigration& other) const;
    bool operator!=(const CMigration& other) const { return !(*this == other); }

    void AddProperty(const CProperty& property);
    CProperty& GetProperty(unsigned int index);
    unsigned int GetPropertyCount() const;
    void ClearProperties();
};

} // namespace PI
