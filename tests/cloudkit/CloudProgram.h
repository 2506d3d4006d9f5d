#pragma once

// The record service as whoever hosts it starts it: the program, over SQLite in a folder, at a port of loopback. One
// thread; the calls that start and end it block until that has happened.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zun {

class CloudProgram {
  public:
    // The further words follow "serve --data FOLDER". Throws if the program does not start.
    CloudProgram(std::filesystem::path program, std::filesystem::path folder, std::vector<std::string> words = {});
    // Kills it.
    ~CloudProgram();
    CloudProgram(const CloudProgram&) = delete;
    CloudProgram& operator=(const CloudProgram&) = delete;

    // At the same port as before, if there was one.
    void start();
    // Asks it to end, and gives its exit status.
    int stop();
    void kill();

    [[nodiscard]] unsigned short port() const { return _port; }
    // "http://127.0.0.1:PORT".
    [[nodiscard]] std::string URL() const;
    // What /metrics says under the name, without "zun_cloud_" and "_total".
    [[nodiscard]] std::uint64_t count(const std::string& name) const;

  private:
    int end(int signal);

    const std::filesystem::path _program, _folder;
    const std::vector<std::string> _words;
    unsigned short _port = 0, _healthPort = 0;
    int _pid = 0;
    int _prints = -1;
};

}  // namespace zun
