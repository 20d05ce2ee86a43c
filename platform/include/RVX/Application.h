#pragma once

#include "RVX/Export.h"

#include <string>

namespace RVX {
namespace Misc {

class RVX_API CRvxApplication {
public:
    // The full path of the running program's executable. Returns false and
    // leaves `path` empty when it cannot be found.
    static bool GetProcessPath(std::string& path);
};

} // namespace Misc
} // namespace RVX
