// The road over HTTP to the service as it is run: the program, over SQLite on the disk, killed and started again.

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "cloudkit/CloudProgram.h"
#include "cloudkit/ImpatientDispatch.h"
#include "platform/cloudkit/HttpTransport.h"
#include "platform/foundation/SystemDispatch.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using cloud::DatabaseScope;
using testing::ElementsAre;

const CKRecordZoneID zone{"Reminders", std::string(CKCurrentUserDefaultName)};

std::filesystem::path programFile() {
    return std::getenv("ZUN_TEST_CLOUD");
}

CKRecord recordNamed(const std::string& name) {
    CKRecord record;
    record.recordType = "Reminder";
    record.recordID = {name, zone};
    record.setObject("title", CKRecordValue("Water the plants"));
    return record;
}

// What a push stream tells, in words.
class Listener {
  public:
    explicit Listener(Dispatch& dispatch) : _dispatch(dispatch) {}
    CloudTransport::PushHandlers handlers() {
        CloudTransport::PushHandlers handlers;
        handlers.push = [this](const cloud::Push& push) {
            tell("push " + (push.recordID ? push.recordID->recordName : push.subscriptionID));
        };
        handlers.opened = [this](bool hasGap) { tell(hasGap ? "opened with a gap" : "opened"); };
        handlers.broken = [this] { tell("broken"); };
        return handlers;
    }
    // Waits for so many, and gives them.
    std::vector<std::string> take(std::size_t count) {
        _dispatch.waitUntil([&] {
            const std::scoped_lock lock(_mutex);
            return _told.size() >= count;
        });
        const std::scoped_lock lock(_mutex);
        return std::exchange(_told, {});
    }

  private:
    void tell(std::string word) {
        {
            const std::scoped_lock lock(_mutex);
            _told.push_back(std::move(word));
        }
        _dispatch.notify();
    }

    Dispatch& _dispatch;
    std::mutex _mutex;
    std::vector<std::string> _told;
};

class RealServiceTest : public testing::Test {
  protected:
    cloud::Answer send(HttpTransport& transport, const std::string& token, cloud::Request request) {
        std::mutex mutex;
        std::optional<cloud::Answer> received;
        transport.send(token, std::move(request), [&](cloud::Answer answer) {
            {
                const std::scoped_lock lock(mutex);
                received = std::move(answer);
            }
            dispatch.notify();
        });
        dispatch.waitUntil([&] {
            const std::scoped_lock lock(mutex);
            return received.has_value();
        });
        return std::move(*received);
    }
    template <class Wanted>
    Wanted ask(HttpTransport& transport, const std::string& token, cloud::Request request) {
        auto answer = send(transport, token, std::move(request));
        if (const auto* error = std::get_if<CKError>(&answer)) {
            ADD_FAILURE() << "code " << static_cast<int>(error->code) << ": " << error->description;
            return {};
        }
        return std::get<Wanted>(std::move(answer));
    }
    CKErrorCode codeOf(HttpTransport& transport, const std::string& token, cloud::Request request) {
        const auto answer = send(transport, token, std::move(request));
        const auto* error = std::get_if<CKError>(&answer);
        return error ? error->code : CKErrorCode{};
    }
    void save(HttpTransport& transport, const std::string& token, const std::string& name) {
        const auto saved = ask<cloud::ModifiedRecords>(
            transport, token,
            cloud::ModifyRecords{DatabaseScope::Private, cloud::SavePolicy::AllKeys, {recordNamed(name)}, {}});
        EXPECT_EQ(saved.saved.size(), 1u) << name;
    }
    cloud::ZoneChanges::Zone changes(HttpTransport& transport, const std::string& token,
                                     const std::optional<cloud::Token>& since) {
        auto page =
            ask<cloud::ZoneChanges>(transport, token, cloud::FetchZoneChanges{DatabaseScope::Private, {{zone, since}}});
        return page.zones.empty() ? cloud::ZoneChanges::Zone() : std::move(page.zones.front());
    }

    TemporaryFolder folder;
    TestEnvironment environment;
    SystemDispatch dispatch{std::make_shared<LoopQueue>()};
    ImpatientDispatch impatient{dispatch};
};

