#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/Property.h"

#include <string>
#include <vector>

namespace PI {

// The list getters of these records return a reference to the stored
// element. An index not below the count raises 0x21130001; with throwing
// disabled they return a per-thread stand-in element, reset to its defaults
// on every such call, and never touch storage outside the list.

// One piece of a physical drive used by a logical drive. A piece is
// identified by its drive and its start; that is all that orders and
// compares pieces.
class PI_API CDrive {
public:
    unsigned long long ObjectID;
    unsigned long long StartAddress;
    unsigned long long UsedSize;
    std::vector<CProperty> Properties;
    unsigned long long Attribute1;
    unsigned long long Attribute2;
    bool Flag;

    CDrive();
    CDrive(const CDrive& other);
    CDrive(CDrive&& other) noexcept;
    CDrive& operator=(const CDrive& other);
    CDrive& operator=(CDrive&& other) noexcept;
    virtual ~CDrive();

    bool operator<(const CDrive& other) const;
    bool operator==(const CDrive& other) const;
    bool operator!=(const CDrive& other) const { return !(*this == other); }

    void AddProperty(const CProperty& property);
    CProperty& GetProperty(unsigned int index);
    unsigned int GetPropertyCount() const;
    void ClearProperties();
};

// One container (span) of a logical drive: the pieces it is made of.
class PI_API CContainer {
public:
    std::vector<CDrive> Drives;

    CContainer();
    CContainer(const CContainer& other);
    CContainer(CContainer&& other) noexcept;
    CContainer& operator=(const CContainer& other);
    CContainer& operator=(CContainer&& other) noexcept;
    virtual ~CContainer();

    bool operator==(const CContainer& other) const;
    bool operator!=(const CContainer& other) const { return !(*this == other); }

    void AddDrive(const CDrive& drive);
    CDrive& GetDrive(unsigned int index);
    unsigned int GetDriveCount() const;
    void ClearDrives();
};

// The layout of one logical drive. Hot spares (GHS, DHS) and associated
// logical drives (ALD) are carried but do not take part in comparison.
class PI_API CLogicalDrive {
public:
    int Attribute1;
    std::vector<CProperty> Properties;
    int Attribute2;
    unsigned long long Size;
    _UNITS Units;
    std::vector<CContainer> Containers;
    std::vector<unsigned long long> GHS;
    std::vector<unsigned long long> DHS;
    std::vector<unsigned long long> ALD;

    CLogicalDrive();
    // Reads a "LogicalDriveConfiguration" document. Text that does not parse
    // gives a default record; a missing or non-numeric attribute among those
    // read throws boost::bad_lexical_cast.
    explicit CLogicalDrive(const std::string& xml);
    CLogicalDrive(const CLogicalDrive& other);
    CLogicalDrive(CLogicalDrive&& other) noexcept;
    CLogicalDrive& operator=(const CLogicalDrive& other);
    CLogicalDrive& operator=(CLogicalDrive&& other) noexcept;
    virtual ~CLogicalDrive();

    bool operator==(const CLogicalDrive& other) const;
    bool operator!=(const CLogicalDrive& other) const { return !(*this == other); }

    void AddProperty(const CProperty& property);
    CProperty& GetProperty(unsigned int index);
    unsigned int GetPropertyCount() const;
    void ClearProperties();

    void AddContainer(const CContainer& container);
    CContainer& GetContainer(unsigned int index);
    unsigned int GetContainerCount() const;
    void ClearContainers();

    void AddGHS(unsigned long long id);
    unsigned long long& GetGHS(unsigned int index);
    unsigned int GetGHSCount() const;
    void ClearGHS();

    void AddDHS(unsigned long long id);
    unsigned long long& GetDHS(unsigned int index);
    unsigned int GetDHSCount() const;
    void ClearDHS();

    void AddALD(unsigned long long id);
    unsigned long long& GetALD(unsigned int index);
    unsigned int GetALDCount() const;
    void ClearALD();
};

} // namespace PI
