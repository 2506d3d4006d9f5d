#include "commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>

#include "ZunDataModel/StoreFileRecords.h"
#include "commands/CloudCommands.h"

namespace zun {
namespace {

using Options = std::shared_ptr<ReminderOptions>;

// A number as a list prints it.
std::string whyNoNumber(const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() < 19 && text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber && text.find_first_not_of('0') != std::string::npos ? ""
                                                                        : "\"" + text + "\" is no number of the list";
}

void addFieldOptions(CLI::App& command, const Options& options) {
    command.add_option("--notes", options->notes, "Free text");
    command.add_option("--checklist", options->checklist, "One item a line, or \"[x]\" and \"[ ]\" before each");
    command.add_option("--date", options->date, "When it is due: 2026-02-01T09:00, or with an offset")
        ->type_name("DATE");
    command.add_option("--repeat", options->repeat, "none, daily, weekly, monthly or yearly");
    command.add_option("--every", options->every, "Every so many days, weeks, months or years")->type_name("N");
    command.add_option("--on", options->on, "Weekdays of a weekly repeat: mon,wed")->type_name("DAYS");
    command.add_option("--until", options->until, "The last date; a day alone counts to its end")->type_name("DATE");
    command.add_option("--early", options->early, "How much earlier: 10m, 2h, 1d or 1w")->type_name("TIME");
    command.add_flag("--nag", options->nag, "Alert three more times");
    command.add_flag("--quiet", options->quiet, "No alerts");
}

template <typename Run>
void onCommand(CLI::App* command, CommandLine& line, Run run) {
    command->callback([&line, run] { line.command = run; });
    command->fallthrough();
}

// A command that takes one identifier.
template <typename Run>
CLI::App* addWithID(CLI::App& app, CommandLine& line, const char* name, const char* help, Run run) {
    auto id = std::make_shared<std::string>();
    auto* command = app.add_subcommand(name, help);
    command->add_option("ID", *id, "The reminder's identifier")->required();
    onCommand(command, line, [id, run](CommandContext& context) { return run(context, *id); });
    return command;
}

void addEditing(CLI::App& app, CommandLine& line) {
    const auto adding = std::make_shared<ReminderOptions>();
    auto* add = app.add_subcommand("add", "Add a reminder; prints its identifier");
    add->add_option("TITLE", adding->title, "What to be reminded of")->required();
    add->add_flag("--parse", adding->parse, "Read the date from the title: \"call mum tomorrow at 9\"");
    addFieldOptions(*add, adding);
    onCommand(add, line, [adding](CommandContext& context) { return addCommand(context, *adding); });

    const auto editing = std::make_shared<ReminderOptions>();
    auto* edit = addWithID(
        app, line, "edit", "Change the named fields of a reminder",
        [editing](CommandContext& context, const std::string& id) { return editCommand(context, id, *editing); });
    edit->add_option("--title", editing->title, "What to be reminded of");
    addFieldOptions(*edit, editing);
    edit->add_flag("--no-notes", editing->noNotes, "Take the notes away");
    edit->add_flag("--no-checklist", editing->noChecklist, "Take the checklist away");
    edit->add_flag("--no-date", editing->noDate, "Make it open-ended: date, repeat and early reminder go");
    edit->add_flag("--no-until", editing->noUntil, "Let it repeat without an end");
    edit->add_flag("--no-nag", editing->noNag, "Alert once");
    edit->add_flag("--alerts", editing->alerts, "Alert again");

    auto url = std::make_shared<std::string>();
    auto* open = app.add_subcommand("open", "Add a reminder from a zun.create link");
    open->add_option("URL", *url, "The link")->required();
    onCommand(open, line, [url](CommandContext& context) { return openCommand(context, *url); });
}

void addQueries(CLI::App& app, CommandLine& line) {
    auto search = std::make_shared<std::string>();
    auto* list = app.add_subcommand("list", "List reminders; those on the cards by default");
    auto kind = std::make_shared<ListKind>(ListKind::Deck);
    const auto addKind = [&](const char* name, ListKind value, const char* help) {
        return list->add_flag_callback(
            name, [kind, value] { *kind = value; }, help);
    };
    const std::array<CLI::Option*, 4> kinds = {
        addKind("--deck", ListKind::Deck, "What is on the cards, in their order"),
        addKind("--upcoming", ListKind::Upcoming, "Everything that is not done, in sections"),
        addKind("--completed", ListKind::Completed, "What is done, newest first"),
        addKind("--all", ListKind::All, "Everything stored, by identifier"),
    };
    for (auto* one : kinds) {
        for (auto* other : kinds) {
            if (one != other) one->excludes(other);
        }
    }
    list->add_option("--search", *search, "Only titles that hold this, whatever their case and accents")
        ->type_name("TEXT");
    onCommand(list, line, [kind, search](CommandContext& context) { return listCommand(context, *kind, *search); });
    addWithID(app, line, "show", "Show one reminder", showCommand);
    addWithID(app, line, "copy", "Print a reminder as text to pass on", copyCommand);

    auto from = std::make_shared<std::string>();
    auto to = std::make_shared<std::string>();
    auto* occurrences = addWithID(app, line, "occurrences", "The dates of a reminder's repeat between two moments",
                                  [from, to](CommandContext& context, const std::string& id) {
                                      return occurrencesCommand(context, id, *from, *to);
                                  });
    occurrences->add_option("--from", *from, "After this moment")->required()->type_name("DATE");
    occurrences->add_option("--to", *to, "Before this moment")->required()->type_name("DATE");
    onCommand(app.add_subcommand("count", "How many are active, and how many there are"), line, countCommand);

    auto title = std::make_shared<std::string>();
    auto notes = std::make_shared<std::optional<std::string>>();
    auto* check = app.add_subcommand("check", "Say whether a text is simple or complex for a reminder");
    check->add_option("TITLE", *title, "What to be reminded of")->required();
    check->add_option("NOTES", *notes, "Free text");
    onCommand(check, line, [title, notes](CommandContext& context) { return checkCommand(context, *title, *notes); });
}

void addActions(CLI::App& app, CommandLine& line) {
    addWithID(app, line, "complete", "Complete a reminder, or one occurrence of a repeating one", completeCommand);
    addWithID(app, line, "uncomplete", "Take a completion back", uncompleteCommand);
    auto until = std::make_shared<std::optional<std::string>>();
    auto* snooze = addWithID(
        app, line, "snooze", "Put a reminder off",
        [until](CommandContext& context, const std::string& id) { return snoozeCommand(context, id, *until); });
    snooze->add_option("--until", *until, "Until this moment; by the snooze setting without it")->type_name("DATE");
    addWithID(app, line, "unsnooze", "Take a snooze back", unsnoozeCommand);
    onCommand(app.add_subcommand("skip", "Send the top card to the bottom"), line, skipCommand);
    addWithID(app, line, "delete", "Delete a reminder", deleteCommand);
}

void addAlerts(CLI::App& app, CommandLine& line) {
    auto kind = std::make_shared<AlertKind>(AlertKind::Scheduled);
    auto* alerts = app.add_subcommand("alerts", "List the alerts to come, in the order of their moments");
    alerts->add_flag_callback(
        "--delivered", [kind] { *kind = AlertKind::Delivered; }, "Those that have come and still stand");
    onCommand(alerts, line, [kind](CommandContext& context) { return alertsCommand(context, *kind); });
    onCommand(app.add_subcommand("sweep", "Remove doubles, old completed reminders and alerts without a reminder"),
              line, sweepCommand);
}

void addTransfer(CLI::App& app, CommandLine& line) {
    onCommand(app.add_subcommand("export", "Print every record as a line of JSON"), line, exportCommand);
    auto file = std::make_shared<std::string>();
    auto* import = app.add_subcommand("import", "Read records back; known identifiers are replaced");
    import->add_option("FILE", *file, "A file of JSON lines, a backup, or - for standard input")->required();
    onCommand(import, line, [file](CommandContext& context) {
        if (*file == "-") return importCommand(context, std::cin);
        if (isDatabaseFile(*file)) return importBackupCommand(context, *file);
        std::ifstream stream(*file, std::ios::binary);
        if (!stream) return context.fail("The file " + *file + " cannot be read.");
        return importCommand(context, stream);
    });
    auto* doctor = app.add_subcommand("doctor", "Check the store, and repair what can be repaired");
    doctor->callback([&line] { line.isDoctor = true; });
    doctor->fallthrough();
}

void addAccount(CLI::App& app, CommandLine& line) {
    auto* account = app.add_subcommand("account", "The account at a record service");
    account->require_subcommand(1);
    account->fallthrough();
    const auto options = std::make_shared<AccountOptions>();
    // Read from standard input in any case: the option says that there is no person to ask.
    const auto addEntering = [&](CLI::App* command) {
        command->add_option("--service", options->service, "The address of the service: https://cloud.example.org")
            ->required()
            ->type_name("URL");
        command->add_option("--name", options->name, "The account's name")->required();
        command->add_option("--device", options->deviceName, "What the list of devices calls this one");
        command->add_option("--trust", options->fingerprint, "Accept the certificate with this SHA-256 fingerprint")
            ->type_name("FINGERPRINT");
        command->add_flag("--password-stdin", options->readsPassword, "Read the password from standard input");
        return command;
    };
    auto* create = addEntering(account->add_subcommand("create", "Create an account, and sign in"));
    create->add_option("--display-name", options->displayName, "What others see");
    create->add_option("--email", options->emailAddress, "For invitations to shared reminders");
    create->add_option("--invitation", options->invitation, "A code, where the service wants one");
    onCommand(create, line,
              [options](CommandContext& context) { return createAccountCommand(context, context.cloud(), *options); });
    onCommand(addEntering(account->add_subcommand("login", "Sign in on this device")), line,
              [options](CommandContext& context) { return loginCommand(context, context.cloud(), *options); });
    onCommand(account->add_subcommand("logout", "Sign out on this device; the reminders stay"), line,
              [](CommandContext& context) { return logoutCommand(context, context.cloud()); });
    onCommand(account->add_subcommand("status", "Who is signed in, and how the sync stands"), line,
              [](CommandContext& context) { return accountStatusCommand(context, context.cloud()); });
    auto* devices = account->add_subcommand("devices", "The devices that are signed in with the account");
    const auto number = std::make_shared<std::size_t>(0);
    devices->add_option("--revoke", *number, "Sign this one out")->type_name("NUMBER")->check(whyNoNumber, "");
    onCommand(devices, line, [number](CommandContext& context) {
        return *number != 0 ? revokeDeviceCommand(context, context.cloud(), *number)
                            : devicesCommand(context, context.cloud());
    });
}

void addSync(CLI::App& app, CommandLine& line) {
    auto* cloud = app.add_subcommand("cloud", "Switch the sync on or off");
    cloud->require_subcommand(1);
    cloud->fallthrough();
    for (const bool isOn : {true, false})
        onCommand(cloud->add_subcommand(isOn ? "on" : "off", isOn ? "Keep this computer and the account in step"
                                                                  : "Keep changes here until it is on again"),
                  line, [isOn](CommandContext& context) { return cloudSwitchCommand(context, context.cloud(), isOn); });
    onCommand(app.add_subcommand("sync", "Bring this device and the account into step; says what moved"), line,
              [](CommandContext& context) { return syncCommand(context, context.cloud()); });

    auto* conflicts = app.add_subcommand("conflicts", "What the sync replaced or deleted in the last 30 days");
    conflicts->fallthrough();
    const auto number = std::make_shared<std::int64_t>(0);
    conflicts->add_option("--restore", *number, "Bring this version back")->type_name("NUMBER")->check(whyNoNumber, "");
    onCommand(conflicts, line, [number](CommandContext& context) {
        return *number != 0 ? restoreConflictCommand(context, *number) : conflictsCommand(context);
    });
}

}  // namespace

std::optional<int> parseCommandLine(int argc, const char* const* argv, CommandLine& line) {
    CLI::App app{"Reminders from the command line, over the same store as Zun.", "zunctl"};
    app.set_version_flag("--version", "zunctl " ZUN_VERSION, "Print the version");
    app.add_option("--home", line.home, "Keep every file in this folder (or set ZUN_HOME)")->type_name("DIR");
    app.add_flag("--json", line.json, "Answer in JSON");
    app.require_subcommand(1);
    addEditing(app, line);
    addQueries(app, line);
    addActions(app, line);
    addAlerts(app, line);
    addTransfer(app, line);
    addAccount(app, line);
    addSync(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitStatus::done : ExitStatus::wrongUsage;
    }
    return std::nullopt;
}

int runCommand(const CommandLine& line, CommandContext& context,
               const std::function<bool(const std::string& out)>& print) {
    std::mutex mutex;
    std::optional<StoreError> failure;
    context.database.setFailureHandler([&](const StoreError& error) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = error;
    });
    const auto& health = context.database.health();
    for (const auto& finding : health.findings)
        context.fail(finding.message);
    int status = ExitStatus::notPossible;
    if (health.canRead) {
        status = line.command(context);
        context.manager.willBecomeInactive();
        context.manager.waitUntilSettled();
        context.userNotifications.synchronize();
    }
    context.database.setFailureHandler({});
    if (failure) {
        // What would have been printed did not come to be.
        context.out.clear();
        status = ExitStatus::notPossible;
        const bool isTold = std::ranges::any_of(
            health.findings, [&](const auto& finding) { return finding.message == failure->message; });
        if (!isTold) context.fail(failure->message);
    } else if (!context.missing.empty()) {
        context.fail(context.missing);
    }
    return print(context.out) ? status : context.fail(answerNotWritten);
}

}  // namespace zun
