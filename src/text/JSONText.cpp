#include "text/JSONText.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>

namespace zun {
namespace {

namespace json = boost::json;

// Builds a value from the parser's events, reading fractions from their text.
struct ValueBuilder {
    using error_code = boost::system::error_code;

    static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
    static constexpr std::size_t max_key_size = json::string::max_size();
    static constexpr std::size_t max_string_size = json::string::max_size();

    json::value_stack stack;
    std::string key;
    std::string number;
    std::string text;

    bool on_document_begin(error_code&) { return true; }
    bool on_document_end(error_code&) { return true; }
    bool on_object_begin(error_code&) { return true; }
    bool on_object_end(std::size_t count, error_code&) {
        stack.push_object(count);
        return true;
    }
    bool on_array_begin(error_code&) { return true; }
    bool on_array_end(std::size_t count, error_code&) {
        stack.push_array(count);
        return true;
    }
    bool on_key_part(json::string_view part, std::size_t, error_code&) {
        key += std::string_view(part);
        return true;
    }
    bool on_key(json::string_view part, std::size_t, error_code&) {
        key += std::string_view(part);
        stack.push_key(key);
        key.clear();
        return true;
    }
    bool on_string_part(json::string_view part, std::size_t, error_code&) {
        text += std::string_view(part);
        return true;
    }
    bool on_string(json::string_view part, std::size_t, error_code&) {
        text += std::string_view(part);
        stack.push_string(text);
        text.clear();
        return true;
    }
    bool on_number_part(json::string_view part, error_code&) {
        number += std::string_view(part);
        return true;
    }
    bool on_int64(std::int64_t value, json::string_view, error_code&) {
        number.clear();
        stack.push_int64(value);
        return true;
    }
    bool on_uint64(std::uint64_t value, json::string_view, error_code&) {
        number.clear();
        stack.push_uint64(value);
        return true;
    }
    bool on_double(double value, json::string_view part, error_code&) {
        number += std::string_view(part);
        std::from_chars(number.data(), number.data() + number.size(), value);
        number.clear();
        stack.push_double(value);
        return true;
    }
    bool on_bool(bool value, error_code&) {
        stack.push_bool(value);
        return true;
    }
    bool on_null(error_code&) {
        stack.push_null();
        return true;
    }
    bool on_comment_part(json::string_view, error_code&) { return true; }
    bool on_comment(json::string_view, error_code&) { return true; }
};

}  // namespace

std::optional<json::value> jsonFromText(std::string_view text, std::string& error) {
    json::parse_options options;
    options.max_depth = 16;
    json::basic_parser<ValueBuilder> parser(options);
    parser.handler().stack.reset();
    boost::system::error_code code;
    const auto read = parser.write_some(false, text.data(), text.size(), code);
    if (!code && text.find_first_not_of(" \t\r\n", read) != std::string_view::npos) code = json::error::extra_data;
    if (code) {
        error = code.message();
        return std::nullopt;
    }
    return parser.handler().stack.release();
}

}  // namespace zun
