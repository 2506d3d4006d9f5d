#pragma once

// Replacing a small file so that readers and power cuts meet either the old text or the new one, whole. Any thread;
// blocks on the disk.

#include <sys/types.h>

#include <unistd.h>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zun {

// Closes its file when destroyed.
class FileDescriptor {
  public:
    explicit FileDescriptor(int number) : _number(number) {}
    ~FileDescriptor() {
        if (_number >= 0) ::close(_number);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    [[nodiscard]] int number() const { return _number; }
    [[nodiscard]] bool isOpen() const { return _number >= 0; }

  private:
    int _number;
};

// Writes the text beside the file, in a folder that exists, and puts it in its place; both are on the disk on return.
// After a failure the file is as before.
[[nodiscard]] std::error_code replaceFileDurably(const std::filesystem::path& file, std::string_view text, mode_t mode);

}  // namespace zun
