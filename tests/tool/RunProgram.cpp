#include "RunProgram.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Pipe {
    int fd[2] = {-1, -1};
    Pipe() {
        if (::pipe2(fd, O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe failed");
        }
    }
    ~Pipe() {
        Close(0);
        Close(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void Close(int end) {
        if (fd[end] >= 0) {
            ::close(fd[end]);
            fd[end] = -1;
        }
    }
};

} // namespace

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input,
                         const std::vector<std::pair<std::string, std::string>>& env) {
    Pipe in, out, err;
    std::vector<std::string> argvStrings{program};
    argvStrings.insert(argvStrings.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : argvStrings) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);

    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        ::dup2(in.fd[0], 0);
        ::dup2(out.fd[1], 1);
        ::dup2(err.fd[1], 2);
        for (const auto& [name, value] : env) {
            if (value.empty()) {
                ::unsetenv(name.c_str());
            } else {
                ::setenv(name.c_str(), value.c_str(), 1);
            }
        }
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    in.Close(0);
    out.Close(1);
    err.Close(1);

    // Inputs are small: written whole before the output is read.
    ::signal(SIGPIPE, SIG_IGN);
    for (size_t done = 0; done < input.size();) {
        const ssize_t n = ::write(in.fd[1], input.data() + done, input.size() - done);
        if (n <= 0) {
            break;
        }
        done += static_cast<size_t>(n);
    }
    in.Close(1);

    ProgramResult result;
    pollfd fds[2] = {{out.fd[0], POLLIN, 0}, {err.fd[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd >= 0 && (fds[i].revents & (POLLIN | POLLHUP | POLLERR))) {
                char buffer[4096];
                const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
                if (n > 0) {
                    sinks[i]->append(buffer, static_cast<size_t>(n));
                } else {
                    fds[i].fd = -1;
                    --open;
                }
            }
        }
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}
