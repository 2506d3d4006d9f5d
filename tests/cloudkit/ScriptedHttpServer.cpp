#include "cloudkit/ScriptedHttpServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <openssl/x509.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

namespace zun {
namespace {

SSL_CTX* selfSignedContext() {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* certificate = X509_new();
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    auto* name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("zun.example"), -1, -1,
                               0);
    X509_set_issuer_name(certificate, name);
    X509_sign(certificate, key, EVP_sha256());
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    SSL_CTX_use_certificate(context, certificate);
    SSL_CTX_use_PrivateKey(context, key);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return context;
}

}  // namespace

// One client, until it goes or is to go.
class ScriptedHttpServer::Connection {
  public:
    Connection(int socket, SSL_CTX* context) : _socket(socket), _ssl(context ? SSL_new(context) : nullptr) {
        if (_ssl) SSL_set_fd(_ssl, _socket);
    }
    ~Connection() {
        if (_ssl) SSL_free(_ssl);
        // The server keeps a copy of it.
        shutdown(_socket, SHUT_RDWR);
        close(_socket);
    }
    bool greet() { return !_ssl || SSL_accept(_ssl) == 1; }

    std::optional<Seen> read() {
        std::size_t end = 0;
        while ((end = _read.find("\r\n\r\n")) == std::string::npos)
            if (!more()) return std::nullopt;
        Seen seen;
        std::size_t place = _read.find("\r\n");
        seen.line = _read.substr(0, place);
        while (place < end) {
            const auto next = _read.find("\r\n", place + 2);
            const auto line = _read.substr(place + 2, next - place - 2);
            const auto colon = line.find(": ");
            auto name = line.substr(0, colon);
            std::transform(name.begin(), name.end(), name.begin(), [](char byte) { return std::tolower(byte); });
            seen.headers[name] = colon == std::string::npos ? "" : line.substr(colon + 2);
            place = next;
        }
        const auto length = seen.headers.contains("content-length") ? std::stoul(seen.headers["content-length"]) : 0;
        while (_read.size() < end + 4 + length)
            if (!more()) return std::nullopt;
        seen.body = _read.substr(end + 4, length);
        _read.erase(0, end + 4 + length);
        return seen;
    }
    void write(const std::string& bytes) {
        if (_ssl) {
            SSL_write(_ssl, bytes.data(), static_cast<int>(bytes.size()));
        } else {
            (void)!send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        }
    }

  private:
    bool more() {
        char bytes[4096];
        const auto count = _ssl ? SSL_read(_ssl, bytes, sizeof bytes) : recv(_socket, bytes, sizeof bytes, 0);
        if (count > 0) _read.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }

    const int _socket;
    SSL* const _ssl;
    std::string _read;
};

ScriptedHttpServer::ScriptedHttpServer(Script script, Security security)
    : _script(std::move(script)), _context(security == Security::SelfSigned ? selfSignedContext() : nullptr) {
    _listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    (void)bind(_listener, reinterpret_cast<sockaddr*>(&address), length);
    (void)listen(_listener, 8);
    getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &length);
    _port = ntohs(address.sin_port);
    _thread = std::thread([this] { run(); });
}

ScriptedHttpServer::~ScriptedHttpServer() {
    _isStopping = true;
    shutdown(_listener, SHUT_RDWR);
    _thread.join();
    close(_listener);
    SSL_CTX_free(_context);
}

void ScriptedHttpServer::run() {
    std::vector<std::pair<int, std::thread>> connections;
    // Clients may go while it writes; threads made here inherit this.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    for (int number = 1; !_isStopping; ++number) {
        const int socket = accept(_listener, nullptr, nullptr);
        if (socket < 0) break;
        const int copy = dup(socket);
        connections.emplace_back(copy, std::thread([this, socket, number] {
                                     Connection connection(socket, _context);
                                     if (!connection.greet()) return;
                                     while (auto seen = connection.read()) {
                                         seen->connection = number;
                                         {
                                             const std::scoped_lock lock(_mutex);
                                             _seen.push_back(*seen);
                                         }
                                         const auto bytes = _script(*seen);
                                         connection.write(bytes);
                                         if (bytes.find("Content-Length") == std::string::npos) return;
                                     }
                                 }));
    }
    for (auto& [socket, thread] : connections) {
        shutdown(socket, SHUT_RDWR);
        thread.join();
        close(socket);
    }
}

std::string ScriptedHttpServer::URL() const {
    return fmt::format("{}://127.0.0.1:{}", _context ? "https" : "http", _port);
}

std::vector<ScriptedHttpServer::Seen> ScriptedHttpServer::seen() const {
    const std::scoped_lock lock(_mutex);
    return _seen;
}

std::string ScriptedHttpServer::answer(std::string_view status, std::string_view body, std::string_view headers) {
    return fmt::format("HTTP/1.1 {}\r\nContent-Length: {}\r\n{}\r\n{}", status, body.size(), headers, body);
}

}  // namespace zun
