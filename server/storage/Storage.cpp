#include "server/storage/Storage.h"

namespace zun::cloud {
namespace {

constexpr std::size_t longerThanAnyName = 512;

}  // namespace

std::string endOfPrefix(std::string_view prefix) {
    std::string end(prefix);
    while (!end.empty()) {
        const auto last = static_cast<unsigned char>(end.back());
        if (last != 0xff) {
            end.back() = static_cast<char>(last + 1);
            return end;
        }
        end.pop_back();
    }
    return std::string(longerThanAnyName, '\xff');
}

std::vector<std::optional<std::string>> Transaction::getMany(std::string_view account, Table table,
                                                             const std::vector<std::string>& names) {
    std::vector<std::optional<std::string>> values;
    values.reserve(names.size());
    for (const auto& name : names)
        values.push_back(get(account, table, name));
    return values;
}

}  // namespace zun::cloud
