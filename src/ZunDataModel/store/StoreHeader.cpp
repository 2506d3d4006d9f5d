#include "ZunDataModel/store/StoreHeader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

#include "ZunDataModel/store/StoreConnection.h"
#include "ZunDataModel/store/StoreFiles.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

namespace fs = std::filesystem;

// Offsets and values are those of SQLite's file format.
constexpr std::size_t headerLength = 100;
using Header = std::span<const std::uint8_t, headerLength>;
constexpr std::size_t changeCounterAt = 24;
constexpr std::size_t pageCountAt = 28;
constexpr std::size_t pageCountValidForAt = 92;

std::uint32_t number(Header header, std::size_t at) {
    return std::uint32_t{header[at]} << 24 | std::uint32_t{header[at + 1]} << 16 | std::uint32_t{header[at + 2]} << 8 |
           header[at + 3];
}

void setNumber(std::uint8_t* at, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        *at++ = static_cast<std::uint8_t>(value >> shift);
}

bool isSound(Header header) {
    // With the zero at its end.
    constexpr std::string_view magic("SQLite format 3", 16);
    if (std::memcmp(header.data(), magic.data(), magic.size()) != 0) return false;
    const std::uint32_t pageSize = std::uint32_t{header[16]} << 8 | header[17];
    const std::uint32_t schemaFormat = number(header, 44);
    const std::uint32_t encoding = number(header, 56);
    const auto isVersion = [](std::uint8_t version) { return version == 1 || version == 2; };
    // A file without any table has neither a schema format nor an encoding.
    return pageSize == tuning::pageSize && isVersion(header[18]) && header[18] == header[19] && header[20] == 0 &&
           header[21] == 64 && header[22] == 32 && header[23] == 32 && (schemaFormat == 4 || schemaFormat == 0) &&
           number(header, 52) == 0 && (encoding == 1 || encoding == 0) && number(header, 64) == 0;
}

// Of a store made this moment, ready to be read with a write-ahead log.
std::array<std::uint8_t, tuning::pageSize> newFirstPage() {
    StoreConnection fresh(":memory:", StoreConnection::Access::Write);
    migrate(fresh);
    sqlite3_int64 size = 0;
    const std::unique_ptr<std::uint8_t, decltype(&sqlite3_free)> bytes(
        sqlite3_serialize(fresh.handle(), "main", &size, 0), sqlite3_free);
    std::array<std::uint8_t, tuning::pageSize> page{};
    if (!bytes || size < static_cast<sqlite3_int64>(page.size())) throw std::bad_alloc();
    std::memcpy(page.data(), bytes.get(), page.size());
    page[18] = page[19] = 2;
    return page;
}

}  // namespace

bool hasSoundHeader(const fs::path& database) {
    const int descriptor = open(database.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return errno != ENOENT;
    std::array<std::uint8_t, headerLength> header{};
    const auto got = pread(descriptor, header.data(), header.size(), 0);
    close(descriptor);
    return got < 0 || (got == static_cast<ssize_t>(header.size()) && isSound(header));
}

void copyWithNewFirstPage(const fs::path& database, const fs::path& target) {
    for (const std::string_view suffix : {"", "-wal"})
        if (fs::exists(withSuffix(database, suffix)))
            fs::copy_file(withSuffix(database, suffix), withSuffix(target, suffix));

    auto page = newFirstPage();
    std::error_code none;
    const auto size = fs::file_size(target, none);
    const auto pages = none ? 1 : std::max<std::uintmax_t>(1, size / tuning::pageSize);
    setNumber(page.data() + pageCountAt, static_cast<std::uint32_t>(pages));
    std::memcpy(page.data() + pageCountValidForAt, page.data() + changeCounterAt, 4);

    const int descriptor = open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "open");
    const auto written = pwrite(descriptor, page.data(), page.size(), 0);
    const int error = errno;
    close(descriptor);
    if (written != static_cast<ssize_t>(page.size()))
        throw std::system_error(written < 0 ? error : ENOSPC, std::generic_category(), "write");
}

}  // namespace zun
