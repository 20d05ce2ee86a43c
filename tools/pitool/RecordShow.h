#pragma once

// Records as a person reads them: property names from the help table,
// enumerated values by their names, byte counts in readable units. Used by
// pitool record show (every record class, as text and as JSON) and by the
// cells of pitool record diff.

#include "Tool.h"

#include <PI/Interchange.h>

#include <string>

namespace pitool {

// The property's name from the help table or the identifier list, else its
// number.
std::string PropertyName(int id);
// The property's value: texts quoted, numbers with the name of the constant
// they stand for where the property's name says which, byte counts readable.
std::string PropertyValue(PI::CProperty p);
// "3.64 TB (4000787030016 bytes)".
std::string ReadableBytes(unsigned long long bytes);
// "19007 OBJECT_TYPE_ADAPTER_1", or the number alone.
std::string TypeName(int type);

// The record's text and JSON forms.
Result ShowRecord(const PI::AnyRecord& record);

} // namespace pitool
