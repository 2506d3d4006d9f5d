#include <fmt/chrono.h>
#include <fmt/format.h>
#include <termios.h>
#include <unistd.h>

#include <boost/json.hpp>
#include <iostream>

#include "platform/foundation/SystemEnvironment.h"
#include "server/model/Administration.h"
#include "server/model/ServiceIdentity.h"
#include "server/program/Commands.h"
#include "server/storage/StorageBackup.h"

namespace zun::cloud {
namespace {

// What every command but serve works with.
struct Workshop {
    explicit Workshop(const Place& place, IfMissing ifMissing = IfMissing::Refuse)
        : storage(openStorage(place, ifMissing)) {}
    [[nodiscard]] Administration administration() { return {*storage, environment, random}; }

    std::unique_ptr<Storage> storage;
    SystemEnvironment environment;
    SystemRandomSource random;
};

std::string counted(std::uint64_t number, std::string_view thing) {
    return fmt::format("{} {}{}", number, thing, number == 1 ? "" : "s");
}

// Keeps what is typed from the screen.
class WithoutEcho {
  public:
    WithoutEcho() : _isTerminal(::tcgetattr(STDIN_FILENO, &_before) == 0) {
        if (!_isTerminal) return;
        auto quiet = _before;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~WithoutEcho() {
        if (_isTerminal) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &_before);
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

  private:
    termios _before{};
    bool _isTerminal;
};

std::string askPassword(const AccountOptions& options) {
    std::string password;
    if (options.passwordFromInput) {
        std::getline(std::cin, password);
        return password;
    }
    if (::isatty(STDIN_FILENO) == 0)
        throw std::runtime_error("there is no terminal to ask for the password: use --password-stdin");
    const WithoutEcho quiet;
    std::string again;
    std::cerr << "Password: " << std::flush;
    std::getline(std::cin, password);
    std::cerr << "\nAgain: " << std::flush;
    std::getline(std::cin, again);
    std::cerr << "\n";
    if (password != again) throw std::runtime_error("the passwords differ");
    return password;
}

}  // namespace

int addAccount(const Place& place, const AccountOptions& options) {
    Workshop workshop(place);
    const auto password = askPassword(options);
    const auto id = workshop.administration().addAccount(
        {options.name, options.displayName, options.emailAddress, password, {}, {}});
    fmt::print("{}\n", id);
    return 0;
}

int listAccounts(const Place& place, bool asJSON) {
    Workshop workshop(place);
    for (const auto& account : workshop.administration().accounts()) {
        if (asJSON) {
            std::cout << boost::json::object{{"id", account.id},
                                             {"name", account.name},
                                             {"displayName", account.displayName},
                                             {"emailAddress", account.emailAddress},
                                             {"created", fmt::format("{:%FT%TZ}", account.created)},
                                             {"disabled", account.isDisabled},
                                             {"devices", account.devices.size()},
                                             {"usedBytes", account.usedBytes}}
                      << "\n";
        } else {
            fmt::print("{:<24} {:<24} {}, {} KiB{}\n", account.name, account.displayName,
                       counted(account.devices.size(), "device"), account.usedBytes / 1'024,
                       account.isDisabled ? ", disabled" : "");
        }
    }
    return 0;
}

int disableAccount(const Place& place, const AccountOptions& options) {
    Workshop workshop(place);
    workshop.administration().setDisabled(options.name, !options.isEnabledAgain);
    return 0;
}

int changePassword(const Place& place, const AccountOptions& options) {
    Workshop workshop(place);
    workshop.administration().setPassword(options.name, askPassword(options));
    return 0;
}

int invite(const Place& place, int days) {
    Workshop workshop(place);
    fmt::print("{}\n", workshop.administration().invite(std::chrono::hours(24 * days)));
    return 0;
}

int backup(const Place& place, const std::string& file) {
    Workshop workshop(place);
    fmt::print("{}\n", counted(backUp(*workshop.storage, file), "row"));
    return 0;
}

int restore(const Place& place, const std::string& file, bool isSure) {
    // Nothing is made for a backup that cannot be read.
    BackupFile source(file);
    // Whoever serves the folder must not find other rows below it. A database has no such lock.
    const ServingRight right(place);
    Workshop workshop(place, IfMissing::Make);
    if (!isSure && !workshop.administration().accounts().empty())
        throw std::runtime_error("there are accounts already: say --replace to lose them");
    const auto rows = source.restoreTo(*workshop.storage);
    // What clients know of changes may be newer than the backup.
    renewServiceIdentity(*workshop.storage, workshop.random);
    fmt::print("{}\n", counted(rows, "row"));
    return 0;
}

int check(const Place& place) {
    Workshop workshop(place);
    const auto [complaints, seen] = workshop.administration().check();
    for (const auto& complaint : complaints)
        fmt::print("{}\n", complaint);
    if (!complaints.empty()) return 1;
    fmt::print("Everything fits together: {}, {}, {}.\n", counted(seen.accounts, "account"),
               counted(seen.devices, "device"), counted(seen.records, "record"));
    return 0;
}

int showStatistics(const Place& place, bool asJSON) {
    Workshop workshop(place);
    const auto sum = workshop.administration().statistics();
    const std::pair<const char*, std::uint64_t> numbers[] = {
        {"accounts", sum.accounts}, {"disabledAccounts", sum.disabledAccounts},
        {"devices", sum.devices},   {"zones", sum.zones},
        {"records", sum.records},   {"deletedRecords", sum.deletedRecords},
        {"shares", sum.shares},     {"recordBytes", sum.recordBytes}};
    boost::json::object object;
    for (const auto& [name, number] : numbers) {
        object[name] = number;
        if (!asJSON) fmt::print("{:<18}{}\n", name, number);
    }
    if (asJSON) std::cout << object << "\n";
    return 0;
}

}  // namespace zun::cloud
