#include "commands/SyncFailureFile.h"

#include <boost/json.hpp>
#include <fstream>
#include <sstream>
#include <system_error>

#include "platform/foundation/DurableFile.h"

namespace zun {

namespace json = boost::json;

std::optional<SyncFailure> SyncFailureFile::read() const {
    std::ifstream file(_file, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    boost::system::error_code error;
    const auto value = json::parse(text.str(), error);
    const auto* object = error.failed() ? nullptr : value.if_object();
    const auto* date = object ? object->if_contains("date") : nullptr;
    const auto* sentence = object ? object->if_contains("sentence") : nullptr;
    if (!date || !date->is_int64() || !sentence || !sentence->is_string()) return std::nullopt;
    return SyncFailure{NSDate(std::chrono::microseconds(date->get_int64())),
                       std::string(std::string_view(sentence->get_string()))};
}

void SyncFailureFile::write(const SyncFailure& failure) const {
    const json::object object{{"date", failure.date.time_since_epoch().count()}, {"sentence", failure.sentence}};
    std::error_code ignored;
    std::filesystem::create_directories(_file.parent_path(), ignored);
    ignored = replaceFileDurably(_file, json::serialize(object) + "\n", 0600);
}

void SyncFailureFile::remove() const {
    std::error_code ignored;
    std::filesystem::remove(_file, ignored);
}

}  // namespace zun
