#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/Property.h"

#include <vector>

namespace PI {

// One node of the managed-object graph: an adapter, drive, battery, task and
// so on. Nodes name their parents and children by object id only, so a node
// never keeps another alive.
class PI_API CObject {
public:
    unsigned long long ObjectID;
    _OBJECT_TYPE ObjectType;
    std::vector<unsigned long long> Parents;
    std::vector<unsigned long long> Children;
    unsigned long long Value64;
    bool Flag;
    std::vector<CProperty> Properties;

    CObject();
    CObject(unsigned long long id, _OBJECT_TYPE type);
    CObject(const CObject& other);
    CObject(CObject&& other) noexcept;
    CObject& operator=(const CObject& other);
    CObject& operator=(CObject&& other) noexcept;
    virtual ~CObject();

    bool operator==(const CObject& other) const;
    bool operator!=(const CObject& other) const { return !(*this == other); }

    // Ids are returned by value. An index not below the count raises
    // 0x21130001; with throwing disabled the result is 0.
    void AddParent(unsigned long long id);
    unsigned long long GetParent(unsigned int index) const;
    unsigned int GetParentCount() const;
    void ClearParents();

    void AddChild(unsigned long long id);
    unsigned long long GetChild(unsigned int index) const;
    unsigned int GetChildCount() const;
    void ClearChildren();
};

} // namespace PI
