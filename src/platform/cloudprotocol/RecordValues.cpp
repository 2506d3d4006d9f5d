#include <charconv>
#include <cmath>

#include "platform/cloudprotocol/Coding.h"
#include "platform/foundation/Base64.h"

namespace zun::cloud {
namespace {

// What a value is, as the key of its object.
constexpr std::string_view textTag = "s", integerTag = "i", numberTag = "d", truthTag = "b", dateTag = "t",
                           bytesTag = "x", referenceTag = "r", listTag = "l";

// A reminder has 29.
constexpr std::size_t usualFields = 32;

std::string_view tagOf(const CKRecordValue& value) {
    static constexpr std::array<std::string_view, std::variant_size_v<CKRecordValue::Variant>> tags{
        textTag, integerTag, integerTag, numberTag, truthTag, dateTag, bytesTag, referenceTag, listTag};
    return tags[value.value.index()];
}

bool readInteger(JSONReader& from, CKRecordValue& value) {
    if (from.isNegativeNext()) {
        std::int64_t number = 0;
        const bool isRead = from.signedInteger(number);
        value = CKRecordValue(number);
        return isRead;
    }
    return from.unsignedInteger(value.value.emplace<std::uint64_t>());
}

bool readText(JSONReader& from, std::string& text) {
    std::string_view view;
    if (!from.string(view)) return false;
    text = view;
    return true;
}

bool readTagged(JSONReader& from, std::string_view tag, CKRecordValue::Variant& value) {
    if (tag == dateTag) return read(from, value.emplace<NSDate>());
    if (tag == numberTag) return read(from, value.emplace<double>());
    if (tag == truthTag) return from.boolean(value.emplace<bool>());
    if (tag == bytesTag) return read(from, value.emplace<Bytes>());
    if (tag == referenceTag) return read(from, value.emplace<CKReference>());
    if (tag == listTag) return read(from, value.emplace<CKList>());
    return from.fail("an unknown type");
}

}  // namespace

void write(JSONWriter& to, double number) {
    to.number(number);
}

bool read(JSONReader& from, double& number, Text) {
    std::string_view digits;
    if (!from.string(digits)) return false;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return (error == std::errc() && stop == end && std::isfinite(number)) || from.fail("no number");
}

void write(JSONWriter& to, const Bytes& bytes) {
    to.string(base64FromBytes(bytes));
}

bool read(JSONReader& from, Bytes& bytes, Text) {
    std::string_view text;
    if (!from.string(text)) return false;
    auto decoded = bytesFromBase64(text);
    if (!decoded) return from.fail("no Base64");
    bytes = std::move(*decoded);
    return true;
}

bool read(JSONReader& from, std::string& text, Text bounds) {
    std::string_view view;
    if (!from.string(view)) return false;
    if (bounds == Text::Name && view.empty()) return from.fail("an empty name");
    if (view.size() > (bounds == Text::Name ? longestName : longestText)) return from.fail("too long a text");
    text = view;
    return true;
}

void write(JSONWriter& to, const CKRecordValue& value) {
    to.beginObject();
    to.key(tagOf(value));
    std::visit([&to](const auto& content) { write(to, content); }, value.value);
    to.endObject();
}

bool read(JSONReader& from, CKRecordValue& value, Text) {
    std::string_view tag, more;
    if (!from.beginObject()) return false;
    if (!from.nextKey(tag)) return from.fail("no value");
    const bool isRead = tag == textTag      ? readText(from, value.value.emplace<std::string>())
                        : tag == integerTag ? readInteger(from, value)
                                            : readTagged(from, tag, value.value);
    return isRead && (!from.nextKey(more) || from.fail("more than one value")) && from.isGood();
}

void write(JSONWriter& to, const RecordFields& fields) {
    to.beginObject();
    for (const auto& [name, value] : fields) {
        to.key(name);
        write(to, value);
    }
    to.endObject();
}

bool read(JSONReader& from, RecordFields& fields, Text) {
    std::string_view name;
    if (!from.beginObject()) return false;
    fields.reserve(usualFields);
    while (from.nextKey(name)) {
        if (name.empty() || name.size() > longestName) return from.fail("an unfit name");
        if (fields.size() == mostFields) return from.fail("too many fields");
        auto* value = fields.add(name);
        if (!value) return from.fail("a field twice");
        if (!read(from, *value)) return false;
    }
    return from.isGood();
}

}  // namespace zun::cloud
