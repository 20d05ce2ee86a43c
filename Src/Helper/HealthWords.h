#pragma once

#include "PI/Health.h"

#include <cstddef>

namespace PI {

struct DefaultHealthWord {
    const char* word;
    _HEALTH health;
};

constexpr size_t kDefaultHealthWordCount = 7;
// The state words the library starts with (Health.h lists them).
extern const DefaultHealthWord kDefaultHealthWords[kDefaultHealthWordCount];

} // namespace PI
