#include <fmt/chrono.h>
#include <fmt/format.h>
#include <pthread.h>
#include <signal.h>

#include <cstdio>

#include "platform/foundation/SystemEnvironment.h"
#include "server/http/SideThreads.h"
#include "server/program/Commands.h"

namespace zun::cloud {
namespace {

// Signals that end the service; they are waited for, never handled.
sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

void writeLine(std::string_view line) {
    const auto text = fmt::format("{}\n", line);
    // Whole lines, whatever thread they come from.
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

int serve(const ServeOptions& options) {
    const auto signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    const ServingRight right(options.place);
    const SystemEnvironment environment;
    SystemRandomSource random;
    // What it still has to do when it ends uses the two above.
    const auto storage = openStorage(options.place, IfMissing::Make);
    SideThreads aside(options.service.limits.passwordsAtOnce);
    auto how = options.service;
    how.aside = [&aside](auto work) { aside.add(std::move(work)); };
    CloudService service(*storage, environment, random, std::move(how));
    const auto log = [&environment](std::string_view line) {
        writeLine(
            fmt::format("time={:%FT%TZ} {}", std::chrono::floor<std::chrono::milliseconds>(environment.now()), line));
    };
    HttpFront front(service, *storage, options.http, log);
    front.start();
    log(fmt::format("event=started listen={} port={} health={} tls={}", options.http.listen, front.port(),
                    front.healthPort(), !options.http.certificateFile.empty()));
    int signal = 0;
    sigwait(&signals, &signal);
    log("event=stopping");
    front.stop();
    const auto counters = service.counters();
    log(fmt::format("event=stopped requests={} saved={} deleted={}", counters.requests, counters.recordsSaved,
                    counters.recordsDeleted));
    return 0;
}

}  // namespace zun::cloud
