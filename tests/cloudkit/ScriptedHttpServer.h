#pragma once

// An HTTP server on loopback that answers as the test says: one connection after the other, each kept open for as many
// requests as come. With a certificate it speaks TLS.

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zun {

class ScriptedHttpServer {
  public:
    struct Seen {
        std::string line;                            // such as "POST /v1/zones/fetch HTTP/1.1"
        std::map<std::string, std::string> headers;  // names in lower case
        std::string body;
        int connection = 0;
    };
    // What goes back, byte for byte; the connection is closed after it unless it says how long it is.
    using Script = std::function<std::string(const Seen&)>;
    enum class Security { Plain, SelfSigned };

    explicit ScriptedHttpServer(Script script, Security security = Security::Plain);
    ~ScriptedHttpServer();

    [[nodiscard]] std::string URL() const;
    [[nodiscard]] std::vector<Seen> seen() const;
    static std::string answer(std::string_view status, std::string_view body, std::string_view headers = "");

  private:
    class Connection;
    void run();

    const Script _script;
    SSL_CTX* _context = nullptr;
    int _listener = -1;
    int _port = 0;
    mutable std::mutex _mutex;
    std::vector<Seen> _seen;
    std::atomic<bool> _isStopping = false;
    std::thread _thread;
};

}  // namespace zun
