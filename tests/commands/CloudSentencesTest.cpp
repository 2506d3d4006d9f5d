#include "commands/CloudSentences.h"

#include <gmock/gmock.h>

namespace zun {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST(CloudSentences, SayFirstWhatItMeansAndThenWhatTheServiceSaid) {
    const struct {
        CKErrorCode code;
        const char* description;
        CloudStep step;
        const char* beginning;
        const char* holds;
    } cases[] = {
        {CKErrorCode::InternalError, "status 405: no object at byte 0", CloudStep::SigningIn,
         "What answers at this address is no record service", "(status 405: no object at byte 0)."},
        {CKErrorCode::PermissionFailure, "this service takes new accounts by invitation only", CloudStep::Creating,
         "The service takes new accounts by invitation only", "--invitation"},
        {CKErrorCode::PermissionFailure, "this service takes new accounts by invitation only",
         CloudStep::CreatingWithInvitation, "This invitation is not valid", ""},
        {CKErrorCode::PermissionFailure, "this service takes no new accounts", CloudStep::CreatingWithInvitation,
         "The service takes no new accounts.", ""},
        {CKErrorCode::InvalidArguments, "a password has 8 to 1024 bytes", CloudStep::Creating,
         "The service does not take an account like this", "(a password has 8 to 1024 bytes)."},
        {CKErrorCode::ConstraintViolation, "this name is taken", CloudStep::Creating, "This name is taken", ""},
        {CKErrorCode::LimitExceeded, "too many devices", CloudStep::SigningIn, "Too many devices", "account devices"},
        {CKErrorCode::NetworkFailure, "SSL connect error", CloudStep::SigningIn, "The connection to the service failed",
         "(SSL connect error)."},
        {CKErrorCode::RequestRateLimited, "", CloudStep::Other, "The service asks", " in 1 second."},
        {CKErrorCode::NotAuthenticated, "", CloudStep::SigningIn, "The service does not accept this name", ""},
        {CKErrorCode::NotAuthenticated, "", CloudStep::Other, "The service does not know this device", ""},
        // The number is for where nothing else is known.
        {CKErrorCode::BadDatabase, "", CloudStep::Other, "The service refused", "(error 24)."},
    };
    for (const auto& each : cases) {
        const auto sentence = sentenceAbout(CKError{each.code, each.description, {}}, each.step);
        EXPECT_THAT(sentence, AllOf(testing::StartsWith(each.beginning), HasSubstr(each.holds)));
        EXPECT_EQ(sentence.find("(error ") != std::string::npos, std::string_view(each.holds) == "(error 24).");
    }
}

// Several reminders go up together, and what is wrong with one of them fails the others, too.
TEST(CloudSentences, APartialFailureIsToldByTheItemThatSaysMost) {
    CKError error{CKErrorCode::PartialFailure, "some items failed", {}};
    auto& items = error.userInfo.CKPartialErrorsByItemIDKey;
    const auto sentence = [&] { return sentenceAbout(SyncOutcome{SyncOutcome::Ending::Failed, error, {}}); };
    EXPECT_THAT(sentence(), HasSubstr("(some items failed)"));
    items[{"a", {}}] = {CKErrorCode::BatchRequestFailed, "", {}};
    items[{"b", {}}] = {CKErrorCode::UnknownItem, "", {}};
    EXPECT_THAT(sentence(), HasSubstr("zunctl conflicts"));
    items[{"c", {}}] = {CKErrorCode::QuotaExceeded, "", {}};
    items[{"d", {}}] = {CKErrorCode::UnknownItem, "", {}};
    EXPECT_EQ(sentence(), "The account at the service is full.");
}

TEST(CloudSentences, AnAddressIsRefusedForWhatIsWrongWithIt) {
    EXPECT_THAT(sentenceAboutAddress("http://192.0.2.2:8480"),
                AllOf(HasSubstr("only for a service on this computer"), HasSubstr("https://192.0.2.2:8480")));
    EXPECT_THAT(sentenceAboutAddress("ftp://192.0.2.2"), HasSubstr("is no address"));
    EXPECT_THAT(sentenceAboutAddress("http://"), HasSubstr("is no address"));
}

TEST(CloudSentences, AFingerprintMayBeWrittenInAnyCommonWay) {
    std::string pairs, plain;
    for (int i = 0; i < 32; ++i) {
        pairs += i == 0 ? "0A" : ":0A";
        plain += "0a";
    }
    for (const auto& typed : {pairs, plain, "  " + plain})
        EXPECT_EQ(fingerprintFrom(typed), pairs);
    for (const auto& typed : {std::string(), plain + "0", plain.substr(1), "x" + plain.substr(1)})
        EXPECT_EQ(fingerprintFrom(typed), std::nullopt) << typed;
}

}  // namespace
}  // namespace zun
