#include "account/StoredAccount.h"

#include <array>
#include <boost/json.hpp>
#include <fstream>
#include <sstream>

#include "platform/foundation/DurableFile.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

namespace json = boost::json;

struct Field {
    const char* key;
    std::string StoredAccount::*member;
    bool isNeeded;
};
constexpr std::array fields{
    Field{"service", &StoredAccount::serviceURL, true},
    Field{"accountID", &StoredAccount::accountID, true},
    Field{"name", &StoredAccount::name, true},
    Field{"displayName", &StoredAccount::displayName, false},
    Field{"emailAddress", &StoredAccount::emailAddress, false},
    Field{"deviceID", &StoredAccount::deviceID, false},
    Field{"serviceEpoch", &StoredAccount::serviceEpoch, false},
    Field{"certificateFingerprint", &StoredAccount::certificateFingerprint, false},
    Field{"secretKey", &StoredAccount::secretKey, true},
};
constexpr mode_t ownersOnly = 0600;

}  // namespace

std::optional<StoredAccount> AccountFile::read() const {
    std::ifstream file(_file, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    boost::system::error_code error;
    const json::value parsed = json::parse(text.str(), error);
    if (error.failed() || !parsed.is_object()) {
        NSLog("The file of the account cannot be read: " + _file.string());
        return std::nullopt;
    }
    StoredAccount account;
    for (const auto& [key, member, isNeeded] : fields) {
        const auto* value = parsed.get_object().if_contains(key);
        if (value && value->is_string()) account.*member = std::string_view(value->get_string());
        if (isNeeded && (account.*member).empty()) return std::nullopt;
    }
    return account;
}

bool AccountFile::write(const StoredAccount& account) const {
    json::object object;
    for (const auto& [key, member, isNeeded] : fields)
        object[key] = account.*member;
    std::error_code error;
    std::filesystem::create_directories(_file.parent_path(), error);
    if (!error) error = replaceFileDurably(_file, json::serialize(object) + "\n", ownersOnly);
    if (error) NSLog("The account could not be kept: " + error.message());
    return !error;
}

void AccountFile::remove() const {
    std::error_code none;
    std::filesystem::remove(_file, none);
}

}  // namespace zun
