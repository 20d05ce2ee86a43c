#pragma once

// The value records of the object model.
#include "PI/LogicalDrive.h"
#include "PI/Object.h"
