#include "shell/AccountErrorTexts.h"

#include <algorithm>
#include <cmath>

namespace zun {
namespace {

// Of what the person has typed, a different thing may be wrong each time.
std::string_view refusalKey(CKErrorCode code, AccountWork during, const std::string& description) {
    const bool isCreating = during == AccountWork::CreatingAccount;
    const bool isEntering = isCreating || during == AccountWork::SigningIn;
    switch (code) {
        case CKErrorCode::NotAuthenticated:
            if (during == AccountWork::ChangingPassword || during == AccountWork::DeletingAccount)
                return "Account_Error_Wrong_Password";
            return isEntering ? "Account_Error_Wrong_Name_Or_Password" : "Account_Error_Signed_Out";
        case CKErrorCode::PermissionFailure:
            // The code is the same; what the service says of it tells the two apart.
            if (isCreating)
                return description.find("invitation") != std::string::npos ? "Account_Error_Invitation"
                                                                           : "Account_Error_Closed";
            return "Account_Error_Not_Allowed";
        case CKErrorCode::InvalidArguments:
            return isCreating                                ? "Account_Error_Name_Or_Password_Rules"
                   : during == AccountWork::ChangingPassword ? "Account_Error_Password_Rules"
                                                             : "";
        case CKErrorCode::ConstraintViolation:
            return isCreating ? "Account_Error_Name_Taken" : "";
        case CKErrorCode::LimitExceeded:
            return isEntering ? "Account_Error_Too_Many_Devices" : "Account_Error_Too_Large";
        case CKErrorCode::QuotaExceeded:
            return "Account_Error_Quota";
        case CKErrorCode::OperationCancelled:
            return isCreating ? "Account_Error_Created_Only" : isEntering ? "Account_Error_Not_Kept" : "";
        case CKErrorCode::IncompatibleVersion:
            return "Account_Error_Version";
        case CKErrorCode::NetworkUnavailable:
            return "Account_Error_Unreachable";
        case CKErrorCode::NetworkFailure:
            return "Account_Error_Connection";
        default:
            return "";
    }
}

}  // namespace

std::string accountErrorText(const CKError& whole, AccountWork during, const LocalizedStrings& strings) {
    const auto& error = mostTelling(whole);
    if (whole.code == CKErrorCode::PartialFailure && error.code == CKErrorCode::UnknownItem)
        return strings.string("Account_Error_Gone");
    const bool isBusy = error.code == CKErrorCode::ServiceUnavailable || error.code == CKErrorCode::ZoneBusy;
    if (isBusy || error.code == CKErrorCode::RequestRateLimited) {
        const auto seconds = static_cast<std::int64_t>(std::ceil(std::clamp(error.retryAfter(), 1.0, 86400.0)));
        const auto* key = isBusy ? "Account_Error_Unavailable" : "Account_Error_Too_Many_Tries";
        return stringWithFormat(strings.string(key), {std::to_string(seconds)});
    }
    const auto key = refusalKey(error.code, during, error.description);
    if (!key.empty()) return strings.string(key);
    return stringWithFormat(strings.string("Account_Error_Other"),
                            {std::to_string(static_cast<std::int64_t>(error.code)), error.description});
}

}  // namespace zun
