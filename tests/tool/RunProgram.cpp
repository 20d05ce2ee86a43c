#include "Pitool.h"

#include <boost/asio/io_context.hpp>
#include <boost/process.hpp>

#include <future>
#include <sys/wait.h>

namespace bp = boost::process;

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input) {
    boost::asio::io_context io;
    std::future<std::string> out, err;
    bp::child child(bp::exe = program, bp::args = args,
                    bp::std_in<boost::asio::buffer(input), bp::std_out> out, bp::std_err > err,
                    bp::env["PI_EXAMPLES_DIR"] = PI_EXAMPLES_DIR, io);
    io.run(); // until both outputs are closed
    child.wait();
    const int status = child.native_exit_code();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out.get(), err.get()};
}
