#pragma once

// The open push streams of this process. A wake of an account makes each of its streams read what it has not carried
// yet from the storage, so pushes are never lost between processes or at a break, and come in order. Any thread.

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "server/model/CloudService.h"
#include "server/model/RequestWork.h"

namespace zun::cloud {

class PushHub : public std::enable_shared_from_this<PushHub> {
  public:
    PushHub(Storage& storage, std::shared_ptr<const ServiceFacts> facts)
        : _storage(storage), _facts(std::move(facts)) {}

    void open(const std::string& deviceToken, std::optional<std::uint64_t> lastNumber, PushStreamHandlers handlers,
              CloudService::StreamOpened opened);
    void wake(const std::string& accountID);
    void wakeAll();
    // Nothing is opened after that.
    void closeAll();
    [[nodiscard]] std::uint64_t count() const { return _count; }

  private:
    struct Stream;
    class Handle;
    struct Batch;
    // False once all are closed.
    [[nodiscard]] bool add(std::shared_ptr<Stream> stream);
    void remove(const std::shared_ptr<Stream>& stream);
    void pump(const std::shared_ptr<Stream>& stream);
    void deliver(const std::shared_ptr<Stream>& stream, const Batch& batch);
    void close(const std::shared_ptr<Stream>& stream);
    [[nodiscard]] Batch readBatch(Transaction& rows, const Stream& stream) const;

    Storage& _storage;
    // Reads that are under way may outlive the service.
    const std::shared_ptr<const ServiceFacts> _facts;
    std::mutex _mutex;
    std::multimap<std::string, std::shared_ptr<Stream>> _streams;  // by account
    bool _isClosed = false;
    std::atomic<std::uint64_t> _count{0};
};

}  // namespace zun::cloud
