#pragma once

// The way out of a diff or patch that fails part way: the code travels up to
// the public function, which leaves its output as it was.

namespace PI {
namespace DiffInternal {

struct Failure {
    unsigned int Code;
};

} // namespace DiffInternal
} // namespace PI