TEST_F(RealServiceTest, TwoDevicesGoOnWhereTheyWereWhenTheServiceComesBack) {
    CloudProgram service(programFile(), folder.path() / "service");
    HttpTransport first({service.URL(), {}}, impatient, environment);
    HttpTransport second({service.URL(), {}}, impatient, environment);
    const auto writer =
        ask<cloud::SignedIn>(first, "", cloud::CreateAccount{"anna", "Anna", "", "a password", "", "desk"}).deviceToken;
    EXPECT_EQ(codeOf(second, "", cloud::SignIn{"anna", "another password", "lap"}), CKErrorCode::NotAuthenticated);
    const auto reader = ask<cloud::SignedIn>(second, "", cloud::SignIn{"anna", "a password", "lap"}).deviceToken;
    ask<cloud::ModifiedZones>(first, writer, cloud::ModifyZones{DatabaseScope::Private, {zone}, {}});
    ask<cloud::SavedSubscription>(
        second, reader,
        cloud::SaveSubscription{DatabaseScope::Private,
                                {"", cloud::CKSubscriptionData::Kind::Query, "Reminder", 7, {}, true}});
    Listener listener(dispatch);
    const auto stream = second.openPushStream(reader, listener.handlers());
    EXPECT_THAT(listener.take(1), ElementsAre("opened"));
    save(first, writer, "before");
    EXPECT_THAT(listener.take(1), ElementsAre("push before"));
    auto seen = changes(second, reader, std::nullopt);
    EXPECT_EQ(seen.changed.size(), 1u);

    struct Ending {
        std::string name;
        std::function<void()> end;
    };
    const std::vector<Ending> endings{{"stopped", [&] { EXPECT_EQ(service.stop(), 0); }},
                                      {"killed", [&] { service.kill(); }}};
    for (const auto& [name, end] : endings) {
        end();
        EXPECT_THAT(listener.take(1), ElementsAre("broken")) << name;
        EXPECT_EQ(codeOf(first, writer, cloud::FetchZones{DatabaseScope::Private}), CKErrorCode::NetworkUnavailable)
            << name;
        service.start();
        EXPECT_EQ(listener.take(1).front().substr(0, 6), "opened") << name;
        save(first, writer, name);
        EXPECT_THAT(listener.take(1), ElementsAre("push " + name));
        seen = changes(second, reader, seen.token);
        ASSERT_EQ(seen.changed.size(), 1u) << name;
        EXPECT_EQ(seen.changed[0].recordID.recordName, name);
        EXPECT_FALSE(seen.fromBeginning) << name;
    }
}

// Of a certificate as people make one on their own machine.
class OwnCertificate {
  public:
    explicit OwnCertificate(const std::filesystem::path& folder) : key(folder / "key.pem"), file(folder / "cert.pem") {
        run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 -subj /CN=zun.example "
            "-keyout " +
            key.string() + " -out " + file.string() + " 2>/dev/null");
        const auto print = folder / "fingerprint";
        run("openssl x509 -noout -fingerprint -sha256 -in " + file.string() + " > " + print.string());
        std::string line;
        std::getline(std::ifstream(print), line);
        fingerprint = line.substr(line.find('=') + 1);
    }

    const std::filesystem::path key, file;
    std::string fingerprint;

  private:
    static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }
};

TEST_F(RealServiceTest, ACertificateOfOnesOwnIsTakenByItsFingerprintAlone) {
    const OwnCertificate certificate(folder.path());
    CloudProgram service(programFile(), folder.path() / "service",
                         {"--tls-cert", certificate.file.string(), "--tls-key", certificate.key.string()});
    const auto URL = "https://127.0.0.1:" + std::to_string(service.port());
    const auto shown = fetchServiceCertificate(URL);
    ASSERT_TRUE(std::holds_alternative<ServiceCertificate>(shown)) << std::get<CKError>(shown).description;
    EXPECT_EQ(std::get<ServiceCertificate>(shown).fingerprint, certificate.fingerprint);

    const cloud::CreateAccount account{"anna", "", "", "a password", "", "desk"};
    auto other = certificate.fingerprint;
    other.back() = other.back() == '0' ? '1' : '0';
    for (const auto& refused : {std::string(), other}) {
        HttpTransport transport({URL, refused}, impatient, environment);
        EXPECT_EQ(codeOf(transport, "", account), CKErrorCode::NetworkFailure) << refused;
    }
    EXPECT_EQ(service.count("requests"), 0u);
    HttpTransport transport({URL, certificate.fingerprint}, impatient, environment);
    const auto token = ask<cloud::SignedIn>(transport, "", account).deviceToken;
    Listener listener(dispatch);
    const auto stream = transport.openPushStream(token, listener.handlers());
    EXPECT_THAT(listener.take(1), ElementsAre("opened"));
}

}  // namespace
}  // namespace zun
