#include "shell/AccountModel.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "shell/AccountWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AccountModelTest : public testing::Test, protected AccountWorld {
  protected:
    void settle() { dispatch.runUntilIdle(); }
    [[nodiscard]] std::string notice() const { return model.notice() ? model.notice()->text : ""; }
    [[nodiscard]] bool isGood() const {
        return model.notice() && model.notice()->tone == AccountModel::Notice::Tone::Good;
    }

    LocalizedStrings strings{{"en"}};
    AccountModel model{collaborators(strings)};
};

TEST_F(AccountModelTest, SigningInKeepsTheAccountAndStartsAPass) {
    service->holdsBack = true;
    int changes = 0;
    const auto observation = model.observe({"state"}, [&](std::string_view) {
        EXPECT_TRUE(dispatch.main()->isCurrent());
        ++changes;
    });
    signIn(model);
    EXPECT_EQ(model.work(), AccountWork::SigningIn);
    const auto& asked = service->asked<cloud::SignIn>(0);
    EXPECT_EQ(asked.name + "/" + asked.password + "/" + asked.deviceName, "ada/correct horse/Ada’s laptop");
    signIn(model);
    model.signOut();
    settle();
    EXPECT_EQ(service->requests.size(), 1u) << "one thing at a time";
    report = {environment.now(), 3, AccountSyncReport::Ending::Done, {}};
    // The answer comes on a thread of the network's, where the keyring may be asked.
    dispatch.concurrent(QualityOfService::Utility)->async([this] { service->answerHeld(); });
    settle();
    EXPECT_TRUE(model.isSignedIn());
    EXPECT_FALSE(model.isBusy());
    EXPECT_EQ(model.syncReport().waiting, 3u);
    EXPECT_EQ(sync.passes, 1);
    EXPECT_GT(changes, 1);
    EXPECT_THAT(dialled, ElementsAre(ServiceAddress{"https://cloud.example.org", ""}));
}

TEST_F(AccountModelTest, WhatCannotBeRightIsNotSent) {
    const struct {
        AccountModel::Entry entry;
        std::optional<AccountModel::NewAccount> details;
        const char* complaint;
    } cases[] = {
        {{"http://cloud.example.org", "ada", "correct horse"}, {}, "no address"},
        {{"", "ada", "correct horse"}, {}, "no address"},
        {{"cloud.example.org", "", "correct horse"}, {}, "your name"},
        {{"cloud.example.org", "ada", ""}, {}, "your password"},
        {{"cloud.example.org", "ada", "short"}, {{"", "", "", "short"}}, "at least 8"},
        {{"cloud.example.org", "ada", "correct horse"}, {{"", "", "", "correct house"}}, "differ"},
    };
    for (const auto& each : cases) {
        if (each.details) {
            model.createAccount(each.entry, *each.details);
        } else {
            model.signIn(each.entry);
        }
        settle();
        EXPECT_THAT(notice(), HasSubstr(each.complaint));
    }
    signIn(model);
    service->requests.clear();
    model.changePassword("", "another horse", "another horse");
    model.changePassword("correct horse", "short", "short");
    model.changePassword("correct horse", "another horse", "another house");
    model.deleteAccount("");
    settle();
    EXPECT_THAT(service->requests, IsEmpty());
}

