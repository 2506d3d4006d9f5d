#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

std::vector<std::string> CKRecord::allKeys() const {
    std::vector<std::string> keys;
    keys.reserve(fields.size());
    for (const auto& [key, value] : fields)
        keys.push_back(key);
    return keys;
}

const CKRecordValue* CKRecord::objectForKey(const std::string& key) const {
    const auto found = fields.find(key);
    return found == fields.end() ? nullptr : &found->second;
}

void CKRecord::setObject(const std::string& key, std::optional<CKRecordValue> value) {
    if (value) {
        fields.insert_or_assign(key, std::move(*value));
    } else {
        fields.erase(key);
    }
}

}  // namespace zun
