#include "platform/foundation/DurableFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace zun {
namespace {

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

std::error_code replaceFileDurably(const std::filesystem::path& file, std::string_view text, mode_t mode) {
    const auto temporary = std::filesystem::path(file) += ".new";
    const FileDescriptor out(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (out.isOpen() && writeAll(out.number(), text) && ::fdatasync(out.number()) == 0 &&
        ::rename(temporary.c_str(), file.c_str()) == 0) {
        const FileDescriptor folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder.isOpen() && ::fsync(folder.number()) == 0) return {};
    }
    const std::error_code error(errno, std::generic_category());
    if (out.isOpen()) ::unlink(temporary.c_str());
    return error;
}

}  // namespace zun
