// Look-ups in records: objects by id and kind, properties by id.
#include "PI/Lookup.h"

#include <algorithm>

namespace PI {
namespace {

// One search for the const and the non-const forms.
template <class List, class Match> auto FirstOf(List& list, Match match) -> decltype(&list[0]) {
    const auto found = std::find_if(list.begin(), list.end(), match);
    return found == list.end() ? nullptr : &*found;
}

template <class Operation, class Pointer>
std::vector<Pointer> OfType(Operation& operation, _OBJECT_TYPE type) {
    std::vector<Pointer> objects;
    for (auto& object : operation.Objects)
        if (object.ObjectType == type)
            objects.push_back(&object);
    return objects;
}

} // namespace

CObject* FindObject(COperation& operation, unsigned long long objectId) {
    return FirstOf(operation.Objects,
                   [objectId](const CObject& o) { return o.ObjectID == objectId; });
}

const CObject* FindObject(const COperation& operation, unsigned long long objectId) {
    return FirstOf(operation.Objects,
                   [objectId](const CObject& o) { return o.ObjectID == objectId; });
}

std::vector<CObject*> FindObjectsOfType(COperation& operation, _OBJECT_TYPE type) {
    return OfType<COperation, CObject*>(operation, type);
}

std::vector<const CObject*> FindObjectsOfType(const COperation& operation, _OBJECT_TYPE type) {
    return OfType<const COperation, const CObject*>(operation, type);
}

CProperty* FindProperty(std::vector<CProperty>& properties, int propertyId) {
    return FirstOf(properties,
                   [propertyId](const CProperty& p) { return p.PropertyID == propertyId; });
}

const CProperty* FindProperty(const std::vector<CProperty>& properties, int propertyId) {
    return FirstOf(properties,
                   [propertyId](const CProperty& p) { return p.PropertyID == propertyId; });
}

CProperty* FindProperty(std::vector<CProperty>& properties, int propertyId,
                        unsigned int secondaryId) {
    return FirstOf(properties, [propertyId, secondaryId](const CProperty& p) {
        return p.PropertyID == propertyId && p.SecondaryID == secondaryId;
    });
}

const CProperty* FindProperty(const std::vector<CProperty>& properties, int propertyId,
                              unsigned int secondaryId) {
    return FirstOf(properties, [propertyId, secondaryId](const CProperty& p) {
        return p.PropertyID == propertyId && p.SecondaryID == secondaryId;
    });
}

} // namespace PI
