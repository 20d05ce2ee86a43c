#pragma once

// The value records of the object model.
#include "PI/Level.h"
#include "PI/LogicalDrive.h"
#include "PI/Object.h"
#include "PI/Task.h"
