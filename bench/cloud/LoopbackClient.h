#pragma once

// A client of the record service over one connection of loopback that waits for each answer. Used by one thread.

#include <fmt/format.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <charconv>
#include <stdexcept>
#include <string>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun::cloud {

class LoopbackClient {
  public:
    explicit LoopbackClient(unsigned short port) : _socket(_io) {
        _socket.connect({boost::asio::ip::address_v4::loopback(), port});
        _socket.set_option(boost::asio::ip::tcp::no_delay(true));
    }

    std::string token;

    [[nodiscard]] std::string post(const Request& request) { return post(pathOf(request), encode(request)); }
    // The body of the answer, whatever its status.
    [[nodiscard]] std::string post(std::string_view path, std::string_view body) {
        const auto head = fmt::format(
            "POST /v1/{} HTTP/1.1\r\nHost: localhost\r\nZun-Protocol: 1\r\nAuthorization: Bearer {}\r\nContent-Length: "
            "{}\r\n\r\n{}",
            path, token, body.size(), body);
        boost::asio::write(_socket, boost::asio::buffer(head));
        const auto headLength = boost::asio::read_until(_socket, boost::asio::dynamic_buffer(_received), "\r\n\r\n");
        constexpr std::string_view field = "Content-Length: ";
        const auto at = _received.find(field);
        if (at == std::string::npos || at > headLength) throw std::runtime_error("an answer without a length");
        std::size_t length = 0;
        std::from_chars(_received.data() + at + field.size(), _received.data() + headLength, length);
        if (_received.size() < headLength + length)
            boost::asio::read(_socket, boost::asio::dynamic_buffer(_received),
                              boost::asio::transfer_exactly(headLength + length - _received.size()));
        auto answer = _received.substr(headLength, length);
        _received.erase(0, headLength + length);
        return answer;
    }

    template <class Wanted>
    Wanted ask(const Request& request) {
        auto decoded = decodeAnswer(request, post(request));
        auto* answer = std::get_if<Answer>(&decoded);
        auto* wanted = answer ? std::get_if<Wanted>(answer) : nullptr;
        if (!wanted) throw std::runtime_error("another answer than expected to " + std::string(pathOf(request)));
        return std::move(*wanted);
    }

    // For streams: sends a head and leaves the rest to come.
    void openPushStream() {
        boost::asio::write(_socket,
                           boost::asio::buffer(fmt::format(
                               "GET /v1/push HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer {}\r\n\r\n", token)));
        (void)readUntil("\n\n");
    }
    [[nodiscard]] std::string readUntil(std::string_view end) {
        const auto length = boost::asio::read_until(_socket, boost::asio::dynamic_buffer(_received), end);
        auto text = _received.substr(0, length);
        _received.erase(0, length);
        return text;
    }

  private:
    boost::asio::io_context _io;
    boost::asio::ip::tcp::socket _socket;
    std::string _received;
};

}  // namespace zun::cloud
