#include "platform/foundation/Log.h"

#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <utility>

namespace zun {
namespace {

using Sink = std::function<void(std::string_view)>;

std::mutex sinkMutex;
std::shared_ptr<const Sink> currentSink;

}  // namespace

void NSLog(std::string_view line) {
    std::shared_ptr<const Sink> sink;
    {
        const std::lock_guard lock(sinkMutex);
        sink = currentSink;
    }
    if (sink) return (*sink)(line);
    // One write for the whole line: pieces of two threads' lines, or of two programs', never mix.
    std::string text(line);
    text += '\n';
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

ScopedLogSink::ScopedLogSink(std::function<void(std::string_view)> sink) {
    auto next = std::make_shared<const Sink>(std::move(sink));
    const std::lock_guard lock(sinkMutex);
    _previous = std::exchange(currentSink, std::move(next));
}

ScopedLogSink::~ScopedLogSink() {
    auto next = std::move(_previous);
    const std::lock_guard lock(sinkMutex);
    std::swap(currentSink, next);
}

}  // namespace zun
