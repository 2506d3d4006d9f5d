#include "commands/CloudSentences.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>

#include "account/AccountClient.h"
#include "commands/TerminalText.h"

namespace zun {
namespace {

constexpr std::size_t sha256Digits = 64;

std::string with(std::string_view sentence, const CKError& error) {
    // The service's own words.
    if (!error.description.empty()) return fmt::format("{} ({}).", sentence, terminalLine(error.description));
    return fmt::format("{} (error {}).", sentence, static_cast<std::int64_t>(error.code));
}

// The service uses one code for all of these; its words tell them apart.
std::string aboutRegistration(const CKError& error, bool hadInvitation) {
    if (error.description.find("invitation") == std::string::npos) return "The service takes no new accounts.";
    return hadInvitation ? "This invitation is not valid, or not any more."
                         : "The service takes new accounts by invitation only: ask its host for a code, and add "
                           "--invitation CODE.";
}

}  // namespace

std::string sentenceAbout(const CKError& error, CloudStep step) {
    const bool isCreating = step == CloudStep::Creating || step == CloudStep::CreatingWithInvitation;
    const bool isEntering = isCreating || step == CloudStep::SigningIn;
    switch (error.code) {
        case CKErrorCode::NetworkUnavailable:
            return with("The service cannot be reached", error);
        case CKErrorCode::NetworkFailure:
            return with("The connection to the service failed", error);
        case CKErrorCode::ServiceUnavailable:
        case CKErrorCode::RequestRateLimited:
        case CKErrorCode::ZoneBusy: {
            const auto seconds = static_cast<std::size_t>(std::ceil(std::clamp(error.retryAfter(), 1.0, 86400.0)));
            return "The service asks to be tried again in " + counted(seconds, "second", "seconds") + ".";
        }
        case CKErrorCode::NotAuthenticated:
            return isEntering ? "The service does not accept this name and password."
                              : "The service does not know this device any more. Sign in again: zunctl account login.";
        case CKErrorCode::QuotaExceeded:
            return "The account at the service is full.";
        case CKErrorCode::IncompatibleVersion:
            return "The service speaks another version of the protocol.";
        case CKErrorCode::PermissionFailure:
            if (isCreating) return aboutRegistration(error, step == CloudStep::CreatingWithInvitation);
            return with("The service does not allow it", error);
        case CKErrorCode::InvalidArguments:
            return with(isCreating ? "The service does not take an account like this" : "The service refused", error);
        case CKErrorCode::ConstraintViolation:
            return isCreating ? "This name is taken at the service." : with("The service refused", error);
        case CKErrorCode::LimitExceeded:
            return isEntering ? "Too many devices are signed in with this account. Sign one out there, or take one off "
                                "the list: zunctl account devices --revoke NUMBER."
                              : with("It was too much for the service", error);
        case CKErrorCode::OperationCancelled:
            return isEntering ? "The sign-in was not kept, since the keyring did not open."
                              : with("It was broken off", error);
        case CKErrorCode::InternalError:
            // An answer that nobody who speaks the protocol gives.
            if (error.description.starts_with("status "))
                return with("What answers at this address is no record service, or something before it is broken",
                            error);
            return with("It went wrong", error);
        default:
            return with("The service refused", error);
    }
}

std::string sentenceAbout(const SyncOutcome& outcome) {
    if (outcome.ending == SyncOutcome::Ending::Hindered) return "The sync could not begin: " + outcome.hindrance + ".";
    if (outcome.error) {
        const auto& error = mostTelling(*outcome.error);
        if (outcome.error->code == CKErrorCode::PartialFailure && error.code == CKErrorCode::UnknownItem)
            return "Some of what was changed here is no longer at the service. What was deleted on another device is "
                   "gone here, too, and kept: zunctl conflicts.";
        return sentenceAbout(error);
    }
    switch (outcome.ending) {
        case SyncOutcome::Ending::TimedOut:
            return "The sync took too long.";
        case SyncOutcome::Ending::Unreachable:
            return "The service cannot be reached.";
        case SyncOutcome::Ending::NobodySignedIn:
            return "Nobody is signed in: zunctl account login --service URL --name NAME.";
        case SyncOutcome::Ending::KeyringLocked:
            return "The keyring has not given the sign-in. Unlock it and try again, or sign in anew: "
                   "zunctl account login --service URL --name NAME.";
        default:
            return "The sync failed.";
    }
}

std::string sentenceAboutAddress(std::string_view typed) {
    constexpr std::string_view plain = "http://";
    const auto start = typed.find_first_not_of(' ');
    if (start != std::string_view::npos) typed.remove_prefix(start);
    if (typed.starts_with(plain) && AccountClient::serviceURL(typed.substr(plain.size())))
        return "Plain HTTP is taken only for a service on this computer itself, since anybody between could read "
               "along. Use https://" +
               std::string(typed.substr(plain.size())) + " with a service that has a certificate.";
    return "\"" + std::string(typed) + "\" is no address of a service. Try https://cloud.example.org.";
}

std::optional<std::string> fingerprintFrom(std::string_view typed) {
    std::string pairs;
    std::size_t digits = 0;
    for (const char character : typed) {
        if (character == ':' || character == ' ') continue;
        const auto byte = static_cast<unsigned char>(character);
        if (!std::isxdigit(byte)) return std::nullopt;
        if (digits > 0 && digits % 2 == 0) pairs += ':';
        pairs += static_cast<char>(std::toupper(byte));
        ++digits;
    }
    return digits == sha256Digits ? std::optional(pairs) : std::nullopt;
}

}  // namespace zun