TEST_F(AccountModelTest, RefusalsAreToldInPlainWords) {
    const auto error = [](CKErrorCode code, const char* description = "", std::optional<double> retryAfter = {}) {
        return CKError{code, description, {retryAfter, {}}};
    };
    const auto enter = [this] { model.signIn({"cloud.example.org", "ada", "correct horse"}); };
    const auto create = [this] {
        model.createAccount({"cloud.example.org", "ada", "correct horse"}, {"", "", "code", "correct horse"});
    };
    const auto change = [this] { model.changePassword("correct horse", "another horse", "another horse"); };
    const struct {
        CKError error;
        std::function<void()> action;
        const char* words;
    } cases[] = {
        {error(CKErrorCode::NotAuthenticated), enter, "The name or the password is wrong."},
        {error(CKErrorCode::NotAuthenticated), change, "The password is wrong."},
        {error(CKErrorCode::ConstraintViolation), create, "Somebody else has this name."},
        {error(CKErrorCode::PermissionFailure, "this service takes no new accounts"), create, "takes no new accounts"},
        {error(CKErrorCode::PermissionFailure, "by invitation only"), create, "by invitation only"},
        {error(CKErrorCode::PermissionFailure), enter, "does not let this account"},
        {error(CKErrorCode::InvalidArguments), create, "A name has up to 64"},
        {error(CKErrorCode::InvalidArguments), change, "at least 8 characters"},
        {error(CKErrorCode::LimitExceeded), enter, "Too many devices"},
        {error(CKErrorCode::NetworkUnavailable), enter, "cannot be reached"},
        {error(CKErrorCode::RequestRateLimited, "", 29.2), enter, "Too many tries. Try again in 30 seconds."},
        {error(CKErrorCode::ServiceUnavailable), enter, "Try again in 1 seconds."},
        {error(CKErrorCode::QuotaExceeded), create, "is full"},
        {error(CKErrorCode::IncompatibleVersion), enter, "another version"},
        {error(CKErrorCode::InternalError, "out of paper"), enter, "error 1: out of paper"},
    };
    signIn(model);
    for (const auto& each : cases) {
        refusal = each.error;
        each.action();
        settle();
        EXPECT_THAT(notice(), HasSubstr(each.words));
        EXPECT_FALSE(isGood());
        EXPECT_FALSE(model.isBusy());
    }
    EXPECT_THAT(lookedAt, IsEmpty());
}

TEST_F(AccountModelTest, ACertificateThatNobodyVouchesForIsTakenOnlyAfterAgreement) {
    const CKError failed{CKErrorCode::NetworkFailure, "the handshake failed", {}};
    refusal = failed;
    signIn(model);
    EXPECT_THAT(notice(), HasSubstr("connection to the service failed")) << "it shows no certificate at all";

    certificate = OfferedCertificate{"AA:BB", "CN = cloud", "CN = cloud", "2027", false};
    signIn(model);
    ASSERT_TRUE(model.certificateQuestion());
    EXPECT_EQ(model.certificateQuestion()->certificate.fingerprint, "AA:BB");
    EXPECT_FALSE(model.certificateQuestion()->hasChanged);
    model.refuseCertificate();
    model.acceptCertificate();
    settle();
    EXPECT_FALSE(model.certificateQuestion());
    EXPECT_EQ(dialled.size(), 2u);

    signIn(model);
    refusal.reset();
    model.acceptCertificate();
    settle();
    EXPECT_TRUE(model.isSignedIn());
    EXPECT_EQ(dialled.back(), (ServiceAddress{"https://cloud.example.org", "AA:BB"}));
    EXPECT_EQ(keeper.state().account->certificateFingerprint, "AA:BB");

    // Known by now; another one is asked about anew, with a warning.
    signIn(model);
    EXPECT_EQ(dialled.back().certificateFingerprint, "AA:BB");
    refusal = failed;
    signIn(model);
    EXPECT_FALSE(model.certificateQuestion()) << "it is the one that was accepted";
    certificate->fingerprint = "CC:DD";
    signIn(model);
    ASSERT_TRUE(model.certificateQuestion());
    EXPECT_TRUE(model.certificateQuestion()->hasChanged);
    model.refuseCertificate();

    // A service that has got a proper one since is asked again without the old.
    certificate->isVouchedFor = true;
    service->script = [this](const cloud::Request& request) {
        return dialled.back().certificateFingerprint.empty() ? answer(request) : cloud::Answer(*refusal);
    };
    signIn(model);
    EXPECT_FALSE(model.certificateQuestion());
    EXPECT_EQ(dialled.back().certificateFingerprint, "");
    EXPECT_THAT(notice(), HasSubstr("connection to the service failed")) << "and not for ever";

    lookedAt.clear();
    model.signIn({"http://localhost:8080", "ada", "correct horse"});
    settle();
    EXPECT_THAT(lookedAt, IsEmpty()) << "there is none without encryption";
}

