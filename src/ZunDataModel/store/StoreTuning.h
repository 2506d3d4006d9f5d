#pragma once

// Every number that tunes the store.

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zun::tuning {

// How long a write waits for another process before it fails as busy. A process that dies gives its lock up at once, so
// only a very large import of another program comes near it.
inline constexpr std::chrono::milliseconds lockWait{5'000};
// The pause between two tries for the lock: grows the worst wait after it became free, and the waiting costs less.
inline constexpr std::chrono::milliseconds lockRetry{2};

// Bytes of one page of the file: SQLite's own choice, fixed so that a damaged header can be told from a sound one.
inline constexpr std::size_t pageSize = 4'096;
// Pages in the write-ahead log at which it is written back: about 4 MB. More makes commits cheaper and reading slower.
inline constexpr int checkpointPages = 1'000;
// A store that ends with more than this many pages in its log writes them back: the next program would have to read
// them all again before its first fetch, about 5 us a page.
inline constexpr int checkpointPagesAtEnd = 100;
// After this long without a write the log is written back whatever its size.
inline constexpr std::chrono::seconds checkpointIdle{5};

// Entries of the change log that stay. A program that missed more refetches everything.
inline constexpr std::int64_t changesKept = 10'000;
// How often old entries are dropped, in entries: a larger step makes rarer, longer deletions.
inline constexpr std::int64_t changesPrunedEvery = 1'000;
// Records of one commit that are logged one by one. Beyond it the log says "many": readers would not take them singly
// anyway.
inline constexpr std::size_t changesLoggedSingly = 1'000;
// Changed records of other processes that are told one by one. Beyond it one refetch is cheaper than as many
// notifications.
inline constexpr std::size_t changesToldSingly = 50;
// A commit whose writer died before it could ring is noticed this long after the last write to the log file.
inline constexpr std::chrono::milliseconds quietBeforeReading{200};

// Read connections kept open between fetches; more are opened while more threads fetch at once.
inline constexpr std::size_t idleReaders = 4;
// Prepared statements kept on each connection. The programs use about thirty different ones.
inline constexpr std::size_t cachedStatements = 64;

// That pushes have ended is written with the next change, or so long after the first of them.
inline constexpr std::chrono::seconds endedPushesWait{2};

// Dated backups that stay; the oldest goes first.
inline constexpr std::size_t backupsKept = 10;
// Of those that the sweep of old completed reminders makes, most days one.
inline constexpr std::size_t routineBackupsKept = 3;

}  // namespace zun::tuning
