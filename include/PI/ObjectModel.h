#pragma once

// The object model: typed property values and the records built from them.
#include "PI/Identifiers.h"
#include "PI/Property.h"
#include "PI/Records.h"
