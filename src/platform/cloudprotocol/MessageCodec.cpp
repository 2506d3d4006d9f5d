#include "platform/cloudprotocol/MessageCodec.h"

#include "platform/cloudprotocol/AnswerFields.h"
#include "platform/cloudprotocol/Coding.h"
#include "platform/cloudprotocol/RequestFields.h"
#include "platform/cloudprotocol/Routes.h"

namespace zun::cloud {
namespace {

// An error in the place of an answer.
struct ErrorAnswer {
    CKError error;
};

template <class Message>
std::string encoded(const Message& message) {
    JSONWriter writer;
    write(writer, message);
    return writer.take();
}

template <class Whole, class Message>
std::variant<Whole, Malformed> decoded(std::string_view body) {
    if (body.size() > largestBody) return Malformed{"too long"};
    JSONReader reader(body);
    Message message;
    if (read(reader, message) && reader.atEnd()) return Whole(std::move(message));
    return Malformed{reader.reason()};
}

bool isError(std::string_view body) {
    JSONReader reader(body);
    std::string_view key;
    return reader.beginObject() && reader.nextKey(key) && key == "error";
}

}  // namespace

template <>
struct Described<ErrorAnswer> {
    static constexpr std::tuple fields{field("error", &ErrorAnswer::error)};
};

std::string_view pathOf(const Request& request) {
    std::string_view path;
    withRoute(request, [&](const auto& route) { path = route.path; });
    return path;
}

std::string encode(const Request& request) {
    return std::visit([](const auto& message) { return encoded(message); }, request);
}

std::string encode(const Answer& answer) {
    if (const auto* error = std::get_if<CKError>(&answer)) return encoded(ErrorAnswer{*error});
    return std::visit([](const auto& message) { return encoded(message); }, answer);
}

std::string encode(const Push& push) {
    return encoded(push);
}

std::string encode(const CKRecord& record) {
    return encoded(record);
}

std::variant<Request, Malformed> decodeRequest(std::string_view path, std::string_view body) {
    std::variant<Request, Malformed> result = Malformed{"an unknown path"};
    const auto tryRoute = [&]<class Asks, class Answers>(const Route<Asks, Answers>& route) {
        if (route.path == path) result = decoded<Request, Asks>(body);
    };
    std::apply([&](const auto&... route) { (tryRoute(route), ...); }, routes);
    return result;
}

std::variant<Answer, Malformed> decodeAnswer(const Request& asked, std::string_view body) {
    if (isError(body)) {
        auto error = decoded<ErrorAnswer, ErrorAnswer>(body);
        if (auto* malformed = std::get_if<Malformed>(&error)) return std::move(*malformed);
        return Answer(std::move(std::get<ErrorAnswer>(error).error));
    }
    std::variant<Answer, Malformed> result;
    withRoute(asked,
              [&]<class Asks, class Answers>(const Route<Asks, Answers>&) { result = decoded<Answer, Answers>(body); });
    return result;
}

std::variant<Push, Malformed> decodePush(std::string_view data) {
    return decoded<Push, Push>(data);
}

std::variant<CKRecord, Malformed> decodeRecord(std::string_view bytes) {
    return decoded<CKRecord, CKRecord>(bytes);
}

}  // namespace zun::cloud
