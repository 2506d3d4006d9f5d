#pragma once

// Every number that tunes the alerts.

#include <chrono>
#include <cstddef>

namespace zun::alertTuning {

// ---- the file

// How long a change waits for another process. The longest one, folding a hundred thousand alerts, takes about one.
inline constexpr std::chrono::seconds lockWait{10};
// KiB of pages kept in memory: less makes large changes slower, more stays with the service for good.
inline constexpr int cacheSize = 256;
// Changes are gathered for this long before they are written together: one save makes about ten of them. More delays
// the moment at which a change is durable.
inline constexpr std::chrono::milliseconds gatherChanges{5};
// After a change that could not be written.
inline constexpr std::chrono::seconds retryChanges{10};
// How long it is remembered that a moment was alerted. After that, a clock that is set back by more would alert again.
inline constexpr std::chrono::hours rememberShown{24 * 100};

// ---- delivery

// Alerts of one moment that are shown one by one; more become a summary. GNOME keeps three of an application.
inline constexpr std::size_t shownSingly = 3;
// Titles that a summary names.
inline constexpr std::size_t namedInSummary = 4;
// Between two tries with a server that refuses: starts short, doubles up to the longest.
inline constexpr std::chrono::seconds firstRetry{5};
inline constexpr std::chrono::minutes longestRetry{10};
// A server that takes longer for its answer counts as one that refuses.
inline constexpr std::chrono::seconds serverPatience{25};

// ---- the look at the reminders

// Once a day, at this hour, when machines are on and people are not yet at work.
inline constexpr std::chrono::hours dailyLookHour{4};
// Alerts that a series shall have ahead: it gets more when its last one is nearer than this. More than the day between
// two looks, so that one missed look does no harm.
inline constexpr std::chrono::hours seriesRunsOut{3 * 24};
// How far ahead they are added, and how many at once.
inline constexpr std::chrono::hours seriesHorizon{10 * 24};
inline constexpr std::size_t seriesBatch = 64;
// One-off reminders that fire within this time are looked at for alerts that a killed program owes.
inline constexpr std::chrono::hours owedHorizon{3 * 24};
// Quiet after the last change to the reminders before a look; grows the time for which the alert of a killed program is
// owed, and spares looks while the user works.
inline constexpr std::chrono::seconds quietBeforeLook{15};
// A clock that is set back further than this was wrong before: what it made come early will come again.
inline constexpr std::chrono::hours wrongClock{36};

}  // namespace zun::alertTuning
