#pragma once

// Values to JSON and back, by their type: what has a table of fields is an object, an enumeration is its number, a date
// its microseconds, a number with a fraction a text, a table of errors a list of keys with their errors.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/cloudprotocol/JSONReader.h"
#include "platform/cloudprotocol/JSONWriter.h"
#include "platform/cloudprotocol/Messages.h"
#include "platform/cloudprotocol/ProtocolLimits.h"
#include "platform/cloudprotocol/RecordFields.h"

namespace zun::cloud {

using RecordFields = CKRecordFields;

void write(JSONWriter& to, const CKRecordValue& value);
void write(JSONWriter& to, const RecordFields& fields);
void write(JSONWriter& to, double number);
void write(JSONWriter& to, const Bytes& bytes);
template <class T>
void write(JSONWriter& to, const T& value);
template <class T>
void write(JSONWriter& to, const std::vector<T>& values);
template <class Key>
void write(JSONWriter& to, const std::map<Key, CKError>& errors);

bool read(JSONReader& from, CKRecordValue& value, Text bounds = Text::Free);
bool read(JSONReader& from, RecordFields& fields, Text bounds = Text::Free);
bool read(JSONReader& from, double& number, Text bounds = Text::Free);
bool read(JSONReader& from, Bytes& bytes, Text bounds = Text::Free);
bool read(JSONReader& from, std::string& text, Text bounds = Text::Free);
template <class T>
bool read(JSONReader& from, T& value, Text bounds = Text::Free);
template <class T>
bool read(JSONReader& from, std::vector<T>& values, Text bounds = Text::Free);
template <class Key>
bool read(JSONReader& from, std::map<Key, CKError>& errors, Text bounds = Text::Free);

// ---- what contains others

template <class T>
void write(JSONWriter& to, const std::vector<T>& values) {
    to.beginArray();
    for (const auto& value : values)
        write(to, value);
    to.endArray();
}

template <class T>
bool read(JSONReader& from, std::vector<T>& values, Text bounds) {
    if (!from.beginArray()) return false;
    while (from.nextElement()) {
        if (!read(from, values.emplace_back(), bounds)) return false;
    }
    return from.isGood();
}

template <class Key>
struct KeyedError {
    Key key;
    CKError error;
};
template <class Key>
struct Described<KeyedError<Key>> {
    static constexpr std::tuple fields{field("key", &KeyedError<Key>::key), field("error", &KeyedError<Key>::error)};
};

template <class Key>
void write(JSONWriter& to, const std::map<Key, CKError>& errors) {
    to.beginArray();
    for (const auto& [key, error] : errors) {
        to.beginObject();
        to.key("key");
        write(to, key);
        to.key("error");
        write(to, error);
        to.endObject();
    }
    to.endArray();
}

template <class Key>
bool read(JSONReader& from, std::map<Key, CKError>& errors, Text) {
    if (!from.beginArray()) return false;
    while (from.nextElement()) {
        KeyedError<Key> one;
        if (!read(from, one)) return false;
        if (!errors.emplace(std::move(one.key), std::move(one.error)).second) return from.fail("a key twice");
    }
    return from.isGood();
}

// ---- objects

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class Member, class T>
void writeField(JSONWriter& to, const Field<Member>& field, const T& message) {
    const auto& value = std::invoke(field.member, message);
    if constexpr (isOptional<std::remove_cvref_t<decltype(value)>>) {
        if (!value) return;
        to.key(field.name);
        write(to, *value);
    } else {
        to.key(field.name);
        write(to, value);
    }
}

template <HasFields T>
void writeFields(JSONWriter& to, const T& message) {
    to.beginObject();
    std::apply([&](const auto&... field) { (writeField(to, field, message), ...); }, Described<T>::fields);
    to.endObject();
}

template <class Member, class T>
bool readField(JSONReader& from, const Field<Member>& field, T& message) {
    auto& value = std::invoke(field.member, message);
    if constexpr (isOptional<std::remove_cvref_t<decltype(value)>>) {
        return read(from, value.emplace(), field.text);
    } else {
        return read(from, value, field.text);
    }
}

template <HasFields T>
constexpr std::uint32_t requiredFields() {
    std::uint32_t required = 0, bit = 1;
    const auto look = [&](const auto& field) {
        using Value = std::remove_cvref_t<decltype(std::invoke(field.member, std::declval<T&>()))>;
        if (!isOptional<Value>) required |= bit;
        bit <<= 1;
    };
    std::apply([&](const auto&... field) { (look(field), ...); }, Described<T>::fields);
    return required;
}

template <HasFields T>
bool readFields(JSONReader& from, T& message) {
    static constexpr std::uint32_t required = requiredFields<T>();
    if (!from.beginObject()) return false;
    std::uint32_t seen = 0;
    std::string_view key;
    while (from.nextKey(key)) {
        std::uint32_t bit = 1;
        bool isKnown = false;
        const auto tryField = [&](const auto& field) {
            if (field.name != key) {
                bit <<= 1;
                return false;
            }
            isKnown = true;
            if (seen & bit) return from.fail("a field twice") || true;
            seen |= bit;
            readField(from, field, message);
            return true;
        };
        std::apply([&](const auto&... field) { (void)(tryField(field) || ...); }, Described<T>::fields);
        if (!isKnown) return from.fail("an unknown field");
        if (!from.isGood()) return false;
    }
    if (from.isGood() && (seen & required) != required) return from.fail("a missing field");
    return from.isGood();
}

// ---- by type

template <class T>
void write(JSONWriter& to, const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        to.boolean(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        to.string(value);
    } else if constexpr (std::is_integral_v<T>) {
        to.integer(value);
    } else if constexpr (std::is_same_v<T, DatabaseScope>) {
        to.string(value == DatabaseScope::Private ? "private" : "shared");
    } else if constexpr (std::is_enum_v<T>) {
        to.integer(static_cast<std::int64_t>(value));
    } else if constexpr (std::is_same_v<T, NSDate>) {
        to.integer(value.time_since_epoch().count());
    } else if constexpr (std::is_same_v<T, CKReference>) {
        write(to, value.recordID);
    } else {
        writeFields(to, value);
    }
}

template <class E>
bool readEnumeration(JSONReader& from, E& value) {
    std::int64_t number = 0;
    if (!from.signedInteger(number)) return false;
    value = static_cast<E>(number);
    if constexpr (HasClosedValues<E>) {
        for (const E known : Closed<E>::values)
            if (known == value) return true;
        return from.fail("an unknown number");
    }
    return true;
}

template <class T>
bool read(JSONReader& from, T& value, Text) {
    if constexpr (std::is_same_v<T, bool>) {
        return from.boolean(value);
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
        return from.unsignedInteger(value);
    } else if constexpr (std::is_same_v<T, DatabaseScope>) {
        std::string_view name;
        if (!from.string(name)) return false;
        value = name == "shared" ? DatabaseScope::Shared : DatabaseScope::Private;
        return name == "private" || name == "shared" || from.fail("an unknown database");
    } else if constexpr (std::is_enum_v<T>) {
        return readEnumeration(from, value);
    } else if constexpr (std::is_same_v<T, NSDate>) {
        std::int64_t microseconds = 0;
        if (!from.signedInteger(microseconds)) return false;
        value = NSDate(std::chrono::microseconds(microseconds));
        return true;
    } else if constexpr (std::is_same_v<T, CKReference>) {
        return read(from, value.recordID);
    } else {
        return readFields(from, value);
    }
}

}  // namespace zun::cloud
