#pragma once

// What a message may hold at most, whoever wrote it. They bound what a single body can cost its reader; how much of it
// a service takes is the service's own and smaller.

#include <cstddef>

namespace zun::cloud {

// Bytes of a body: an answer with the largest page of records, with room to spare.
inline constexpr std::size_t largestBody = 64u << 20;
// Bytes of the names of records, zones, owners and fields. They are keys in every store, so they stay short.
inline constexpr std::size_t longestName = 255;
// Fields of a record. They are kept sorted as they come, which takes the square of their number at worst.
inline constexpr std::size_t mostFields = 1'000;
// Bytes of every other text outside of a record's fields: tokens, cursors, addresses, descriptions.
inline constexpr std::size_t longestText = 4096;

// Records that one request may save and delete together. A client that has more need not ask to be refused.
inline constexpr std::size_t mostItems = 5'000;

}  // namespace zun::cloud
