#pragma once

// The value records of the object model.
#include "PI/Event.h"
#include "PI/Level.h"
#include "PI/LogicalDrive.h"
#include "PI/Object.h"
#include "PI/Operation.h"
#include "PI/Task.h"
