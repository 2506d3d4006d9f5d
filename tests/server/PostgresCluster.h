#pragma once

// A PostgreSQL of the tests' own in a temporary folder, on a local socket. PostgreSQL does not run as root; then it
// runs as "postgres" or "nobody".

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zun::cloud {

class PostgresCluster {
  public:
    // Whether the programs are installed.
    [[nodiscard]] static bool isAvailable();
    // One for the whole program, started when it is first asked for. Ends the program if it cannot start.
    [[nodiscard]] static PostgresCluster& shared();

    PostgresCluster();
    ~PostgresCluster();
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    // The address of a database that nobody else has.
    [[nodiscard]] std::string makeDatabase();
    // As after a crash: connections break, what was committed is there.
    void restart();
    // Its processes are there and do nothing, as on a machine that is out of breath, until this ends.
    class Stillness {
      public:
        explicit Stillness(std::vector<int> processes);
        ~Stillness();
        Stillness(const Stillness&) = delete;
        Stillness& operator=(const Stillness&) = delete;

      private:
        const std::vector<int> _processes;
    };
    [[nodiscard]] Stillness standStill();

  private:
    void start();
    void control(const std::string& words);
    [[nodiscard]] std::string addressOf(const std::string& database) const;

    std::filesystem::path _folder;
    int _databases = 0;
};

}  // namespace zun::cloud
