#include "server/storage/Storage.h"

namespace zun::cloud {

std::vector<std::optional<std::string>> Transaction::getMany(std::string_view account, Table table,
                                                             const std::vector<std::string>& names) {
    std::vector<std::optional<std::string>> values;
    values.reserve(names.size());
    for (const auto& name : names) values.push_back(get(account, table, name));
    return values;
}

}  // namespace zun::cloud
