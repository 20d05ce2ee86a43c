#include "RVX/Application.h"

#include <limits.h>
#include <unistd.h>

#include <vector>

namespace RVX {
namespace Misc {

bool CRvxApplication::GetProcessPath(std::string& path) {
    path.clear();
    std::vector<char> buffer(PATH_MAX);
    for (int attempt = 0; attempt < 4; ++attempt) {
        const ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (n < 0)
            return false;
        if (static_cast<size_t>(n) < buffer.size()) {
            path.assign(buffer.data(), static_cast<size_t>(n));
            return true;
        }
        buffer.resize(buffer.size() * 2); // truncated: try a larger buffer
    }
    return false;
}

} // namespace Misc
} // namespace RVX