TEST_F(AccountModelTest, AServiceWithAnotherCertificateIsAskedAboutWhileSignedIn) {
    signIn(model);
    report.lastEnding = AccountSyncReport::Ending::Unreachable;
    report.lastError = CKError{CKErrorCode::NetworkFailure, "the handshake failed", {}};
    certificate = OfferedCertificate{"AA:BB", "CN = cloud", "CN = cloud", "2027", false};
    const auto passFails = [this] {
        sync.set(false);
        settle();
    };
    passFails();
    ASSERT_TRUE(model.certificateQuestion());
    EXPECT_FALSE(model.certificateQuestion()->hasChanged) << "an authority vouched for the former";
    model.refuseCertificate();
    passFails();
    EXPECT_FALSE(model.certificateQuestion()) << "it was refused";
    EXPECT_EQ(keeper.currentSession()->certificateFingerprint, "");

    certificate->fingerprint = "CC:DD";
    passFails();
    ASSERT_TRUE(model.certificateQuestion());
    const int before = sync.passes;
    model.acceptCertificate();
    settle();
    EXPECT_FALSE(model.certificateQuestion());
    EXPECT_EQ(sync.passes, before + 1);
    EXPECT_EQ(keeper.currentSession()->certificateFingerprint, "CC:DD");
    keeper.reload();
    EXPECT_EQ(keeper.state().account->certificateFingerprint, "CC:DD") << "it is kept";

    passFails();
    EXPECT_FALSE(model.certificateQuestion()) << "it fails for another reason";
    certificate->isVouchedFor = true;
    passFails();
    EXPECT_FALSE(model.certificateQuestion());
    EXPECT_EQ(keeper.currentSession()->certificateFingerprint, "") << "an authority has taken it over";
    lookedAt.clear();
    report.lastError->code = CKErrorCode::NetworkUnavailable;
    passFails();
    EXPECT_THAT(lookedAt, IsEmpty());
}

TEST_F(AccountModelTest, SigningOutIsDoneHereWhateverTheServiceSays) {
    signIn(model);
    refusal = CKError{CKErrorCode::NetworkUnavailable, "", {}};
    model.signOut();
    settle();
    EXPECT_FALSE(model.isSignedIn());
    EXPECT_THAT(notice(), HasSubstr("there this computer stays on the list"));
    EXPECT_THAT(keyring, IsEmpty());
    refusal.reset();
    signIn(model);
    model.deleteAccount("correct horse");
    settle();
    EXPECT_EQ(service->asked<cloud::DeleteAccount>(service->requests.size() - 1).password, "correct horse");
    EXPECT_FALSE(model.isSignedIn());
    EXPECT_TRUE(isGood());
}

TEST_F(AccountModelTest, DevicesAreSignedOutOneByOne) {
    model.readDevices();
    settle();
    EXPECT_THAT(service->requests, IsEmpty()) << "nobody is signed in";
    signIn(model);
    model.readDevices();
    settle();
    ASSERT_EQ(model.devices()->size(), 2u);
    model.signOutDevice("device-2");
    settle();
    EXPECT_EQ(model.devices()->size(), 1u);
    EXPECT_TRUE(isGood());
    refusal = CKError{CKErrorCode::NotAuthenticated, "", {}};
    model.readDevices();
    settle();
    EXPECT_THAT(model.devicesProblem(), HasSubstr("has signed this computer out"));
    EXPECT_EQ(model.devices()->size(), 1u) << "what was known is still shown";
    refusal.reset();
    model.signOutDevice("device-1");
    settle();
    EXPECT_FALSE(model.isSignedIn());
    EXPECT_FALSE(model.devices()) << "of an account that is no longer here";
}

