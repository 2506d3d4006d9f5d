#include "platform/cloudprotocol/CKRecordFields.h"

#include <algorithm>

namespace zun {
namespace {

// The first one that is not before the name.
template <class Entries>
auto placeOf(Entries& entries, std::string_view key) {
    const auto isBefore = [](const CKRecordFields::Entry& entry, std::string_view name) { return entry.first < name; };
    if (entries.empty() || entries.back().first < key) return entries.end();
    return std::lower_bound(entries.begin(), entries.end(), key, isBefore);
}

}  // namespace

const CKRecordValue* CKRecordFields::find(std::string_view key) const {
    const auto place = placeOf(_entries, key);
    return place != _entries.end() && place->first == key ? &place->second : nullptr;
}

CKRecordValue* CKRecordFields::find(std::string_view key) {
    return const_cast<CKRecordValue*>(std::as_const(*this).find(key));
}

CKRecordValue* CKRecordFields::add(std::string_view key) {
    const auto place = placeOf(_entries, key);
    if (place != _entries.end() && place->first == key) return nullptr;
    return &_entries.emplace(place, std::string(key), CKRecordValue())->second;
}

void CKRecordFields::set(std::string_view key, CKRecordValue value) {
    const auto place = placeOf(_entries, key);
    if (place != _entries.end() && place->first == key)
        place->second = std::move(value);
    else
        _entries.emplace(place, std::string(key), std::move(value));
}

void CKRecordFields::remove(std::string_view key) {
    const auto place = placeOf(_entries, key);
    if (place != _entries.end() && place->first == key) _entries.erase(place);
}

void CKRecordFields::merge(const CKRecordFields& others) {
    for (const auto& [key, value] : others)
        if (auto* added = add(key)) *added = value;
}

}  // namespace zun
