#pragma once

// The value records of the object model.
#include "PI/Object.h"
