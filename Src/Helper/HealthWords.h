#pragma once

#include "PI/Health.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace PI {

struct DefaultHealthWord {
    const char* word;
    _HEALTH health;
};

constexpr size_t kDefaultHealthWordCount = 7;
// The state words the library starts with (Health.h lists them).
extern const DefaultHealthWord kDefaultHealthWords[kDefaultHealthWordCount];

// The row of `words` that a status text is, by the matching rule of
// Health.h (trimmed of blanks, ASCII letters folded), or null; `trimmed`,
// when given, receives the text as it was compared.
const CHealthWord* MatchHealthWord(const std::vector<CHealthWord>& words, std::string_view text,
                                   std::string_view* trimmed = nullptr);

} // namespace PI