TEST_F(AccountModelTest, ASyncIsReportedWithItsProblemInWords) {
    signIn(model);
    using Ending = AccountSyncReport::Ending;
    const struct {
        Ending ending;
        OptionalError error;
        const char* words;
    } cases[] = {
        {Ending::TimedOut, {}, "took too long"},
        {Ending::Unreachable, {}, "cannot be reached"},
        {Ending::Failed, {}, "The last sync failed"},
        {Ending::Failed, CKError{CKErrorCode::QuotaExceeded, "", {}}, "is full"},
        {Ending::Failed, CKError{CKErrorCode::NotAuthenticated, "", {}}, "has signed this computer out"},
        {Ending::Done, {}, ""},
    };
    for (const auto& each : cases) {
        sync.set(true);
        report = {environment.now(), 2, each.ending, each.error};
        sync.set(false);
        settle();
        EXPECT_THAT(model.syncProblem(), each.words[0] ? testing::Matcher<std::string>(HasSubstr(each.words))
                                                       : testing::Matcher<std::string>(IsEmpty()));
    }
    EXPECT_EQ(model.syncReport().waiting, 2u);
}

TEST_F(AccountModelTest, KeptVersionsComeBackOnceEach) {
    versions = {version(3, KeptReason::Deleted, "Milk"), version(2, KeptReason::Unsent, "Hidden"),
                version(1, KeptReason::Replaced, "Bread")};
    model.readKeptVersions();
    settle();
    ASSERT_EQ(model.keptVersions()->size(), 2u);
    const auto& bread = model.keptVersions()->back();
    model.bringBack(bread);
    model.bringBack(bread);
    settle();
    EXPECT_THAT(broughtBack, ElementsAre(1));
    EXPECT_TRUE(model.wasBroughtBack(bread));
    EXPECT_FALSE(model.wasBroughtBack(model.keptVersions()->front()));
}

TEST_F(AccountModelTest, EverythingIsTakenAlongIntoAFileForTheUserAlone) {
    signIn(model);
    const auto file = folder.path() / "account.jsonl";
    service->script = [](const cloud::Request& request) -> cloud::Answer {
        if (const auto* zones = std::get_if<cloud::FetchZones>(&request)) {
            if (zones->database == cloud::DatabaseScope::Private) return cloud::Zones{{{"Reminders", "id-ada"}}};
            return cloud::Zones{};
        }
        if (const auto* fetch = std::get_if<cloud::FetchZoneChanges>(&request)) {
            cloud::ZoneChanges changes;
            for (const auto& zone : fetch->zones) {
                cloud::ZoneChanges::Zone one;
                one.zoneID = zone.zoneID;
                one.token = "end";
                CKRecord record;
                record.recordID = {"r1", zone.zoneID};
                one.changed.push_back(record);
                changes.zones.push_back(one);
            }
            return changes;
        }
        return CKError{CKErrorCode::InternalError, "", {}};
    };
    model.exportTo(file.string());
    settle();
    EXPECT_TRUE(isGood()) << notice();
    std::ifstream stream(file);
    std::string line;
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_THAT(line, HasSubstr("r1"));
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);

    model.exportTo((folder.path() / "nowhere" / "account.jsonl").string());
    settle();
    EXPECT_THAT(notice(), HasSubstr("could not be written"));
}

TEST_F(AccountModelTest, AnswersAfterItsEndAreNoHarm) {
    service->holdsBack = true;
    auto other = std::make_unique<AccountModel>(collaborators(strings));
    signIn(*other);
    other->readSyncReport();
    other.reset();
    service->answerHeld();
    sync.set(true);
    settle();
    EXPECT_TRUE(model.isSignedIn()) << "what was begun is done all the same";
}

}  // namespace
}  // namespace zun
