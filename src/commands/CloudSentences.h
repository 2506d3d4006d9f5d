#pragma once

// What the cloud's answers mean to a person: whole sentences in English, what is technical in brackets at their end.

#include <optional>
#include <string>
#include <string_view>

#include "sync/SyncJournal.h"

namespace zun {

enum class CloudStep { Creating, CreatingWithInvitation, SigningIn, Other };

[[nodiscard]] std::string sentenceAbout(const CKError& error, CloudStep step = CloudStep::Other);
// Why a pass did not end well.
[[nodiscard]] std::string sentenceAbout(const SyncOutcome& outcome);
// Why what was typed is no address of a service.
[[nodiscard]] std::string sentenceAboutAddress(std::string_view typed);

// Upper-case pairs with colons between, from a fingerprint in any common way of writing; absent if it is no SHA-256.
[[nodiscard]] std::optional<std::string> fingerprintFrom(std::string_view typed);

}  // namespace zun
