#pragma once

// What a list needs of each of very many reminders, in little memory: about 40 bytes a reminder and its texts, in a few
// allocations for all. A picture of the store at one moment; the records themselves are fetched by identifier when they
// are seen. Never changed once built, so any number of threads may read it.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/foundation/NSDate.h"

namespace zun {

// The texts live as long as the reminders they came from.
struct ListedReminder {
    std::string_view reminderID;
    std::string_view title;
    std::string_view foldedTitle;  // foldedForSearch() of the title
    OptionalDate fire_date;
    OptionalDate completed_date;
    bool hasStartDate = false;
    bool isLocationBased = false;
    bool isSnoozed = false;
};

class ListedReminders {
  public:
    static constexpr std::size_t npos = std::numeric_limits<std::size_t>::max();
    class Builder;

    ListedReminders() = default;
    ListedReminders(ListedReminders&&) noexcept = default;
    ListedReminders& operator=(ListedReminders&&) noexcept = default;

    [[nodiscard]] std::size_t size() const { return _entries.size(); }
    [[nodiscard]] ListedReminder operator[](std::size_t index) const;
    [[nodiscard]] std::string_view reminderID(std::size_t index) const;
    [[nodiscard]] std::string_view foldedTitle(std::size_t index) const;
    // The first with that identifier, or npos.
    [[nodiscard]] std::size_t indexOfObjectWithID(std::string_view reminderID) const;
    // False where every identifier comes once, which is nearly always.
    [[nodiscard]] bool hasDoubles() const { return !_firstOfSameID.empty(); }
    // The first index with the same identifier.
    [[nodiscard]] std::size_t firstOfSameID(std::size_t index) const {
        return hasDoubles() ? _firstOfSameID[index] : index;
    }

  private:
    struct Entry {
        const char* text;  // identifier, title, folded title
        NSDate fire_date;
        NSDate completed_date;
        std::uint32_t lengthOfID;
        std::uint32_t lengthOfTitle;
        std::uint32_t lengthOfFoldedTitle;
        bool hasFireDate : 1;
        bool hasCompletedDate : 1;
        bool hasStartDate : 1;
        bool isLocationBased : 1;
        bool isSnoozed : 1;
        bool isFoldedAlready : 1;  // the title is its own folded form and stands there once
    };
    // A place of the hash table. Most mismatches show in the hash, without a look at the text.
    struct Bucket {
        std::uint32_t hash = 0;
        std::uint32_t numberPlusOne = 0;  // 0 where it is empty
    };
    void indexIdentifier(std::uint32_t number, std::uint32_t hash);
    [[nodiscard]] std::size_t bucketOf(std::string_view reminderID, std::uint32_t hash) const;

    std::vector<std::unique_ptr<char[]>> _texts;
    std::vector<Entry> _entries;
    std::vector<Bucket> _buckets;               // open addressing, a power of two
    std::vector<std::uint32_t> _firstOfSameID;  // only where there are doubles
};

// Takes reminders one by one; build() gives them in the order asked for.
class ListedReminders::Builder {
  public:
    void reserve(std::size_t count);
    // Not to a full one. Texts are shorter than 2^32 bytes, as SQLite's are.
    void add(const ListedReminder& reminder);
    [[nodiscard]] bool isFull() const { return size() >= mostReminders; }
    [[nodiscard]] std::size_t size() const { return _building._entries.size(); }
    // `order` holds positions of addition, each at most once. The builder is empty afterwards.
    [[nodiscard]] ListedReminders build(std::span<const std::uint32_t> order);

  private:
    static constexpr std::size_t mostReminders = std::size_t{1} << 30;
    char* roomFor(std::size_t length);

    ListedReminders _building;
    std::vector<std::uint32_t> _hashes;
    char* _free = nullptr;
    std::size_t _left = 0;
};

}  // namespace zun
