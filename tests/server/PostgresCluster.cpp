#include "server/PostgresCluster.h"

#include <glob.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

namespace zun::cloud {
namespace {

std::filesystem::path programs() {
    glob_t found{};
    std::filesystem::path folder;
    if (::glob("/usr/lib/postgresql/*/bin/initdb", 0, nullptr, &found) == 0 && found.gl_pathc > 0)
        folder = std::filesystem::path(found.gl_pathv[found.gl_pathc - 1]).parent_path();
    ::globfree(&found);
    return folder;
}

const passwd* otherUser() {
    if (::geteuid() != 0) return nullptr;
    const auto* user = ::getpwnam("postgres");
    return user ? user : ::getpwnam("nobody");
}

void run(const std::string& command) {
    const auto* user = otherUser();
    const auto whole = (user ? "setpriv --reuid=" + std::string(user->pw_name) +
                                   " --regid=" + std::to_string(user->pw_gid) + " --clear-groups "
                             : std::string()) +
                       command + " >/dev/null 2>&1";
    if (std::system(whole.c_str()) == 0) return;
    std::fprintf(stderr, "failed: %s\n", whole.c_str());
    std::abort();
}

}  // namespace

bool PostgresCluster::isAvailable() {
    return !programs().empty();
}

PostgresCluster& PostgresCluster::shared() {
    static PostgresCluster cluster;
    return cluster;
}

PostgresCluster::PostgresCluster() {
    // The name of a local socket is short.
    std::string name = (std::filesystem::temp_directory_path() / "zun-postgres-XXXXXX").string();
    if (!::mkdtemp(name.data())) std::abort();
    _folder = name;
    if (const auto* user = otherUser())
        if (::chown(_folder.c_str(), user->pw_uid, user->pw_gid) != 0) std::abort();
    run(programs() / "initdb" +=
        " -D " + (_folder / "data").string() + " -A trust -U zun --no-sync --encoding UTF8 --locale C");
    start();
}

PostgresCluster::~PostgresCluster() {
    control("-m immediate stop");
    std::error_code ignored;
    std::filesystem::remove_all(_folder, ignored);
}

void PostgresCluster::control(const std::string& words) {
    run(programs() / "pg_ctl" += " -D " + (_folder / "data").string() + " -w " + words);
}

void PostgresCluster::start() {
    control("-l " + (_folder / "log").string() + " -o \"-k " + _folder.string() +
            " -c listen_addresses='' -c fsync=off\" start");
}

void PostgresCluster::restart() {
    control("-m immediate stop");
    start();
}

// The first of them starts no others once it has stopped.
PostgresCluster::Stillness PostgresCluster::standStill() {
    int postmaster = 0;
    std::ifstream(_folder / "data" / "postmaster.pid") >> postmaster;
    if (postmaster <= 1 || ::kill(postmaster, SIGSTOP) != 0) std::abort();
    std::vector<int> processes{postmaster};
    const auto process = "/proc/" + std::to_string(postmaster);
    std::ifstream children(process + "/task/" + std::to_string(postmaster) + "/children");
    for (int child = 0; children >> child;)
        processes.push_back(child);
    return Stillness(std::move(processes));
}

PostgresCluster::Stillness::Stillness(std::vector<int> processes) : _processes(std::move(processes)) {
    for (const int process : _processes)
        (void)::kill(process, SIGSTOP);
}

PostgresCluster::Stillness::~Stillness() {
    for (const int process : _processes)
        (void)::kill(process, SIGCONT);
}

std::string PostgresCluster::addressOf(const std::string& database) const {
    return "host=" + _folder.string() + " user=zun dbname=" + database;
}

std::string PostgresCluster::makeDatabase() {
    const auto name = "test" + std::to_string(++_databases);
    const std::unique_ptr<PGconn, void (*)(PGconn*)> connection(PQconnectdb(addressOf("postgres").c_str()), PQfinish);
    const std::unique_ptr<PGresult, void (*)(PGresult*)> made(
        PQexec(connection.get(), ("CREATE DATABASE " + name).c_str()), PQclear);
    if (PQresultStatus(made.get()) != PGRES_COMMAND_OK) std::abort();
    return addressOf(name);
}

}  // namespace zun::cloud
