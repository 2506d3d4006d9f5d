#include "server/model/PushHub.h"

#include <utility>
#include <vector>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun::cloud {
namespace {

constexpr std::size_t pushesAtOnce = 100;

}  // namespace

struct PushHub::Stream {
    std::string deviceToken, accountID, deviceID;
    PushStreamHandlers handlers;
    std::mutex mutex;
    std::uint64_t lastNumber = 0;  // used by the one that pumps
    bool isPumping = false, isWokenAgain = false, isClosed = false;
};

// What the owner of a stream holds.
class PushHub::Handle final : public PushStream {
  public:
    Handle(std::weak_ptr<PushHub> hub, std::shared_ptr<Stream> stream)
        : _hub(std::move(hub)), _stream(std::move(stream)) {}
    ~Handle() override {
        {
            std::lock_guard lock(_stream->mutex);
            _stream->isClosed = true;
        }
        if (auto hub = _hub.lock()) hub->remove(_stream);
    }

  private:
    std::weak_ptr<PushHub> _hub;
    std::shared_ptr<Stream> _stream;
};

struct PushHub::Batch {
    bool isSignedOut = false;
    bool hasMore = false;
    std::vector<Push> pushes;
};

void PushHub::open(const std::string& deviceToken, std::optional<std::uint64_t> lastNumber, PushStreamHandlers handlers,
                   CloudService::StreamOpened opened) {
    struct Outcome {
        std::optional<CKError> error;
        OpenedPushStream stream;
    };
    auto stream = std::make_shared<Stream>();
    stream->deviceToken = deviceToken;
    stream->handlers = std::move(handlers);
    auto outcome = std::make_shared<Outcome>();
    auto work = [this, stream, outcome, lastNumber](Transaction& rows) {
        try {
            RequestWork asker(rows, *_facts, Access::Read);
            asker.authenticate(stream->deviceToken);
            const auto& device = *asker.me().device(asker.deviceID);
            stream->accountID = asker.accountID;
            stream->deviceID = asker.deviceID;
            const auto wanted = lastNumber.value_or(device.lastPush);
            outcome->stream.hasGap = wanted > device.lastPush || wanted + 1 < device.firstPushKept;
            stream->lastNumber = outcome->stream.hasGap ? device.lastPush : wanted;
            outcome->stream.lastNumber = stream->lastNumber;
        } catch (const RequestRefused& refused) {
            outcome->error = refused.error;
        }
        return Storage::Ending::Rollback;
    };
    _storage.read(work, [self = shared_from_this(), stream, outcome, opened = std::move(opened)](auto failure) {
        if (failure) outcome->error = makeError(CKErrorCode::ServiceUnavailable, "the storage is not available");
        if (!outcome->error && !self->add(stream))
            outcome->error = makeError(CKErrorCode::ServiceUnavailable, "the service is stopping");
        if (outcome->error) {
            opened(*outcome->error);
            return;
        }
        outcome->stream.stream = std::make_unique<Handle>(self, stream);
        opened(std::move(outcome->stream));
        // What was committed since the read.
        self->pump(stream);
    });
}

bool PushHub::add(std::shared_ptr<Stream> stream) {
    std::lock_guard lock(_mutex);
    if (_isClosed) return false;
    auto account = stream->accountID;
    _streams.emplace(std::move(account), std::move(stream));
    ++_count;
    return true;
}

void PushHub::remove(const std::shared_ptr<Stream>& stream) {
    std::lock_guard lock(_mutex);
    auto [first, last] = _streams.equal_range(stream->accountID);
    for (; first != last; ++first) {
        if (first->second != stream) continue;
        _streams.erase(first);
        --_count;
        return;
    }
}

void PushHub::wake(const std::string& accountID) {
    if (accountID.empty()) {
        wakeAll();
        return;
    }
    std::vector<std::shared_ptr<Stream>> streams;
    {
        std::lock_guard lock(_mutex);
        auto [first, last] = _streams.equal_range(accountID);
        for (; first != last; ++first)
            streams.push_back(first->second);
    }
    for (const auto& stream : streams)
        pump(stream);
}

void PushHub::wakeAll() {
    std::vector<std::shared_ptr<Stream>> streams;
    {
        std::lock_guard lock(_mutex);
        for (const auto& [account, stream] : _streams)
            streams.push_back(stream);
    }
    for (const auto& stream : streams)
        pump(stream);
}

void PushHub::closeAll() {
    std::vector<std::shared_ptr<Stream>> streams;
    {
        std::lock_guard lock(_mutex);
        _isClosed = true;
        for (const auto& [account, stream] : _streams)
            streams.push_back(stream);
    }
    for (const auto& stream : streams)
        close(stream);
}

// One reads at a time; who comes meanwhile leaves a note.
void PushHub::pump(const std::shared_ptr<Stream>& stream) {
    {
        std::lock_guard lock(stream->mutex);
        if (stream->isClosed) return;
        if (std::exchange(stream->isPumping, true)) {
            stream->isWokenAgain = true;
            return;
        }
        stream->isWokenAgain = false;
    }
    auto batch = std::make_shared<Batch>();
    auto work = [this, stream, batch](Transaction& rows) {
        *batch = readBatch(rows, *stream);
        return Storage::Ending::Rollback;
    };
    _storage.read(work, [self = shared_from_this(), stream, batch](auto failure) {
        if (!failure) self->deliver(stream, *batch);
        bool isMore = !failure && batch->hasMore;
        {
            std::lock_guard lock(stream->mutex);
            stream->isPumping = false;
            isMore = isMore || (!failure && stream->isWokenAgain);
        }
        if (isMore) self->pump(stream);
    });
}

PushHub::Batch PushHub::readBatch(Transaction& rows, const Stream& stream) const {
    Batch batch;
    try {
        RequestWork(rows, *_facts, Access::Read).authenticate(stream.deviceToken);
    } catch (const RequestRefused&) {
        batch.isSignedOut = true;
        return batch;
    }
    rows.scan(stream.accountID, Table::Push, stream.deviceID, pushRow(stream.deviceID, stream.lastNumber), pushesAtOnce,
              [&](std::string_view, std::string_view value) {
                  auto decoded = decodePush(value);
                  if (auto* push = std::get_if<Push>(&decoded)) batch.pushes.push_back(std::move(*push));
                  return true;
              });
    batch.hasMore = batch.pushes.size() == pushesAtOnce;
    return batch;
}

void PushHub::deliver(const std::shared_ptr<Stream>& stream, const Batch& batch) {
    if (batch.isSignedOut) {
        close(stream);
        return;
    }
    for (const auto& push : batch.pushes) {
        {
            std::lock_guard lock(stream->mutex);
            if (stream->isClosed) return;
        }
        stream->lastNumber = push.number;
        stream->handlers.push(push);
    }
}

void PushHub::close(const std::shared_ptr<Stream>& stream) {
    {
        std::lock_guard lock(stream->mutex);
        if (std::exchange(stream->isClosed, true)) return;
    }
    remove(stream);
    stream->handlers.closed();
}

}  // namespace zun::cloud
