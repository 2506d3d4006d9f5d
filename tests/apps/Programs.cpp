#include "apps/Programs.h"

#include <fcntl.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "platform/foundation/Home.h"

namespace zun {
namespace {

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (auto& text : texts)
        all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

std::vector<std::string> withVariables(const std::map<std::string, std::string>& variables) {
    std::vector<std::string> all;
    for (char** each = environ; *each; ++each) {
        const std::string variable = *each;
        if (!variables.contains(variable.substr(0, variable.find('=')))) all.push_back(variable);
    }
    for (const auto& [name, value] : variables)
        all.push_back(name + "=" + value);
    return all;
}

}  // namespace

Program::Program(const std::string& name, const std::vector<std::string>& words,
                 const std::map<std::string, std::string>& variables, const std::string& input) {
    std::ofstream(_prints.path() / "in", std::ios::binary) << input;
    // A name with a path is taken as it stands.
    const auto program = (std::filesystem::path(std::getenv("ZUN_TEST_PROGRAMS")) / name).native();
    std::vector<std::string> texts{program};
    texts.insert(texts.end(), words.begin(), words.end());
    auto environment = withVariables(variables);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int flags = O_WRONLY | O_CREAT;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, (_prints.path() / "in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (_prints.path() / "out").c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (_prints.path() / "err").c_str(), flags, 0600);
    const int error =
        posix_spawn(&_pid, program.c_str(), &actions, nullptr, pointers(texts).data(), pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + program);
}

Program::~Program() {
    if (_pid == 0) return;
    sendSignal(SIGKILL);
    end();
}

void Program::sendSignal(int number) const {
    ::kill(_pid, number);
}

Ended Program::end() {
    int status = 0;
    ::waitpid(_pid, &status, 0);
    _pid = 0;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contents(_prints.path() / "out"),
            contents(_prints.path() / "err")};
}

std::map<std::string, std::string> ProgramsHome::environment() const {
    auto all = variables;
    all["ZUN_HOME"] = folder();
    return all;
}

std::string ProgramsHome::busName() const {
    return Home::find(folder()).busName;
}

std::unique_ptr<Program> ProgramsHome::start(std::vector<std::string> words) const {
    return std::make_unique<Program>("zunctl", words, environment());
}

Ended ProgramsHome::zunctl(std::vector<std::string> words) const {
    return start(std::move(words))->end();
}

Ended ProgramsHome::zunctlReading(const std::string& input, const std::vector<std::string>& words) const {
    return Program("zunctl", words, environment(), input).end();
}

std::unique_ptr<Program> ProgramsHome::startApplication(const std::vector<std::string>& words) const {
    const auto connection = sdbus::createSessionBusConnection();
    const auto bus = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    bool isThere = false;
    bus->uponSignal("NameOwnerChanged")
        .onInterface("org.freedesktop.DBus")
        .call([&](const std::string& name, const std::string&, const std::string& owner) {
            isThere = isThere || (name == busName() && !owner.empty());
        });
    bus->finishRegistration();

    auto application = std::make_unique<Program>("zun", words, environment());
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isThere) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(latest - std::chrono::steady_clock::now());
        if (left.count() <= 0) throw std::runtime_error("the application did not come onto the bus");
        while (connection->processPendingRequest()) {
        }
        if (isThere) break;
        const auto data = connection->getEventLoopPollData();
        pollfd waiting{data.fd, data.events, 0};
        ::poll(&waiting, 1, static_cast<int>(left.count()));
    }
    return application;
}

std::string ProgramsHome::objectPath() const {
    auto path = "/" + busName();
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

bool ProgramsHome::activateThroughBus(const std::string& action, const std::string& reminderID) const {
    std::vector<sdbus::Variant> parameters;
    if (!reminderID.empty()) parameters = {sdbus::Variant(std::int64_t{1}), sdbus::Variant(reminderID)};
    try {
        const auto connection = sdbus::createSessionBusConnection();
        sdbus::createProxy(*connection, busName(), objectPath())
            ->callMethod("ActivateAction")
            .onInterface("org.freedesktop.Application")
            .withArguments(action, parameters, std::map<std::string, sdbus::Variant>{});
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

std::int64_t ProgramsHome::launcherCount() const {
    try {
        const auto connection = sdbus::createSessionBusConnection();
        std::string application;
        std::map<std::string, sdbus::Variant> properties;
        sdbus::createProxy(*connection, busName(), "/com/zunlabs/Zun/LauncherEntry")
            ->callMethod("Query")
            .onInterface("com.canonical.Unity.LauncherEntry")
            .storeResultsTo(application, properties);
        return application == "application://com.zunlabs.Zun.desktop" ? properties.at("count").get<std::int64_t>() : -1;
    } catch (const sdbus::Error&) {
        return -1;
    }
}

bool ProgramsHome::openThroughBus(const std::string& url) const {
    try {
        const auto connection = sdbus::createSessionBusConnection();
        sdbus::createProxy(*connection, busName(), objectPath())
            ->callMethod("Open")
            .onInterface("org.freedesktop.Application")
            .withArguments(std::vector<std::string>{url}, std::map<std::string, sdbus::Variant>{});
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

}  // namespace zun
