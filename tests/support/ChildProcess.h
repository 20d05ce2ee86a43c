#pragma once

// Runs a piece of a test in a forked child: as another user, or under a
// watchdog, so that a call that blocks fails the test instead of hanging it.
#include <grp.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// The user and group that ownership tests give files to.
constexpr uid_t OTHER_UID = 65534;
constexpr gid_t OTHER_GID = 65534;

// Child results besides the body's own exit code.
constexpr int CHILD_HUNG = -1;        // still running at the deadline: killed by its alarm
constexpr int CHILD_ABNORMAL = -2;    // killed by a signal, or could not start
constexpr int CHILD_NO_IDENTITY = 99; // could not become the other user

// `body` runs in a child (as OTHER_UID/OTHER_GID when `asOther`); its return
// value is the child's exit code. The child is killed by its alarm when it is
// still running after `seconds`.
inline int RunInChild(const std::function<int()>& body, bool asOther = false, int seconds = 5) {
    const pid_t child = ::fork();
    if (child < 0)
        return CHILD_ABNORMAL;
    if (child == 0) {
        ::alarm(static_cast<unsigned>(seconds));
        if (asOther &&
            (::setgroups(0, nullptr) != 0 || ::setgid(OTHER_GID) != 0 || ::setuid(OTHER_UID) != 0))
            ::_exit(CHILD_NO_IDENTITY);
        int code = 98;
        try {
            code = body();
        } catch (...) {
            code = 97;
        }
        ::_exit(code);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child)
        return CHILD_ABNORMAL;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
        return CHILD_HUNG;
    return WIFEXITED(status) ? WEXITSTATUS(status) : CHILD_ABNORMAL;
}
