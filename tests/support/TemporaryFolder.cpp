#include "support/TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace zun {

TemporaryFolder::TemporaryFolder() {
    auto name = (std::filesystem::current_path() / "test-XXXXXX").string();
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
