#include "ZunDataModel/store/StoreBackup.h"

#include <algorithm>
#include <string>

#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

void backUp(StoreConnection& connection, const StoreFiles& files, NSDate now, std::string_view reason) {
    makeFolder(files.backups);
    const auto target = files.backup(now, reason);
    const auto unfinished = withSuffix(target, unfinishedSuffix);
    removeDatabase(unfinished);
    {
        const std::string name = unfinished.string();
        const StatementUse copy(connection.statement("VACUUM INTO ?"));
        copy->bind(1, std::string_view(name));
        copy->step();
    }
    syncFile(unfinished);
    renameDurably(unfinished, target);

    // What is made nearly every day must not push out what is made once in a year.
    std::size_t routine = 0, rare = 0;
    for (const auto& file : listBackups(files)) {
        const bool isRoutine = file.stem().string().find("-" + std::string(routineReason)) != std::string::npos;
        if (isRoutine ? ++routine > tuning::routineBackupsKept : ++rare > tuning::backupsKept)
            std::filesystem::remove(file);
    }
}

std::vector<std::filesystem::path> listBackups(const StoreFiles& files) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(files.backups, error)) {
        const auto name = entry.path().filename().string();
        if (name.starts_with("reminders-") && name.ends_with(".sqlite")) found.push_back(entry.path());
    }
    // The names begin with the date; of two from the same second the later one has a number behind.
    std::ranges::sort(found, std::ranges::greater{}, [](const std::filesystem::path& path) { return path.stem(); });
    return found;
}

}  // namespace zun
