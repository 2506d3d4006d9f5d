// Lines of an import: any bytes are either refused or give a record that is written and read back the same.

#include <boost/json/serialize.hpp>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "text/JSONText.h"
#include "text/RecordJSON.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string error;
    const auto value = zun::jsonFromText({reinterpret_cast<const char*>(data), size}, error);
    if (!value) return 0;
    const auto record = zun::recordFromJSON(*value);
    const auto* attributes = std::get_if<zun::ReminderAttributes>(&record);
    if (!attributes) return 0;

    const auto again = zun::jsonFromText(boost::json::serialize(zun::jsonFromRecord(*attributes)), error);
    if (!again) std::abort();
    const auto reread = zun::recordFromJSON(*again);
    if (!std::holds_alternative<zun::ReminderAttributes>(reread)) std::abort();
    if (std::get<zun::ReminderAttributes>(reread) != *attributes) std::abort();
    return 0;
}
