#include "platform/cloudprotocol/JSONWriter.h"

namespace zun::cloud {

void JSONWriter::string(std::string_view value) {
    static constexpr std::string_view hexadecimal = "0123456789abcdef";
    separate();
    _text += '"';
    std::size_t written = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto byte = static_cast<unsigned char>(value[i]);
        if (byte >= 0x20 && byte != '"' && byte != '\\') continue;
        _text.append(value, written, i - written);
        written = i + 1;
        _text += '\\';
        if (byte >= 0x20) {
            _text += value[i];
        } else if (byte == '\n') {
            _text += 'n';
        } else {
            _text += "u00";
            _text += hexadecimal[byte >> 4];
            _text += hexadecimal[byte & 15u];
        }
    }
    _text.append(value, written);
    _text += '"';
}

void JSONWriter::number(double value) {
    char digits[32];
    string({digits, std::to_chars(digits, digits + sizeof digits, value).ptr});
}

}  // namespace zun::cloud
