#pragma once

// The typed fields of a record: their values, and the fields by name. Plain values; copying copies.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/cloudprotocol/CKRecordID.h"
#include "platform/foundation/Bytes.h"
#include "platform/foundation/NSDate.h"

namespace zun {

struct CKReference {
    CKRecordID recordID;
    bool operator==(const CKReference&) const = default;
};

struct CKRecordValue;
// An empty list is a value; an absent field is none.
using CKList = std::vector<CKRecordValue>;

// Integers are exact: one that is not negative is kept as unsigned, so that equal numbers are equal values. Dates are
// whole microseconds. Doubles are finite.
struct CKRecordValue {
    using Variant =
        std::variant<std::string, std::int64_t, std::uint64_t, double, bool, NSDate, Bytes, CKReference, CKList>;
    Variant value;

    CKRecordValue() = default;
    CKRecordValue(std::string text) : value(std::move(text)) {}
    CKRecordValue(std::int64_t number) {
        number < 0 ? value.emplace<std::int64_t>(number) : value.emplace<std::uint64_t>(number);
    }
    CKRecordValue(std::uint64_t number) : value(number) {}
    CKRecordValue(double number) : value(number) {}
    CKRecordValue(bool yes) : value(yes) {}
    CKRecordValue(NSDate date) : value(date) {}
    CKRecordValue(Bytes bytes) : value(std::move(bytes)) {}
    CKRecordValue(CKReference reference) : value(std::move(reference)) {}
    CKRecordValue(CKList list) : value(std::move(list)) {}
    bool operator==(const CKRecordValue&) const = default;
};

// In the order of their names' bytes, side by side in memory: records are made, read and let go of by the ten thousand.
class CKRecordFields {
  public:
    using Entry = std::pair<std::string, CKRecordValue>;

    [[nodiscard]] std::size_t size() const { return _entries.size(); }
    [[nodiscard]] bool empty() const { return _entries.empty(); }
    [[nodiscard]] auto begin() const { return _entries.begin(); }
    [[nodiscard]] auto end() const { return _entries.end(); }
    // Null without the field.
    [[nodiscard]] const CKRecordValue* find(std::string_view key) const;
    [[nodiscard]] CKRecordValue* find(std::string_view key);
    // A new field, without a value yet; null if there is one already. Quickest for a name behind all others.
    [[nodiscard]] CKRecordValue* add(std::string_view key);
    void set(std::string_view key, CKRecordValue value);
    void remove(std::string_view key);
    // Takes the fields that it does not have.
    void merge(const CKRecordFields& others);
    // For so many fields in all.
    void reserve(std::size_t count) { _entries.reserve(count); }
    template <class Function>
    void forEachValue(Function function) {
        for (auto& [key, value] : _entries)
            function(value);
    }
    bool operator==(const CKRecordFields&) const = default;

  private:
    std::vector<Entry> _entries;
};

}  // namespace zun
