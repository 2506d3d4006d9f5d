#include "server/model/ServiceIdentity.h"

#include <future>

#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"

namespace zun::cloud {
namespace {

constexpr std::size_t epochBytes = 9, secretBytes = 32;

template <class Start>
void waitFor(const Start& start) {
    auto ended = std::make_shared<std::promise<std::optional<StorageFailure>>>();
    auto failure = ended->get_future();
    start([ended](std::optional<StorageFailure> how) { ended->set_value(std::move(how)); });
    if (auto how = failure.get()) throw StorageFailure(*how);
}

ServiceIdentity makeIdentity(Transaction& rows, RandomSource& random) {
    ServiceIdentity identity{asText(random.bytes(epochBytes)), random.bytes(secretBytes)};
    rows.put({}, Table::Service, {}, RowWriter().text(identity.epoch).text(identity.secret).take());
    return identity;
}

}  // namespace

void writeAndWait(Storage& storage, const Storage::Work& work) {
    waitFor([&](Storage::Done done) { storage.write(work, std::move(done)); });
}

void readAndWait(Storage& storage, const Storage::Work& work) {
    waitFor([&](Storage::Done done) { storage.read(work, std::move(done)); });
}

ServiceIdentity serviceIdentity(Storage& storage, RandomSource& random) {
    ServiceIdentity identity;
    writeAndWait(storage, [&](Transaction& rows) {
        const auto row = rows.getForUpdate({}, Table::Service, {});
        if (!row) {
            identity = makeIdentity(rows, random);
            return Storage::Ending::Commit;
        }
        RowReader known(*row);
        identity = {known.string(), known.string()};
        return Storage::Ending::Rollback;
    });
    return identity;
}

void renewServiceIdentity(Storage& storage, RandomSource& random) {
    writeAndWait(storage, [&](Transaction& rows) {
        (void)rows.getForUpdate({}, Table::Service, {});
        (void)makeIdentity(rows, random);
        return Storage::Ending::Commit;
    });
}

}  // namespace zun::cloud
