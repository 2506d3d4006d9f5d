#include "support/TemporaryFolder.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace zun {

TemporaryFolder::TemporaryFolder(Place place) {
    const std::filesystem::path memory = "/dev/shm";
    const bool isInMemory = place == Place::Memory && ::access(memory.c_str(), W_OK) == 0;
    auto name = ((isInMemory ? memory : std::filesystem::current_path()) / "test-XXXXXX").string();
    if (!::mkdtemp(name.data())) {
        std::perror("mkdtemp");
        std::abort();
    }
    _path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

}  // namespace zun
