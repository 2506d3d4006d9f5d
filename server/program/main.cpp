// zun-cloud: reads the command line and runs the command.

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "server/model/RequestWork.h"
#include "server/program/Commands.h"
#include "server/program/Words.h"

namespace {

using namespace zun::cloud;

constexpr int usageStatus = 2;
constexpr std::uint64_t mostMebibytes = std::uint64_t{1} << 40;  // what 64 bits of bytes can say
constexpr unsigned mostThreads = 1'024;

const std::map<std::string, Registration> registrations{
    {"open", Registration::Open}, {"invite", Registration::Invite}, {"closed", Registration::Closed}};

CLI::App* addCommand(CLI::App& to, const char* name, const char* description, Place& place) {
    auto* command = to.add_subcommand(name, description);
    auto* folder = command->add_option("--data", place.folder, "Keep the records in this folder")
                       ->check([](const std::string& word) { return word.empty() ? "say which folder" : ""; }, "")
                       ->type_name("DIR");
    command->add_option("--database", place.database, "Keep them in PostgreSQL: postgresql://...")
        ->check(whyNoDatabase, "")
        ->type_name("URL")
        ->excludes(folder);
    return command;
}

void addServe(CLI::App& program, ServeOptions& options, std::function<int()>& run) {
    auto* command = addCommand(program, "serve", "Serve until stopped", options.place);
    auto& http = options.http;
    auto& limits = options.service.limits;
    command->add_option("--listen", http.listen, "HOST:PORT or unix:PATH; 127.0.0.1:8480 without it")
        ->check(whyNoAddress, "")
        ->type_name("ADDRESS");
    auto* certificate =
        command->add_option("--tls-cert", http.certificateFile, "Certificate with its chain, PEM")->type_name("FILE");
    auto* key = command->add_option("--tls-key", http.keyFile, "Its private key, PEM")->type_name("FILE");
    certificate->needs(key);
    key->needs(certificate);
    command
        ->add_option_function<std::string>(
            "--registration",
            [&options](const std::string& who) { options.service.registration = registrations.at(who); },
            "Who may make accounts: open, invite or closed")
        ->check([](const std::string& who) { return registrations.contains(who) ? "" : "say open, invite or closed"; },
                "")
        ->type_name("WHO");
    command
        ->add_option("--health-listen", http.healthListen,
                     "Address of /healthz and /metrics; 127.0.0.1:8481 without it, '' for none")
        ->check([](const std::string& word) { return word.empty() ? word : whyNoAddress(word); }, "")
        ->type_name("ADDRESS");
    command->add_option("--share-url", options.service.shareURLBase, "What the addresses of shares begin with")
        ->type_name("URL");
    command->add_flag("--allow-plain", http.allowPlain, "Serve other machines without TLS");
    command->add_flag("--behind-proxy", http.isBehindProxy, "Take addresses of clients from X-Forwarded-For");
    command
        ->add_option_function<std::uint64_t>(
            "--quota-mib", [&limits](std::uint64_t size) { limits.bytesPerAccount = size << 20; },
            "Room of an account; 1024 without it")
        ->check(CLI::Range(std::uint64_t{1}, mostMebibytes).description(""))
        ->type_name("N");
    command
        ->add_option_function<double>(
            "--requests-per-second",
            [&limits](double rate) {
                limits.requestsPerSecond = rate;
                limits.requestsAtOnce = 4 * rate;
            },
            "Of a device; 100 without it, 0 for no limit")
        ->check(CLI::Range(0.0, 1e6).description(""))
        ->type_name("N");
    command
        ->add_option_function<int>(
            "--keep-deletions-days", [&limits](int days) { limits.keepDeletions = std::chrono::hours(24 * days); },
            "How long a device may stay away; 30 without it")
        ->check(CLI::Range(1, 3'650).description(""))
        ->type_name("N");
    command->add_option("--threads", http.threads, "0 for as many as there are cores, and two over SQLite")
        ->check(CLI::Range(0U, mostThreads).description(""))
        ->type_name("N");
    command->add_flag("--log-requests", http.logRequests, "Log each request, not only slow and failed ones");
    command->callback([&options, &run] { run = [&options] { return serve(options); }; });
}

void addAccountCommands(CLI::App& program, Place& place, AccountOptions& options, bool& asJSON,
                        std::function<int()>& run) {
    auto* account = program.add_subcommand("account", "Accounts");
    account->require_subcommand(1);
    const auto named = [&](const char* name, const char* description) {
        auto* command = addCommand(*account, name, description, place);
        command->add_option("name", options.name, "Its name")->required()->type_name("");
        return command;
    };
    auto* add = named("add", "Make an account");
    add->add_option("--display-name", options.displayName, "The name that others see")->type_name("TEXT");
    add->add_option("--email", options.emailAddress, "Its e-mail address")->type_name("ADDRESS");
    add->add_flag("--password-stdin", options.passwordFromInput, "Read the password from the input");
    add->callback([&] { run = [&] { return addAccount(place, options); }; });
    auto* list = addCommand(*account, "list", "List the accounts", place);
    list->add_flag("--json", asJSON, "One line of JSON for each");
    list->callback([&] { run = [&] { return listAccounts(place, asJSON); }; });
    auto* disable = named("disable", "Refuse an account");
    disable->add_flag("--undo", options.isEnabledAgain, "Take it again");
    disable->callback([&] { run = [&] { return disableAccount(place, options); }; });
    auto* passwd = named("passwd", "Set a password and sign all devices out");
    passwd->add_flag("--password-stdin", options.passwordFromInput, "Read the password from the input");
    passwd->callback([&] { run = [&] { return changePassword(place, options); }; });
}

struct FileOptions {
    std::string file;
    bool isSure = false;
    int days = 7;
};

void addCareCommands(CLI::App& program, Place& place, FileOptions& options, bool& asJSON, std::function<int()>& run) {
    auto* inviting = addCommand(program, "invite", "Print a code with which one account can be made", place);
    inviting->add_option("--days", options.days, "How long it is good; 7 without it")
        ->check(CLI::Range(1, 365).description(""))
        ->type_name("N");
    inviting->callback([&] { run = [&] { return invite(place, options.days); }; });
    auto* saving = addCommand(program, "backup", "Write everything into one file, also while serving", place);
    saving->add_option("file", options.file, "The file")
        ->required()
        ->check([](const std::string& word) { return word == "-" ? "say a file: a backup is not printed" : ""; }, "")
        ->type_name("");
    saving->callback([&] { run = [&] { return backup(place, options.file); }; });
    auto* restoring = addCommand(program, "restore", "Read a backup back", place);
    restoring->add_option("file", options.file, "The file")->required()->type_name("");
    restoring->add_flag("--replace", options.isSure, "Lose the accounts that are there");
    restoring->callback([&] { run = [&] { return restore(place, options.file, options.isSure); }; });
    auto* checking = addCommand(program, "check", "See whether everything fits together", place);
    checking->callback([&] { run = [&] { return check(place); }; });
    auto* counting = addCommand(program, "stats", "Count what there is", place);
    counting->add_flag("--json", asJSON, "As one line of JSON");
    counting->callback([&] { run = [&] { return showStatistics(place, asJSON); }; });
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App program("The record service of Zun: keeps the reminders of many devices in step.", "zun-cloud");
    program.require_subcommand(1);
    program.set_help_flag("-h,--help", "Print the options");
    program.set_version_flag("--version", "zun-cloud " ZUN_VERSION, "Print the version");
    // Whatever is made here is for its owner only.
    ::umask(077);
    ServeOptions serving;
    serving.http.healthListen = "127.0.0.1:8481";
    Place place;
    AccountOptions account;
    FileOptions files;
    bool asJSON = false;
    std::function<int()> run;
    addServe(program, serving, run);
    addAccountCommands(program, place, account, asJSON, run);
    addCareCommands(program, place, files, asJSON, run);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : usageStatus;
    }
    try {
        return run();
    } catch (const RequestRefused& refused) {
        std::cerr << "zun-cloud: " << refused.error.description << "\n";
    } catch (const std::exception& error) {
        std::cerr << "zun-cloud: " << error.what() << "\n";
    }
    return 1;
}
