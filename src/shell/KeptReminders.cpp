#include "shell/KeptReminders.h"

#include <fcntl.h>
#include <unistd.h>

#include <boost/json/serialize.hpp>
#include <cstring>

#include "platform/foundation/Log.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

bool appendDurably(const std::filesystem::path& file, const std::string& line) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    const bool written = ::write(descriptor, line.data(), line.size()) == static_cast<ssize_t>(line.size()) &&
                         ::fdatasync(descriptor) == 0;
    ::close(descriptor);
    return written;
}

}  // namespace

bool KeptReminders::keep(const ZNReminderObject& reminder) {
    std::error_code ignored;  // the open below says what is wrong with the folder
    std::filesystem::create_directories(_file.parent_path(), ignored);
    const auto line = boost::json::serialize(jsonFromRecord(reminder.attributes())) + "\n";
    if (appendDurably(_file, line)) return true;
    NSLog(std::string("A reminder from a link could not be kept: ") + std::strerror(errno));
    return false;
}

}  // namespace zun
