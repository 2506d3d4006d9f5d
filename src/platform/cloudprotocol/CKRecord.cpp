#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

std::vector<std::string> CKRecord::allKeys() const {
    std::vector<std::string> keys;
    keys.reserve(fields.size());
    for (const auto& [key, value] : fields)
        keys.push_back(key);
    return keys;
}

void CKRecord::setObject(std::string_view key, std::optional<CKRecordValue> value) {
    if (value) {
        fields.set(key, std::move(*value));
    } else {
        fields.remove(key);
    }
}

}  // namespace zun
