// pitool redfish serve: the Redfish view of an inventory file over HTTP/1.1,
// with Boost.Beast on one thread. Requests only ever look resources up in
// the view held in memory; no request names a path on disk.
#include "RedfishServer.h"

#include "Tool.h"

#include <PI/Interchange.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <sys/stat.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>

namespace pitool {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;

namespace {

std::uint64_t Fnv1a(const std::string& bytes, std::uint64_t hash = 14695981039346656037ull) {
    for (const unsigned char c : bytes) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    return hash;
}

struct Resource {
    std::string body;
    std::string etag;
};

// One inventory's resources by URI; requests share it read-only.
struct Snapshot {
    std::unordered_map<std::string, Resource> resources;
};

std::shared_ptr<const Snapshot> MakeSnapshot(const std::string& content,
                                             std::vector<PI::CRedfishResource> view) {
    auto snapshot = std::make_shared<Snapshot>();
    // Every ETag changes with the file, so a client sees any change.
    const std::uint64_t seed = Fnv1a(content);
    for (PI::CRedfishResource& r : view) {
        char tag[24];
        std::snprintf(tag, sizeof tag, "\"%016llx\"",
                      static_cast<unsigned long long>(Fnv1a(r.Body, seed)));
        snapshot->resources.emplace(std::move(r.Uri), Resource{std::move(r.Body), tag});
    }
    return snapshot;
}

std::string ReadWholeFile(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        Fail("cannot read '" + path + "': " + std::strerror(errno));
    std::string content;
    char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0)
        content.append(chunk, n);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed)
        Fail("cannot read '" + path + "'");
    return content;
}

std::vector<PI::CRedfishResource> ViewOf(const std::string& path, const std::string& content) {
    if (content.empty())
        Fail("'" + path + "' is empty, not an inventory");
    PI::AnyRecord record;
    PI::CInterchangeError error;
    const unsigned char first = static_cast<unsigned char>(content[0]);
    const bool packed = (first >= 0x80 && first <= 0x8F) || first == 0xDE || first == 0xDF;
    const unsigned int result =
        packed ? PI::ReadMsgPackDocument(reinterpret_cast<const std::uint8_t*>(content.data()),
                                         content.size(), record, &error)
               : PI::ReadJsonDocument(content.data(), content.size(), record, &error);
    if (result != 0)
        Fail("'" + path + "' is not a record document: " + error.Text());
    const PI::COperation* inventory = std::get_if<PI::COperation>(&record);
    if (inventory == nullptr)
        Fail("'" + path + "' holds a " + PI::RecordClassName(PI::RecordClassOf(record)) +
             ", not an inventory COperation");
    return PI::MakeRedfishView(*inventory);
}

// ---- answers ------------------------------------------------------------------

using Response = http::response<http::string_body>;

std::string ErrorBody(const char* id, const std::string& message) {
    // Messages are ours and plain ASCII: nothing to escape.
    return "{\"error\":{\"code\":\"Base.1.19." + std::string(id) + "\",\"message\":\"" + message +
           "\",\"@Message.ExtendedInfo\":[{\"MessageId\":\"Base.1.19." + id + "\",\"Message\":\"" +
           message + "\",\"Severity\":\"Critical\"}]}}";
}

Response Answer(http::status status, unsigned version, std::string body, bool head = false) {
    Response res(status, version);
    res.set(http::field::server, "pitool");
    res.set(http::field::content_type, "application/json");
    res.set("OData-Version", "4.0");
    res.body() = std::move(body);
    res.prepare_payload();
    if (head)
        res.body().clear(); // Content-Length stays that of the body
    return res;
}

