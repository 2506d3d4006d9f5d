#include "cloudkit/CloudProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <stdexcept>

namespace zun {
namespace {

// Its first line, which says where it listens.
std::string firstLine(int prints) {
    std::string line;
    for (char each = 0; ::read(prints, &each, 1) == 1 && each != '\n';)
        line += each;
    return line;
}

unsigned short numberAfter(const std::string& line, const std::string& name) {
    const auto at = line.find(" " + name + "=");
    if (at == std::string::npos) throw std::runtime_error("the service did not start: " + line);
    return static_cast<unsigned short>(std::stoi(line.substr(at + name.size() + 2)));
}

}  // namespace

CloudProgram::CloudProgram(std::filesystem::path program, std::filesystem::path folder, std::vector<std::string> words)
    : _program(std::move(program)), _folder(std::move(folder)), _words(std::move(words)) {
    start();
}

CloudProgram::~CloudProgram() {
    if (_pid != 0) kill();
}

void CloudProgram::start() {
    std::vector<std::string> texts{_program.string(), "serve",      "--data",
                                   _folder.string(),  "--listen",   "127.0.0.1:" + std::to_string(_port),
                                   "--health-listen", "127.0.0.1:0"};
    texts.insert(texts.end(), _words.begin(), _words.end());
    std::vector<char*> arguments;
    for (auto& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error = ::posix_spawn(&_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    _prints = ends[0];
    if (error != 0) throw std::runtime_error("cannot start " + texts[0]);
    const auto line = firstLine(_prints);
    _port = numberAfter(line, "port");
    _healthPort = numberAfter(line, "health");
}

int CloudProgram::stop() {
    return end(SIGTERM);
}

void CloudProgram::kill() {
    end(SIGKILL);
}

int CloudProgram::end(int signal) {
    ::kill(_pid, signal);
    // What it still says is read, so that it never waits for a reader.
    char rest[4096];
    while (::read(_prints, rest, sizeof rest) > 0) {
    }
    ::close(_prints);
    int status = 0;
    ::waitpid(_pid, &status, 0);
    _pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string CloudProgram::URL() const {
    return "http://127.0.0.1:" + std::to_string(_port);
}

std::uint64_t CloudProgram::count(const std::string& name) const {
    namespace asio = boost::asio;
    asio::io_context io;
    asio::ip::tcp::socket socket(io);
    socket.connect({asio::ip::address_v4::loopback(), _healthPort});
    asio::write(socket,
                asio::buffer(std::string("GET /metrics HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")));
    std::string text;
    boost::system::error_code end;
    asio::read(socket, asio::dynamic_buffer(text), end);
    const auto field = "\nzun_cloud_" + name + "_total ";
    const auto at = text.find(field);
    if (at == std::string::npos) throw std::runtime_error("no such count: " + name);
    return std::stoull(text.substr(at + field.size()));
}

}  // namespace zun
