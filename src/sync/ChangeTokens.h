#pragma once

// Where a database's change feed was read up to. A token is stored as soon as the feed gives it, while the zones that
// changed are still being read; until all of them have been taken in durably, the token before it stays beside it and
// comes back if one of them cannot be read, or if the program ends before. Any thread; blocks on the settings' file.

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "platform/cloudkit/CKOperations.h"
#include "settings/ZNUserDefaults.h"

namespace zun {

enum class CloudDatabaseKind { Private, Shared };

class ChangeTokens {
  public:
    // One fetch of the database's changes and of the zones that it names. It has failed unless each of these was read
    // when the last pointer to it goes.
    class Reading {
      public:
        explicit Reading(const std::shared_ptr<ChangeTokens>& tokens) : _tokens(tokens), _generation(tokens->begin()) {}
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

        // False, and nothing done from then on, once everything was forgotten: what is being read is no longer wanted.
        [[nodiscard]] bool isWanted() const;
        // Before the last token, so that it is known whether that one stands for anything.
        void expectZones(const std::vector<CKRecordZoneID>& zones);
        void setToken(const OptionalToken& token);
        void didReadZone(const CKRecordZoneID& zone);

      private:
        // A reading may be found lying in a queue when its tokens have gone; then it ends as one that was cut off.
        const std::weak_ptr<ChangeTokens> _tokens;
        const std::uint64_t _generation;
        std::mutex _mutex;
        std::set<CKRecordZoneID> _missing;
        bool _knowsZones = false;
    };
    using ReadingPtr = std::shared_ptr<Reading>;

    // Puts back what a program that ended early left. The defaults outlive the tokens.
    ChangeTokens(ZNUserDefaults& defaults, CloudDatabaseKind kind);

    [[nodiscard]] OptionalToken token() const;
    void forget();
    // Readings that end later end as ones that were cut off. The defaults are not touched by them any more.
    void close();

  private:
    [[nodiscard]] std::uint64_t begin();
    void end(std::uint64_t generation, bool isComplete);
    [[nodiscard]] bool isWanted(std::uint64_t generation) const;
    [[nodiscard]] bool isCurrent(std::uint64_t generation) const { return !_isClosed && generation == _generation; }
    enum class NeedsFormer { No, Yes };
    void setToken(std::uint64_t generation, const OptionalToken& token, NeedsFormer needsFormer);
    [[nodiscard]] std::optional<Bytes> stored() const;
    void store(const std::optional<Bytes>& token);
    [[nodiscard]] std::optional<Bytes> former() const;
    void storeFormer(const std::optional<Bytes>& token);
    void putBackFormer();

    ZNUserDefaults& _defaults;
    const CloudDatabaseKind _kind;
    mutable std::mutex _mutex;
    std::uint64_t _generation = 0;
    bool _isClosed = false;
    int _readings = 0;
    bool _hasFailure = false;
};

}  // namespace zun