Response Error(http::status status, const char* id, const std::string& message,
               unsigned version = 11) {
    Response res = Answer(status, version, ErrorBody(id, message));
    res.keep_alive(false);
    return res;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The path of a request target: query and fragment cut off, percent
// escapes decoded, one trailing slash dropped. Nothing when an escape is
// malformed or decodes to a byte that no URI of the view holds (NUL, "%",
// a blank...), so that lookups see plain text only.
std::optional<std::string> PathOf(beast::string_view target) {
    const size_t end = target.find_first_of("?#");
    target = target.substr(0, end == beast::string_view::npos ? target.size() : end);
    std::string path;
    for (size_t i = 0; i < target.size(); ++i) {
        char c = target[i];
        if (c == '%') {
            const int high = i + 2 < target.size() ? HexDigit(target[i + 1]) : -1;
            const int low = i + 2 < target.size() ? HexDigit(target[i + 2]) : -1;
            if (high < 0 || low < 0)
                return std::nullopt;
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '/' || c == '.' || c == '-' || c == '_' ||
                           c == '$';
        if (!plain)
            return std::nullopt;
        path += c;
    }
    if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// ---- the service -------------------------------------------------------------------

class Server {
public:
    Server(const ServeOptions& options, std::string content, std::vector<PI::CRedfishResource> view)
        : m_Options(options), m_Acceptor(m_Io), m_Signals(m_Io, SIGTERM, SIGINT) {
        Install(MakeSnapshot(content, std::move(view)));
    }

    std::shared_ptr<const Snapshot> Current() {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Snapshot;
    }
    void Install(std::shared_ptr<const Snapshot> snapshot) {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Snapshot.swap(snapshot);
    }

    size_t& Connections() { return m_Connections; }
    const ServeOptions& Options() const { return m_Options; }

    void Run() {
        beast::error_code ec;
        const asio::ip::address address = asio::ip::make_address(m_Options.address, ec);
        if (ec)
            Fail("'" + m_Options.address + "' is not an IP address");
        const tcp::endpoint endpoint(address, m_Options.port);
        m_Acceptor.open(endpoint.protocol(), ec);
        if (!ec)
            m_Acceptor.set_option(asio::socket_base::reuse_address(true), ec);
        if (!ec)
            m_Acceptor.bind(endpoint, ec);
        if (!ec)
            m_Acceptor.listen(asio::socket_base::max_listen_connections, ec);
        if (ec)
            Fail("cannot listen on " + m_Options.address + ":" + std::to_string(m_Options.port) +
                 ": " + ec.message());
        const tcp::endpoint bound = m_Acceptor.local_endpoint();
        std::cout << "listening on " << bound.address().to_string() << ":" << bound.port()
                  << std::endl;
        m_Signals.async_wait([this](beast::error_code, int) { Stop(); });
        std::thread watcher([this] { Watch(); });
        Accept();
        m_Io.run();
        {
            std::lock_guard<std::mutex> lock(m_WatchMutex);
            m_Stopping = true;
        }
        m_WatchWake.notify_all();
        watcher.join();
    }

private:
    void Stop() {
        beast::error_code ignored;
        m_Acceptor.close(ignored);
        m_Io.stop();
    }

    void Accept();

    // Looks at the file's identity every so often and installs the view of
    // a changed file whole; a file that does not read (half written, say)
    // leaves the view as it was until the file changes again.
    void Watch() {
        struct stat last {};
        ::stat(m_Options.file.c_str(), &last);
        std::unique_lock<std::mutex> lock(m_WatchMutex);
        while (!m_WatchWake.wait_for(lock, std::chrono::milliseconds(SERVE_WATCH_MILLISECONDS),
                                     [this] { return m_Stopping; })) {
            struct stat now {};
            if (::stat(m_Options.file.c_str(), &now) != 0)
                continue;
            if (now.st_ino == last.st_ino && now.st_size == last.st_size &&
                now.st_mtim.tv_sec == last.st_mtim.tv_sec &&
                now.st_mtim.tv_nsec == last.st_mtim.tv_nsec &&
                now.st_ctim.tv_sec == last.st_ctim.tv_sec &&
                now.st_ctim.tv_nsec == last.st_ctim.tv_nsec)
                continue;
            last = now;
            try {
                const std::string content = ReadWholeFile(m_Options.file);
                Install(MakeSnapshot(content, ViewOf(m_Options.file, content)));
            } catch (const std::exception& e) {
                std::cerr << "pitool redfish serve: keeping the view read before: " << e.what()
                          << std::endl;
            }
        }
    }

    ServeOptions m_Options;
    asio::io_context m_Io;
    tcp::acceptor m_Acceptor;
    asio::signal_set m_Signals;
    std::mutex m_Mutex;
    std::shared_ptr<const Snapshot> m_Snapshot;
    size_t m_Connections = 0; // touched by the I/O thread only
    std::mutex m_WatchMutex;
    std::condition_variable m_WatchWake;
    bool m_Stopping = false;
};

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, Server& server) : m_Stream(std::move(socket)), m_Server(server) {
        ++m_Server.Connections();
    }
    ~Session() { --m_Server.Connections(); }

    void Start(bool refused) {
        if (refused) {
            Send(Error(http::status::service_unavailable, "ServiceTemporarilyUnavailable",
                       "Too many connections; try again later."));
            return;
        }
        Read();
    }

private:
    void Read() {
        m_Parser.emplace();
        m_Parser->header_limit(SERVE_HEADER_LIMIT);
        m_Parser->body_limit(SERVE_BODY_LIMIT);
        m_Stream.expires_after(std::chrono::seconds(m_Server.Options().readTimeoutSeconds));
        http::async_read(
            m_Stream, m_Buffer, *m_Parser,
            [self = shared_from_this()](beast::error_code ec, size_t) { self->OnRead(ec); });
    }

    void OnRead(beast::error_code ec) {
        if (ec == http::error::end_of_stream || ec == beast::error::timeout ||
            ec == asio::error::operation_aborted || ec == asio::error::connection_reset)
            return Close();
        if (ec == http::error::header_limit)
            return Send(Error(http::status::request_header_fields_too_large, "GeneralError",
                              "The request line or headers are too long."));
        if (ec == http::error::body_limit)
            return Send(Error(http::status::payload_too_large, "GeneralError",
                              "The request body is too long."));
        if (ec)
            return Send(
                Error(http::status::bad_request, "GeneralError", "The request is not HTTP/1.1."));
        Send(Handle(m_Parser->get()));
    }

    Response Handle(const http::request<http::string_body>& req) {
        const unsigned version = req.version();
        if (req.target().size() > SERVE_TARGET_LIMIT)
            return Error(http::status::uri_too_long, "GeneralError", "The URI is too long.",
                         version);
        const bool head = req.method() == http::verb::head;
        if (req.method() != http::verb::get && !head) {
            Response res = Answer(
                http::status::method_not_allowed, version,
                ErrorBody("OperationNotAllowed", "This service is read-only: GET and HEAD only."));
            res.set(http::field::allow, "GET, HEAD");
            res.keep_alive(req.keep_alive());
            return res;
        }
        const std::optional<std::string> path = PathOf(req.target());
        Response res;
        if (path && (*path == "/redfish" || *path == "/redfish/")) {
            res = Answer(http::status::ok, version, "{\"v1\":\"/redfish/v1/\"}", head);
        } else {
            // The snapshot stays alive while this answer is made, whatever the
            // watcher installs meanwhile.
            const std::shared_ptr<const Snapshot> snapshot = m_Server.Current();
            const auto found = path ? snapshot->resources.find(*path) : snapshot->resources.end();
            if (found == snapshot->resources.end()) {
                res = Answer(http::status::not_found, version,
                             ErrorBody("ResourceMissingAtURI", "No resource at this URI."), head);
            } else if (req[http::field::if_none_match] == found->second.etag) {
                res = Answer(http::status::not_modified, version, "");
                res.set(http::field::etag, found->second.etag);
            } else {
                res = Answer(http::status::ok, version, found->second.body, head);
                res.set(http::field::etag, found->second.etag);
            }
        }
        res.set(http::field::allow, "GET, HEAD");
        res.keep_alive(req.keep_alive());
        return res;
    }

    void Send(Response res) {
        auto response = std::make_shared<Response>(std::move(res));
        m_Stream.expires_after(std::chrono::seconds(m_Server.Options().readTimeoutSeconds));
        http::async_write(m_Stream, *response,
                          [self = shared_from_this(), response](beast::error_code ec, size_t) {
                              if (ec || !response->keep_alive())
                                  return self->Close();
                              self->Read();
                          });
    }

    void Close() {
        beast::error_code ignored;
        m_Stream.socket().shutdown(tcp::socket::shutdown_both, ignored);
        m_Stream.close();
    }

    beast::tcp_stream m_Stream;
    beast::flat_buffer m_Buffer{SERVE_HEADER_LIMIT + SERVE_BODY_LIMIT};
    std::optional<http::request_parser<http::string_body>> m_Parser;
    Server& m_Server;
};

void Server::Accept() {
    m_Acceptor.async_accept([this](beast::error_code ec, tcp::socket socket) {
        if (ec == asio::error::operation_aborted || !m_Acceptor.is_open())
            return;
        if (!ec) {
            const bool refused = m_Connections >= m_Options.maxConnections;
            std::make_shared<Session>(std::move(socket), *this)->Start(refused);
        }
        Accept();
    });
}

} // namespace

std::vector<PI::CRedfishResource> LoadRedfishView(const std::string& path) {
    return ViewOf(path, ReadWholeFile(path));
}

void ServeRedfish(const ServeOptions& options) {
    std::string content = ReadWholeFile(options.file);
    std::vector<PI::CRedfishResource> view = ViewOf(options.file, content);
    Server server(options, std::move(content), std::move(view));
    server.Run();
}

} // namespace pitool
