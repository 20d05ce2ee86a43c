#pragma once

// The Python names of the record members' types: which enumeration of
// pi._identifiers an enum member takes, and which list view class a list
// member is. The bindings register their classes under these names and the
// stub writer annotates the members with them, so the two cannot drift.

#include <PI/Operation.h>
#include <PI/Records.h>

#include <type_traits>
#include <vector>

namespace pibind {

template <class E> inline constexpr const char* ENUMERATION = nullptr;
template <> inline constexpr const char* ENUMERATION<PI::_OBJECT_TYPE> = "ObjectType";
template <> inline constexpr const char* ENUMERATION<PI::_UNITS> = "Units";
template <> inline constexpr const char* ENUMERATION<PI::_PROPERTY_ID> = "PropertyID";

template <class T> struct IsVector : std::false_type {};
template <class T> struct IsVector<std::vector<T>> : std::true_type {};

template <class T> inline constexpr const char* LIST_VIEW = nullptr;
template <> inline constexpr const char* LIST_VIEW<PI::CProperty> = "PropertyList";
template <> inline constexpr const char* LIST_VIEW<unsigned long long> = "IdList";
template <> inline constexpr const char* LIST_VIEW<int> = "IntList";
template <> inline constexpr const char* LIST_VIEW<PI::CObject> = "ObjectList";
template <> inline constexpr const char* LIST_VIEW<PI::CDrive> = "DriveList";
template <> inline constexpr const char* LIST_VIEW<PI::CContainer> = "ContainerList";
template <> inline constexpr const char* LIST_VIEW<PI::CLogicalDrive> = "LogicalDriveList";
template <> inline constexpr const char* LIST_VIEW<PI::CLevel> = "LevelList";
template <> inline constexpr const char* LIST_VIEW<PI::CMigration> = "MigrationList";
template <> inline constexpr const char* LIST_VIEW<PI::CEvent> = "EventList";
template <> inline constexpr const char* LIST_VIEW<PI::CPassThrough> = "PassThroughList";
template <> inline constexpr const char* LIST_VIEW<PI::CPartition> = "PartitionList";

// CProperty's kind, which only the setters change: read-only, as a ValueType.
template <auto Pointer> inline constexpr bool IS_PROPERTY_KIND = false;
template <> inline constexpr bool IS_PROPERTY_KIND<&PI::CProperty::Type> = true;

} // namespace pibind
