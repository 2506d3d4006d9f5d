// Any bytes as a predicate: the parser takes or refuses them, and what it takes SQLite understands.

#include <cstdio>
#include <cstdlib>

#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "platform/foundation/NSPredicate.h"

namespace {

using zun::NSPredicate;

// An argument for each %@, its kind taken from the input.
std::vector<NSPredicate::Argument> argumentsFor(std::string_view format, unsigned kinds) {
    const NSPredicate::Argument kindsOfArgument[] = {
        nullptr, true, false, std::int64_t{-1}, 0.5, std::string("x\0y", 3), zun::NSDate{}};
    std::vector<NSPredicate::Argument> arguments;
    for (auto at = format.find("%@"); at != std::string_view::npos; at = format.find("%@", at + 2)) {
        arguments.push_back(kindsOfArgument[kinds % std::size(kindsOfArgument)]);
        kinds = kinds / 7 + 1;
    }
    return arguments;
}

zun::StoreConnection& emptyStore() {
    static zun::StoreConnection connection(":memory:", zun::StoreConnection::Access::Write);
    static const bool made = (zun::migrate(connection), true);
    static_cast<void>(made);
    return connection;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view format(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto predicate = NSPredicate::predicateWithFormat(format, argumentsFor(format, data[0]));
    if (!predicate) return 0;
    try {
        if (zun::countRecords(emptyStore(), predicate) != 0) std::abort();
    } catch (const zun::StoreFailure&) {
        // It names an attribute that no record has.
    } catch (const SQLite::Exception& exception) {
        std::fprintf(stderr, "%s: %s\n", predicate->sql().c_str(), exception.what());
        std::abort();
    }
    return 0;
}
