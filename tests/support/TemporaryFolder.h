#pragma once

#include <filesystem>

namespace zun {

// A fresh folder below the working directory of the test, removed with everything in it when the object goes.
class TemporaryFolder {
  public:
    // In memory, where the system has a place for that: for many small files that need no disk.
    enum class Place { WorkingDirectory, Memory };
    explicit TemporaryFolder(Place place = Place::WorkingDirectory);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return _path; }

  private:
    std::filesystem::path _path;
};

}  // namespace zun
