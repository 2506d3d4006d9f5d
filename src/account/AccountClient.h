#pragma once

// What a person does with an account: make one, sign in and out, change the password, look at the devices, take
// everything along, delete it. Answers come once, on any thread, perhaps before the call returns, with the service's
// error or none. When it goes, blocks that are running are waited for, and what has not been answered never is.
//
// Signing in and out reach the keyring, which may ask the user: that happens on the keeper's side, on the thread of the
// service's answer. A sign-in that cannot be kept here, or whose question to the user was withdrawn (code 20), is taken
// back at the service.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "account/AccountTransport.h"
#include "platform/cloudprotocol/Messages.h"
#include "platform/foundation/BlockGate.h"

namespace zun {

class AccountClient {
  public:
    using Done = std::function<void(const OptionalError&)>;
    using DevicesBlock = std::function<void(const std::vector<cloud::Device>&, const OptionalError&)>;
    // Each record as one line of JSON.
    using ExportBlock = std::function<void(const std::vector<std::string>&, const OptionalError&)>;

    struct Collaborators {
        AccountKeeper& keeper;
        AccountTransport& transport;  // of the account there is
        TransportFactory makeTransport;
    };

    explicit AccountClient(Collaborators collaborators) : _with(std::move(collaborators)) {}
    ~AccountClient();
    AccountClient(const AccountClient&) = delete;
    AccountClient& operator=(const AccountClient&) = delete;

    // Both end signed in. A sign-in that this replaces is then ended at its service too, as far as that can be reached;
    // the completion does not wait for it.
    void createAccount(ServiceAddress service, cloud::CreateAccount account, Done completion);
    void signIn(ServiceAddress service, cloud::SignIn credentials, Done completion);
    // Signs out here even if the service cannot be told: then the error says so, and the device stays on its list.
    void signOut(Done completion);
    void changePassword(const std::string& oldPassword, const std::string& newPassword, Done completion);
    void fetchDevices(DevicesBlock completion);
    void revokeDevice(const std::string& deviceID, Done completion);
    // The account with all that it stores at the service. What is on this device stays here. Ends signed out.
    void deleteAccount(const std::string& password, Done completion);
    void exportRecords(ExportBlock completion);

    // The block runs once no former sign-in is being ended any more.
    void whenFormerHaveEnded(Block block);

    // "cloud.example/" becomes "https://cloud.example"; absent if it is no address of a service. Plain HTTP is for
    // addresses of this machine alone.
    [[nodiscard]] static std::optional<std::string> serviceURL(std::string_view typed);

  private:
    struct Export;
    using AnswerBlock = std::function<void(const cloud::Answer&)>;
    // The block, as long as this is there.
    [[nodiscard]] AnswerBlock whileHere(AnswerBlock block) const;
    void enter(const ServiceAddress& service, cloud::Request request, Done completion);
    void keep(const std::shared_ptr<CloudTransport>& transport, StoredAccount account, const std::string& deviceToken,
              const Done& completion);
    void leaveEntrance(const std::shared_ptr<CloudTransport>& transport);
    // What the keeper had before a sign-in. The session is absent if its secret is not known.
    struct Former {
        std::optional<StoredAccount> account;
        std::optional<CloudSession> session;
    };
    void endFormer(const Former& former, const StoredAccount& account, const CloudSession& session);
    void ask(cloud::Request request, AnswerBlock completion);
    void askForDone(cloud::Request request, Done completion);
    void exportNext(const std::shared_ptr<Export>& state);

    const Collaborators _with;
    const std::shared_ptr<BlockGate> _gate = std::make_shared<BlockGate>();
    std::mutex _mutex;
    std::shared_ptr<CloudTransport> _entrance;              // of the sign-in under way
    std::vector<std::shared_ptr<CloudTransport>> _endings;  // of former sign-ins
    std::vector<Block> _whenFormerHaveEnded;
};

}  // namespace zun
