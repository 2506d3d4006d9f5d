#pragma once

// Secrets at org.freedesktop.secrets on the session bus, by the freedesktop.org Secret Service API 0.2. Secrets cross
// the bus in plain text, as they would in any program of the session's user. See SecretStore for threads and waits.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "platform/secrets/SecretStore.h"

namespace zun {

class SecretServiceStore {
  public:
    // Connects anew for each operation: keyrings come and go with the session.
    [[nodiscard]] std::optional<std::string> find(const std::string& key);
    [[nodiscard]] bool save(const std::string& key, const std::string& text, const std::string& label);
    void remove(const std::string& key);

    void setQuestionBlock(std::function<void(KeyringQuestion)> block) { _questionBlock = std::move(block); }
    void withdraw();
    // Whether the last operation was.
    [[nodiscard]] bool wasWithdrawn() const;

  private:
    class Conversation;
    template <class Result>
    Result converse(Result fallback, const std::function<Result(Conversation&)>& talk);

    std::function<void(KeyringQuestion)> _questionBlock;
    mutable std::mutex _mutex;
    std::condition_variable _changed;  // an answer, or a withdrawal
    std::uint64_t _withdrawals = 0;
    std::uint64_t _withdrawalsBefore = 0;  // the operation under way, or the last one
};

}  // namespace zun
