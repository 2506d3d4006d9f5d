#pragma once

// The cloud of the application: who is signed in, and the two databases of that account.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/cloudkit/CKDatabase.h"
#include "settings/CloudAccount.h"

namespace zun {

// What makes two accounts different: the account's own identifier at its service, not its token or address.
using UbiquityIdentityToken = Bytes;

class CKContainer {
  public:
    using MetadataBlock =
        std::function<void(const std::string& URL, const std::optional<cloud::ShareMetadata>&, const OptionalError&)>;

    virtual ~CKContainer() = default;
    // Answered without asking the service: available while somebody is signed in.
    virtual void accountStatusWithCompletionHandler(CloudAccount::StatusHandler handler) = 0;
    // The same database as long as the container lives.
    [[nodiscard]] virtual CKDatabase& privateCloudDatabase() = 0;
    [[nodiscard]] virtual CKDatabase& sharedCloudDatabase() = 0;
    // Absent while there is no account. One whose secret is not at hand is none that has gone.
    [[nodiscard]] virtual std::optional<UbiquityIdentityToken> ubiquityIdentityToken() const = 0;
    // Of the service, as last seen: another one after it was set back to an earlier state. Empty if it is not known.
    [[nodiscard]] virtual std::string serviceEpoch() const { return {}; }
    virtual void acceptShares(std::vector<cloud::ShareMetadata> shareMetadatas,
                              CKDatabase::ErrorHandler completion) = 0;
    // The block for each URL, then the completion.
    virtual void fetchShareMetadata(std::vector<std::string> shareURLs, MetadataBlock perShareMetadataBlock,
                                    CKDatabase::ErrorHandler completion) = 0;
};

// Posted with a null object, on any thread, when another account or none is signed in.
inline constexpr std::string_view NSUbiquityIdentityDidChangeNotification = "NSUbiquityIdentityDidChangeNotification";

}  // namespace zun
