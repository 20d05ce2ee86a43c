#pragma once

// Finding things in a record without walking its lists by hand: an object of
// an operation by its id, the objects of one kind, and a property of anything
// that holds a Properties list (CObject and CTask, COperation, CLogicalDrive,
// CDrive, CLevel, CMigration).
//
// A miss gives a null pointer, never an exception. The pointers point into
// the record's own lists: they are valid until that list is changed (an
// element added, removed or the list cleared) or the record goes. Every
// look-up is a linear search in list order, and the first match wins when a
// list holds an id more than once.

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/Object.h"
#include "PI/Operation.h"
#include "PI/Property.h"

#include <vector>

namespace PI {

// The object of the operation with this ObjectID, or null.
PI_API CObject* FindObject(COperation& operation, unsigned long long objectId);
PI_API const CObject* FindObject(const COperation& operation, unsigned long long objectId);

// The objects of the operation of this ObjectType, in list order; empty when
// there are none.
PI_API std::vector<CObject*> FindObjectsOfType(COperation& operation, _OBJECT_TYPE type);
PI_API std::vector<const CObject*> FindObjectsOfType(const COperation& operation,
                                                     _OBJECT_TYPE type);

// The property of the list with this PropertyID (whatever its SecondaryID),
// or null.
PI_API CProperty* FindProperty(std::vector<CProperty>& properties, int propertyId);
PI_API const CProperty* FindProperty(const std::vector<CProperty>& properties, int propertyId);
// The property with this PropertyID and this SecondaryID, or null.
PI_API CProperty* FindProperty(std::vector<CProperty>& properties, int propertyId,
                               unsigned int secondaryId);
PI_API const CProperty* FindProperty(const std::vector<CProperty>& properties, int propertyId,
                                     unsigned int secondaryId);

// The same for any record with a Properties list; a const record gives a
// pointer to const.
template <class Holder>
auto FindProperty(Holder& holder, int propertyId)
    -> decltype(FindProperty(holder.Properties, propertyId)) {
    return FindProperty(holder.Properties, propertyId);
}
template <class Holder>
auto FindProperty(Holder& holder, int propertyId, unsigned int secondaryId)
    -> decltype(FindProperty(holder.Properties, propertyId, secondaryId)) {
    return FindProperty(holder.Properties, propertyId, secondaryId);
}

} // namespace PI
