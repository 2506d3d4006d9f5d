#pragma once

// The road to the service that the account names, whichever that is at the moment: what the sync is given. Without an
// account every request is answered with code 9. Where the service refuses a request for what the device has seen of it
// before, it is asked for its epoch, which the keeper then makes known. A token of another sign-in than the present one
// is sent to nobody, since the service may be another one. Any thread.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "account/AccountKeeper.h"
#include "platform/cloudkit/CloudTransport.h"
#include "platform/cloudkit/ServiceAddress.h"
#include "platform/foundation/BlockGate.h"

namespace zun {

// May be called at any time, on any thread. Never null.
using TransportFactory = std::function<std::shared_ptr<CloudTransport>(const ServiceAddress&)>;

class AccountTransport final : public CloudTransport {
  public:
    // The keeper outlives it.
    AccountTransport(AccountKeeper& keeper, TransportFactory makeTransport)
        : _keeper(keeper), _makeTransport(std::move(makeTransport)) {}
    // What is under way fails.
    ~AccountTransport() override;
    AccountTransport(const AccountTransport&) = delete;
    AccountTransport& operator=(const AccountTransport&) = delete;

    void send(const std::string& deviceToken, cloud::Request request, Completion completion) override;
    // Null without an account.
    [[nodiscard]] std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) override;

    // For a program that does not live long enough to be told on the way. The block runs once, on any thread, whether
    // the service has answered or not.
    void learnEpoch(const Block& done);

  private:
    void learnEpochOver(const std::shared_ptr<CloudTransport>& transport, const Block& done);
    [[nodiscard]] bool belongsToAccount(const std::string& deviceToken) const;
    // Kept until the account names another service.
    [[nodiscard]] std::shared_ptr<CloudTransport> current();

    AccountKeeper& _keeper;
    const TransportFactory _makeTransport;
    std::mutex _mutex;
    ServiceAddress _address;
    std::shared_ptr<CloudTransport> _transport;
    std::vector<std::weak_ptr<CloudTransport>> _formers;  // of services that were left while requests were under way
    const std::shared_ptr<BlockGate> _gate = std::make_shared<BlockGate>();
};

}  // namespace zun
