# Everything comes from Debian packages; docs/architecture.md says why each was chosen.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(ICU 72 REQUIRED COMPONENTS uc i18n data)
find_package(SQLite3 REQUIRED)
find_package(SQLiteCpp REQUIRED)
find_package(Boost 1.81 REQUIRED)
find_package(fmt 9 REQUIRED)
find_package(CLI11 REQUIRED)
find_package(sdbus-c++ REQUIRED)
find_package(Fontconfig REQUIRED)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Svg DBus Test)
find_program(ZUN_GENRB genrb REQUIRED)
find_program(ZUN_PKGDATA pkgdata REQUIRED)

# The record service.
find_package(PkgConfig REQUIRED)
find_package(CURL 7.88 REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(PostgreSQL REQUIRED)
pkg_check_modules(libsodium REQUIRED IMPORTED_TARGET libsodium)
