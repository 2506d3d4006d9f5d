#pragma once

// Messages of any kind with random content, filled by their tables of fields.

#include <random>

#include "platform/cloudprotocol/AnswerFields.h"
#include "platform/cloudprotocol/Coding.h"
#include "platform/cloudprotocol/RequestFields.h"

namespace zun::cloud {

class RandomMessages {
  public:
    explicit RandomMessages(std::uint64_t seed) : _random(seed) {}

    std::size_t below(std::size_t count) { return _random() % count; }

    std::string text() {
        static constexpr std::string_view pieces[] = {"a", "Zug", "\"", "\\", "\n", "\x01", "ß", "語", "🚂", " ", "/"};
        std::string result;
        for (auto left = below(12); left > 0; --left)
            result += pieces[below(std::size(pieces))];
        if (below(8) == 0) result += '\0';
        return result;
    }

    CKRecordValue value(int depth = 0) {
        switch (below(depth < 3 ? 8 : 7)) {
            case 0:
                return CKRecordValue(text());
            case 1:
                return CKRecordValue(static_cast<std::int64_t>(_random()));
            case 2:
                return CKRecordValue(std::uint64_t(_random()) >> below(64));
            case 3:
                return CKRecordValue(std::ldexp(static_cast<double>(_random()), static_cast<int>(below(600)) - 300));
            case 4:
                return CKRecordValue(below(2) == 1);
            case 5:
                return CKRecordValue(NSDate(std::chrono::microseconds(static_cast<std::int64_t>(_random()))));
            case 6: {
                CKReference reference;
                fill(reference.recordID);
                return below(2) == 0 ? CKRecordValue(reference) : CKRecordValue(Bytes(below(9), 0xA7));
            }
            default:
                break;
        }
        CKList list(below(4));
        for (auto& element : list)
            element = value(depth + 1);
        return CKRecordValue(list);
    }

    template <class T>
    void fill(T& message, Text bounds = Text::Free) {
        if constexpr (std::is_same_v<T, bool>) {
            message = below(2) == 1;
        } else if constexpr (std::is_same_v<T, double>) {
            message = static_cast<double>(below(1000)) / 8;
        } else if constexpr (std::is_same_v<T, std::string>) {
            message = bounds == Text::Name ? "n" + text() : text();
        } else if constexpr (std::is_same_v<T, std::uint64_t>) {
            message = _random();
        } else if constexpr (HasClosedValues<T>) {
            message = Closed<T>::values[below(Closed<T>::values.size())];
        } else if constexpr (std::is_same_v<T, DatabaseScope>) {
            message = below(2) == 1 ? DatabaseScope::Shared : DatabaseScope::Private;
        } else if constexpr (std::is_same_v<T, CKErrorCode>) {
            message = static_cast<CKErrorCode>(below(40));
        } else if constexpr (std::is_same_v<T, NSDate>) {
            message = NSDate(std::chrono::microseconds(static_cast<std::int64_t>(_random())));
        } else if constexpr (std::is_same_v<T, CKReference>) {
            fill(message.recordID);
        } else {
            const auto fillField = [this, &message](const auto& field) {
                fill(std::invoke(field.member, message), field.text);
            };
            std::apply([&](const auto&... field) { (fillField(field), ...); }, Described<T>::fields);
        }
    }
    template <class T>
    void fill(std::optional<T>& message, Text bounds) {
        if (below(2) == 0) return;
        T content;
        fill(content, bounds);
        message = std::move(content);
    }
    template <class T>
    void fill(std::vector<T>& messages, Text bounds) {
        messages.resize(below(3));
        for (auto& message : messages)
            fill(message, bounds);
    }
    template <class Key>
    void fill(std::map<Key, CKError>& errors, Text bounds) {
        for (auto left = below(++_depth > 2 ? 1 : 3); left > 0; --left) {
            Key key;
            fill(key, bounds);
            fill(errors[key]);
        }
        --_depth;
    }
    void fill(RecordFields& fields, Text) {
        for (auto left = below(6); left > 0; --left)
            fields.set("f" + text(), value());
    }

  private:
    std::mt19937_64 _random;
    int _depth = 0;
};

}  // namespace zun::cloud
