#include "server/program/Words.h"

#include <sys/un.h>

#include <charconv>
#include <cstdint>
#include <filesystem>
#include <string_view>

#include "server/http/HttpFront.h"

namespace zun::cloud {
namespace {

// A number that is too large is cut to 16 bits further on, and another port would answer.
bool isPort(std::string_view word) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), port);
    return error == std::errc() && end == word.data() + word.size();
}

std::string whyNoSocket(const std::string& path) {
    if (path.empty()) return "say where the socket is to be: unix:PATH";
    if (path.size() >= sizeof(sockaddr_un::sun_path)) return "the path of the socket is too long";
    std::error_code ignored;
    const auto status = std::filesystem::symlink_status(path, ignored);
    // Listening removes the socket of an earlier run.
    if (std::filesystem::exists(status) && !std::filesystem::is_socket(status))
        return path + " is there and is no socket";
    return {};
}

}  // namespace

std::string whyNoAddress(const std::string& word) {
    if (word.starts_with(localPrefix)) return whyNoSocket(word.substr(localPrefix.size()));
    const auto colon = word.rfind(':');
    if (colon == std::string::npos || colon == 0) return "say HOST:PORT or unix:PATH, not " + word;
    const auto port = word.substr(colon + 1);
    return isPort(port) ? "" : "a port is a number from 0 to 65535, not " + (port.empty() ? "nothing" : port);
}

std::string whyNoDatabase(const std::string& word) {
    const bool isAddress = word.starts_with("postgresql://") || word.starts_with("postgres://");
    // The other form that PostgreSQL's own programs take.
    const bool isKeywords = word.find("://") == std::string::npos && word.find('=') != std::string::npos;
    return isAddress || isKeywords ? "" : "say postgresql://USER@HOST/NAME: no other database can be used";
}

}  // namespace zun::cloud
